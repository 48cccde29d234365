#include "kxbase/program/kxProgramExecution.h"

#include "kxbase/core/kxMemCheck.h"
#include "kxbase/core/kxMessage.h"
#include "kxbase/core/kxModule.h"
#include "kxbase/core/kxQuietGuard.h"
#include "kxbase/core/kxUntrackedScope.h"
#include "kxbase/platform/kxPlatformCrash.h"
#include "kxbase/platform/kxPlatformFork.h"
#include "kxbase/program/kxCrashHandler.h"
#include "kxbase/program/kxExceptionFilter.h"
#include "kxbase/thread/kxThread.h"

#include <memory>
#include <string>
#include <utility>

namespace {

// Set on the dump thread. Messages wait until the file is complete: what the faulting thread has locked may hold them
// up.
thread_local bool isHoldingBack = false;

void sendError(const kxString& text)
{
    kxMessage(KX_MESSAGE_FATAL, "%s", text);
}

void sendNotice(const kxString& path)
{
    kxMessage(KX_MESSAGE_NOTICE, "%s: %s%s", kxTranslate(kxCrashHandler::kNoticeTitle),
              kxTranslate(kxCrashHandler::kNoticeText), path);
}

}  // namespace

// What is done about a fault on the dump thread.
struct kxProgramExecution::Crash {
    static bool dump(const kxPlatformCrash& crash)
    {
        kxMemCheck::leaveThisThreadOut();
        isHoldingBack = true;
        kxCrashHandler::publishWrittenFile({});
        instance().heldBack_.clear();
        const std::span<const kxPlatformFrame> frames(crash.frames, crash.frameCount);
        return kxExceptionFilter(crash.fault, frames, *instance().report_.load()) == KX_EXCEPTION_HANDLED;
    }

    static void tell()
    {
        isHoldingBack = false;
        for (const HeldBack& message : std::exchange(instance().heldBack_, {})) message.send(message.text);
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
        kxCrashHandler::publishOpenFile({});
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
    kxCrashHandler::prepare();
    kxThread::setExceptionHandler(&instance());
    return kxPlatformCrashInstall({Crash::dump, Crash::tell, kxCrashHandler::tell, kxCrashHandler::deal});
}

void kxProgramExecution::reportError(const kxFatalError& error)
{
    say(sendError, error.what());
}

void kxProgramExecution::writeDump(const std::vector<kxStackItem>& items)
{
    char room[kxCrashText::kLineBytes];
    kxCrashText line(room);
    line.addHeader(kxCrashFile::now());
    std::string text(line.view());
    std::uint32_t number = 0;
    for (const kxStackItem& item : items) {
        line.clear();
        line.addLine(number++, {item.function, item.offset, item.file, item.line, item.module});
        text += line.view();
    }
    const kxString path = writeWholeDump(text);
    if (isHoldingBack) kxCrashHandler::publishWrittenFile(path);
    announce(path);
}

void kxProgramExecution::exceptionLeftProcess(std::uint32_t threadId, const char* text)
{
    const std::string line =
        "Thread " + std::to_string(threadId) + " threw exception ('" + text + "') outside process()\r\n";
    announce(appendLine(line));
}

// What it keeps until the next dump, or for good, would look lost: hence the untracked scope, here and below.
kxString kxProgramExecution::appendLine(std::string_view line)
{
    const kxUntrackedScope scope;
    const kxQuietGuard guard(mutex_);
    const kxString pathBefore = file_.path();
    file_.write(line);
    const kxString path = file_.path();
    kxCrashHandler::publishOpenFile(path);
    return path != pathBefore ? path : kxString();
}

kxString kxProgramExecution::writeWholeDump(std::string_view dump)
{
    const kxUntrackedScope scope;
    const kxQuietGuard guard(mutex_);
    file_.write(dump);
    const kxString path = file_.path();
    file_.close();
    kxCrashHandler::publishOpenFile({});
    return path;
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
