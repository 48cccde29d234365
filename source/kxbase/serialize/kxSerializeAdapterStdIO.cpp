#include "kxbase/serialize/kxSerializeAdapterStdIO.h"

#include "kxbase/core/kxMessage.h"
#include "kxbase/object/kxTypeTable.h"
#include "kxbase/platform/kxPlatformConsole.h"
#include "kxbase/platform/kxPlatformWait.h"
#include "kxbase/serialize/kxAdapterMessage.h"
#include "kxbase/serialize/kxSystemError.h"

#include <algorithm>
#include <cstdio>
#include <utility>

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
    input_.dataMoved();
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
    setError(kxWithSystemError(kxTranslate("Could not write to the console"), written.error));
    if (std::exchange(writeHasFailed_, true)) return;
    kxMessage(KX_MESSAGE_WARNING, "%s", getError());
    // The message itself may have gone to the same place.
    std::fprintf(stderr, "%s\n", getError().text());
}

// A terminal must be asked for before each look, since it may have become somebody else's meanwhile.
bool kxSerializeAdapterStdIO::mayLook()
{
    if (!readsTerminal_) return true;
    if (!kxPlatformConsoleTakeRaw()) return false;
    hasTakenTerminal_ = true;
    return true;
}

std::uint32_t kxSerializeAdapterStdIO::getDataLength()
{
    if (!mayLook()) {
        input_.passIdleLook();
        return 0;
    }
    const std::uint32_t ready = input_.length();
    return readsTerminal_ ? std::min(ready, 1U) : ready;
}

std::uint32_t kxSerializeAdapterStdIO::readBlock(void* bytes, std::uint32_t count)
{
    auto* const begin = static_cast<std::uint8_t*>(bytes);
    std::uint32_t taken = 0;
    std::uint32_t got = 1;
    while (got != 0 && taken < count && mayLook()) {
        got = input_.readReady(begin + taken, readsTerminal_ ? 1 : count - taken);
        mapEraseKey(begin + taken, got);
        taken += got;
    }
    return taken;
}

std::uint8_t kxSerializeAdapterStdIO::readByte()
{
    // A read that waits would sit out a stop and go on with the terminal in whatever mode it is then.
    while (readsTerminal_ && !input_.hasEnded() && !isKeyWaiting()) {
    }
    std::uint8_t byte = 0;
    mapEraseKey(&byte, input_.read(&byte, 1));
    return byte;
}

bool kxSerializeAdapterStdIO::isKeyWaiting()
{
    if (mayLook()) return input_.look(kKeyWaitMilliseconds) != 0;
    kxPlatformSleep(kKeyWaitMilliseconds);
    return false;
}

void kxSerializeAdapterStdIO::mapEraseKey(std::uint8_t* bytes, std::uint32_t count)
{
    const int eraseKey = readsTerminal_ ? kxPlatformConsoleEraseKey() : -1;
    if (eraseKey >= 0) std::replace(bytes, bytes + count, static_cast<std::uint8_t>(eraseKey), kBackspace);
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
    kxAdapterMessage(KX_MESSAGE_WARNING, "%s", getError());
    return true;
}
