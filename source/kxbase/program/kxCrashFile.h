// The crash file: named from the local time at which it is opened, in the current directory, else in that of TMPDIR.
// Where neither takes it, what would go into it goes to standard error.
//
// Threads: takes no lock.
#pragma once

#include "kxbase/object/kxRefPointer.h"
#include "kxbase/program/kxCrashText.h"
#include "kxbase/serialize/kxSerializeAdapterFile.h"

class kxCrashFile {
public:
    // The file's path in the folder that is the `place`-th to be tried; empty when there is none. Safe in a handler
    // of faults. False behind the last.
    static bool findPath(std::uint32_t place, const kxCrashTime& time, kxCrashText& path);
    // Now.
    static kxCrashTime time();

    // Adds the text, all of it on disk when this returns. Opens the file unless it is open.
    void write(std::string_view text);
    void close() { adapter_ = nullptr; }
    bool isOpen() const { return adapter_ != nullptr; }
    // The absolute path of the open file.
    const kxString& path() const { return path_; }

private:
    bool open(const kxString& path);
    bool append(std::string_view text);

    kxRefPointer<kxSerializeAdapterFile> adapter_;
    kxString path_;
};
