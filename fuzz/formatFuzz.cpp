// Format texts: the first byte chooses the arguments, the rest is the format.

#include "kxbase/message/kxMessageManager.h"
#include "kxbase/string/kxString.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    kxMessageManager::instance().setEnabled(false);
    if (size == 0) return 0;
    const std::string_view format(reinterpret_cast<const char*>(data) + 1, size - 1);
    switch (data[0] % 4) {
    case 0:
        kxString::format(format);
        break;
    case 1:
        kxString::format(format, -5, 7U, 2.5, "text", u"wide", 'c', static_cast<const char*>(nullptr));
        break;
    case 2:
        kxString::format(format, 1e300, -0.0, INT64_MIN, UINT64_MAX, 0.1);
        break;
    default:
        kxString::format(format, format, format.size(), 1e15 / 7);
        break;
    }
    return 0;
}
