// A fault that its raiser could go on from, in a program that prefers an exception to a Warning message. The
// library itself raises none.
#pragma once

#include "kxbase/core/kxBaseError.h"

class kxWarningError : public kxBaseError {
public:
    using kxBaseError::kxBaseError;
};
