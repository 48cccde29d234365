// Destroys objects that destroy others without using more and more stack.
//
// Destroying an object may release the last reference of the next one, and so on along a chain of any length.
// Up to a fixed depth the calls nest; below it objects are put aside, and the outermost call of the thread
// destroys them before it returns.
//
// Threads: what is put aside belongs to the thread that did it. Usable before main and after it.
// Errors:  what a destructor throws goes on to the caller; objects still put aside then are destroyed by the
//          thread's next outermost call. When memory is short the calls nest further.
#pragma once

class kxDestruction {
public:
    using Destroy = void (*)(const void* object);

    static void run(const void* object, Destroy destroy);
};
