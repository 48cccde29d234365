// The system's description of a failure, and error texts that end with it.
#pragma once

#include "kxbase/platform/kxPlatformIo.h"
#include "kxbase/string/kxString.h"

kxString kxSystemErrorText(kxPlatformError error);

// `text`, a blank and the system's description in round brackets.
kxString kxWithSystemError(std::string_view text, kxPlatformError error);
