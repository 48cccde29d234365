// What URLs may name in this process beyond the built-in schemes: managers for schemes, and URLs by GUID.
//
// Ownership: keeps a reference to each manager; owns its texts. Made on first use and never destroyed.
// Threads:   any; one mutex, which is not held while a manager makes an adapter or is destroyed.
#pragma once

#include "kxbase/containers/kxDict.h"
#include "kxbase/serialize/kxSerializeURLManagerInterface.h"
#include "kxbase/string/kxGUID.h"

#include <atomic>
#include <optional>
#include <string>
#include <unordered_map>

class kxUrlRegistry {
public:
    using Manager = kxRefPointer<kxSerializeURLManagerInterface>;

    static kxUrlRegistry& instance();

    // The scheme ends with its colon; the empty one is that of URLs without a colon. A manager registered for the
    // scheme before is let go. False, and nothing is changed, for a null manager and a text that is no scheme.
    // One that is never removed is made within a kxUntrackedScope, lest the memory check counts it as lost.
    bool addManager(const kxString& scheme, Manager manager);
    // False when the scheme has none.
    bool removeManager(const kxString& scheme);
    // Null when the scheme has none.
    Manager findManager(const kxString& scheme) const;

    // The URL, or the address of one, that the GUID in braces stands for, in place of the one before.
    void addUrl(const kxGUID& guid, const kxString& url);
    // False when the GUID has none.
    bool removeUrl(const kxGUID& guid);
    std::optional<kxString> findUrl(const kxGUID& guid) const;

    // Whether "mem:" and "adapt:" make adapters, as they do at first. A program that takes URLs from outside
    // turns them off: they reach any memory of the process.
    void setAddressUrls(bool allowed) noexcept { addressUrls_.store(allowed, std::memory_order_relaxed); }
    bool hasAddressUrls() const noexcept { return addressUrls_.load(std::memory_order_relaxed); }

private:
    struct SchemeTraits {
        static std::uint32_t hash(const std::string& key) noexcept { return kxString::hashOf(key); }
        static bool isEqual(const std::string& left, const std::string& right) noexcept
        {
            return left == right;
        }
    };

    kxUrlRegistry() = default;

    // Nothing in here is tracked memory, whose messages could come back for the mutex.
    kxDict<std::string, Manager, SchemeTraits, kxUntrackedStorage> managers_;
    std::unordered_map<kxGUID, std::string> urls_;
    std::atomic<bool> addressUrls_{true};
};
