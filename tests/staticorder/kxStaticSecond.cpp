#include "tests/staticorder/kxStaticCheck.h"

static kxStaticCheck check;
