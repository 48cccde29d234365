// Counts the bytes and the lines of a file, a pipe or a device until it ends; without an argument, those of
// this program itself.

#include "kxbase/kxbase.h"

#include <algorithm>
#include <cstdio>

int main(int argumentCount, char** arguments)
{
    const kxString url = kxString("file:") + (argumentCount > 1 ? arguments[1] : arguments[0]);
    const kxRefPointer<kxSerializeAdapter> input = kxSerializeAdapter::getAdapter(url, KX_SERIALIZE_INPUT);
    if (!input) return 1;  // a Warning has said why
    unsigned long long bytes = 0;
    unsigned long long lines = 0;
    char block[65536];
    while (!input->hasError()) {
        if (input->length() == 0) continue;  // nothing yet, or the end, which is then an error
        const std::uint32_t count = input->read(block, sizeof(block));
        bytes += count;
        lines += static_cast<unsigned long long>(std::count(block, block + count, '\n'));
    }
    std::printf("%llu bytes, %llu lines\n", bytes, lines);
    return 0;
}
