#include "kxbase/program/kxCrashFile.h"

#include "kxbase/platform/kxPlatformClock.h"
#include "kxbase/platform/kxPlatformCrash.h"
#include "kxbase/platform/kxPlatformEnvironment.h"

namespace {

bool addCurrentFolder(kxCrashText& path)
{
    char folder[kxCrashText::kLineBytes];
    const bool isKnown = kxPlatformCurrentDirectory(folder, sizeof(folder));
    if (isKnown) path.add(folder);
    return isKnown;
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

// Answers whether there is such a folder and the path has fit.
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

void kxCrashFile::write(std::string_view text)
{
    if (adapter_ != nullptr && append(text)) return;
    char room[kxCrashText::kLineBytes];
    kxCrashText path(room);
    if (placeInFolder(time(), path, [&] { return open(path.view()) && append(text); })) return;
    close();
    kxPlatformCrashPrint(text.data(), text.size());
}

void kxCrashFile::close()
{
    adapter_ = nullptr;
    path_ = kxString();
}

bool kxCrashFile::open(const kxString& path)
{
    adapter_ = kxMakeRef<kxSerializeAdapterFile>(path, KX_SERIALIZE_OUTPUT, true);
    path_ = path;
    return !adapter_->hasError();
}

bool kxCrashFile::append(std::string_view text)
{
    return adapter_->writeWhole(text.data(), static_cast<std::uint32_t>(text.size()));
}
