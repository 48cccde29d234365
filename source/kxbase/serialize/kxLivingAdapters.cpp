#include "kxbase/serialize/kxLivingAdapters.h"

#include "kxbase/core/kxBodyGuard.h"
#include "kxbase/serialize/kxSerializeAdapter.h"

#include <unordered_set>

namespace {

// Made on first use and never destroyed.
struct Adapters {
    kxMutex mutex;
    std::unordered_set<std::uint64_t> addresses;

    static Adapters& instance()
    {
        static Adapters& adapters = *new Adapters;
        return adapters;
    }
};

std::uint64_t addressOf(const kxSerializeAdapter* adapter)
{
    return static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(adapter));
}

}  // namespace

void kxLivingAdapters::enter(const kxSerializeAdapter* adapter)
{
    Adapters& adapters = Adapters::instance();
    const kxBodyGuard guard(adapters.mutex);
    adapters.addresses.insert(addressOf(adapter));
}

void kxLivingAdapters::leave(const kxSerializeAdapter* adapter) noexcept
{
    Adapters& adapters = Adapters::instance();
    const kxBodyGuard guard(adapters.mutex);
    adapters.addresses.erase(addressOf(adapter));
}

kxRefPointer<kxSerializeAdapter> kxLivingAdapters::find(std::uint64_t address)
{
    Adapters& adapters = Adapters::instance();
    auto* const adapter = reinterpret_cast<kxSerializeAdapter*>(static_cast<std::uintptr_t>(address));
    const kxBodyGuard guard(adapters.mutex);
    if (!adapters.addresses.contains(address) || !adapter->refIfReferenced()) return nullptr;
    kxRefPointer<kxSerializeAdapter> found(adapter);
    adapter->unrefWithoutDelete();
    return found;
}
