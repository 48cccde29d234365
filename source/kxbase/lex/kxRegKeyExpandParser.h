// Puts values in for the references in a text: $(name) is a setting, ${name} a network interface.
//
// As it stands, a setting is a variable of the environment, and no interface is known. A reference to what nobody
// knows stays as it is written. Values are not looked into for further references.
//
// Threads:   takes no lock; one thread at a time.
// Errors:    expand() answers false, and getError() says why: a reference that does not end, or a text that becomes
//            longer than a kxString holds. The result is then empty.
#pragma once

#include "kxbase/lex/kxSerializeLex.h"

#include <optional>

class kxRegKeyExpandParser {
public:
    kxRegKeyExpandParser();
    virtual ~kxRegKeyExpandParser() = default;

    bool expand(const kxString& text, kxString& expanded);
    const kxString& getError() const { return error_; }

protected:
    // Neither may call expand() of the same object.
    virtual std::optional<kxString> findSetting(const kxString& name);
    virtual std::optional<kxString> findInterface(const kxString& name);

private:
    using Find = std::optional<kxString> (kxRegKeyExpandParser::*)(const kxString&);

    void addReference(std::string_view action, std::string_view opening, std::string_view closing, Find find);

    kxSerializeLex lex_;
    std::string out_;
    kxString error_;
};
