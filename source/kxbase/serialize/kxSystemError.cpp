#include "kxbase/serialize/kxSystemError.h"

kxString kxSystemErrorText(kxPlatformError error)
{
    char description[256];
    kxPlatformErrorText(error, description, sizeof(description));
    return description;
}

kxString kxWithSystemError(std::string_view text, kxPlatformError error)
{
    return kxString::format("%s (%s)", text, kxSystemErrorText(error));
}
