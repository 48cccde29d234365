// The crash file: named from the local time at which it is opened, in the current directory, else in that for temporary
// files. A text stands whole in one place. Each goes to the file that has the name then: one that somebody has removed
// is made again.
//
// Threads: takes no lock.
// Errors:  a text that neither folder takes whole goes to standard error. A file that could be made but not written
//          stays behind empty, since others may have it open.
#pragma once

#include "kxbase/program/kxCrashText.h"
#include "kxbase/string/kxString.h"

class kxCrashFile {
public:
    // In the order in which they are tried.
    enum Folder : std::uint8_t { CURRENT, TEMPORARY };
    static constexpr Folder kFolders[] = {CURRENT, TEMPORARY};

    // The file's absolute path. Answers whether there is such a folder and the path has fit. Safe in a handler of
    // faults.
    static bool makePath(Folder folder, const kxCivilTime& time, kxCrashText& path);
    // In one piece, so that processes that share a file do not mix. Answers whether all of it has been written; else
    // nothing has. Safe in a handler of faults.
    static bool append(const char* path, std::string_view text);
    // The local time. Safe in a handler of faults with the offset given: looking it up takes a lock.
    static kxCivilTime now();
    static kxCivilTime now(std::int32_t utcOffsetSeconds);

    // Adds the text to the open file, or to a new one when none is open. All of it is with the system when this
    // returns.
    void write(std::string_view text);
    void close() { path_ = kxString(); }
    // The open file's absolute path; empty when none is open.
    const kxString& path() const { return path_; }

private:
    kxString path_;
};
