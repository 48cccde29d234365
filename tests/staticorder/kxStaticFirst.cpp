#include "tests/staticorder/kxStaticCheck.h"

static kxStaticCheck check;

int main()
{
    return 1;
}
