// For calls made where nobody is left to tell of a failure: what they throw is dropped. Forced unwinding of the
// thread, see kxThread, goes on.
#pragma once

#include <cxxabi.h>

// What passes when a thread is ended from within. It is no exception: a handler for everything must not stop it.
using kxForcedUnwind = abi::__forced_unwind;

template <typename Call> void kxDropExceptions(Call call)
{
    try {
        call();
    } catch (const kxForcedUnwind&) {
        throw;
    } catch (...) {
    }
}
