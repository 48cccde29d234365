#include "kxbase/serialize/kxObjectFactory.h"

#include "kxbase/containers/kxDict.h"
#include "kxbase/core/kxBodyGuard.h"

namespace {

// Made on first use and never destroyed.
struct Registry {
    kxMutex mutex;
    kxDict<std::uint32_t, kxObjectFactoryInterface, kxUInt32CompareInterface, kxUntrackedStorage> factories;

    static Registry& instance()
    {
        static Registry& registry = *new Registry;
        return registry;
    }
};

}  // namespace

bool kxObjectFactory::add(std::uint32_t factoryId, kxObjectFactoryInterface& factory)
{
    Registry& registry = Registry::instance();
    const kxBodyGuard guard(registry.mutex);
    return registry.factories.find(factoryId) == nullptr && registry.factories.insert(factoryId, &factory);
}

bool kxObjectFactory::remove(std::uint32_t factoryId, kxObjectFactoryInterface& factory)
{
    Registry& registry = Registry::instance();
    const kxBodyGuard guard(registry.mutex);
    return registry.factories.remove(factoryId, &factory) != nullptr;
}

kxRefPointer<kxReference> kxObjectFactory::create(std::uint32_t factoryId)
{
    Registry& registry = Registry::instance();
    {
        const kxBodyGuard guard(registry.mutex);
        kxObjectFactoryInterface* const factory = registry.factories.find(factoryId);
        if (factory != nullptr) return factory->create(factoryId);
    }
    kxMessage(KX_MESSAGE_WARNING, "Factory Object Id '%d' not registered", factoryId);
    return nullptr;
}
