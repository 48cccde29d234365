// Where symbols are looked for that do not stand with their module: folders joined with ";", those that are set of
// the current directory, the program's, the variables _NT_SYMBOL_PATH, _NT_ALTERNATE_SYMBOL_PATH and SYSTEMROOT, and
// the setting KORVEX_DEBUG_SYMBOLS. Each may have up to 999 bytes; a longer one is left out.
#pragma once

#include "kxbase/string/kxString.h"

kxString kxSymbolSearchPath();
