// Copies what one URL holds to another, and shows how far it has come when it runs on a terminal; without arguments,
// this program itself to nowhere. As in `copyWithProgress file:big.iso file:copy.iso`; a file is appended to.

#include "kxbase/kxbase.h"

#include <algorithm>
#include <cstdio>

namespace {

using Adapter = kxRefPointer<kxSerializeAdapter>;

struct Copied {
    std::uint64_t bytes = 0;
    bool isWhole = false;
};

// Whether nothing more comes because there is no more; every other error text tells a failure.
bool isAtEnd(kxSerializeAdapter& input)
{
    if (!input.hasError()) return !input.hasEnd();
    const kxString reason = input.getError();
    return reason == kxTranslate("End of file") || reason == kxTranslate("IP connection closed");
}

// What a file has ready is its whole rest, and it has failed when less comes; a connection cannot say how much will
// come, so that it shows nothing but the end.
Copied copy(kxSerializeAdapter& input, kxSerializeAdapter& output, kxProgressInterface* progress)
{
    Copied copied;
    std::uint64_t expected = 0;
    const kxTransferBuffer block(65536);
    while (!input.hasError() && !output.hasError()) {
        const std::uint32_t ready = input.length();
        if (ready == 0) {
            if (!input.hasEnd()) break;
            continue;  // nothing yet, or the end, which is then an error
        }
        expected = std::max(expected, copied.bytes + ready);
        const std::uint32_t count = input.read(block.data(), std::min(ready, 65536U));
        output.write(block.data(), count);
        copied.bytes += count;
        const std::uint64_t percentage = copied.bytes * 100 / expected;
        if (progress != nullptr && percentage < 100)
            progress->progress(static_cast<std::int32_t>(percentage), "copying");
    }
    output.flush();
    copied.isWhole = copied.bytes == expected && isAtEnd(input) && !output.hasError();
    if (progress != nullptr && copied.isWhole) progress->progress(100, "copying");
    return copied;
}

void registerSchemes()
{
    const kxUntrackedScope scope;  // the registry keeps the manager as long as the process lives
    kxUrlRegistry::instance().addManager("dummy:", kxMakeRef<DummyURLManagerInterface>());
}

}  // namespace

int main(int argumentCount, char** arguments)
{
    registerSchemes();
    const kxString from = argumentCount > 1 ? kxString(arguments[1]) : kxString("file:") + arguments[0];
    const kxString to = argumentCount > 2 ? arguments[2] : "dummy:";
    const Adapter input = kxSerializeAdapter::getAdapter(from, KX_SERIALIZE_INPUT);
    const Adapter output = kxSerializeAdapter::getAdapter(to, KX_SERIALIZE_OUTPUT);
    if (!input || !output) return 1;  // a Warning has said why

    kxDefaultProgressInterface line;
    const bool isSeen = kxDefaultProgressInterface::isOnTerminal();
    const Copied copied = copy(*input, *output, isSeen ? &line : nullptr);
    std::printf("%llu bytes copied from %s\n", static_cast<unsigned long long>(copied.bytes), from.text());
    return copied.isWhole ? 0 : 1;  // less came than was there, or it could not be written
}
