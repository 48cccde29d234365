// Memory for the entries of one dictionary: single pieces, or, for a dictionary that reuses its entries, blocks
// of pieces and a list of spare ones.
//
// Ownership: owns the blocks and the spare pieces; blocks are given back with the pool.
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
    struct Piece {
        void* room;
        bool inBlock;  // to be told to give()
    };

    kxDictPool() noexcept = default;
    ~kxDictPool()
    {
        setReuse(false);
        while (blocks_ != nullptr) Storage::free(std::exchange(blocks_, blocks_->next));
    }
    kxDictPool(const kxDictPool&) = delete;
    kxDictPool& operator=(const kxDictPool&) = delete;

    Piece take()
    {
        if (spare_ == nullptr) {
            if (!reuse_) return {Storage::allocate(sizeof(Entry)), false};
            addBlock();
        }
        Spare* const piece = spare_;
        spare_ = piece->next;
        --spareCount_;
        return {piece, piece->inBlock};
    }
    void give(void* room, bool inBlock) noexcept
    {
        if (!reuse_ && !inBlock) return Storage::free(room);
        keepsSingle_ = keepsSingle_ || !inBlock;
        spare_ = ::new (room) Spare{spare_, inBlock};
        ++spareCount_;
    }

    // Switching it off frees the spare pieces that are not part of a block.
    void setReuse(bool reuse) noexcept
    {
        reuse_ = reuse;
        if (reuse || !std::exchange(keepsSingle_, false)) return;
        Spare* piece = std::exchange(spare_, nullptr);
        spareCount_ = 0;
        while (piece != nullptr) {
            Spare* const next = piece->next;
            give(piece, piece->inBlock);
            piece = next;
        }
    }
    std::uint32_t spareCount() const noexcept { return spareCount_; }

private:
    struct Spare {
        Spare* next;
        bool inBlock;
    };
    struct alignas(std::max_align_t) Block {
        Block* next;
    };
    static_assert(sizeof(Entry) >= sizeof(Spare) && alignof(Entry) <= alignof(Block));

    static constexpr std::uint32_t kLeastPieces = 8;
    static constexpr std::uint32_t kMostPieces = 512;

    void addBlock()
    {
        const std::uint32_t pieces = nextPieces_;
        void* const room = Storage::allocate(sizeof(Block) + pieces * sizeof(Entry));
        blocks_ = ::new (room) Block{blocks_};
        nextPieces_ = std::min(pieces * 2, kMostPieces);
        // From the back, so that pieces are taken in the order of their addresses.
        auto* const first = reinterpret_cast<std::byte*>(blocks_ + 1);
        for (std::uint32_t piece = pieces; piece-- != 0;) give(first + piece * sizeof(Entry), true);
    }

    Spare* spare_ = nullptr;
    Block* blocks_ = nullptr;
    std::uint32_t spareCount_ = 0;
    std::uint32_t nextPieces_ = kLeastPieces;
    bool reuse_ = false;
    bool keepsSingle_ = false;  // there may be spare pieces that are not part of a block
};
