#include "kxbase/string/kxFormatFaults.h"

#include "kxbase/core/kxMessageFilter.h"
#include "kxbase/string/kxFormatFault.h"
#include "kxbase/string/kxNumberText.h"
#include "kxbase/string/kxUtf.h"

namespace {

constexpr struct {
    kxFormatFaultKind kind;
    std::uint32_t level;
    std::string_view text;
} kFaults[] = {
    // Raw, since the text would otherwise be taken for the very fault that it describes.
    {KX_FORMAT_FAULT_POSITION, KX_MESSAGE_WARNING | KX_MESSAGE_RAW,
     "Using kxString::format(\"%n$\") where n<1 or n>16"},
    {KX_FORMAT_FAULT_UNKNOWN, KX_MESSAGE_WARNING, "Unknown format option in string '%s'"},
    {KX_FORMAT_FAULT_TEXT, KX_MESSAGE_WARNING,
     "Using kxString::format(\"%%s\",arg) where arg is no valid pointer"},
    {KX_FORMAT_FAULT_WIDE_TEXT, KX_MESSAGE_WARNING,
     "Using kxString::format(\"%%S\",arg) where arg is no valid pointer"},
    {KX_FORMAT_FAULT_CODE_POINT, KX_MESSAGE_WARNING, KX_UTF_TOO_LARGE},
    {KX_FORMAT_FAULT_NUMBER, KX_MESSAGE_INTERNAL_WARNING, KX_DTOA_TOO_LARGE},
};

constexpr bool isInOrderOfKinds()
{
    std::size_t row = 0;
    for (const auto& fault : kFaults)
        if (fault.kind != row++) return false;
    return row == KX_FORMAT_FAULT_KINDS;
}
static_assert(isInOrderOfKinds(), "one row for each kind");

}  // namespace

void kxFormatFaults::tell(kxFormatFaultKind kind, std::string_view value)
{
    const auto& fault = kFaults[kind];
    std::size_t& toldBytes = toldBytes_[kind];
    if (toldBytes >= KX_FORMAT_MAX_WARNED_BYTES || !kxMessageFilter::passes(fault.level)) return;
    toldBytes += fault.text.size() + value.size();
    kxSendFormatFault(fault.level, fault.text, kxArgumentSlots(value));
}
