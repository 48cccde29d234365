// Memory for the entry records of one dictionary, with a pool of those of removed entries.
//
// While reuse is on, new records are cut from blocks, of which each goes when its last record does; otherwise each
// is an allocation of its own.
//
// Ownership: owns the records in the pool, and the blocks.
// Threads:   takes no lock; one thread at a time.
// Errors:    a failed allocation throws std::bad_alloc and changes nothing.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>
#include <utility>

template <typename Entry, typename Storage> class kxDictPool {
public:
    struct Record {
        void* room;
        std::uint16_t place;  // to be told to give()
    };

    kxDictPool() noexcept = default;
    ~kxDictPool() { setReuse(false); }
    kxDictPool(const kxDictPool&) = delete;
    kxDictPool& operator=(const kxDictPool&) = delete;

    // Room for an entry: that of a spare record, or a new one when there is none.
    Record take()
    {
        if (spare_ != nullptr) {
            --spareCount_;
            Spare* const record = std::exchange(spare_, spare_->next);
            return {record, record->place};
        }
        return reuse_ ? cut() : Record{Storage::allocate(sizeof(Entry)), kAlone};
    }
    // Keeps the record while reuse is on, else frees it.
    void give(void* room, std::uint16_t place) noexcept
    {
        if (!reuse_) return free(room, place);
        spare_ = ::new (room) Spare{spare_, place};
        ++spareCount_;
    }

    // Switching it off frees the spare records.
    void setReuse(bool reuse) noexcept
    {
        reuse_ = reuse;
        if (reuse) return;
        leaveBlock();
        for (spareCount_ = 0; spare_ != nullptr;) {
            Spare* const record = std::exchange(spare_, spare_->next);
            free(record, record->place);
        }
    }
    std::uint32_t spareCount() const noexcept { return spareCount_; }

private:
    struct Spare {
        Spare* next;
        std::uint16_t place;
    };
    struct alignas(std::max_align_t) Block {
        std::uint32_t used;  // records that exist, and one as long as others may be cut from it
    };
    static_assert(sizeof(Entry) >= sizeof(Spare) && alignof(Entry) <= alignof(Block));

    static constexpr std::uint16_t kAlone = 0xFFFF;  // else the place in a block
    static constexpr std::uint16_t kLeastRecords = 8;
    static constexpr std::uint16_t kMostRecords = 512;

    static std::byte* recordsOf(Block* block) noexcept { return reinterpret_cast<std::byte*>(block + 1); }

    Record cut()
    {
        if (block_ == nullptr) {
            void* const room = Storage::allocate(sizeof(Block) + records_ * sizeof(Entry));
            block_ = ::new (room) Block{1};
        }
        const std::uint16_t place = cut_++;
        ++block_->used;
        void* const room = recordsOf(block_) + place * sizeof(Entry);
        if (cut_ == records_) {
            leaveBlock();
            records_ = std::min<std::uint16_t>(static_cast<std::uint16_t>(records_ * 2), kMostRecords);
        }
        return {room, place};
    }
    void leaveBlock() noexcept
    {
        cut_ = 0;
        if (Block* const block = std::exchange(block_, nullptr)) drop(block);
    }
    static void drop(Block* block) noexcept
    {
        if (--block->used == 0) Storage::free(block);
    }
    static void free(void* room, std::uint16_t place) noexcept
    {
        if (place == kAlone) return Storage::free(room);
        drop(reinterpret_cast<Block*>(static_cast<std::byte*>(room) - place * sizeof(Entry)) - 1);
    }

    Spare* spare_ = nullptr;
    Block* block_ = nullptr;  // new records are cut from it
    std::uint32_t spareCount_ = 0;
    std::uint16_t records_ = kLeastRecords;  // of the block
    std::uint16_t cut_ = 0;
    bool reuse_ = false;
};
