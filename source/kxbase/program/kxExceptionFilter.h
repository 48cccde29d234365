// What is done about a fault of the program: it is reported as an error, its call stack is written down, and who
// goes on with it is decided.
//
// Settings, read from the environment for each fault; both are on unless they say no, false, 0 or off in any case:
//   KORVEX_DUMP_EXCEPTION    the call stack is written down
//   KORVEX_ROUTE_EXCEPTION   the fault goes on to the next handler, which by default ends the process
#pragma once

#include "kxbase/platform/kxPlatformCrash.h"
#include "kxbase/program/kxExceptionReportInterface.h"

#include <span>

enum kxExceptionResult : std::uint8_t {
    KX_EXCEPTION_GOES_ON,  // to the next handler
    KX_EXCEPTION_HANDLED,
};

// The fault is one of kxPlatformFault or any other number. Needs no fault to be called.
kxExceptionResult kxExceptionFilter(std::uint32_t fault, std::span<const kxPlatformFrame> frames,
                                    kxExceptionReportInterface& report);

// The name under which a fault is reported; null when it is not. This and the following are safe in a handler of
// faults.
const char* kxExceptionName(std::uint32_t fault);
bool kxExceptionIsDumped();
// What the settings make of any fault.
kxExceptionResult kxExceptionRouting();
