// Everything of the unit kxlex: the argument parser.
#pragma once

#include "kxbase/lex/kxArgumentParser.h"
