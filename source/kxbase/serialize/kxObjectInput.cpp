#include "kxbase/serialize/kxObjectInput.h"

#include "kxbase/serialize/kxCorruptStream.h"
#include "kxbase/serialize/kxObjectFactory.h"
#include "kxbase/serialize/kxSerializeAdapterMemory.h"
#include "kxbase/serialize/kxSerializeBinary.h"

#include <limits>

namespace {

kxStreamedObjectInterface* streamed(kxReference* object)
{
    return dynamic_cast<kxStreamedObjectInterface*>(object);
}

}  // namespace

kxRefPointer<kxReference> kxObjectInput::readAny()
{
    kxRefPointer<kxReference> object = readMention();
    if (isInsideObject()) return object;
    // Whatever throws, the next object starts afresh.
    const struct Restart {
        kxObjectInput& input;
        ~Restart() noexcept(false)
        {
            input.source_ = &input.adapter_;
            input.pending_.clear();
        }
    } restart{*this};
    while (!hasError_ && !pending_.isEmpty()) readData(*pending_.pop());
    return hasError_ ? nullptr : object;
}

kxRefPointer<kxReference> kxObjectInput::readMention()
{
    std::uint64_t mention = 0;
    if (hasError_ || !kxReadAnnounced(*source_, mention)) {
        fail();
        return nullptr;
    }
    if (mention == 0) return nullptr;
    const bool isNew = mention % 2 == 0;
    const std::uint64_t id = (mention - (isNew ? 2 : 1)) / 2;
    const bool isId = id <= std::numeric_limits<std::uint32_t>::max();
    if (isId && isNew) return makeObject(static_cast<std::uint32_t>(id));
    kxReference* const known =
        isId ? adapter_.getInstanceTable().find(static_cast<std::uint32_t>(id)) : nullptr;
    if (known == nullptr) fail();
    return streamed(known) != nullptr ? known : nullptr;
}

// An object that cannot be made stands in the table all the same, as one that can do nothing.
kxRefPointer<kxReference> kxObjectInput::makeObject(std::uint32_t instanceId)
{
    unsigned int factoryId = 0;
    if (kxSerializeBinary<unsigned int>::readArray(*source_, &factoryId, 1) != 1) {
        fail();
        return nullptr;
    }
    kxInstanceTable& table = adapter_.getInstanceTable();
    if (instanceId == 0) table.clear();
    kxRefPointer<kxReference> object = kxObjectFactory::create(factoryId);
    const bool isUsable = streamed(object.get()) != nullptr;
    if (!isUsable) {
        kxMessage(KX_MESSAGE_WARNING, "Unknown Factory : %ld", factoryId);
        object = kxMakeRef<kxReference>();
    }
    if (!table.add(instanceId, object.get())) {
        fail();
        return nullptr;
    }
    pending_.push(object);
    return isUsable ? object : nullptr;
}

void kxObjectInput::readData(kxReference& object)
{
    std::uint32_t size = 0;
    kxArray<std::uint8_t> bytes;
    if (!kxReadAnnouncedSize(adapter_, size) || !kxReadAnnouncedBytes(adapter_, size, bytes)) return fail();
    kxStreamedObjectInterface* const reader = streamed(&object);
    if (reader == nullptr) return;
    // The object may take a reference to it.
    const auto data = kxMakeRef<kxSerializeAdapterMemory>(bytes.data(), size);
    source_ = data.get();
    reader->readData(*this);
    source_ = &adapter_;
    if (data->hasError()) fail();
}

void kxObjectInput::fail()
{
    if (!std::exchange(hasError_, true)) kxWarnCorruptStream("kxObjectInput");
}
