// URLs: the parts hold what the URL holds, and joining them gives it back.

#include "kxbase/serialize/kxUrl.h"

#include <algorithm>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const kxString url(reinterpret_cast<const char*>(data), size);
    const kxUrl parts(url);
    std::string expected(url.view());
    std::replace(expected.begin() + parts.scheme.length(), expected.end(), '\\', '/');
    std::string joined(parts.scheme.view());
    joined.append(parts.path().view());
    if (joined.size() != expected.size()) joined.append("?").append(parts.options.view());
    if (joined != expected) std::abort();
    return 0;
}
