// Writes down what ends the program against its will. A fault (an access violation, a division by zero and the like)
// becomes a Fatal message, a crash file with the call stack, and a Notice that names the file; then it goes on as
// the settings of kxExceptionFilter say. An exception that leaves the process() of a kxThread becomes a line in a
// crash file.
//
//     int main() { kxProgramExecution::install(); ... }
//
// After a dump the file is closed. A file that was opened for an exception stays open: what comes next goes there.
//
// Ownership: there is one object, made on first use and never destroyed.
// Threads:   every operation may be called from any thread. For a fault they run on a thread of their own. Should
//            that be held up for 10 seconds, by a lock that the faulting thread has, the faulting thread writes
//            the file by itself, with addresses in place of functions, and messages untranslated to standard
//            error; so does a forked child that does not install again. Messages come behind the file.
// Errors:    what no crash file takes, because none can be made or the disk is full, goes to standard error.
#pragma once

#include "kxbase/core/kxMutex.h"
#include "kxbase/program/kxCrashFile.h"
#include "kxbase/program/kxExceptionReportInterface.h"
#include "kxbase/thread/kxThreadExceptionInterface.h"

#include <atomic>
#include <string_view>

struct kxPlatformCrash;

class kxProgramExecution : public kxExceptionReportInterface, public kxThreadExceptionInterface {
public:
    static kxProgramExecution& instance();
    // Catches faults and exceptions of threads from now on; see kxPlatformCrashInstall. To be called on the main
    // thread first: the first caller is given a stack that an overflow of its own leaves free. False when the system
    // refuses.
    static bool install();

    // Who is told of faults, and must stay as long as there can be any; null for this object, as at first.
    void setReport(kxExceptionReportInterface* report) { report_.store(report != nullptr ? report : this); }

    void reportError(const kxFatalError& error) override;
    // Writes the header and a line for each item, closes the file and shows the notice.
    void writeDump(const std::vector<kxStackItem>& items) override;
    void exceptionLeftProcess(std::uint32_t threadId, const char* text) override;

private:
    // The functions that are called for a fault, and around a fork: static members of nested structs, since plain
    // functions of the source file could not reach what is private.
    struct Crash;
    struct Fork;
    struct HeldBack {  // a message
        void (*send)(const kxString& text);
        kxString text;
    };

    kxProgramExecution();
    // Both answer the path of the file if the user is to be told of it: of every dump, and of a file made for a line.
    // It is empty when no file has taken the text.
    kxString appendLine(std::string_view line);
    kxString writeWholeDump(std::string_view dump);
    void say(void (*send)(const kxString&), const kxString& text);
    void announce(const kxString& path);

    std::atomic<kxExceptionReportInterface*> report_{this};
    kxMutex mutex_;
    kxCrashFile file_;                // under the mutex
    std::vector<HeldBack> heldBack_;  // used by the dump thread only
};
