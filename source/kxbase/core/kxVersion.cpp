#include "kxbase/core/kxVersion.h"

constinit const char* const KX_LIBRARY_VERSION = KX_PROJECT_VERSION;
