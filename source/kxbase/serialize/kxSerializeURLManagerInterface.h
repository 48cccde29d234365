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
    // A new adapter for the URL, or null, which leaves the URL to the built-in schemes. A manager that wants to
    // say why it fails answers an adapter that carries the reason as its error text: the factory refuses it and
    // tells its caller; what is written to `errorOut` goes no further. The factory records where the adapter came
    // from, unless "adapt:" found it, which belongs to somebody else. Arguments as those of
    // kxSerializeAdapter::getAdapter, the URL with its scheme.
    virtual kxRefPointer<kxSerializeAdapter> create(const kxString& url, std::uint32_t mode,
                                                    std::uint32_t flags, const kxString& context,
                                                    kxString* errorOut) = 0;
    // Whether its adapters keep the name that it gave them; else the final component of the URL names them.
    virtual bool namesAdapters() const { return false; }
};
