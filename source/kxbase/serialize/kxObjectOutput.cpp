#include "kxbase/serialize/kxObjectOutput.h"

#include "kxbase/serialize/kxSerializeBinary.h"
#include "kxbase/serialize/kxVarUInt64.h"

namespace {

constexpr std::uint32_t kGrowthStepBytes = 65536;

}  // namespace

kxObjectOutput::kxObjectOutput(kxSerializeAdapter& adapter)
    : adapter_(adapter), data_(kxMakeRef<kxSerializeAdapterQueue>(KX_QUEUE_FIFO, kGrowthStepBytes)),
      target_(&adapter)
{}

void kxObjectOutput::writeObject(const kxReference* identity, const kxStreamedObjectInterface* object)
{
    mention(identity, object);
    if (isInsideObject()) return;
    // Whatever throws, the next object starts afresh.
    const struct Restart {
        kxObjectOutput& output;
        ~Restart()
        {
            output.target_ = &output.adapter_;
            output.pending_.clear();
        }
    } restart{*this};
    while (!pending_.isEmpty()) writeData(*pending_.pop());
}

void kxObjectOutput::mention(const kxReference* identity, const kxStreamedObjectInterface* object)
{
    if (identity == nullptr) return kxVarUInt64(0).write(*target_);
    kxRefInstanceDictionary& instances = adapter_.getInstanceDictionary();
    std::uint32_t id = 0;
    if (instances.find(identity, id)) return kxVarUInt64(1 + 2 * std::uint64_t{id}).write(*target_);
    id = adapter_.nextInstanceId();
    instances.add(identity, id);
    kxVarUInt64(2 + 2 * std::uint64_t{id}).write(*target_);
    kxSerializeBinary<unsigned int>(object->getFactoryId()).write(*target_);
    pending_.push(object);
}

void kxObjectOutput::writeData(const kxStreamedObjectInterface& object)
{
    discardLeftovers();
    target_ = data_.get();
    object.writeData(*this);
    const kxArray<std::uint8_t> bytes = takeData();
    kxVarUInt64(bytes.size()).write(adapter_);
    adapter_.write(bytes.data(), bytes.size());
}

kxArray<std::uint8_t> kxObjectOutput::takeData()
{
    kxArray<std::uint8_t> bytes(data_->length());
    data_->read(bytes.data(), bytes.size());
    return bytes;
}
