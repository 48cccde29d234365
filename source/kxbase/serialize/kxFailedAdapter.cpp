#include "kxbase/serialize/kxFailedAdapter.h"

#include "kxbase/serialize/kxSerializeAdapterDummy.h"

kxRefPointer<kxSerializeAdapter> kxFailedAdapter(const kxString& reason)
{
    const kxRefPointer<kxSerializeAdapter> adapter = kxMakeRef<kxSerializeAdapterDummy>();
    adapter->setError(reason);
    return adapter;
}
