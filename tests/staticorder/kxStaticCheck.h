// Uses the lower half of the library from the static constructor and the static destructor of each unit that
// includes it.
//
// The program ends with 0 only when the last of these destructors has run and every one has passed: main answers
// 1, and a check that fails ends the program with 2 or 3 at once.
#pragma once

#include "kxbase/containers/kxRefDict.h"
#include "kxbase/core/kxMessage.h"
#include "kxbase/object/kxThreadSafeReference.h"
#include "kxbase/string/kxStringCompareInterface.h"
#include "kxbase/string/kxUniqueString.h"

#include <cstdlib>

inline constinit int staticUnits = 0;

struct kxStaticCheck {
    kxStaticCheck() { useEverything(++staticUnits); }
    ~kxStaticCheck()
    {
        // Converted before main, and again when the thread's own objects were gone.
        for (const char16_t* text : {early, kxString("late").wide()})
            if (text[1] != u'a' || text[4] != 0) std::_Exit(3);
        useEverything(staticUnits);
        if (--staticUnits == 0) std::_Exit(0);
    }
    void useEverything(int units)
    {
        objects.insert("object", kxMakeRef<kxThreadSafeReference>());
        const bool works = *objects.find("object")->getType().name() == 'k' && units > 0 &&
                           *kxString("wide").wide() == u'w' && kxTranslate("none") == "none" &&
                           kxUniqueString("a unit's own").uniqueId() > 16 &&
                           kxUniqueString("array").uniqueId() == KX_UNIQUE_ARRAY;
        if (!works) std::_Exit(2);
    }
    kxRefDict<kxString, kxReference, kxStringCompareInterface> objects;
    const char16_t* const early = kxString("part").wide();
};
