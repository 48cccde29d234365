// The ids that the library's own texts have in the table of unique strings, the same in every program.
#pragma once

#include <cstdint>

enum kxUniqueId : std::uint16_t {
    KX_UNIQUE_NONE = 0,  // an ordinary string
    KX_UNIQUE_VOID = 1,
    KX_UNIQUE_NUM = 2,
    KX_UNIQUE_LLNUM = 3,
    KX_UNIQUE_STR = 4,
    KX_UNIQUE_GUID = 5,
    KX_UNIQUE_PTR = 6,
    KX_UNIQUE_REF = 7,
    KX_UNIQUE_ARRAY = 8,
    KX_UNIQUE_CONT = 9,
    KX_UNIQUE_CHAIN = 10,
    KX_UNIQUE_ERROR = 11,
    KX_UNIQUE_TTAG = 12,
    KX_UNIQUE_VEC2 = 13,
    KX_UNIQUE_VALUE_NOT_SET = 14,
    KX_UNIQUE_VEC3 = 15,
    KX_UNIQUE_VEC4 = 16,
};
