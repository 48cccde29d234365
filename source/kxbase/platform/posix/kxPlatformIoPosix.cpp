#include "kxbase/platform/kxPlatformIo.h"

#include <cstdio>
#include <system_error>

void kxPlatformErrorText(kxPlatformError error, char* buffer, std::size_t sizeBytes)
{
    std::snprintf(buffer, sizeBytes, "%s", std::generic_category().message(error).c_str());
}
