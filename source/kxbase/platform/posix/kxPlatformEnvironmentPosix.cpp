#include "kxbase/platform/kxPlatformEnvironment.h"

#include <cstdlib>

const char* kxPlatformEnvironment(const char* name)
{
    return std::getenv(name);
}
