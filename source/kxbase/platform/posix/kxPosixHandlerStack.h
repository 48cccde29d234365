// A stack of its own for signal handlers, without which a stack that has overflowed has no room for one.
#pragma once

// Gives the first thread that asks one that stays for good, unless it has one already.
void kxPosixInstallHandlerStack();
