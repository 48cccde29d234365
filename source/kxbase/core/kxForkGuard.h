// A fork guard that is in force from its construction on. A static of the function that gives out what it guards.
//
// Ownership: needs no destruction, and must stay until the process ends.
// Threads:   as the static.
#pragma once

#include "kxbase/platform/kxPlatformFork.h"

class kxForkGuard {
public:
    explicit kxForkGuard(const kxPlatformForkGuard& guard) : guard_(guard) { kxPlatformAddForkGuard(guard_); }
    kxForkGuard(const kxForkGuard&) = delete;
    kxForkGuard& operator=(const kxForkGuard&) = delete;

private:
    kxPlatformForkGuard guard_;
};
