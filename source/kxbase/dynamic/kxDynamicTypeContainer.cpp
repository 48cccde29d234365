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
    for (const auto& entry : other.values_) set(entry.key(), *entry.value());
}

kxDynamicTypeContainer& kxDynamicTypeContainer::operator=(const kxDynamicTypeContainer& other)
{
    if (this == &other) return *this;
    clear();
    for (const auto& entry : other.values_) set(entry.key(), *entry.value());
    return *this;
}

kxDynamicTypeContainer::operator kxDynamicType() const
{
    kxDynamicWriter writer;
    writer.addCount(count());
    for (const auto& entry : values_) {
        writer.addText(entry.key());
        writer.addItem(*entry.value());
    }
    return writer.finish(KX_UNIQUE_CONT);
}

kxDynamicType kxDynamicTypeContainer::get(const kxString& name) const
{
    const kxDynamicType* const value = find(name);
    return value != nullptr ? *value : kxDynamicType();
}

void kxDynamicTypeContainer::set(const kxString& name, kxDynamicType value)
{
    kxString key = keyOf(name);
    if (kxDynamicType* const present = values_.find(key)) {
        *present = std::move(value);
        return;
    }
    auto fresh = std::make_unique<kxDynamicType>(std::move(value));
    values_.insert(std::move(key), fresh.get());
    fresh.release();
}

bool kxDynamicTypeContainer::remove(const kxString& name)
{
    const std::unique_ptr<kxDynamicType> removed(values_.remove(keyOf(name)));
    return removed != nullptr;
}

void kxDynamicTypeContainer::clear()
{
    while (!isEmpty()) {
        const std::unique_ptr<kxDynamicType> removed(values_.remove(values_.first()->key()));
    }
}

bool operator==(const kxDynamicTypeContainer& left, const kxDynamicTypeContainer& right) noexcept
{
    return std::equal(left.values_.begin(), left.values_.end(), right.values_.begin(), right.values_.end(),
                      [](const auto& one, const auto& other) {
                          return one.key() == other.key() && *one.value() == *other.value();
                      });
}
