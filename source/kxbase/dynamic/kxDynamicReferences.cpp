#include "kxbase/dynamic/kxDynamicReferences.h"

#include <algorithm>

kxDynamicReferences::kxDynamicReferences(Objects objects) : objects_(std::move(objects))
{
    std::sort(objects_.begin(), objects_.end());
    const auto* const end = std::unique(objects_.begin(), objects_.end());
    objects_.resize(static_cast<std::uint32_t>(end - objects_.begin()));
}

kxReference* kxDynamicReferences::find(std::uint64_t address) const noexcept
{
    const auto addressOf = [](const kxRefPointer<kxReference>& object) {
        return std::uint64_t{reinterpret_cast<std::uintptr_t>(object.get())};
    };
    const auto place = std::lower_bound(
        objects_.begin(), objects_.end(), address,
        [&](const auto& object, std::uint64_t wanted) { return addressOf(object) < wanted; });
    return place != objects_.end() && addressOf(*place) == address ? place->get() : nullptr;
}
