// What the calling thread allocates while such an object lives stays outside the memory check: for what a
// process-wide object keeps, which is never destroyed and would look lost. A recorded block that it frees meanwhile
// is forgotten as elsewhere, but the trace has no line for it.
//
// Threads: concerns the calling thread alone; scopes nest.
#pragma once

#include "kxbase/core/kxThreadScope.h"

class kxUntrackedScope final : public kxThreadScope<kxUntrackedScope> {
public:
    kxUntrackedScope() noexcept = default;
};
