// The system's description of a failure.
#pragma once

#include "kxbase/platform/kxPlatformIo.h"
#include "kxbase/string/kxString.h"

kxString kxSystemErrorText(kxPlatformError error);
