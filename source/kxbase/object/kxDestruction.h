// Destroys objects that destroy others without using more and more stack.
//
// Destroying an object may release the last reference of the next one, and so on along a chain of any length.
// The calls nest, so that everything is destroyed in the order in which it is released, until more than
// KX_DESTRUCTION_STACK_BYTES of stack lie between the outermost call and this one. Objects released beyond
// that are put aside and held, the outermost call of the thread lets go of them before it returns, the last one
// first: what nobody has taken a reference to meanwhile is destroyed then. There a destructor may rely neither on
// an object being gone when its release returns nor on the order.
//
// Threads: what is put aside belongs to the thread that did it. Usable before main and after it.
// Errors:  what a destructor throws goes on to the caller, from the outermost call once the others are destroyed
//          too; what these throw is a Fatal message then. When memory is short the calls nest further.
#pragma once

#include <cstdint>

// Half of the stack where threads have a small one.
constexpr std::uint32_t KX_DESTRUCTION_STACK_BYTES = 32 * 1024;

class kxReference;

class kxDestruction {
public:
    // How a class counts one reference.
    struct Steps {
        // Takes a reference to an object that has none.
        void (*hold)(const kxReference* object);
        // Drops the reference and destroys the object if there is no other.
        void (*letGo)(const kxReference* object);
    };

    static void run(const kxReference* object, const Steps& steps);
};
