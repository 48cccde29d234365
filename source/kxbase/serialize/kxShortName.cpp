#include "kxbase/serialize/kxShortName.h"

#include "kxbase/string/kxUtf.h"

kxString kxShortName(const kxString& name)
{
    constexpr std::size_t kLongest = 1000;
    if (name.length() <= kLongest) return name;
    const std::string_view start = name.view().substr(0, kLongest);
    return kxString(start.substr(0, kxUtfWholeLength(start))) + "...";
}
