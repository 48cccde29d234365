// A byte stream endpoint: the one interface through which everything reads and writes bytes.
//
// A concrete adapter supplies how one byte is written, how one is read and how many are ready; the base adds
// block operations, a push-back queue, waiting for a number of bytes, the error state, and the instance
// tables used when graphs of objects are stored.
//
// Ownership: held only through kxRefPointer; closed by the destructor when the last reference goes.
// Threads:   the reference count is thread-safe. Reading and writing take no lock: one thread at a time,
//            unless a concrete adapter says otherwise.
// Errors:    the base throws nothing; an adapter that does says so. The error state is the error text: empty means
//            none, and once set it stays. Ask hasError() before getError(): some adapters write the text only
//            then. Adapters with an end (files, the console, connections) show it as an error, once everything
//            has been read and somebody looked for more; those in memory never end. Reading from an exhausted
//            adapter gives fewer bytes than asked.
// Units:     counts are in bytes; a length beyond 4294967295 is given as 4294967295.
#pragma once

#include "kxbase/containers/kxInstanceTable.h"
#include "kxbase/containers/kxQueue.h"
#include "kxbase/containers/kxRefInstanceDictionary.h"
#include "kxbase/object/kxRefPointer.h"
#include "kxbase/object/kxThreadSafeReference.h"
#include "kxbase/serialize/kxSerializeFlag.h"
#include "kxbase/serialize/kxSerializeMode.h"
#include "kxbase/string/kxNameInterface.h"
#include "kxbase/string/kxString.h"

#include <memory>

class kxSerializeAdapter : public kxThreadSafeReference, public kxNameInterface {
public:
    // Makes the adapter that a URL names. Defined in factory/kxAdapterFactory.cpp, which knows every adapter.
    // `mode` is KX_SERIALIZE_OUTPUT, KX_SERIALIZE_INPUT or their sum; `flags` are kept on the adapter, but for
    // KX_SERIALIZE_SILENT, which keeps the factory from sending Warnings; `context` is a text of the caller's,
    // kept on the adapter. Answers null when no working adapter could be made, and then writes the reason to
    // `errorOut` when one is given. Throws only when memory runs out, never for a bad URL.
    static kxRefPointer<kxSerializeAdapter> getAdapter(const kxString& url, std::uint32_t mode,
                                                       std::uint32_t flags = 0, const kxString& context = {},
                                                       kxString* errorOut = nullptr);

    ~kxSerializeAdapter() noexcept(false) override;
    const kxType& getType() const override;

    // Keeps a reference to an object until another one is attached. Null changes nothing.
    virtual void attachData(kxReference* object);
    // Pushes buffered output out. The base only throws pushed-back bytes away. Answers 0, or what a concrete
    // adapter says.
    virtual std::uint32_t flush();
    // Always true; kept for adapters that are not of this library.
    virtual bool hasCapability() const;
    // Whether the connection behind the adapter is alive; true where there is none.
    virtual bool isActive();
    virtual bool hasError();
    virtual kxString getError();
    virtual void setError(const kxString& text);
    // Objects met while storing a graph, with their ids; made on the first call, cleared by resetInstances().
    virtual kxRefInstanceDictionary& getInstanceDictionary();
    // Objects met while reading a graph back, by id; made on the first call.
    virtual kxInstanceTable& getInstanceTable();
    // Hands out 0, 1, 2, ...
    virtual std::uint32_t nextInstanceId();
    // Starts the ids at 0 again and forgets the objects stored; those read back stay.
    virtual void resetInstances();
    // The text itself.
    virtual kxString translate(const kxString& text);
    virtual void writeBlock(const void* bytes, std::uint32_t count);
    virtual void writeByte(std::uint8_t byte) = 0;
    // Reads while less than `count` was read and there is data; answers how much was read.
    virtual std::uint32_t readBlock(void* bytes, std::uint32_t count);
    virtual std::uint8_t readByte() = 0;
    // Bytes that the adapter delivers now, not counting those pushed back.
    virtual std::uint32_t getDataLength();
    virtual bool hasData();
    // Whether a caller who finds nothing may wait until bytes come or hasError() tells the end. Where it is false, as
    // in the base and in memory, nothing more comes unless somebody writes it.
    virtual bool hasEnd() const;

    // What callers use; each serves pushed-back bytes first and rests on the operations above, which a concrete
    // adapter supplies and which know nothing of pushed-back bytes.

    // Bytes that can be read now, pushed-back ones included. An adapter may wait a moment for the first of
    // them, so that a loop over its length does not burn a processor.
    std::uint32_t length();
    // Reads up to `count` bytes, pushed-back ones first; answers how many were read. A null buffer throws
    // exactly `count` bytes away instead and answers `count`.
    std::uint32_t read(void* bytes, std::uint32_t count)
    {
        const bool isDirect = pushBack_.isEmpty() && bytes != nullptr && count != 0;
        return isDirect ? readBlock(bytes, count) : readMixed(bytes, count);
    }
    // The next byte. What an exhausted adapter answers is the concrete adapter's.
    std::uint8_t readChar() { return pushBack_.isEmpty() ? readByte() : pushBack_.pop(); }
    void write(const void* bytes, std::uint32_t count) { writeBlock(bytes, count); }
    // Gives one byte back, to be read before all others: the byte pushed back last is read first.
    void pushBack(std::uint8_t byte) { pushBack_.push(byte); }
    // Gives bytes back so that they are read again in the order in which they stand.
    void pushBack(const void* bytes, std::uint32_t count);
    // Whether `count` bytes can be read: reads them if need be, which may wait, and gives them back.
    // 0 asks isActive(), 1 asks hasData().
    bool ensureData(std::uint32_t count);

    // Where the adapter came from, as the factory recorded it; the scheme ends with its colon.
    std::uint32_t getFlags() const { return flags_; }
    const kxString& getScheme() const { return scheme_; }
    const kxString& getAddress() const { return address_; }
    const kxString& getContext() const { return context_; }
    const kxString& getOptions() const { return options_; }
    const kxRefPointer<kxReference>& getAttachedData() const { return attachedData_; }

    void setFlags(std::uint32_t flags) { flags_ = flags; }
    void setScheme(const kxString& scheme) { scheme_ = scheme; }
    void setAddress(const kxString& address) { address_ = address; }
    void setContext(const kxString& context) { context_ = context; }
    void setOptions(const kxString& options) { options_ = options; }

protected:
    kxSerializeAdapter();
    // For adapters layered on another: takes over where the parent came from, its name and its flags.
    explicit kxSerializeAdapter(const kxRefPointer<kxSerializeAdapter>& parent);

    bool hasPushBack() const { return !pushBack_.isEmpty(); }
    // Throws every pushed-back byte away.
    void discardPushBack() { pushBack_.clear(); }

private:
    // Pushed-back bytes first, a null buffer, or nothing at all.
    std::uint32_t readMixed(void* bytes, std::uint32_t count);
    std::uint32_t skip(std::uint32_t count);
    bool readAhead(std::uint32_t count);

    std::uint32_t flags_ = 0;
    kxString scheme_;
    kxString address_;
    kxString context_;
    kxString options_;
    kxRefPointer<kxReference> attachedData_;
    kxQueue<std::uint8_t> pushBack_;
    kxString error_;
    std::unique_ptr<kxRefInstanceDictionary> instanceDictionary_;
    std::unique_ptr<kxInstanceTable> instanceTable_;
    std::uint32_t instanceCounter_ = 0;
};
