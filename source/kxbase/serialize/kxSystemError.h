// Error texts that end with the system's description of a failure.
#pragma once

#include "kxbase/platform/kxPlatformIo.h"
#include "kxbase/string/kxString.h"

// `text`, a blank and the system's description in round brackets.
kxString kxWithSystemError(std::string_view text, kxPlatformError error);
