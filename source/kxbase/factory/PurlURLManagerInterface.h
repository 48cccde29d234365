// Serves "purl:name,url", once registered: the adapter of the URL, under that name. An adapter found by
// its address ("adapt:") belongs to somebody else and keeps its name.
//
// Threads: any.
// Errors:  an address of another form, and a URL that cannot be opened, are refused by the factory with the reason.
#pragma once

#include "kxbase/serialize/kxSerializeURLManagerInterface.h"

class PurlURLManagerInterface : public kxSerializeURLManagerInterface {
public:
    kxRefPointer<kxSerializeAdapter> create(const kxString& url, std::uint32_t mode, std::uint32_t flags,
                                            const kxString& context, kxString* errorOut) override;
    bool namesAdapters() const override { return true; }
};
