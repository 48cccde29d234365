// Reads objects that kxObjectOutput has written: makes each through kxObjectFactory and lets it take its data.
//
// Ownership: refers to the adapter, which must outlive it. The adapter's instance table keeps the objects, so that
//            later streams on it may mention them; an object with the id 0 begins a new table.
// Threads:   one thread at a time.
// Errors:    a factory id that makes no object that can be streamed sends the Warning "Unknown Factory : %ld", after
//            "Factory Object Id '%d' not registered" from kxObjectFactory when nothing has the id; the object is
//            null wherever it is mentioned, and its data are skipped. A stream that ends too early or has
//            not the form, an object that takes more data than it has, or one of another class than the reader
//            wants, send "Corrupt Stream in kxObjectInput!!": everything is null from then on. Counts and sizes in
//            the stream cost no memory before their bytes have come.
//
// Objects that refer to each other in a circle keep each other alive, as everywhere; a stream from outside may
// make such circles of them.
#pragma once

#include "kxbase/containers/kxQueue.h"
#include "kxbase/core/kxSerializeData.h"
#include "kxbase/serialize/kxObjectOutput.h"

class kxObjectInput {
public:
    explicit kxObjectInput(kxSerializeAdapter& adapter) noexcept : adapter_(adapter), source_(&adapter) {}

    // The next object, with all that it refers to, or null. Inside readData(): the next one mentioned.
    template <kxStreamedObject T> kxRefPointer<T> readObject()
    {
        const kxRefPointer<kxReference> object = readAny();
        auto* const wanted = dynamic_cast<T*>(object.get());
        if (object && wanted == nullptr) fail();
        return hasError_ ? nullptr : wanted;
    }
    // Inside readData(): a value of the object.
    void read(kxSerializeData& value) { value.read(*source_); }
    // Where values come from that are no kxSerializeData. Inside readData(): of no use after it.
    kxSerializeAdapter& getAdapter() noexcept { return *source_; }

    // Whether the stream was corrupt; it stays so.
    bool hasError() const noexcept { return hasError_; }

private:
    using Pending = kxQueue<kxRefPointer<kxReference>>;

    kxRefPointer<kxReference> readAny();
    kxRefPointer<kxReference> readMention();
    kxRefPointer<kxReference> makeObject(std::uint32_t instanceId);
    void readData(kxReference& object);
    bool isInsideObject() const noexcept { return source_ != &adapter_; }
    void fail();

    kxSerializeAdapter& adapter_;
    kxSerializeAdapter* source_;      // the adapter, or the data of the object being read
    Pending pending_{KX_QUEUE_FIFO};  // made, data not read yet
    bool hasError_ = false;
};
