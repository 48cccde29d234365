// The parts of an adapter's URL: scheme, address, name and options.
//
// The scheme ends with the first ":" and keeps it; without a colon it is empty. In the rest a backslash is
// a slash. The options follow the last "?", so that a name that holds "?" is written with one more at the end.
// What stands before them is divided at its last "/": the address keeps that slash, the name follows it.
// Without a slash everything is address.
//
// Ownership: owns its texts.
// Threads:   a plain value.
// Errors:    none; every text is a URL.
#pragma once

#include "kxbase/string/kxString.h"

struct kxUrl {
    explicit kxUrl(const kxString& url);

    // Address and name joined, as a file path is written.
    kxString path() const { return address + name; }

    kxString scheme;
    kxString address;
    kxString name;
    kxString options;
};
