// Names of files and URLs as they stand in texts.
#pragma once

#include "kxbase/string/kxString.h"

// The name itself, or its first 1000 bytes and three dots, so that a text stays readable and keeps its end.
// No character is cut in its middle.
kxString kxShortName(const kxString& name);
