#include "kxbase/platform/kxPlatformEnvironment.h"

#include <cstdlib>
#include <cstring>

#include <sys/syscall.h>
#include <unistd.h>

const char* kxPlatformEnvironment(const char* name)
{
    return std::getenv(name);
}

bool kxPlatformCurrentDirectory(char* path, std::size_t sizeBytes)
{
    // The C library would look for a path that is too long for the system by other ways, and allocate. A directory that
    // cannot be reached is named without a "/" in front.
    return ::syscall(SYS_getcwd, path, sizeBytes) > 0 && path[0] == '/';
}

bool kxPlatformProgramFile(char* path, std::size_t sizeBytes)
{
    const ssize_t length = ::readlink("/proc/self/exe", path, sizeBytes);
    if (length <= 0 || static_cast<std::size_t>(length) >= sizeBytes) return false;
    path[length] = '\0';
    return true;
}

bool kxPlatformTemporaryDirectory(char* path, std::size_t sizeBytes)
{
    const char* const folder = std::getenv("TMPDIR");
    if (folder == nullptr || folder[0] == '\0') return false;
    std::size_t length = 0;  // of what comes before it
    if (folder[0] != '/') {
        if (!kxPlatformCurrentDirectory(path, sizeBytes)) return false;
        length = std::strlen(path);
        path[length++] = '/';
    }
    const std::size_t folderBytes = std::strlen(folder) + 1;
    if (folderBytes > sizeBytes - length) return false;
    std::memcpy(path + length, folder, folderBytes);
    return true;
}
