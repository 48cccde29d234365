// A programming mistake that the library does not go on from: bounds, reference mismatches, impossible
// conversions. Raised by kxRaiseFatal with the finished, translated text in what().
#pragma once

#include "kxbase/core/kxBaseError.h"

class kxFatalError : public kxBaseError {
public:
    using kxBaseError::kxBaseError;
};
