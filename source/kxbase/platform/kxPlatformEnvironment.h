// Environment variables, the current directory and the program's own file.
//
// Threads: any, also before main and after it, while none changes the environment. Safe in a signal handler.
#pragma once

#include <cstddef>

// The value of a variable, or null when it is not set. Valid until the environment is changed.
const char* kxPlatformEnvironment(const char* name);

// Absolute paths, without "/" at the end unless that is all. False when the system does not tell, or the path and
// its terminating zero do not fit.
bool kxPlatformCurrentDirectory(char* path, std::size_t sizeBytes);
bool kxPlatformProgramFile(char* path, std::size_t sizeBytes);
// The directory for temporary files that the environment names; false when it names none. An absolute path as well, but
// with "/" at the end if it is named so.
bool kxPlatformTemporaryDirectory(char* path, std::size_t sizeBytes);
