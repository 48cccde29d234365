// Writes objects that refer to each other, each of them once, as kxObjectInput reads them.
//
//   mention  =  0                                        null
//            |  1 + 2 * instance id                      an object that was mentioned before
//            |  2 + 2 * instance id, factory id          one that is mentioned for the first time
//   stream   =  mention, for each object mentioned for the first time: size of its data, its data
//
// Numbers are varints, the factory id four bytes, least significant first. The data of objects do not lie in one
// another: they follow in the order in which the objects were mentioned, so that chains of any length cost no
// stack. The instance ids are those of the adapter's instance dictionary; several streams on one adapter share
// them until its resetInstances().
//
// Ownership: refers to the adapter, which must outlive it. The adapter keeps a reference to each object until it is
//            reset, so the objects must be held by references and not live on the stack.
// Threads:   one thread at a time.
// Errors:    those of the adapter. When writeData() throws, what is on the adapter is not readable.
#pragma once

#include "kxbase/containers/kxArray.h"
#include "kxbase/containers/kxQueue.h"
#include "kxbase/core/kxSerializeData.h"
#include "kxbase/serialize/kxSerializeAdapterQueue.h"
#include "kxbase/serialize/kxStreamedObjectInterface.h"

#include <concepts>

template <typename T>
concept kxStreamedObject =
    std::derived_from<T, kxReference> && std::derived_from<T, kxStreamedObjectInterface>;

class kxObjectOutput {
public:
    explicit kxObjectOutput(kxSerializeAdapter& adapter);

    // The object, which may be null, and all that it refers to. Inside writeData(): mentions the object, whose data
    // follow later.
    template <kxStreamedObject T> void writeObject(const T* object) { writeObject(object, object); }
    template <kxStreamedObject T> void writeObject(const kxRefPointer<T>& object)
    {
        writeObject(object.get());
    }
    // Inside writeData(): a value of the object.
    void write(const kxSerializeData& value) { value.write(*target_); }
    // Where values go that are no kxSerializeData. Inside writeData(): of no use after it.
    kxSerializeAdapter& getAdapter() noexcept { return *target_; }

private:
    using Pending = kxQueue<const kxStreamedObjectInterface*>;

    // One object as both of its bases, which know nothing of each other: what the instance dictionary tells objects
    // apart by, and what writes the data.
    void writeObject(const kxReference* identity, const kxStreamedObjectInterface* object);
    void mention(const kxReference* identity, const kxStreamedObjectInterface* object);
    void writeData(const kxStreamedObjectInterface& object);
    kxArray<std::uint8_t> takeData();
    // What an object that threw has written.
    void discardLeftovers() { takeData(); }
    bool isInsideObject() const noexcept { return target_ != &adapter_; }

    kxSerializeAdapter& adapter_;
    const kxRefPointer<kxSerializeAdapterQueue> data_;  // of one object, to know its size
    kxSerializeAdapter* target_;      // the adapter, or the data of the object being written
    Pending pending_{KX_QUEUE_FIFO};  // mentioned, data not written yet
};
