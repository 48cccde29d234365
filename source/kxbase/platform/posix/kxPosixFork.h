// What the folder itself does in a forked child.
#pragma once

// Has the function called in forked children from now on, when all fork guards have run. There is one.
void kxPosixAtEndOfForkInChild(void (*last)());
