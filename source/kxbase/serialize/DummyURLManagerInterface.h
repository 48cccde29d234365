// Serves "dummy:", once registered: endpoints that take every byte and deliver none.
//
// Threads: any.
#pragma once

#include "kxbase/serialize/kxSerializeURLManagerInterface.h"

class DummyURLManagerInterface : public kxSerializeURLManagerInterface {
public:
    kxRefPointer<kxSerializeAdapter> create(const kxString& url, std::uint32_t mode, std::uint32_t flags,
                                            const kxString& context, kxString* errorOut) override;
};
