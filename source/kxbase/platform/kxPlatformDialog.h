// A question to whoever sits at the program, and the stop in a debugger that may follow.
//
// Threads: any, one question at a time.
#pragma once

// Shows a title and a text, both UTF-8, and waits for the answer Retry or Ignore; answers whether it was Retry.
// Where nobody can be asked, and when the input ends, it was not. What was typed before is no answer. A terminal is
// given back as kxPlatformConsole.h says, whatever ends or stops the process meanwhile.
bool kxPlatformDialogAskRetry(const char* title, const char* text);

// Stops in the debugger. Without one, the process ends as it does at any breakpoint.
void kxPlatformBreak();
