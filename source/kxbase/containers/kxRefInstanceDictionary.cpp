#include "kxbase/containers/kxRefInstanceDictionary.h"

bool kxRefInstanceDictionary::add(const kxReference* object, std::uint32_t id)
{
    if (object == nullptr || index_->find(object) != nullptr) return false;
    const Instance& instance = instances_.prepend({object, id});
    try {
        return index_->insert(object, &instance);
    } catch (...) {
        instances_.takeFirst();
        throw;
    }
}

bool kxRefInstanceDictionary::find(const kxReference* object, std::uint32_t& id) const
{
    const Instance* const instance = index_->find(object);
    if (instance != nullptr) id = instance->id;
    return instance != nullptr;
}

void kxRefInstanceDictionary::clear()
{
    kxList<Instance> released;
    released.splice(instances_);
    index_.emplace(size_);
}
