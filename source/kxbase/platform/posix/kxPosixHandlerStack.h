// A stack of its own for signal handlers, without which a stack that has overflowed has no room for one.
//
// Ownership: the storage of the stack; it must outlive the thread that it was given to, or be taken from it before.
// Threads:   each function speaks of the calling thread.
#pragma once

class kxPosixHandlerStack {
public:
    // Whether the thread has none.
    static bool isMissing();
    // Gives this one to the thread.
    void give();
    // Leaves the thread without one.
    static void takeAway();

private:
    char room_[64 * 1024];
};

// Gives a stack that stays for good to the first thread that asks and has none.
void kxPosixInstallHandlerStack();
