// Endpoint that delivers a text, for parsing it like any other stream; it is a queue and can be written to.
//
// Ownership, threads, errors and units are those of the queue. The bytes of the text are copied, without a
// terminator.
#pragma once

#include "kxbase/serialize/kxSerializeAdapterQueue.h"

class kxSerializeAdapterString : public kxSerializeAdapterQueue {
public:
    explicit kxSerializeAdapterString(const kxString& text);
    const kxType& getType() const override;
};
