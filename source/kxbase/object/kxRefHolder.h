// A kxRefPointer whose destructor throws nothing, for the standard library: containers, std::thread, std::function.
//
// The standard library moves items only where moving and destroying cannot throw, and compiles some uses for no
// others. A std::vector of kxRefPointer counts every object up and down when it grows, a function object that holds
// one does not go into a std::thread with g++ 12. With this class both work as with a plain pointer.
//
// Ownership and threads are those of kxRefPointer.
// Errors:    a miscounted object is fatal when it is released by assignment; found by the destructor it is a Fatal
//            message, and an exception that is no std::exception ends the program.
#pragma once

#include "kxbase/core/kxMessage.h"
#include "kxbase/object/kxRefPointer.h"

template <typename T> class kxRefHolder : public kxRefPointer<T> {
    using Pointer = kxRefPointer<T>;

public:
    constexpr kxRefHolder() noexcept = default;
    constexpr kxRefHolder(std::nullptr_t) noexcept {}
    kxRefHolder(T* object) : Pointer(object) {}
    kxRefHolder(const Pointer& pointer) : Pointer(pointer) {}
    kxRefHolder(Pointer&& pointer) noexcept : Pointer(std::move(pointer)) {}
    kxRefHolder(const kxRefHolder& other) : Pointer(other) {}
    kxRefHolder(kxRefHolder&& other) noexcept : Pointer(std::move(other)) {}
    ~kxRefHolder() noexcept
    {
        if (this->get() == nullptr) return;
        try {
            Pointer::operator=(nullptr);
        } catch (const std::exception& error) {
            kxMessage(KX_MESSAGE_FATAL, "%s", error.what());
        }
    }

    using Pointer::operator=;
    kxRefHolder& operator=(const kxRefHolder& other) = default;
    kxRefHolder& operator=(kxRefHolder&& other) = default;
};

template <typename T> struct std::hash<kxRefHolder<T>> : std::hash<kxRefPointer<T>> {};
