// For calls made where nobody is left to tell of a failure: what they throw is dropped. Forced unwinding of the
// thread, see kxThread, goes on.
#pragma once

#include <cxxabi.h>

template <typename Call> void kxDropExceptions(Call call)
{
    try {
        call();
    } catch (const abi::__forced_unwind&) {
        throw;
    } catch (...) {
    }
}
