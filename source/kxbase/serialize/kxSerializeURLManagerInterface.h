// Makes the adapters of one scheme for the URL factory, beside and ahead of the built-in schemes.
//
// Ownership: held by kxRefPointer; kxUrlRegistry keeps a reference while the manager is registered, the factory
//            one while the manager makes an adapter.
// Threads:   may be asked by several threads at once, and again from inside by URLs within URLs. No lock is held
//            meanwhile, so a manager may use the factory and the registry.
#pragma once

#include "kxbase/object/kxThreadSafeReference.h"
#include "kxbase/serialize/kxSerializeAdapter.h"

class kxSerializeURLManagerInterface : public kxThreadSafeReference {
public:
    // A new adapter for the URL, or null, which leaves the URL to the built-in schemes. An adapter that carries
    // an error text is refused by the factory, and its text is given to the caller as the reason. The factory
    // records where the adapter came from. Arguments as those of kxSerializeAdapter::getAdapter, the URL with its
    // scheme; a reason written to `errorOut` counts when nothing else makes the adapter.
    virtual kxRefPointer<kxSerializeAdapter> create(const kxString& url, std::uint32_t mode,
                                                    std::uint32_t flags, const kxString& context,
                                                    kxString* errorOut) = 0;
};
