// The bytes or the wide units of a text that is read from an adapter, counted in 16 bits: of n units, only the last
// n mod 65536 remain. Kept on purpose, since streams are read the same everywhere.
//
// The count wraps after 65535, and what follows overwrites the text from its start.
#pragma once

#include "kxbase/containers/kxArray.h"

#include <cstdint>
#include <string_view>

template <typename Unit> class kxCollectedText {
public:
    void add(Unit unit)
    {
        if (count_ == units_.size())
            units_.append(unit);
        else
            units_[count_] = unit;
        ++count_;
    }
    std::basic_string_view<Unit> view() const { return {units_.data(), count_}; }

private:
    kxArray<Unit> units_;  // at most 65536, since the count wraps
    std::uint16_t count_ = 0;
};
