#include "kxbase/string/kxNameInterface.h"

#include "kxbase/string/kxString.h"

namespace {

// Never destroyed, so that names can be asked for until the very end of the process.
union Undestroyed {
    constexpr Undestroyed() : value() {}
    ~Undestroyed() {}
    kxString value;
};
constinit const Undestroyed kNoName;

std::unique_ptr<kxString> copyOf(const kxString& name)
{
    return name.isEmpty() ? nullptr : std::make_unique<kxString>(name);
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

kxNameInterface::~kxNameInterface() = default;

const kxString& kxNameInterface::getName() const noexcept
{
    return name_ != nullptr ? *name_ : kNoName.value;
}

void kxNameInterface::setName(const kxString& name)
{
    // Copied before the old name goes: the new one may be the old one.
    name_ = copyOf(name);
}
