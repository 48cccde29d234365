// What is done about a fault in the signal handler itself, when the dump thread does not come to its end: no
// allocation, no lock. So messages are printed untranslated, and frames are written with addresses in place of
// functions.
//
// Ownership: keeps the path of each file that has been open, since the handler may be reading it.
// Threads:   deal() and tell() run in the handler, one at a time; the others must not be called there.
// Errors:    a dump that no crash file takes goes to standard error.
#pragma once

struct kxPlatformCrash;
class kxString;

class kxCrashHandler {
public:
    kxCrashHandler() = delete;

    // The words of the notice that names the crash file.
    static constexpr const char* kNoticeTitle = "CrashDump generated";
    static constexpr const char* kNoticeText = "Check dump file:";

    // Before faults are caught: looks up how far the local time is ahead of UTC.
    static void prepare();
    // The path of the file that is open from now on, and that deal() writes to; empty when none is. Called on one
    // thread at a time.
    static void publishOpenFile(const kxString& path);
    // The path of the file that has the dump of this fault; empty when there is none. Called on the dump thread.
    static void publishWrittenFile(const kxString& path);

    // In place of the dump thread: writes the dump and prints the messages. Answers whether the fault is handled.
    static bool deal(const kxPlatformCrash& crash);
    // Behind the dump thread, which has written the dump: prints the messages.
    static void tell(const kxPlatformCrash& crash);
};
