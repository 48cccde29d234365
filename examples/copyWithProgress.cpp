// Copies what one URL holds to another, and shows how far it has come when it runs on a terminal; without arguments,
// this program itself to nowhere. As in `copyWithProgress file:big.iso file:copy.iso`; a file is appended to.

#include "kxbase/kxbase.h"
#include "kxbase/platform/kxPlatformConsole.h"

#include <algorithm>
#include <cstdio>

namespace {

using Adapter = kxRefPointer<kxSerializeAdapter>;

// Answers the bytes copied. What a file has ready is its whole rest; a connection cannot say how much will come,
// so that it shows nothing but the end.
std::uint64_t copy(kxSerializeAdapter& input, kxSerializeAdapter& output, kxProgressInterface* progress)
{
    std::uint64_t copied = 0;
    std::uint64_t expected = 0;
    const kxTransferBuffer block(65536);
    while (!input.hasError() && !output.hasError()) {
        const std::uint32_t ready = input.length();
        if (ready == 0) continue;  // nothing yet, or the end, which is then an error
        expected = std::max(expected, copied + ready);
        const std::uint32_t count = input.read(block.data(), 65536);
        output.write(block.data(), count);
        copied += count;
        const std::uint64_t percentage = copied * 100 / expected;
        if (progress != nullptr && percentage < 100)
            progress->progress(static_cast<std::int32_t>(percentage), "copying");
    }
    output.flush();
    if (progress != nullptr) progress->progress(100, "copying");
    return copied;
}

}  // namespace

int main(int argumentCount, char** arguments)
{
    kxUrlRegistry::instance().addManager("dummy:", kxMakeRef<DummyURLManagerInterface>());
    const kxString from = argumentCount > 1 ? kxString(arguments[1]) : kxString("file:") + arguments[0];
    const kxString to = argumentCount > 2 ? arguments[2] : "dummy:";
    const Adapter input = kxSerializeAdapter::getAdapter(from, KX_SERIALIZE_INPUT);
    const Adapter output = kxSerializeAdapter::getAdapter(to, KX_SERIALIZE_OUTPUT);
    if (!input || !output) return 1;  // a Warning has said why

    kxDefaultProgressInterface line;
    const bool isSeen = kxPlatformConsoleIsTerminal(kxPlatformConsoleOutput());
    const std::uint64_t copied = copy(*input, *output, isSeen ? &line : nullptr);
    std::printf("%llu bytes copied from %s\n", static_cast<unsigned long long>(copied), from.text());
    return output->hasError() ? 1 : 0;
}
