// Root of the library's exceptions.
//
// Ownership: carries its text as plain bytes of its own; copying never throws.
// Threads:   a plain value.
#pragma once

#include <stdexcept>

class kxBaseError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};
