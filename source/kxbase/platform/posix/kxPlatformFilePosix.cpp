#include "kxbase/platform/kxPlatformFile.h"
#include "kxbase/platform/posix/kxPosixDescriptor.h"

#include <algorithm>
#include <cerrno>

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace {

constexpr mode_t kNewFileMode = 0666;
constexpr std::size_t kLargestCallBytes = 0x40000000;  // beyond 2 GB a call is cut by the system anyway

int descriptorOf(kxPlatformFileHandle file)
{
    return static_cast<int>(file);
}

kxPlatformFileOpened failed(kxPlatformError error)
{
    return {KX_PLATFORM_NO_FILE, error, 0, false};
}

// Opens a path on a descriptor above those of the standard streams.
int openDescriptor(const char* path, int flags)
{
    int descriptor;
    do {
        descriptor = ::open(path, flags | O_CLOEXEC | O_NOCTTY, kNewFileMode);
    } while (descriptor < 0 && errno == EINTR);
    return kxPosixAboveStandardStreams(descriptor);
}

// Files that the system makes up (as below /proc) claim to be regular and empty; their file systems store
// nothing.
bool isOnStorage(int descriptor)
{
    struct statvfs system {};
    return ::fstatvfs(descriptor, &system) != 0 || system.f_blocks != 0;
}

bool hasSize(int descriptor, const struct stat& status)
{
    return S_ISREG(status.st_mode) && (status.st_size > 0 || isOnStorage(descriptor));
}

kxPlatformFileOpened openFile(const char* path, int flags)
{
    const int descriptor = openDescriptor(path, flags);
    if (descriptor < 0) return failed(errno);

    struct stat status {};
    kxPlatformError error = ::fstat(descriptor, &status) != 0 ? errno : 0;
    if (error == 0 && S_ISDIR(status.st_mode)) error = EISDIR;
    if (error != 0) {
        ::close(descriptor);
        return failed(error);
    }
    const bool isSized = hasSize(descriptor, status);
    return {descriptor, 0, isSized ? static_cast<std::uint64_t>(status.st_size) : 0, isSized};
}

// True when a failed call is to be made again: after a signal, or when a descriptor that somebody set to
// non-blocking is ready.
bool isToBeRepeated(int descriptor, short events)
{
    if (errno == EINTR) return true;
    if (errno != EAGAIN && errno != EWOULDBLOCK) return false;
    kxPosixWait(descriptor, events, KX_PLATFORM_WAIT_FOREVER);
    return true;
}

// What the system counts; 0 also where it cannot.
std::uint32_t readyBytes(int descriptor)
{
    int count = 0;
    return ::ioctl(descriptor, FIONREAD, &count) == 0 && count > 0 ? static_cast<std::uint32_t>(count) : 0;
}

}  // namespace

bool kxPlatformFileIsSpecial(const char* path)
{
    struct stat status {};
    return ::stat(path, &status) == 0 && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode);
}

kxPlatformFileOpened kxPlatformFileOpenRead(const char* path)
{
    return openFile(path, O_RDONLY);
}

kxPlatformFileOpened kxPlatformFileOpenWrite(const char* path, kxPlatformWriteMode mode)
{
    return openFile(path, O_WRONLY | O_CREAT | O_APPEND | (mode == KX_PLATFORM_TRUNCATE ? O_TRUNC : 0));
}

std::uint64_t kxPlatformFileBytesLeft(kxPlatformFileHandle file)
{
    const int descriptor = descriptorOf(file);
    struct stat status {};
    if (::fstat(descriptor, &status) != 0 || !hasSize(descriptor, status)) return KX_PLATFORM_UNKNOWN_SIZE;
    const off_t position = ::lseek(descriptor, 0, SEEK_CUR);
    if (position < 0) return KX_PLATFORM_UNKNOWN_SIZE;
    return position < status.st_size ? static_cast<std::uint64_t>(status.st_size - position) : 0;
}

kxPlatformIoResult kxPlatformFileRead(kxPlatformFileHandle file, void* bytes, std::size_t sizeBytes)
{
    const int descriptor = descriptorOf(file);
    for (;;) {
        const ssize_t count = ::read(descriptor, bytes, std::min(sizeBytes, kLargestCallBytes));
        if (count >= 0) return {count, 0};
        if (!isToBeRepeated(descriptor, POLLIN)) return {-1, errno};
    }
}

kxPlatformIoResult kxPlatformFileWrite(kxPlatformFileHandle file, const void* bytes, std::size_t sizeBytes)
{
    const int descriptor = descriptorOf(file);
    const char* const begin = static_cast<const char*>(bytes);
    std::size_t written = 0;
    while (written < sizeBytes) {
        const ssize_t count =
            ::write(descriptor, begin + written, std::min(sizeBytes - written, kLargestCallBytes));
        if (count > 0)
            written += static_cast<std::size_t>(count);
        else if (count == 0)
            return {static_cast<std::int64_t>(written), ENOSPC};
        else if (!isToBeRepeated(descriptor, POLLOUT))
            return {static_cast<std::int64_t>(written), errno};
    }
    return {static_cast<std::int64_t>(written), 0};
}

kxPlatformError kxPlatformFileWriteWhole(kxPlatformFileHandle file, const void* bytes, std::size_t sizeBytes)
{
    const kxPlatformIoResult result = kxPlatformFileWrite(file, bytes, sizeBytes);
    if (result.error == 0 || result.count == 0) return result.error;
    const int descriptor = descriptorOf(file);
    struct stat status {};
    const off_t end = ::lseek(descriptor, 0, SEEK_CUR);
    const bool isLast = ::fstat(descriptor, &status) == 0 && status.st_size == end;
    // Where this fails, the bytes stay.
    if (isLast && ::ftruncate(descriptor, end - result.count) != 0) return errno;
    return result.error;
}

kxPlatformReady kxPlatformFileLook(kxPlatformFileHandle file, std::uint32_t waitMilliseconds)
{
    const int descriptor = descriptorOf(file);
    if (const std::uint32_t count = readyBytes(descriptor)) return {KX_PLATFORM_BYTES_READY, count};
    if (kxPosixWait(descriptor, POLLIN, waitMilliseconds) == 0) {
        return {KX_PLATFORM_NOTHING_READY, 0};
    }
    if (const std::uint32_t count = readyBytes(descriptor)) return {KX_PLATFORM_BYTES_READY, count};
    return {KX_PLATFORM_READ_TO_KNOW, 0};
}

kxPlatformError kxPlatformFileClose(kxPlatformFileHandle file)
{
    // After EINTR the descriptor is gone all the same; closing again could hit somebody else's.
    return ::close(descriptorOf(file)) == 0 || errno == EINTR ? 0 : errno;
}
