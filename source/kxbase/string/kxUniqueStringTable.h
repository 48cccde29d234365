// The process-wide table behind kxUniqueString: one slot for each id and an index from text to slot.
//
// Ownership: created on first use with the library's own texts in it, never destroyed; owns copies of the
//            texts. Outside the memory check, like all objects that live as long as the process.
// Threads:   any; one lock guards the table. Nothing is raised, sent or freed under it, so that it need not be
//            recursive as a kxMutex is, which costs twice the time. A slot that has been filled never changes.
//            A forked child finds the lock free and the table whole, unless another thread was just making the
//            very first unique string.
#pragma once

#include "kxbase/containers/kxDict.h"
#include "kxbase/platform/kxPlatformLock.h"
#include "kxbase/string/kxSameBytes.h"

#include <string_view>

// One slot.
struct kxUniqueStringData {
    const char* text;
    std::uint32_t lengthPlusOne;  // 0 for a free slot; 32 bits, since the longest text has 65535 bytes
    std::uint32_t hash;
    bool hasFixedId;  // the id was asked for, not assigned; read only in a debugger

    std::string_view view() const noexcept { return {text, lengthPlusOne - 1}; }
};

class kxUniqueStringTable {
public:
    static constexpr std::uint32_t kSlots = 65535;
    // The library's own texts have the ids from 1 to this.
    static constexpr std::uint32_t kOwnTexts = 16;

    enum class Outcome : std::uint8_t {
        kAdopt,        // the text has this slot now
        kOtherId,      // the text has this slot, but another id was asked for
        kIdTaken,      // the slot of the id asked for holds another text
        kFull,         // no slot is free
        kOutOfMemory,  // the text could not be copied
    };
    struct Answer {
        Outcome outcome;
        const kxUniqueStringData* slot;
    };

    static kxUniqueStringTable& instance();

    // Looks the text up, and adds it under the id when it is not there; id 0 means any. The text is not empty.
    Answer enter(std::string_view text, std::uint32_t hash, std::uint16_t id);
    // The slot of an id other than 0, or null when it is free.
    const kxUniqueStringData* slotInUse(std::uint16_t id);
    static constexpr bool isOwn(std::uint16_t id) noexcept { return id != 0 && id <= kOwnTexts; }
    // The slot of one of the library's own texts, without a lock.
    const kxUniqueStringData& slotOfOwn(std::uint16_t id) const noexcept { return slots_[id - 1]; }
    std::uint16_t idOf(const kxUniqueStringData& slot) const noexcept
    {
        return static_cast<std::uint16_t>(&slot - slots_ + 1);
    }
    std::uint32_t count();

private:
    struct Key {
        const char* text;
        std::uint32_t length;
        std::uint32_t hash;
    };
    struct KeyTraits {
        static std::uint32_t hash(const Key& key) noexcept { return key.hash; }
        static std::uint16_t fingerprint(const Key& key) noexcept
        {
            return kxTailFingerprint(key.text, key.length);
        }
        static bool isEqual(const Key& left, const Key& right) noexcept
        {
            return left.length == right.length && kxSameBytes(left.text, right.text, left.length);
        }
    };

    kxUniqueStringTable();
    bool enterOwnTexts();
    bool index(const Key& key, kxUniqueStringData* slot);
    Answer add(std::string_view text, std::uint32_t hash, std::uint16_t id);
    kxUniqueStringData* freeSlot(std::uint16_t id) noexcept;

    kxPlatformLock lock_;
    kxUniqueStringData* slots_;
    // Quiet also because a message may want a unique string.
    kxDict<Key, kxUniqueStringData, KeyTraits, kxQuietStorage> index_;
    std::uint32_t usedCount_ = 0;
    std::uint32_t firstFree_ = 0;  // no slot below it is free
};
