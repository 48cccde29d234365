#include "kxbase/serialize/kxSystemError.h"

kxString kxWithSystemError(std::string_view text, kxPlatformError error)
{
    char description[256];
    kxPlatformErrorText(error, description, sizeof(description));
    return kxString::format("%s (%s)", text, description);
}
