// The text of the fatal error that a piece of code raises; empty when it raises none.
#pragma once

#include "kxbase/core/kxFatalError.h"

#include <string>

template <typename Code> std::string kxFatalText(Code code)
{
    try {
        code();
    } catch (const kxFatalError& error) {
        return error.what();
    }
    return {};
}
