// Gives changes their turn under a read-write lock whose readers come in whoever waits to write, as readers within
// readers must: left alone, readers that never leave the lock free would keep a change waiting for ever. So a change
// is announced before the lock is taken, and those who begin to read stand back for it first.
//
// A thread stands back up to one second, and once for each change, since the reader that the change waits for may
// itself be waiting, even for this thread.
//
// Threads: every operation may be called from any thread. In a forked child forgetInChild() comes first.
#pragma once

#include <atomic>
#include <cstdint>

class kxChangeTurn {
public:
    // A change that waits for its turn, or has it, while such an object lives.
    class Announced {
    public:
        explicit Announced(kxChangeTurn& turn) noexcept;
        ~Announced();
        Announced(const Announced&) = delete;
        Announced& operator=(const Announced&) = delete;

    private:
        kxChangeTurn& turn_;
    };

    // Waits while changes are announced. Called before the lock is taken by readers that hold none. `vainTicket` is
    // where the calling thread keeps which change it has stood back for in vain: 0 at first, and for this object alone.
    void letPass(std::uint32_t& vainTicket) const;
    // Those who announced changes before the fork are not there.
    void forgetInChild() noexcept { waiting_ = 0; }

private:
    std::atomic<std::uint32_t> lastTicket_{0};  // every change has one
    std::atomic<std::uint32_t> waiting_{0};
};
