// Everything of the unit kxlex: the argument parser and the grammar engine.
#pragma once

#include "kxbase/factory/PurlURLManagerInterface.h"
#include "kxbase/lex/kxArgumentParser.h"
#include "kxbase/lex/kxConsoleCommandParser.h"
#include "kxbase/lex/kxDynamicTypeArgumentParser.h"
#include "kxbase/lex/kxRegKeyExpandParser.h"
#include "kxbase/lex/kxSerializeLex.h"
