// The text of an error state, translated.
//
// Never empty, since that would mean no error: a translation that shows nothing of the arguments and has no words of
// its own gives way to the English text.
#pragma once

#include "kxbase/core/kxMessage.h"
#include "kxbase/string/kxString.h"

template <typename... Arguments> kxString kxErrorText(std::string_view format, const Arguments&... arguments)
{
    const kxString text = kxString::format(kxTranslate(format), arguments...);
    return text.isEmpty() ? kxString::format(format, arguments...) : text;
}
