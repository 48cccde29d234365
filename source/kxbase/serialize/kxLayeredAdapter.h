// Adapters layered on the adapter of another URL, which stands behind the scheme of their own: "rand:file:x".
#pragma once

#include "kxbase/serialize/kxFailedAdapter.h"
#include "kxbase/serialize/kxSerializeAdapter.h"

// Opens the URL behind the scheme and puts a Layer on its adapter; arguments as those of
// kxSerializeAdapter::getAdapter. When the URL cannot be opened, nothing is sent, and the answer is a
// kxFailedAdapter with the reason, or null when there is none.
template <typename Layer>
kxRefPointer<kxSerializeAdapter> kxLayeredAdapter(const kxString& url, std::uint32_t mode,
                                                  std::uint32_t flags, const kxString& context)
{
    kxString reason;
    const kxString parentUrl(url.view().substr(url.view().find(':') + 1));
    const kxRefPointer<kxSerializeAdapter> parent =
        kxSerializeAdapter::getAdapter(parentUrl, mode, flags | KX_SERIALIZE_SILENT, context, &reason);
    // Without a reason there is nothing that an adapter could carry, and the factory says the rest.
    if (!parent) return reason.isEmpty() ? nullptr : kxFailedAdapter(reason);
    return kxMakeRef<Layer>(parent);
}
