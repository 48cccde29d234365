// One frame of a call stack. A plain value; what is not known reads KX_STACK_UNKNOWN, its line 0.
#pragma once

#include "kxbase/string/kxString.h"

constexpr const char* KX_STACK_UNKNOWN = "unknown";

struct kxStackItem {
    kxString function = KX_STACK_UNKNOWN;  // undecorated
    std::int64_t offset = 0;               // of the address in the function, or else in the module
    kxString file = KX_STACK_UNKNOWN;
    std::uint32_t line = 0;
    kxString module = KX_STACK_UNKNOWN;
};
