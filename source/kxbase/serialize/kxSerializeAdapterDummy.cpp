#include "kxbase/serialize/kxSerializeAdapterDummy.h"

void kxSerializeAdapterDummy::writeBlock(const void* /*bytes*/, std::uint32_t /*count*/) {}

void kxSerializeAdapterDummy::writeByte(std::uint8_t /*byte*/) {}

std::uint32_t kxSerializeAdapterDummy::readBlock(void* /*bytes*/, std::uint32_t /*count*/)
{
    return 0;
}

std::uint8_t kxSerializeAdapterDummy::readByte()
{
    return 0;
}
