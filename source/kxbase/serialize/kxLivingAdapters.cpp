#include "kxbase/serialize/kxLivingAdapters.h"

#include "kxbase/core/kxBodyGuard.h"
#include "kxbase/core/kxProcessMutex.h"
#include "kxbase/serialize/kxSerializeAdapter.h"

#include <unordered_set>

namespace {

struct AdaptersMutex;

// Made on first use and never destroyed.
std::unordered_set<std::uint64_t>& addresses()
{
    static auto& living = *new std::unordered_set<std::uint64_t>;
    return living;
}

std::uint64_t addressOf(const kxSerializeAdapter* adapter)
{
    return static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(adapter));
}

}  // namespace

void kxLivingAdapters::enter(const kxSerializeAdapter* adapter)
{
    const kxBodyGuard guard(kxProcessMutex<AdaptersMutex>());
    addresses().insert(addressOf(adapter));
}

void kxLivingAdapters::leave(const kxSerializeAdapter* adapter) noexcept
{
    const kxBodyGuard guard(kxProcessMutex<AdaptersMutex>());
    addresses().erase(addressOf(adapter));
}

kxRefPointer<kxSerializeAdapter> kxLivingAdapters::find(std::uint64_t address)
{
    auto* const adapter = reinterpret_cast<kxSerializeAdapter*>(static_cast<std::uintptr_t>(address));
    const kxBodyGuard guard(kxProcessMutex<AdaptersMutex>());
    if (!addresses().contains(address) || !adapter->refIfReferenced()) return nullptr;
    kxRefPointer<kxSerializeAdapter> found(adapter);
    adapter->unrefWithoutDelete();
    return found;
}
