#include "kxbase/program/kxProgramExecution.h"

#include "kxbase/core/kxBodyGuard.h"
#include "kxbase/core/kxMemCheck.h"
#include "kxbase/core/kxMessage.h"
#include "kxbase/core/kxModule.h"
#include "kxbase/core/kxUntrackedScope.h"
#include "kxbase/platform/kxPlatformClock.h"
#include "kxbase/platform/kxPlatformCrash.h"
#include "kxbase/platform/kxPlatformThread.h"
#include "kxbase/program/kxExceptionFilter.h"
#include "kxbase/thread/kxThread.h"

#include <initializer_list>
#include <memory>
#include <string>
#include <utility>

namespace {

constexpr const char* kNoticeTitle = "CrashDump generated";
constexpr const char* kNoticeText = "Check dump file:";

constexpr std::size_t kLineBytes = kxCrashText::kLineBytes;
// Enough for as many frames as there can be, with names of modules at their longest.
constexpr std::size_t kDumpBytes = 128 * 1024;

// What the handler has in hand when nothing else works any more.
constinit std::atomic<std::int32_t> utcOffsetSeconds{0};

// The dump thread's; read by the handler when the file is written and before the next fault.
char writtenPathRoom[kLineBytes];
constinit kxCrashText writtenPath{writtenPathRoom};

// The path of the file that is open now, null when none is. Changed under the mutex of the file; a path that the
// handler may be reading stays for good.
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

// Set on the dump thread. Messages wait until the file is complete: what the faulting thread has locked may hold them
// up.
thread_local bool isHoldingBack = false;

void sendError(const kxString& text)
{
    kxMessage(KX_MESSAGE_FATAL, "%s", text);
}

void sendNotice(const kxString& path)
{
    kxMessage(KX_MESSAGE_NOTICE, "%s: %s%s", kxTranslate(kNoticeTitle), kxTranslate(kNoticeText), path);
}

// The path is empty when no file is open.
void showHandler(const kxString& path)
{
    static const OpenFile* last = nullptr;
    if (!path.isEmpty() && (last == nullptr || last->path != path)) last = new OpenFile{path, last};
    openFile.store(path.isEmpty() ? nullptr : last);
}

// ---- in the handler

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
    if (!path.empty()) printMessage({" Notice::", kNoticeTitle, ": ", kNoticeText, path});
}

void makeText(const kxPlatformCrash& crash, const kxCrashTime& time)
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
    const kxCrashTime time = kxCrashTime::at(kxPlatformWallSeconds(), utcOffsetSeconds.load());
    makeText(crash, time);
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

// What is done about a fault that has happened.
struct kxProgramExecution::Crash {
    static bool dump(const kxPlatformCrash& crash)
    {
        kxMemCheck::leaveThisThreadOut();
        isHoldingBack = true;
        writtenPath.clear();
        instance().heldBack_.clear();
        const std::span<const kxPlatformFrame> frames(crash.frames, crash.frameCount);
        return kxExceptionFilter(crash.fault, frames, *instance().report_.load()) == KX_EXCEPTION_HANDLED;
    }

    static void tell()
    {
        isHoldingBack = false;
        for (const Message& message : std::exchange(instance().heldBack_, {})) message.send(message.text);
    }

    static void tellInHandler(const kxPlatformCrash& crash) { printMessages(crash, writtenPath.view()); }

    static bool dealInHandler(const kxPlatformCrash& crash)
    {
        printMessages(crash, kxExceptionIsDumped() ? writeAddresses(crash) : std::string_view());
        return kxExceptionRouting() == KX_EXCEPTION_HANDLED;
    }
};

// In a forked child the file may be locked by a thread that is not there, in the middle of a change: then the child
// begins without one. The messages held back are those of the dump thread, which is not there either. Nobody waits for
// the mutex before a fork, since texts may be translated under it.
struct kxProgramExecution::Fork {
    static void forgetInChild()
    {
        kxProgramExecution& execution = *made.load();
        std::construct_at(&execution.heldBack_);
        isHoldingBack = false;
        if (execution.mutex_.tryLock()) {
            execution.mutex_.unlock();
            return;
        }
        std::construct_at(&execution.mutex_);
        std::construct_at(&execution.file_);
        showHandler({});
    }

    static inline constinit std::atomic<kxProgramExecution*> made{nullptr};
    static inline constinit kxPlatformForkGuard guard{[] {}, [] {}, forgetInChild};
};

kxProgramExecution::kxProgramExecution()
{
    Fork::made.store(this);
    kxPlatformAddForkGuard(Fork::guard);
}

kxProgramExecution& kxProgramExecution::instance()
{
    static kxProgramExecution* const execution = new kxProgramExecution;
    return *execution;
}

bool kxProgramExecution::install()
{
    utcOffsetSeconds.store(kxPlatformUtcOffsetSeconds());
    kxThread::setExceptionHandler(&instance());
    return kxPlatformCrashInstall({Crash::dump, Crash::tell, Crash::tellInHandler, Crash::dealInHandler});
}

void kxProgramExecution::reportError(const kxFatalError& error)
{
    say(sendError, error.what());
}

void kxProgramExecution::writeDump(const std::vector<kxStackItem>& items)
{
    char room[kLineBytes];
    kxCrashText line(room);
    line.addHeader(kxCrashFile::time());
    std::string text(line.view());
    std::uint32_t number = 0;
    for (const kxStackItem& item : items) {
        line.clear();
        line.addLine(number++, {item.function, item.offset, item.file, item.line, item.module});
        text += line.view();
    }
    const kxString path = write(text, true);
    if (isHoldingBack) writtenPath.add(path);
    announce(path);
}

void kxProgramExecution::exceptionLeftProcess(std::uint32_t threadId, const char* text)
{
    const std::string line =
        "Thread " + std::to_string(threadId) + " threw exception ('" + text + "') outside process()\r\n";
    announce(write(line, false));
}

// Answers the path of the file if the user is to be told of it: of every dump, and of a file made for an exception.
kxString kxProgramExecution::write(std::string_view text, bool isDump)
{
    // What it keeps until the next dump, or for good, would look lost.
    const kxUntrackedScope scope;
    const kxBodyGuard guard(mutex_);
    const kxString pathBefore = file_.path();
    file_.write(text);
    const kxString path = file_.path();
    if (isDump) file_.close();
    showHandler(file_.path());
    const bool isNews = isDump || path != pathBefore;
    return isNews ? path : kxString();
}

void kxProgramExecution::announce(const kxString& path)
{
    if (!path.isEmpty()) say(sendNotice, path);
}

void kxProgramExecution::say(void (*send)(const kxString&), const kxString& text)
{
    if (isHoldingBack)
        heldBack_.push_back({send, text});
    else
        send(text);
}
