// Serves a scheme, once registered, with an encoder on the adapter of the URL behind it: "hex:file:x".
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
        return kxLayeredAdapter<Layer>(url, mode, flags, context);
    }

private:
    // An encoder does not flush its parent. Nobody but this one holds the parent that a URL names, so that
    // what a file below holds back would stay there until the end.
    class Layer final : public Encoder {
    public:
        using Encoder::Encoder;

        std::uint32_t flush() override
        {
            const std::uint32_t result = Encoder::flush();
            return result + this->parent().flush();
        }
    };
};
