#include "kxbase/program/kxCrashFile.h"

#include "kxbase/platform/kxPlatformClock.h"
#include "kxbase/platform/kxPlatformCrash.h"
#include "kxbase/platform/kxPlatformEnvironment.h"
#include "kxbase/platform/kxPlatformFile.h"

namespace {

bool addCurrentFolder(kxCrashText& path)
{
    return path.addFrom(kxPlatformCurrentDirectory);
}

bool addTemporaryFolder(kxCrashText& path)
{
    const char* const given = kxPlatformEnvironment("TMPDIR");
    const std::string_view folder = given != nullptr ? given : "";
    if (folder.empty()) return false;
    if (!folder.starts_with('/')) {
        if (!addCurrentFolder(path)) return false;
        path.add("/");
    }
    path.add(folder);
    return true;
}

}  // namespace

bool kxCrashFile::makePath(Folder folder, const kxCrashTime& time, kxCrashText& path)
{
    path.clear();
    if (!(folder == CURRENT ? addCurrentFolder(path) : addTemporaryFolder(path))) return false;
    if (!path.view().ends_with('/')) path.add("/");
    path.addFileName(time);
    return !path.isFull();
}

kxCrashTime kxCrashFile::time()
{
    return kxCrashTime::at(kxPlatformWallSeconds(), kxPlatformUtcOffsetSeconds());
}

bool kxCrashFile::append(const char* path, std::string_view text)
{
    const kxPlatformFileHandle file = kxPlatformFileOpenRegular(path).file;
    if (file == KX_PLATFORM_NO_FILE) return false;
    const kxPlatformError error = kxPlatformFileWriteWhole(file, text.data(), text.size());
    return kxPlatformFileClose(file) == 0 && error == 0;
}

void kxCrashFile::write(std::string_view text)
{
    if (!path_.isEmpty() && append(path_.text(), text)) return;
    const kxCrashTime now = time();
    char room[kxCrashText::kLineBytes];
    kxCrashText path(room);
    for (const Folder folder : kFolders) {
        if (!makePath(folder, now, path) || !append(path.text(), text)) continue;
        path_ = path.view();
        return;
    }
    close();
    kxPlatformCrashPrint(text.data(), text.size());
}
