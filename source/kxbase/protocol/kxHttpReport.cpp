#include "kxbase/protocol/kxHttpReport.h"

#include "kxbase/core/kxMessage.h"
#include "kxbase/serialize/kxAdapterMessage.h"
#include "kxbase/serialize/kxErrorText.h"

#include <iterator>

namespace {

// Only the first has a text before the place.
constexpr std::string_view kFormats[] = {
    "Parse error '%s' at (%d,%d)", "Out Of data at (%d,%d)",       "User Exit at (%d,%d)",
    "Generic Error at (%d,%d)",    "Data is discarded at (%d,%d)",
};
static_assert(std::size(kFormats) == KX_HTTP_DATA_DISCARDED + 1, "one format for every kind");

}  // namespace

void kxHttpReport(kxHttpReportKind kind, kxTextPlace place, std::string_view fault)
{
    if (kind == KX_HTTP_PARSE_ERROR)
        kxAdapterMessage(KX_MESSAGE_INTERNAL_WARNING, kFormats[kind], kxTranslate(fault), place.line,
                         place.column);
    else
        kxAdapterMessage(KX_MESSAGE_INTERNAL_WARNING, kFormats[kind], place.line, place.column);
}

kxString kxHttpReportText(kxHttpReportKind kind, kxTextPlace place, std::string_view fault)
{
    if (kind == KX_HTTP_PARSE_ERROR)
        return kxErrorText(kFormats[kind], kxTranslate(fault), place.line, place.column);
    return kxErrorText(kFormats[kind], place.line, place.column);
}
