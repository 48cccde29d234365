// Memory for the entry records of one dictionary, with a pool of those of removed entries.
//
// Ownership: owns the records in the pool.
// Threads:   takes no lock; one thread at a time.
// Errors:    a failed allocation throws std::bad_alloc and changes nothing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <utility>

template <typename Entry, typename Storage> class kxDictPool {
public:
    kxDictPool() noexcept = default;
    ~kxDictPool() { setReuse(false); }
    kxDictPool(const kxDictPool&) = delete;
    kxDictPool& operator=(const kxDictPool&) = delete;

    // Room for an entry: that of a spare record, or a new one when there is none.
    void* take()
    {
        if (spare_ == nullptr) return Storage::allocate(sizeof(Entry));
        --spareCount_;
        return std::exchange(spare_, spare_->next);
    }
    // Keeps the record while reuse is on, else frees it.
    void give(void* record) noexcept
    {
        if (!reuse_) return Storage::free(record);
        spare_ = ::new (record) Spare{spare_};
        ++spareCount_;
    }

    // Switching it off frees the spare records.
    void setReuse(bool reuse) noexcept
    {
        reuse_ = reuse;
        if (reuse) return;
        while (spare_ != nullptr) Storage::free(std::exchange(spare_, spare_->next));
        spareCount_ = 0;
    }
    std::uint32_t spareCount() const noexcept { return spareCount_; }

private:
    struct Spare {
        Spare* next;
    };
    static_assert(sizeof(Entry) >= sizeof(Spare) && alignof(Entry) <= alignof(std::max_align_t));

    Spare* spare_ = nullptr;
    std::uint32_t spareCount_ = 0;
    bool reuse_ = false;
};
