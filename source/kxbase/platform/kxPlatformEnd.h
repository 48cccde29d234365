// The end of the process.
#pragma once

// Has the function called when the process ends by exit or by returning from main: after the destructors of static
// objects and all exit handlers, while the standard streams still work. There is one; the last one set is called.
void kxPlatformAtEnd(void (*last)());
