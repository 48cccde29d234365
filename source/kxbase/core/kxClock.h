// The process clock, which all time-outs of the library use.
//
// Threads: may be called from any thread, also before main and after it. Takes no lock after the first call.
// Errors:  none.
// Units:   seconds since 1 January 1970 UTC. The wall clock is read once, at the first call; from there the clock
//          runs evenly, whatever the user sets meanwhile, and does not go back as long as kxPlatformCounter does not.
#pragma once

class kxClock {
public:
    kxClock() = delete;

    static double seconds();
};
