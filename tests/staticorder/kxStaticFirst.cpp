#include "tests/staticorder/kxStaticCheck.h"

namespace {

kxStaticCheck check("first unit");

}  // namespace

int main()
{
    return 1;
}
