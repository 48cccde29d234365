#include "kxbase/serialize/kxSerializeAdapterStdIO.h"

#include "kxbase/core/kxMessage.h"
#include "kxbase/object/kxTypeTable.h"
#include "kxbase/platform/kxPlatformConsole.h"
#include "kxbase/platform/kxPlatformThread.h"
#include "kxbase/serialize/kxSystemError.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

constexpr std::uint8_t kBackspace = 8;
constexpr std::uint8_t kErase[] = {kBackspace, ' ', kBackspace};
// How long one look for a key waits.
constexpr std::uint32_t kKeyWaitMilliseconds = 100;

}  // namespace

kxSerializeAdapterStdIO::kxSerializeAdapterStdIO()
    : input_(kxPlatformConsoleInput()), readsTerminal_(kxPlatformConsoleIsTerminal(kxPlatformConsoleInput())),
      writesTerminal_(kxPlatformConsoleIsTerminal(kxPlatformConsoleOutput()))
{}

kxSerializeAdapterStdIO::~kxSerializeAdapterStdIO() noexcept(false)
{
    if (hasTakenTerminal_) kxPlatformConsoleRestore();
}

const kxType& kxSerializeAdapterStdIO::getType() const
{
    return kxTypeTable::find("kxSerializeAdapterStdIO");
}

void kxSerializeAdapterStdIO::writeBlock(const void* bytes, std::uint32_t count)
{
    pace_.moved();
    // What the program itself has printed so far comes before.
    std::fflush(stdout);
    if (writesTerminal_)
        writeErasing(static_cast<const std::uint8_t*>(bytes), count);
    else
        writeOut(bytes, count);
}

void kxSerializeAdapterStdIO::writeByte(std::uint8_t byte)
{
    writeBlock(&byte, 1);
}

void kxSerializeAdapterStdIO::writeErasing(const std::uint8_t* bytes, std::uint32_t count)
{
    const std::uint8_t* const end = bytes + count;
    while (bytes != end) {
        const std::uint8_t* const backspace = std::find(bytes, end, kBackspace);
        writeOut(bytes, static_cast<std::uint32_t>(backspace - bytes));
        bytes = backspace;
        if (bytes == end) return;
        writeOut(kErase, sizeof(kErase));
        ++bytes;
    }
}

void kxSerializeAdapterStdIO::writeOut(const void* bytes, std::uint32_t count)
{
    if (count == 0) return;
    const kxPlatformIoResult written = kxPlatformFileWrite(kxPlatformConsoleOutput(), bytes, count);
    if (written.error == 0) return;
    const bool isFirst = !hasError();
    setError(kxWithSystemError(kxTranslate("Could not write to the console"), written.error));
    if (!isFirst) return;
    kxMessage(KX_MESSAGE_WARNING, "%s", getError());
    // The message itself may have gone to the same place.
    std::fprintf(stderr, "%s\n", getError().text());
}

std::uint32_t kxSerializeAdapterStdIO::getDataLength()
{
    const std::uint32_t ready = look(pace_.waitMilliseconds());
    if (ready == 0)
        pace_.foundNothing();
    else
        pace_.moved();
    return readsTerminal_ ? std::min(ready, 1U) : ready;
}

// Bytes that can be read now.
std::uint32_t kxSerializeAdapterStdIO::look(std::uint32_t waitMilliseconds)
{
    if (input_.hasEnded() || (readsTerminal_ && !kxPlatformConsoleTakeRaw())) {
        if (waitMilliseconds != 0) kxPlatformSleep(waitMilliseconds);
        return 0;
    }
    hasTakenTerminal_ = readsTerminal_;
    return input_.look(waitMilliseconds);
}

std::uint32_t kxSerializeAdapterStdIO::readBlock(void* bytes, std::uint32_t count)
{
    auto* const begin = static_cast<std::uint8_t*>(bytes);
    std::uint32_t taken = 0;
    while (taken < count) {
        const std::uint32_t ready = look(0);
        if (ready == 0) break;
        taken += take(begin + taken, std::min(ready, count - taken));
    }
    return taken;
}

std::uint8_t kxSerializeAdapterStdIO::readByte()
{
    // A read that waits would sit out a stop and go on with the terminal in whatever mode it is then.
    while (readsTerminal_ && !input_.hasEnded() && look(kKeyWaitMilliseconds) == 0) {
    }
    std::uint8_t byte = 0;
    take(&byte, 1);
    return byte;
}

std::uint32_t kxSerializeAdapterStdIO::take(std::uint8_t* bytes, std::uint32_t count)
{
    const std::uint32_t taken = input_.read(bytes, count);
    const int eraseKey = readsTerminal_ ? kxPlatformConsoleEraseKey() : -1;
    if (eraseKey >= 0) std::replace(bytes, bytes + taken, static_cast<std::uint8_t>(eraseKey), kBackspace);
    return taken;
}

bool kxSerializeAdapterStdIO::hasError()
{
    if (kxSerializeAdapter::hasError()) return true;
    if (!input_.hasEnded() || hasPushBack()) return false;
    // A terminal that hung up has ended, whatever the system says of it.
    if (input_.error() == 0 || readsTerminal_) {
        setError(kxTranslate("End of file"));
        return true;
    }
    setError(kxWithSystemError(kxTranslate("Could not read from the console"), input_.error()));
    kxMessage(KX_MESSAGE_WARNING, "%s", getError());
    return true;
}
