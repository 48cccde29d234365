#include "kxbase/dynamic/kxDynamicTypeContainer.h"

#include "kxbase/dynamic/kxDynamicReader.h"
#include "kxbase/dynamic/kxDynamicWriter.h"

kxDynamicTypeContainer::kxDynamicTypeContainer(const kxDynamicType& value) : kxDynamicTypeContainer()
{
    value.require(KX_UNIQUE_CONT, "Can not convert dynamic argument type '%s' to kxDynamicTypeContainer !!");
    kxDynamicReader reader(value, "kxDynamicTypeContainer");
    for (std::uint64_t left = reader.takeCount(); left != 0; --left) {
        const kxString name(reader.takeText());
        set(name, reader.takeItem());
    }
}

kxDynamicTypeContainer::kxDynamicTypeContainer(const kxDynamicTypeContainer& other) : kxDynamicTypeContainer()
{
    for (const Entry& entry : other.values_) set(entry.name, entry.value);
}

kxDynamicTypeContainer& kxDynamicTypeContainer::operator=(const kxDynamicTypeContainer& other)
{
    if (this == &other) return *this;
    clear();
    for (const Entry& entry : other.values_) set(entry.name, entry.value);
    return *this;
}

kxDynamicTypeContainer::operator kxDynamicType() const
{
    kxDynamicWriter writer;
    writer.addCount(count());
    for (const Entry& entry : values_) {
        writer.addText(entry.name);
        writer.addItem(entry.value);
    }
    return writer.finish(KX_UNIQUE_CONT);
}

const kxDynamicType* kxDynamicTypeContainer::find(const kxString& name) const
{
    const auto found = index_.find(keyOf(name));
    return found != index_.end() ? &found->second->value : nullptr;
}

kxDynamicType kxDynamicTypeContainer::get(const kxString& name) const
{
    const kxDynamicType* const value = find(name);
    return value != nullptr ? *value : kxDynamicType();
}

void kxDynamicTypeContainer::set(const kxString& name, kxDynamicType value)
{
    const auto found = index_.find(keyOf(name));
    if (found != index_.end()) {
        found->second->value = std::move(value);
        return;
    }
    Values fresh;
    fresh.push_back({kxString(keyOf(name)), std::move(value)});
    index_.emplace(fresh.front().name.view(), fresh.begin());
    values_.splice(values_.end(), fresh);
}

bool kxDynamicTypeContainer::remove(const kxString& name)
{
    const auto found = index_.find(keyOf(name));
    if (found == index_.end()) return false;
    const auto place = found->second;
    const kxDynamicType removed = std::move(place->value);  // released last, which may throw
    index_.erase(found);
    values_.erase(place);
    return true;
}

void kxDynamicTypeContainer::clear()
{
    while (!isEmpty()) remove(values_.back().name);
}

bool operator==(const kxDynamicTypeContainer& left, const kxDynamicTypeContainer& right) noexcept
{
    return left.values_ == right.values_;
}
