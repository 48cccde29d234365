// Serves a scheme, once registered, with an encoder on the adapter of the URL behind it: "hex:file:x".
//
// An encoder's flush does not flush the adapter below it: what that one holds back leaves when it is full or when
// the last reference to the encoder goes.
//
// Threads: any.
// Errors:  a URL behind the scheme that cannot be opened is refused by the factory with the reason for that URL.
#pragma once

#include "kxbase/serialize/kxLayeredAdapter.h"
#include "kxbase/serialize/kxSerializeURLManagerInterface.h"

template <typename Encoder> class kxEncoderURLManager : public kxSerializeURLManagerInterface {
public:
    kxRefPointer<kxSerializeAdapter> create(const kxString& url, std::uint32_t mode, std::uint32_t flags,
                                            const kxString& context, kxString* /*errorOut*/) override
    {
        return kxLayeredAdapter<Encoder>(url, mode, flags, context);
    }
};
