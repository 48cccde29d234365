// Whom the exception filter tells of a fault of the program.
//
// Threads: called on the thread that filters the fault, while the one that faulted stands still wherever it was; what
//          that one has locked stays locked.
#pragma once

#include "kxbase/core/kxFatalError.h"
#include "kxbase/program/kxStackItem.h"

#include <vector>

class kxExceptionReportInterface {
public:
    // The kind of the fault; some kinds are not reported.
    virtual void reportError(const kxFatalError& error) = 0;
    // The call stack, innermost frame first.
    virtual void writeDump(const std::vector<kxStackItem>& items) = 0;

protected:
    ~kxExceptionReportInterface() = default;
};
