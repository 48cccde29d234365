#include "kxbase/program/kxProgramExecution.h"

#include "kxbase/core/kxBodyGuard.h"
#include "kxbase/core/kxMessage.h"
#include "kxbase/core/kxVersion.h"
#include "kxbase/platform/kxPlatformClock.h"
#include "kxbase/platform/kxPlatformCrash.h"
#include "kxbase/program/kxExceptionFilter.h"
#include "kxbase/thread/kxThread.h"

#include <initializer_list>
#include <string>
#include <utility>

namespace {

constexpr const char* kNoticeTitle = "CrashDump generated";
constexpr const char* kNoticeText = "Check dump file:";

// What the handler has in hand when nothing else works any more.
constinit std::atomic<std::int32_t> utcOffsetSeconds{0};
kxCrashText lastPath;  // of the last file with a dump; empty when there is none
kxCrashText scratch;

// Messages wait until the file is complete: what the faulting thread has locked may hold them up.
thread_local bool isHoldingBack = false;

void print(std::string_view text)
{
    kxPlatformCrashPrint(text.data(), text.size());
}

void printMessage(std::initializer_list<std::string_view> pieces)
{
    scratch.clear();
    scratch.add(KX_MODULE_NAME);
    for (const std::string_view piece : pieces) scratch.add(piece);
    scratch.add("\n");
    print(scratch.view());
}

// Where the handler writes to: a file or, when none could be made, standard error.
class HandlerOutput {
public:
    explicit HandlerOutput(const kxCrashTime& time)
    {
        for (std::uint32_t place = 0; !isOpen() && kxCrashFile::findPath(place, time, lastPath); ++place) {
            if (!lastPath.view().empty())
                file_ = kxPlatformFileOpenWrite(lastPath.text(), KX_PLATFORM_APPEND).file;
        }
    }
    ~HandlerOutput()
    {
        if (isOpen()) kxPlatformFileClose(file_);
    }
    HandlerOutput(const HandlerOutput&) = delete;
    HandlerOutput& operator=(const HandlerOutput&) = delete;

    void write(std::string_view text)
    {
        if (isOpen())
            kxPlatformFileWrite(file_, text.data(), text.size());
        else
            print(text);
    }

private:
    bool isOpen() const { return file_ != KX_PLATFORM_NO_FILE; }

    kxPlatformFileHandle file_ = KX_PLATFORM_NO_FILE;
};

void writeAddresses(const kxPlatformCrash& crash)
{
    const kxCrashTime time = kxCrashTime::at(kxPlatformWallSeconds(), utcOffsetSeconds.load());
    HandlerOutput output(time);
    scratch.clear();
    scratch.addHeader(time);
    output.write(scratch.view());
    for (std::uint32_t number = 0; number < crash.frameCount; ++number) {
        kxPlatformModule module{};
        kxPlatformCrashModule(crash.frames[number].address, module);
        const std::string_view name = module.name[0] != '\0' ? module.name : KX_STACK_UNKNOWN;
        scratch.clear();
        scratch.addLine(
            number, {KX_STACK_UNKNOWN, static_cast<std::int64_t>(module.offset), KX_STACK_UNKNOWN, 0, name});
        output.write(scratch.view());
    }
}

}  // namespace

// What is done about a fault that has happened.
struct kxProgramExecution::Crash {
    static bool dump(const kxPlatformCrash& crash)
    {
        isHoldingBack = true;
        lastPath.clear();
        const std::span<const kxPlatformFrame> frames(crash.frames, crash.frameCount);
        return kxExceptionFilter(crash.fault, frames, *instance().report_.load()) == KX_EXCEPTION_HANDLED;
    }

    static void tell()
    {
        isHoldingBack = false;
        for (const Message& message : std::exchange(instance().heldBack_, {}))
            instance().say(message.level, message.text);
    }

    static bool dumpInHandler(const kxPlatformCrash& crash)
    {
        lastPath.clear();
        if (kxExceptionIsDumped()) writeAddresses(crash);
        return kxExceptionRouting() == KX_EXCEPTION_HANDLED;
    }

    static void tellInHandler(const kxPlatformCrash& crash)
    {
        if (const char* const name = kxExceptionName(crash.fault)) printMessage({" Fatal::", name});
        const std::string_view path = lastPath.view();
        if (!path.empty()) printMessage({" Notice::", kNoticeTitle, ": ", kNoticeText, path});
    }
};

kxProgramExecution& kxProgramExecution::instance()
{
    static kxProgramExecution* const execution = new kxProgramExecution;
    return *execution;
}

bool kxProgramExecution::install()
{
    utcOffsetSeconds.store(kxPlatformUtcOffsetSeconds());
    kxThread::setExceptionHandler(&instance());
    return kxPlatformCrashInstall({Crash::dump, Crash::tell, Crash::dumpInHandler, Crash::tellInHandler});
}

void kxProgramExecution::reportError(const kxFatalError& error)
{
    say(KX_MESSAGE_FATAL, error.what());
}

void kxProgramExecution::writeDump(const std::vector<kxStackItem>& items)
{
    kxCrashText line;
    line.addHeader(kxCrashFile::time());
    std::string text(line.view());
    std::uint32_t number = 0;
    for (const kxStackItem& item : items) {
        line.clear();
        line.addLine(number++, {item.function, item.offset, item.file, item.line, item.module});
        text += line.view();
    }
    const kxString path = write(text, true);
    if (isHoldingBack) lastPath.add(path);
    announce(path);
}

void kxProgramExecution::exceptionLeftProcess(std::uint32_t threadId, const char* text)
{
    if (!kxExceptionIsDumped()) return;
    const std::string line =
        "Thread " + std::to_string(threadId) + " threw exception ('" + text + "') outside process()\r\n";
    announce(write(line, false));
}

// Answers the path of the file if the user is to be told of it.
kxString kxProgramExecution::write(std::string_view text, bool isLast)
{
    const kxBodyGuard guard(mutex_);
    const bool wasOpen = file_.isOpen();
    file_.write(text);
    const kxString path = file_.isOpen() && (isLast || !wasOpen) ? file_.path() : kxString();
    if (isLast) file_.close();
    return path;
}

void kxProgramExecution::announce(const kxString& path)
{
    if (path.isEmpty()) return;
    say(KX_MESSAGE_NOTICE, kxString::format("%s: %s%s", kNoticeTitle, kNoticeText, path));
}

void kxProgramExecution::say(std::uint32_t level, const kxString& text)
{
    if (isHoldingBack)
        heldBack_.push_back({level, text});
    else
        kxMessage(level, "%s", text);
}
