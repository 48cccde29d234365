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

#include <cstdio>
#include <cstdlib>
#include <cstring>

inline constexpr int kStaticUnits = 2;
inline constinit int staticUnitsGone = 0;

class kxStaticCheck {
public:
    explicit kxStaticCheck(const char* unit) : unit_(unit)
    {
        useEverything();
        objects_.insert(unit, kxMakeRef<kxThreadSafeReference>());
    }
    ~kxStaticCheck()
    {
        useEverything();
        require(objects_.find(unit_)->getReferenceCount() == 1, "kept object");
        objects_.clear();
        if (++staticUnitsGone == kStaticUnits) std::_Exit(0);
    }
    kxStaticCheck(const kxStaticCheck&) = delete;
    kxStaticCheck& operator=(const kxStaticCheck&) = delete;

private:
    void require(bool holds, const char* what) const
    {
        if (holds) return;
        std::fprintf(stderr, "%s: %s\n", unit_, what);
        std::_Exit(2);
    }
    void useEverything()
    {
        const auto object = kxMakeRef<kxThreadSafeReference>();
        require(std::strcmp(object->getType().name(), "kxReference") == 0, "type");
        kxRefDict<kxString, kxReference, kxStringCompareInterface> dict;
        dict.insert("object", object);
        require(dict.find("object") == object.get(), "dictionary");
        require(++ring().next() > 0 && ring().threadCount() == 1, "thread data");
        require(kxUniqueString("a unit's own").uniqueId() > 16, "id on demand");
        require(kxUniqueString("array").uniqueId() == KX_UNIQUE_ARRAY, "id of the library");
    }
    static kxThreadData<int, 3>& ring()
    {
        static auto& data = *new kxThreadData<int, 3>;
        return data;
    }

    const char* unit_;
    kxRefDict<kxString, kxReference, kxStringCompareInterface> objects_;
};
