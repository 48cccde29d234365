#include "kxbase/serialize/DummyURLManagerInterface.h"

#include "kxbase/serialize/kxSerializeAdapterDummy.h"

kxRefPointer<kxSerializeAdapter> DummyURLManagerInterface::create(const kxString&, std::uint32_t,
                                                                  std::uint32_t, const kxString&, kxString*)
{
    return kxMakeRef<kxSerializeAdapterDummy>();
}
