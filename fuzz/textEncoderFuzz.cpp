// Hexadecimal and Base64 text: the first byte chooses the encoder and the sizes of the blocks, the rest is the
// text. Blocks must read what single bytes read and leave the same text behind.

#include "kxbase/serialize/kxSerializeAdapterBCDEncoder.h"
#include "kxbase/serialize/kxSerializeAdapterBase64Encoder.h"
#include "kxbase/serialize/kxSerializeAdapterQueue.h"

#include <cstdlib>

namespace {

struct Side {
    Side(std::uint8_t choice, const std::uint8_t* text, std::uint32_t size)
        : parent(new kxSerializeAdapterQueue(KX_QUEUE_FIFO, 1000))
    {
        parent->write(text, size);
        parent->setFlags((choice & 2) != 0 ? KX_SERIALIZE_WIDE : 0);
        if ((choice & 1) != 0)
            encoder = kxMakeRef<kxSerializeAdapterBCDEncoder>(parent);
        else
            encoder = kxMakeRef<kxSerializeAdapterBase64Encoder>(parent);
    }

    kxRefPointer<kxSerializeAdapter> parent;
    kxRefPointer<kxSerializeAdapter> encoder;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0 || size > 100000) return 0;
    const std::uint8_t choice = data[0];
    Side blocks(choice, data + 1, static_cast<std::uint32_t>(size - 1));
    Side bytes(choice, data + 1, static_cast<std::uint32_t>(size - 1));
    std::uint8_t block[64];
    const std::uint32_t count = 1U + (choice >> 2);
    while (blocks.encoder->length() != 0) {
        const std::uint32_t taken = blocks.encoder->read(block, count);
        for (std::uint32_t index = 0; index < taken; ++index) {
            if (bytes.encoder->readByte() != block[index]) std::abort();
        }
        // A block that ends early met the end of the text or text that gives no byte.
        if (taken < count && bytes.encoder->length() != 0 && bytes.encoder->readByte() != 0) std::abort();
        if (blocks.parent->length() != bytes.parent->length()) std::abort();
    }
    return 0;
}
