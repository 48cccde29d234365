#include "kxbase/serialize/kxSystemError.h"

kxString kxSystemErrorText(kxPlatformError error)
{
    char description[256];
    kxPlatformErrorText(error, description, sizeof(description));
    return description;
}
