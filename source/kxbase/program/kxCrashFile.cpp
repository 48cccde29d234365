#include "kxbase/program/kxCrashFile.h"

#include "kxbase/platform/kxPlatformClock.h"
#include "kxbase/platform/kxPlatformCrash.h"
#include "kxbase/platform/kxPlatformEnvironment.h"
#include "kxbase/platform/kxPlatformFile.h"

namespace {

bool addFolder(kxCrashFile::Folder folder, kxCrashText& path)
{
    char name[kxCrashText::kLineBytes];
    const auto lookUp =
        folder == kxCrashFile::CURRENT ? kxPlatformCurrentDirectory : kxPlatformTemporaryDirectory;
    const bool isKnown = lookUp(name, sizeof(name));
    if (isKnown) path.add(name);
    return isKnown;
}

}  // namespace

bool kxCrashFile::makePath(Folder folder, const kxCivilTime& time, kxCrashText& path)
{
    path.clear();
    if (!addFolder(folder, path)) return false;
    if (!path.view().ends_with('/')) path.add("/");
    path.addFileName(time);
    return !path.isFull();
}

kxCivilTime kxCrashFile::now()
{
    return now(kxPlatformUtcOffsetSeconds());
}

kxCivilTime kxCrashFile::now(std::int32_t utcOffsetSeconds)
{
    const std::int64_t seconds = static_cast<std::int64_t>(kxPlatformWallSeconds()) + utcOffsetSeconds;
    return kxCivilTime::at(seconds * 1000);
}

bool kxCrashFile::append(const char* path, std::string_view text)
{
    const kxPlatformFileHandle file = kxPlatformFileOpenWrite(path, KX_PLATFORM_APPEND).file;
    if (file == KX_PLATFORM_NO_FILE) return false;
    const kxPlatformError error = kxPlatformFileWriteWhole(file, text.data(), text.size());
    return kxPlatformFileClose(file) == 0 && error == 0;
}

void kxCrashFile::write(std::string_view text)
{
    if (!path_.isEmpty() && append(path_.text(), text)) return;
    const kxCivilTime time = now();
    char room[kxCrashText::kLineBytes];
    kxCrashText path(room);
    for (const Folder folder : kFolders) {
        if (!makePath(folder, time, path) || !append(path.text(), text)) continue;
        path_ = path.view();
        return;
    }
    close();
    kxPlatformCrashPrint(text.data(), text.size());
}
