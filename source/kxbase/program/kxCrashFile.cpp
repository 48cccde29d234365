#include "kxbase/program/kxCrashFile.h"

#include "kxbase/platform/kxPlatformClock.h"
#include "kxbase/platform/kxPlatformCrash.h"
#include "kxbase/platform/kxPlatformEnvironment.h"

namespace {

constexpr std::uint32_t kPlaces = 2;
constexpr std::size_t kFolderBytes = 3000;

// Empty when the folder is not known.
std::string_view folderOf(std::uint32_t place, char (&buffer)[kFolderBytes])
{
    if (place == 0) return kxPlatformCurrentDirectory(buffer, kFolderBytes) ? buffer : "";
    const char* const temporary = kxPlatformEnvironment("TMPDIR");
    return temporary != nullptr ? temporary : "";
}

}  // namespace

bool kxCrashFile::findPath(std::uint32_t place, const kxCrashTime& time, kxCrashText& path)
{
    path.clear();
    if (place >= kPlaces) return false;
    char buffer[kFolderBytes];
    const std::string_view folder = folderOf(place, buffer);
    if (folder.empty()) return true;
    path.add(folder);
    if (!folder.ends_with('/')) path.add("/");
    path.addFileName(time);
    return true;
}

kxCrashTime kxCrashFile::time()
{
    return kxCrashTime::at(kxPlatformWallSeconds(), kxPlatformUtcOffsetSeconds());
}

void kxCrashFile::write(std::string_view text)
{
    if (isOpen() && append(text)) return;
    const kxCrashTime now = time();
    kxCrashText path;
    for (std::uint32_t place = 0; findPath(place, now, path); ++place)
        if (open(path.view()) && append(text)) return;
    close();
    kxPlatformCrashPrint(text.data(), text.size());
}

bool kxCrashFile::open(const kxString& path)
{
    if (path.isEmpty()) return false;
    adapter_ = kxMakeRef<kxSerializeAdapterFile>(path, KX_SERIALIZE_OUTPUT, true);
    path_ = path;
    return !adapter_->hasError();
}

bool kxCrashFile::append(std::string_view text)
{
    adapter_->writeBlock(text.data(), static_cast<std::uint32_t>(text.size()));
    return adapter_->flush() == 0;
}
