// The end of the process.
//
// Threads: any, also before main.
#pragma once

// Has the function called when the process ends by exit or by returning from main: after the destructors of static
// objects and all exit handlers, while the standard streams still work. There is one; the last one set is called.
// It must not throw. Other threads may have ended or be in the middle of anything: it may rely on no state of theirs.
void kxPlatformAtEnd(void (*last)());
