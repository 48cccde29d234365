// An optional name, for objects that may carry one.
//
// Ownership: owns its name; an object without one owns nothing. A copy has a name of its own.
// Threads:   takes no lock; one thread at a time.
#pragma once

#include <memory>

class kxString;

class kxNameInterface {
public:
    kxNameInterface() noexcept;
    // An empty name is no name.
    explicit kxNameInterface(const kxString& name);
    kxNameInterface(const kxNameInterface& other);
    kxNameInterface& operator=(const kxNameInterface& other);
    virtual ~kxNameInterface();

    // The empty string when there is no name; valid until the name changes.
    const kxString& getName() const noexcept;
    void setName(const kxString& name);
    bool hasName() const noexcept { return name_ != nullptr; }

private:
    std::unique_ptr<kxString> name_;  // null when unnamed
};
