// Makes any endpoint addressable by position: takes in everything that its parent has ready, serves reads and
// writes from that copy, and at its end writes the whole copy back when anything was written.
//
// Ownership: holds a reference to the parent, which must not be null, and owns the copy. Takes over the
//            parent's name, flags and where it came from.
// Threads:   takes no lock; one thread at a time.
// Errors:    at the end of the copy the error state is the parent's, once somebody has looked for more data
//            there. Reading a byte beyond the end adds zero bytes to the copy instead of failing; blocks end at
//            the end of the copy. A copy beyond 4294967295 bytes reports "Bad Alloc:" and throws
//            std::bad_alloc. The destructor passes on what the parent
//            throws from the write-back; while another exception passes it sends a Fatal message instead.
// Units:     counts and positions are in bytes.
#pragma once

#include "kxbase/containers/kxDynamicArray.h"
#include "kxbase/serialize/kxSerializeAdapter.h"

#include <algorithm>

class kxSerializeAdapterRandomAccess : public kxSerializeAdapter {
public:
    // Drains the parent. When the parent delivers less than it said, the copy is what came.
    explicit kxSerializeAdapterRandomAccess(const kxRefPointer<kxSerializeAdapter>& parent);
    ~kxSerializeAdapterRandomAccess() noexcept(false) override;
    const kxType& getType() const override;

    bool hasError() override;
    kxString getError() override;
    void writeBlock(const void* bytes, std::uint32_t count) override;
    void writeByte(std::uint8_t byte) override;
    std::uint32_t readBlock(void* bytes, std::uint32_t count) override;
    std::uint8_t readByte() override;
    // Bytes from the position to the end of the copy; 0 when the position lies beyond it.
    std::uint32_t getDataLength() override;

    std::uint32_t getPosition() const { return position_; }
    // Any position may be set. One beyond the end grows the copy only when it is read or written there. Bytes
    // pushed back belong to the old position and are thrown away.
    void setPosition(std::uint32_t position);

private:
    void takeFromParent(std::uint32_t count);
    void growTo(std::uint64_t usedCount);
    std::uint32_t bytesLeft() const { return copy_.size() - std::min(position_, copy_.size()); }

    kxRefPointer<kxSerializeAdapter> parent_;
    std::uint32_t position_ = 0;  // next byte to read or write
    kxDynamicArray<std::uint8_t> copy_;
    bool isDirty_ = false;
    bool endWasMet_ = false;  // somebody looked for more than there is
};
