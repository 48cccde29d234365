#include "kxbase/program/kxCrashHandler.h"

#include "kxbase/core/kxModule.h"
#include "kxbase/platform/kxPlatformClock.h"
#include "kxbase/platform/kxPlatformCrash.h"
#include "kxbase/program/kxCrashFile.h"
#include "kxbase/program/kxExceptionFilter.h"

#include <atomic>
#include <initializer_list>

namespace {

constexpr std::size_t kLineBytes = kxCrashText::kLineBytes;
// Enough for as many frames as there can be, with names of modules at their longest.
constexpr std::size_t kDumpBytes = 128 * 1024;

// Looked up at installation, since the C library locks for it.
constinit std::atomic<std::int32_t> utcOffsetSeconds{0};

// The dump thread's; read by the handler when the file is written and before the next fault.
char writtenPathRoom[kLineBytes];
constinit kxCrashText writtenPath{writtenPathRoom};

// The path of the file that is open now, null when none is. A path that the handler may be reading stays for good.
struct OpenFile {
    const kxString path;
    const OpenFile* const before;
};
constinit std::atomic<const OpenFile*> openFile{nullptr};

// The handler's.
char handlerPathRoom[kLineBytes];
constinit kxCrashText handlerPath{handlerPathRoom};
char handlerTextRoom[kDumpBytes];
constinit kxCrashText handlerText{handlerTextRoom};

void print(const kxCrashText& text)
{
    kxPlatformCrashPrint(text.view().data(), text.view().size());
}

void printMessage(std::initializer_list<std::string_view> pieces)
{
    handlerText.clear();
    handlerText.add(KX_MODULE_NAME);
    for (const std::string_view piece : pieces) handlerText.add(piece);
    handlerText.add("\n");
    print(handlerText);
}

void printMessages(const kxPlatformCrash& crash, std::string_view path)
{
    if (const char* const name = kxExceptionName(crash.fault)) printMessage({" Fatal::", name});
    if (path.empty()) return;
    printMessage({" Notice::", kxCrashHandler::kNoticeTitle, ": ", kxCrashHandler::kNoticeText, path});
}

void makeDumpText(const kxPlatformCrash& crash, const kxCivilTime& time)
{
    handlerText.clear();
    handlerText.addHeader(time);
    for (std::uint32_t number = 0; number < crash.frameCount; ++number) {
        kxPlatformModule module{};
        kxPlatformCrashModule(crash.frames[number].address, module);
        const std::string_view name = module.name[0] != '\0' ? module.name : KX_STACK_UNKNOWN;
        handlerText.addLine(
            number, {KX_STACK_UNKNOWN, static_cast<std::int64_t>(module.offset), KX_STACK_UNKNOWN, 0, name});
    }
}

bool appendToHandlerPath()
{
    return kxCrashFile::append(handlerPath.text(), handlerText.view());
}

// To the file that is open for an exception, else to a new one, else to standard error. Answers the path of the file.
std::string_view writeAddresses(const kxPlatformCrash& crash)
{
    const kxCivilTime time = kxCrashFile::now(utcOffsetSeconds.load());
    makeDumpText(crash, time);
    handlerPath.clear();
    if (const OpenFile* const file = openFile.load()) {
        handlerPath.add(file->path.view());
        if (appendToHandlerPath()) return handlerPath.view();
    }
    for (const kxCrashFile::Folder folder : kxCrashFile::kFolders)
        if (kxCrashFile::makePath(folder, time, handlerPath) && appendToHandlerPath())
            return handlerPath.view();
    print(handlerText);
    return {};
}

}  // namespace

void kxCrashHandler::prepare()
{
    utcOffsetSeconds.store(kxPlatformUtcOffsetSeconds());
}

void kxCrashHandler::publishOpenFile(const kxString& path)
{
    static const OpenFile* last = nullptr;
    if (!path.isEmpty() && (last == nullptr || last->path != path)) last = new OpenFile{path, last};
    openFile.store(path.isEmpty() ? nullptr : last);
}

void kxCrashHandler::publishWrittenFile(const kxString& path)
{
    writtenPath.clear();
    writtenPath.add(path);
}

bool kxCrashHandler::deal(const kxPlatformCrash& crash)
{
    printMessages(crash, kxExceptionIsDumped() ? writeAddresses(crash) : std::string_view());
    return kxExceptionRouting() == KX_EXCEPTION_HANDLED;
}

void kxCrashHandler::tell(const kxPlatformCrash& crash)
{
    printMessages(crash, writtenPath.view());
}
