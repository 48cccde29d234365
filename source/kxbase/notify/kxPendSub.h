// A subscription: who is called, and for whose messages.
//
// Ownership: refers to the subscriber.
#pragma once

template <typename T> struct kxPendSub {
    T* subscriber;
    const void* senderFilter;  // null for every sender

    bool wants(const void* sender) const noexcept
    {
        return senderFilter == nullptr || senderFilter == sender;
    }
    friend bool operator==(const kxPendSub&, const kxPendSub&) noexcept = default;
};
