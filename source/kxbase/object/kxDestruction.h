// Destroys objects that destroy others without using more and more stack.
//
// Destroying an object may release the last reference of the next one, and so on along a chain of any length.
// The calls nest, so that everything is destroyed in the order in which it is released, until more than
// KX_DESTRUCTION_STACK_BYTES of stack lie between the outermost call and this one. Objects released beyond
// that are put aside, the outermost call of the thread destroys them before it returns, the last one first.
// There a destructor may rely neither on an object being gone when its release returns nor on the order.
//
// Threads: what is put aside belongs to the thread that did it. Usable before main and after it.
// Errors:  what a destructor throws goes on to the caller; objects still put aside then are destroyed by the
//          thread's next outermost call. When memory is short the calls nest further.
#pragma once

#include <cstdint>

constexpr std::uint32_t KX_DESTRUCTION_STACK_BYTES = 256 * 1024;

class kxDestruction {
public:
    using Destroy = void (*)(const void* object);

    static void run(const void* object, Destroy destroy);
};
