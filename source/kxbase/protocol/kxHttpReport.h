// What a parser says about a place in a message: a Warning from inside the library, seen only by those who ask.
#pragma once

#include "kxbase/lex/kxTextPlace.h"
#include "kxbase/string/kxString.h"

enum kxHttpReportKind : std::uint8_t {
    KX_HTTP_PARSE_ERROR,
    KX_HTTP_OUT_OF_DATA,
    KX_HTTP_USER_EXIT,
    KX_HTTP_GENERIC_ERROR,
    KX_HTTP_DATA_DISCARDED,
};

// `fault` is the text of a parse error; the others have none. All texts are translated.
void kxHttpReport(kxHttpReportKind kind, kxTextPlace place, std::string_view fault = {});
kxString kxHttpReportText(kxHttpReportKind kind, kxTextPlace place, std::string_view fault = {});
