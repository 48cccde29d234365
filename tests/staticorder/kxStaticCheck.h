// Uses the lower half of the library from the static constructor and the static destructor of each unit that
// includes it.
//
// The program ends with 0 only when the last of these destructors has run and every one has passed: main answers
// 1, and a check that fails ends the program with 2 at once.
#pragma once

#include "kxbase/containers/kxRefDict.h"
#include "kxbase/containers/kxThreadData.h"
#include "kxbase/object/kxThreadSafeReference.h"
#include "kxbase/string/kxStringCompareInterface.h"
#include "kxbase/string/kxUniqueString.h"

#include <cstdlib>

inline constinit int staticUnits = 0;

class kxStaticCheck {
public:
    kxStaticCheck()
    {
        ++staticUnits;
        useEverything();
    }
    ~kxStaticCheck()
    {
        useEverything();
        if (--staticUnits == 0) std::_Exit(0);
    }

private:
    void useEverything()
    {
        static auto& ring = *new kxThreadData<int, 3>;
        objects_.insert("object", kxMakeRef<kxThreadSafeReference>());
        const bool works = *objects_.find("object")->getType().name() == 'k' && ++ring.next() > 0 &&
                           kxUniqueString("a unit's own").uniqueId() > 16 &&
                           kxUniqueString("array").uniqueId() == KX_UNIQUE_ARRAY;
        if (!works) std::_Exit(2);
    }

    kxRefDict<kxString, kxReference, kxStringCompareInterface> objects_;
};
