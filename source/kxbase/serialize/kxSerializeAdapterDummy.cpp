#include "kxbase/serialize/kxSerializeAdapterDummy.h"

#include "kxbase/platform/kxPlatformWait.h"

namespace {

constexpr std::uint32_t kFreeLooks = 100;
constexpr std::uint32_t kIdleMilliseconds = 1;

}  // namespace

void kxSerializeAdapterDummy::writeBlock(const void* /*bytes*/, std::uint32_t /*count*/)
{
    idleLooks_.store(0, std::memory_order_relaxed);
}

void kxSerializeAdapterDummy::writeByte(std::uint8_t /*byte*/)
{
    idleLooks_.store(0, std::memory_order_relaxed);
}

std::uint32_t kxSerializeAdapterDummy::readBlock(void* /*bytes*/, std::uint32_t /*count*/)
{
    return 0;
}

std::uint8_t kxSerializeAdapterDummy::readByte()
{
    return 0;
}

std::uint32_t kxSerializeAdapterDummy::getDataLength()
{
    if (idleLooks_.load(std::memory_order_relaxed) < kFreeLooks)
        idleLooks_.fetch_add(1, std::memory_order_relaxed);
    else
        kxPlatformSleep(kIdleMilliseconds);
    return 0;
}
