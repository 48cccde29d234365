#include "tests/staticorder/kxStaticCheck.h"

namespace {

kxStaticCheck check("second unit");

}  // namespace
