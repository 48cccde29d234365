// The crash file: named from the local time at which it is opened, in the current directory, else in that of TMPDIR.
// A text stands whole in one place: where neither folder takes all of it, none of it, and it goes to standard error.
// A file that could be made but not written stays behind empty, since others may have it open.
//
// Threads: takes no lock.
#pragma once

#include "kxbase/object/kxRefPointer.h"
#include "kxbase/program/kxCrashText.h"
#include "kxbase/serialize/kxSerializeAdapterFile.h"

class kxCrashFile {
public:
    // Makes the file's absolute path in each folder in turn until `take`, which is called with nothing else than that
    // path ready, says that it has it. Answers whether it did; else the path is empty. Safe in a handler of faults.
    template <typename Take>
    static bool placeInFolder(const kxCrashTime& time, kxCrashText& path, const Take& take)
    {
        for (const Folder folder : {CURRENT, TEMPORARY})
            if (makePath(folder, time, path) && take()) return true;
        path.clear();
        return false;
    }
    // Now.
    static kxCrashTime time();

    // Adds the text, all of it on disk when this returns. Opens the file unless it is open.
    void write(std::string_view text);
    void close();
    // The absolute path of the open file; empty when none is.
    const kxString& path() const { return path_; }

private:
    enum Folder : std::uint8_t { CURRENT, TEMPORARY };

    static bool makePath(Folder folder, const kxCrashTime& time, kxCrashText& path);
    bool open(const kxString& path);
    bool append(std::string_view text);

    kxRefPointer<kxSerializeAdapterFile> adapter_;
    kxString path_;
};
