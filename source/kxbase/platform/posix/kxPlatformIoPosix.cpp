#include "kxbase/platform/kxPlatformIo.h"

#include <cerrno>
#include <cstdio>
#include <system_error>

const kxPlatformError KX_PLATFORM_INVALID_ARGUMENT = EINVAL;

void kxPlatformErrorText(kxPlatformError error, char* buffer, std::size_t sizeBytes)
{
    std::snprintf(buffer, sizeBytes, "%s", std::generic_category().message(error).c_str());
}
