#include "kxbase/string/kxUniqueStringTable.h"

#include "kxbase/core/kxForkGuard.h"
#include "kxbase/core/kxMessage.h"
#include "kxbase/string/kxString.h"
#include "kxbase/string/kxUniqueId.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <new>

namespace {

constexpr std::uint32_t kIndexBuckets = 10;

struct OwnText {
    std::string_view text;
    kxUniqueId id;
};
constexpr OwnText kOwn[] = {
    {"void", KX_UNIQUE_VOID},   {"num", KX_UNIQUE_NUM},
    {"llnum", KX_UNIQUE_LLNUM}, {"str", KX_UNIQUE_STR},
    {"guid", KX_UNIQUE_GUID},   {"ptr", KX_UNIQUE_PTR},
    {"ref", KX_UNIQUE_REF},     {"array", KX_UNIQUE_ARRAY},
    {"cont", KX_UNIQUE_CONT},   {"chain", KX_UNIQUE_CHAIN},
    {"error", KX_UNIQUE_ERROR}, {"ttag", KX_UNIQUE_TTAG},
    {"vec2", KX_UNIQUE_VEC2},   {"vec3", KX_UNIQUE_VEC3},
    {"vec4", KX_UNIQUE_VEC4},   {"Value not set", KX_UNIQUE_VALUE_NOT_SET},
};
static_assert(std::size(kOwn) == kxUniqueStringTable::kOwnTexts &&
                  std::all_of(std::begin(kOwn), std::end(kOwn),
                              [](const OwnText& own) { return kxUniqueStringTable::isOwn(own.id); }),
              "the ids that need no lock are those filled here");

class LockScope {
public:
    explicit LockScope(kxPlatformLock& lock) : lock_(lock) { kxPlatformLockAcquire(lock_); }
    ~LockScope() { kxPlatformLockRelease(lock_); }
    LockScope(const LockScope&) = delete;
    LockScope& operator=(const LockScope&) = delete;

private:
    kxPlatformLock& lock_;
};

}  // namespace

kxUniqueStringTable& kxUniqueStringTable::instance()
{
    try {
        static kxUniqueStringTable& table = *new kxUniqueStringTable;
        static const kxForkGuard guard({[] { kxPlatformLockAcquire(instance().lock_); },
                                        [] { kxPlatformLockRelease(instance().lock_); }});
        return table;
    } catch (const std::bad_alloc&) {
        // Reported below, where a receiver of the report may try again.
    }
    kxThrowBadAlloc(__FILE__, __LINE__);
}

// The library's own texts go in first, so that no string made unique by another unit's start-up code can take
// one of their ids.
kxUniqueStringTable::kxUniqueStringTable()
    : slots_(static_cast<kxUniqueStringData*>(std::calloc(kSlots, sizeof(kxUniqueStringData)))),
      index_(kIndexBuckets)
{
    index_.setReuse(true);
    index_.setNoCache(true);
    if (slots_ != nullptr && enterOwnTexts()) return;
    for (const auto& own : kOwn)
        if (slots_ != nullptr) std::free(const_cast<char*>(slotOfOwn(own.id).text));
    std::free(slots_);
    throw std::bad_alloc();
}

bool kxUniqueStringTable::enterOwnTexts()
{
    for (const auto& own : kOwn)
        if (enter(own.text, kxString::hashOf(own.text), own.id).outcome != Outcome::kAdopt) return false;
    return true;
}

kxUniqueStringTable::Answer kxUniqueStringTable::enter(std::string_view text, std::uint32_t hash,
                                                       std::uint16_t id)
{
    const LockScope scope(lock_);
    const Key key{text.data(), static_cast<std::uint32_t>(text.size()), hash};
    const kxUniqueStringData* const known = index_.find(key);
    if (known == nullptr) return add(text, hash, id);
    return {id == 0 || id == idOf(*known) ? Outcome::kAdopt : Outcome::kOtherId, known};
}

const kxUniqueStringData* kxUniqueStringTable::slotInUse(std::uint16_t id)
{
    const LockScope scope(lock_);
    const kxUniqueStringData& slot = slots_[id - 1];
    return slot.lengthPlusOne != 0 ? &slot : nullptr;
}

std::uint32_t kxUniqueStringTable::count()
{
    const LockScope scope(lock_);
    return usedCount_;
}

kxUniqueStringTable::Answer kxUniqueStringTable::add(std::string_view text, std::uint32_t hash,
                                                     std::uint16_t id)
{
    kxUniqueStringData* const slot = freeSlot(id);
    if (slot == nullptr) return {Outcome::kFull, nullptr};
    if (slot->lengthPlusOne != 0) return {Outcome::kIdTaken, slot};
    char* const copy = static_cast<char*>(std::malloc(text.size() + 1));
    if (copy == nullptr) return {Outcome::kOutOfMemory, nullptr};
    std::memcpy(copy, text.data(), text.size());
    copy[text.size()] = '\0';
    if (!index({copy, static_cast<std::uint32_t>(text.size()), hash}, slot)) {
        std::free(copy);
        return {Outcome::kOutOfMemory, nullptr};
    }
    *slot = {copy, static_cast<std::uint32_t>(text.size()) + 1, hash, id != 0};
    ++usedCount_;
    return {Outcome::kAdopt, slot};
}

bool kxUniqueStringTable::index(const Key& key, kxUniqueStringData* slot)
{
    try {
        return index_.insert(key, slot);
    } catch (const std::bad_alloc&) {
        return false;
    }
}

kxUniqueStringData* kxUniqueStringTable::freeSlot(std::uint16_t id) noexcept
{
    if (id != 0) return &slots_[id - 1];
    while (firstFree_ < kSlots && slots_[firstFree_].lengthPlusOne != 0) ++firstFree_;
    return firstFree_ < kSlots ? &slots_[firstFree_] : nullptr;
}
