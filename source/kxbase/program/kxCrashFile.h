// The crash file: named from the local time at which it is opened, in the current directory, else in that of TMPDIR.
// Where something else than a file has that name, as a link or a pipe that somebody has laid there, comes the next place.
// A text stands whole in one place: where neither folder takes all of it, none of it, and it goes to standard error.
// A file that could be made but not written stays behind empty, since others may have it open. Each text goes to the
// file that has the name then: one that somebody has removed is made again.
//
// Threads: takes no lock.
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
    static bool makePath(Folder folder, const kxCrashTime& time, kxCrashText& path);
    // In one piece, so that processes that share a file do not mix. Answers whether all of it has been written; else
    // nothing has. Safe in a handler of faults.
    static bool append(const char* path, std::string_view text);
    // Now.
    static kxCrashTime time();

    // Adds the text to the file of before, or to a new one after close(). All of it is with the system when this
    // returns.
    void write(std::string_view text);
    void close() { path_ = kxString(); }
    // The absolute path of the file that comes next; empty when that is a new one.
    const kxString& path() const { return path_; }

private:
    kxString path_;
};
