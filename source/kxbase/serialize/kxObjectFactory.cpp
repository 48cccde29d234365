#include "kxbase/serialize/kxObjectFactory.h"

#include "kxbase/containers/kxDict.h"
#include "kxbase/core/kxBodyGuard.h"
#include "kxbase/core/kxForkGuard.h"
#include "kxbase/core/kxMessage.h"
#include "kxbase/core/kxProcessMutex.h"
#include "kxbase/core/kxQuietGuard.h"

#include <memory>
#include <new>

namespace {

using Factories = kxDict<std::uint32_t, kxObjectFactoryInterface, kxUInt32CompareInterface, kxQuietStorage>;

// Two locks, taken in this order: the first while a factory is in use, the second, of the process, around each access
// to the table. A fork waits for the second, so that the child finds the table whole; it must not wait for the
// first, under which foreign code runs for as long as it likes. In the child the first is free again, unless the
// thread that forked holds it.
class UseMutex : public kxMutex {
public:
    static UseMutex& instance()
    {
        static constinit kxUndestroyed<UseMutex> mutex;
        const auto freeInChild = [] {
            if (!mutex.value.isHeldByCaller()) std::construct_at(&mutex.value);
        };
        static const kxForkGuard guard({[] {}, [] {}, freeInChild});
        return mutex.value;
    }
};

// Made on first use and never destroyed.
Factories& table()
{
    static Factories& factories = *new Factories;
    return factories;
}

// Calls with the table, which a fork never finds in the middle of a change.
template <typename Call> auto withTable(Call call)
{
    const kxBodyGuard guard(kxProcessMutex<Factories>());
    return call(table());
}

}  // namespace

bool kxObjectFactory::add(std::uint32_t factoryId, kxObjectFactoryInterface& factory)
{
    try {
        const kxBodyGuard guard(UseMutex::instance());
        return withTable([&](Factories& factories) {
            return factories.find(factoryId) == nullptr && factories.insert(factoryId, &factory);
        });
    } catch (const std::bad_alloc&) {
        // Reported below, under no lock.
    }
    kxThrowBadAlloc(__FILE__, __LINE__);
}

bool kxObjectFactory::remove(std::uint32_t factoryId, kxObjectFactoryInterface& factory)
{
    const kxBodyGuard guard(UseMutex::instance());
    return withTable([&](Factories& factories) { return factories.remove(factoryId, &factory) != nullptr; });
}

kxRefPointer<kxReference> kxObjectFactory::create(std::uint32_t factoryId)
{
    {
        const kxQuietGuard guard(UseMutex::instance());
        kxObjectFactoryInterface* const factory =
            withTable([&](Factories& factories) { return factories.find(factoryId); });
        if (factory != nullptr) return factory->create(factoryId);
    }
    kxMessage(KX_MESSAGE_WARNING, "Factory Object Id '%d' not registered", factoryId);
    return nullptr;
}
