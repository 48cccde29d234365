#include "kxbase/serialize/kxUrlRegistry.h"

#include "kxbase/core/kxBodyGuard.h"
#include "kxbase/core/kxProcessMutex.h"
#include "kxbase/core/kxQuietGuard.h"

#include <memory>
#include <utility>

namespace {

bool isScheme(std::string_view text)
{
    return text.empty() || text.find(':') == text.size() - 1;
}

}  // namespace

kxUrlRegistry& kxUrlRegistry::instance()
{
    static kxUrlRegistry& registry = *new kxUrlRegistry;
    return registry;
}

bool kxUrlRegistry::addManager(const kxString& scheme, Manager manager)
{
    if (!manager || !isScheme(scheme)) return false;
    const std::string key(scheme.view());
    // The manager before is let go when the lock is free again, by the parameter.
    const kxQuietGuard guard(kxProcessMutex<kxUrlRegistry>());
    if (Manager* const registered = managers_.find(key)) {
        registered->swap(manager);
        return true;
    }
    auto entry = std::make_unique<Manager>(std::move(manager));
    managers_.insert(key, entry.get());
    entry.release();
    return true;
}

bool kxUrlRegistry::removeManager(const kxString& scheme)
{
    const std::string key(scheme.view());
    std::unique_ptr<Manager> removed;  // let go when the lock is free again
    const kxBodyGuard guard(kxProcessMutex<kxUrlRegistry>());
    removed.reset(managers_.remove(key));
    return removed != nullptr;
}

kxUrlRegistry::Manager kxUrlRegistry::findManager(const kxString& scheme) const
{
    const std::string key(scheme.view());
    const kxBodyGuard guard(kxProcessMutex<kxUrlRegistry>());
    const Manager* const found = managers_.find(key);
    return found != nullptr ? *found : Manager();
}

void kxUrlRegistry::addUrl(const kxGUID& guid, const kxString& url)
{
    std::string text(url.view());
    const kxBodyGuard guard(kxProcessMutex<kxUrlRegistry>());
    urls_.insert_or_assign(guid, std::move(text));
}

bool kxUrlRegistry::removeUrl(const kxGUID& guid)
{
    const kxBodyGuard guard(kxProcessMutex<kxUrlRegistry>());
    return urls_.erase(guid) != 0;
}

std::optional<kxString> kxUrlRegistry::findUrl(const kxGUID& guid) const
{
    std::string text;
    {
        const kxBodyGuard guard(kxProcessMutex<kxUrlRegistry>());
        const auto found = urls_.find(guid);
        if (found == urls_.end()) return std::nullopt;
        text = found->second;
    }
    return kxString(text);
}
