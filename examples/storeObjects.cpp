// Objects that refer to each other, written to a stream and made again from it.

#include "kxbase/kxbase.h"

#include <cstdio>

namespace {

class Station : public kxReference, public kxStreamedObjectInterface {
public:
    kxString name;
    kxRefPointer<Station> backup;

    std::uint32_t getFactoryId() const override { return 7001; }
    void writeData(kxObjectOutput& output) const override
    {
        output.write(name);
        output.writeObject(backup);
    }
    void readData(kxObjectInput& input) override
    {
        input.read(name);
        backup = input.readObject<Station>();
    }
};

kxObjectFactoryOf<Station> stationFactory(7001);

}  // namespace

int main()
{
    const auto stream = kxMakeRef<kxSerializeAdapterQueue>(KX_QUEUE_FIFO, 64U);
    {
        const auto harbour = kxMakeRef<Station>();
        const auto hill = kxMakeRef<Station>();
        harbour->name = "harbour";
        hill->name = "hill";
        harbour->backup = hill;
        kxObjectOutput output(*stream);
        output.writeObject(harbour);
        output.writeObject(hill);  // is there already, so it is only mentioned
    }
    std::printf("%u bytes\n", stream->length());
    kxObjectInput input(*stream);
    const auto first = input.readObject<Station>();
    const auto second = input.readObject<Station>();
    if (input.hasError() || !first || first->backup != second) return 1;  // a Warning has said why
    std::printf("%s, with %s behind it\n", first->name.text(), second->name.text());
    return 0;
}
