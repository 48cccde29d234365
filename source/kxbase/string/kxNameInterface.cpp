#include "kxbase/string/kxNameInterface.h"

#include "kxbase/core/kxMessage.h"
#include "kxbase/core/kxUndestroyed.h"
#include "kxbase/string/kxString.h"

#include <new>

namespace {

constinit const kxUndestroyed<kxString> kNoName;

std::unique_ptr<kxString> copyOf(const kxString& name)
{
    if (name.isEmpty()) return nullptr;
    std::unique_ptr<kxString> copy(new (std::nothrow) kxString);
    if (copy == nullptr) kxThrowBadAlloc(__FILE__, __LINE__);
    *copy = name;
    return copy;
}

}  // namespace

kxNameInterface::kxNameInterface() noexcept = default;

kxNameInterface::kxNameInterface(const kxString& name) : name_(copyOf(name)) {}

kxNameInterface::kxNameInterface(const kxNameInterface& other) : name_(copyOf(other.getName())) {}

kxNameInterface& kxNameInterface::operator=(const kxNameInterface& other)
{
    setName(other.getName());
    return *this;
}

kxNameInterface::~kxNameInterface() noexcept(false) = default;

const kxString& kxNameInterface::getName() const noexcept
{
    return name_ != nullptr ? *name_ : kNoName.value;
}

void kxNameInterface::setName(const kxString& name)
{
    // Copied before the old name goes: the new one may be the old one.
    name_ = copyOf(name);
}
