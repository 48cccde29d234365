// Records of an own type, composed of serializers, and an array of numbers beside them: written to an adapter in
// a fixed byte order and read back.

#include "kxbase/kxbase.h"

#include <cstdio>
#include <tuple>

namespace {

class Reading : public kxSerializeRecord<Reading> {
public:
    kxSerializeBinary<unsigned int> station{0, KX_BYTE_ORDER_BIG};
    kxVarUInt64 sampleCount;
    kxSerializeVec3 position;
    kxSerializeString unit;

    // All there is to say about how the record is stored.
    static auto parts(auto& self)
    {
        return std::tie(self.station, self.sampleCount, self.position, self.unit);
    }
};

}  // namespace

int main()
{
    const double samples[] = {20.5, 20.75, 21.125};
    Reading reading;
    reading.station.setValue(45455);
    reading.sampleCount.setValue(std::size(samples));
    reading.position.setValue({1.5F, -2.0F, 0.25F});
    reading.unit.setText("degrees");

    constexpr std::uint32_t roomBytes = 256;
    std::uint8_t block[roomBytes];
    const auto output = kxMakeRef<kxSerializeAdapterMemory>(block, roomBytes);
    reading.write(*output);
    kxSerializeBinary<double>::writeArray(*output, samples, std::size(samples), KX_BYTE_ORDER_BIG);
    const std::uint32_t written = reading.getDataSize() + static_cast<std::uint32_t>(sizeof(samples));

    const auto input = kxMakeRef<kxSerializeAdapterMemory>(block, written);
    Reading found;
    found.read(*input);
    double foundSamples[std::size(samples)] = {};
    // A count from outside is never trusted with the size of a buffer.
    const auto count = static_cast<std::uint32_t>(std::min<std::uint64_t>(found.sampleCount.getValue(), 3));
    const std::uint32_t came =
        kxSerializeBinary<double>::readArray(*input, foundSamples, count, KX_BYTE_ORDER_BIG);
    if (input->hasError() || came != count) return 1;

    std::printf("station %u, %u bytes, %s:", found.station.getValue(), written, found.unit.getText().text());
    for (std::uint32_t index = 0; index < came; ++index) std::printf(" %g", foundSamples[index]);
    std::printf("\n");
    return found.position.getValue() == reading.position.getValue() ? 0 : 1;
}
