#include "kxbase/dynamic/kxDynamicTypeContainer.h"

#include "kxbase/dynamic/kxDynamicReader.h"
#include "kxbase/dynamic/kxDynamicWriter.h"

#include <memory>

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
    for (const auto& entry : other.values_) set(entry.key(), entry.value()->value);
}

kxDynamicTypeContainer& kxDynamicTypeContainer::operator=(const kxDynamicTypeContainer& other)
{
    if (this == &other) return *this;
    clear();
    for (const auto& entry : other.values_) set(entry.key(), entry.value()->value);
    return *this;
}

kxDynamicTypeContainer::operator kxDynamicType() const
{
    kxDynamicWriter writer;
    writer.addCount(count());
    for (const auto& entry : values_) {
        writer.addText(entry.key());
        writer.addItem(entry.value()->value);
    }
    return writer.finish(KX_UNIQUE_CONT);
}

kxDynamicTypeContainer::Place* kxDynamicTypeContainer::placeOf(const kxString& name) const
{
    const bool hasZero = name.find('\0') != KX_STRING_NOT_FOUND;
    return hasZero ? values_.find(keyOf(name)) : values_.find(name);
}

const kxDynamicType* kxDynamicTypeContainer::find(const kxString& name) const
{
    const Place* const place = placeOf(name);
    return place != nullptr ? &place->value : nullptr;
}

kxDynamicType kxDynamicTypeContainer::get(const kxString& name) const
{
    const kxDynamicType* const value = find(name);
    return value != nullptr ? *value : kxDynamicType();
}

void kxDynamicTypeContainer::set(const kxString& name, kxDynamicType value)
{
    if (Place* const present = placeOf(name)) {
        present->value = std::move(value);
        return;
    }
    auto fresh = std::make_unique<Place>(std::move(value));
    values_.insert(keyOf(name), fresh.get());
    fresh.release();
}

bool kxDynamicTypeContainer::remove(const kxString& name)
{
    const std::unique_ptr<Place> removed(values_.remove(keyOf(name)));
    return removed != nullptr;
}

void kxDynamicTypeContainer::clear()
{
    while (!isEmpty()) {
        const std::unique_ptr<Place> removed(values_.remove(values_.first()->key()));
    }
}

bool operator==(const kxDynamicTypeContainer& left, const kxDynamicTypeContainer& right) noexcept
{
    return std::equal(left.values_.begin(), left.values_.end(), right.values_.begin(), right.values_.end(),
                      [](const auto& one, const auto& other) {
                          return one.key() == other.key() && one.value()->value == other.value()->value;
                      });
}
