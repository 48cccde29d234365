// The console: standard input and output of the process, and the terminal behind them.
//
// Ownership: the streams are the process's and are never closed.
// Threads:   kxPlatformConsoleOpenStreams while no other thread opens or closes files; taking the terminal and asking
//            for its erase key by one thread at a time; everything else by any, kxPlatformConsoleRestore in a signal
//            handler as well.
//
// The terminal's mode belongs to the whole process. It is restored by kxPlatformConsoleRestore, at exit, on
// terminating and crash signals that have no handler of the host's, and around a stop by the terminal.
#pragma once

#include "kxbase/platform/kxPlatformFile.h"

// Opens standard streams that are closed on the null device, so that no file or socket takes their place.
void kxPlatformConsoleOpenStreams();

kxPlatformFileHandle kxPlatformConsoleInput();
kxPlatformFileHandle kxPlatformConsoleOutput();
bool kxPlatformConsoleIsTerminal(kxPlatformFileHandle stream);

// Makes keys arrive at once, unechoed and unmapped; signals of the terminal stay on. Answers whether standard
// input may be read now: not while the process is in the background of that terminal, or a dialog is open. Ask
// before each look at a terminal, since a stop or a shell may have taken it away. A terminal that hung up may be
// read, which tells its end.
bool kxPlatformConsoleTakeRaw();
// Gives the terminal back as it was found.
void kxPlatformConsoleRestore();
// The byte that the terminal's erase key sends in raw mode, or -1.
int kxPlatformConsoleEraseKey();
