#include "kxbase/program/kxCrashText.h"
#include "kxbase/program/kxExceptionFilter.h"
#include "kxbase/program/kxSymbolSearchPath.h"
#include "support/kxProcess.h"
#include "support/kxTempDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <regex>
#include <set>
#include <sstream>

namespace {

using Environment = std::map<std::string, std::string>;
using testing::HasSubstr;

// What a process left behind.
struct Remains {
    kxProcessEnd end;
    std::string output, error;
    std::string path, file;  // of the crash file; of several the last path, and all text
};

class kxCrashTest : public testing::Test {
protected:
    // The files are gone afterwards.
    Remains crash(const std::string& way, const Environment& environment = {}, const std::string& where = {})
    {
        kxProcessOptions options;
        options.arguments = {way};
        options.environment = environment;
        options.directory = where.empty() ? directory.path() : where;
        kxProcess process(KX_TEST_CRASHER, options);
        Remains remains{process.wait(), process.output(), process.error(), {}, {}};
        std::set<std::filesystem::path> paths;
        for (const auto& entry : std::filesystem::directory_iterator(directory.path())) paths.insert(entry);
        for (const auto& path : paths) {
            remains.path = path;
            remains.file += directory.read(path.filename().string());
            std::filesystem::remove(path);
        }
        return remains;
    }

    kxTempDirectory directory;
};

// The dumps of a file, whole to the last byte: a header, and lines numbered from 0.
int countDumps(const std::string& file)
{
    static const std::regex kHeader("------ Crash Dump generated \\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d - "
                                    "KorvexSDK Ver:2\\.10\\.5 --------\r");
    static const std::regex kLine("(\\d+): In .+\\(\\+-?\\d+\\) file:.+ line:\\d+ module:.+\r");
    EXPECT_TRUE(file.ends_with("\r\n")) << file;
    std::istringstream lines(file);
    int dumps = 0, number = 1;
    for (std::string line; std::getline(lines, line);) {
        std::smatch match;
        if (std::regex_match(line, match, kLine)) {
            EXPECT_EQ(match[1], std::to_string(number++)) << file;
        } else {
            EXPECT_GT(number, 0) << "no frame in " << file;
            EXPECT_TRUE(std::regex_match(line, kHeader)) << line;
            ++dumps, number = 0;
        }
    }
    EXPECT_GT(number, 0) << "no frame in " << file;
    return dumps;
}

std::string noticeOf(const std::string& path)
{
    return "KorvexSDK Notice::CrashDump generated: Check dump file:" + path + "\n";
}

// What a sanitizer does not let happen.
struct Skipped {
    const char* why = nullptr;
    bool isThreadsOnly = false;
};
constexpr Skipped kOwnHeap{"sanitizers have a heap of their own"};
constexpr Skipped kOwnHandler{"the sanitizer's own handler does not get through", true};
constexpr Skipped kKill{"the sanitizer waits for killed threads", true};
constexpr Skipped kThreadInChild{"the sanitizer starts no threads in forked children", true};

bool isSkipped(const Skipped& skipped)
{
#if defined(KX_TEST_THREAD_SANITIZER)
    const bool isHere = skipped.why != nullptr;
#elif defined(KX_TEST_ADDRESS_SANITIZER)
    const bool isHere = skipped.why != nullptr && !skipped.isThreadsOnly;
#else
    const bool isHere = false;
#endif
    if (isHere) std::printf("skipped a case: %s\n", skipped.why);
    return isHere;
}

struct Recorder : kxExceptionReportInterface {
    void reportError(const kxFatalError& error) override { errors += error.what(); }
    void writeDump(const std::vector<kxStackItem>& written) override { items = written; }

    std::string errors;
    std::vector<kxStackItem> items;
};

}  // namespace

TEST_F(kxCrashTest, EveryFaultLeavesACompleteFileAndEndsTheProcess)
{
    const struct {
        std::string way;
        int signal;
        std::string name;            // without "EXCEPTION_"
        std::string function = way;  // that must be found, with its line
        Skipped skipped = {};
    } cases[] = {
        {"readNull", SIGSEGV, "ACCESS_VIOLATION"},
        {"callNull", SIGSEGV, "ACCESS_VIOLATION"},
        {"killItself", SIGSEGV, "ACCESS_VIOLATION"},
        {"overflowStack", SIGSEGV, "ACCESS_VIOLATION"},
        {"overflowThread", SIGSEGV, "ACCESS_VIOLATION", "overflowStack"},
        {"inDestructor", SIGSEGV, "ACCESS_VIOLATION", "Destroyed::~Destroyed"},
        {"onThread", SIGSEGV, "ACCESS_VIOLATION", "Thread::process"},
        {"onTwoThreads", SIGSEGV, "ACCESS_VIOLATION", "readNull"},
        {"exitDuringDump", SIGSEGV, "ACCESS_VIOLATION", "readNull"},
        {"exitWithHandler", SIGSEGV, "ACCESS_VIOLATION", "readNull"},
        {"abortInHandler", SIGABRT, "ACCESS_VIOLATION", "readNull"},
        {"abortProgram", SIGABRT, "NONCONTINUABLE_EXCEPTION"},
        {"throwError", SIGABRT, "NONCONTINUABLE_EXCEPTION"},
        {"corruptHeap", SIGABRT, "NONCONTINUABLE_EXCEPTION", "corruptHeap", kOwnHeap},
        {"stopInDebugger", SIGTRAP, "BREAKPOINT"},
#if defined(__x86_64__)
        {"divideByZero", SIGFPE, "INT_DIVIDE_BY_ZERO"},
        {"illegalInstruction", SIGILL, ""},
        {"privilegedInstruction", SIGSEGV, "PRIV_INSTRUCTION"},
        {"denormalOperand", SIGFPE, "FLT_DENORMAL_OPERAND"},
        {"readMisaligned", SIGBUS, "DATATYPE_MISALIGNMENT", "readMisaligned", kOwnHandler},
        {"losePlace", SIGSEGV, "ACCESS_VIOLATION", "", kOwnHandler},
        {"loseStackHandedOn", SIGSEGV, "ACCESS_VIOLATION", "loseStack", kOwnHandler},
#endif
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.way);
        if (isSkipped(c.skipped)) continue;
        const Remains remains = crash(c.way);
        EXPECT_EQ(remains.end, kxKilledBy(c.signal));
        EXPECT_EQ(countDumps(remains.file), 1);
#ifdef KX_TEST_BACKTRACE
        const std::regex wanted("\\d+: In kxCrasher::" + c.function +
                                "\\(\\)\\(\\+\\d+\\) "
                                "file:[^\n]*kxCrasher.cpp line:[1-9]\\d* module:kxcrasher\r\n");
        EXPECT_TRUE(c.function.empty() || std::regex_search(remains.file, wanted)) << remains.file;
#endif
        const std::string fatal = c.name.empty() ? "" : "\rKorvexSDK Fatal::EXCEPTION_" + c.name + "\n";
        EXPECT_EQ(remains.output, fatal + "\r" + noticeOf(remains.path));
    }
}

TEST_F(kxCrashTest, FollowsTheSettings)
{
    const struct {
        const char* why;
        std::string way, setting, value;
        kxProcessEnd end;
        int dumps;
        Skipped skipped = {};
    } cases[] = {
        {"no dump, and the fault goes on", "readNull", "DUMP", "No", kxKilledBy(SIGSEGV), 0},
        {"handled, which ends the process", "readNull", "ROUTE", "off", kxExited(139), 1},
        {"handled, which ends the thread", "onThread", "ROUTE", "FALSE", kxExited(0), 1, kKill},
        {"the second fault gets its turn", "onTwoThreads", "ROUTE", "0", kxExited(0), 2, kKill},
        {"no spelling of no", "readNull", "ROUTE", "none", kxKilledBy(SIGSEGV), 1},
        {"the handler before ours comes next", "hostHandler", "ROUTE", "Yes", kxExited(7), 2},
        {"a signal that waits goes on waiting", "abortPending", "ROUTE", "Yes", kxExited(0), 1},
        {"a later abort is no part of it", "abortAfterJump", "ROUTE", "Yes", kxKilledBy(SIGABRT), 2},
        {"the thread is all of a child", "faultInChildOfThread", "ROUTE", "No", kxExited(139), 1,
         kThreadInChild},
        {"a thread is killed after a jump", "killAfterJump", "ROUTE", "Yes", kxExited(0), 2, kKill},
        {"or as soon as it has jumped", "killDuringDump", "ROUTE", "Yes", kxExited(0), 1, kKill},
        {"the handler before ours is spared", "hostHandler", "ROUTE", "no", kxExited(139), 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        if (isSkipped(c.skipped)) continue;
        const Remains remains = crash(c.way, {{"KORVEX_" + c.setting + "_EXCEPTION", c.value}});
        EXPECT_EQ(remains.end, c.end);
        EXPECT_THAT(remains.output, HasSubstr("Fatal::EXCEPTION_ACCESS_VIOLATION"));
        if (c.dumps == 0)
            EXPECT_EQ(remains.path, "");
        else
            EXPECT_GE(countDumps(remains.file), c.dumps);
    }
}

TEST_F(kxCrashTest, PutsTheFileWhereItCan)
{
    const Remains remains = crash("readNull", {{"TMPDIR", directory.path()}}, "/proc");
    EXPECT_EQ(countDumps(remains.file), 1);
    EXPECT_THAT(remains.output, HasSubstr(noticeOf(remains.path)));

    const Remains nowhere = crash("readNull", {{"TMPDIR", "/proc"}}, "/proc");
    EXPECT_EQ(nowhere.path, "");
    EXPECT_EQ(countDumps(nowhere.error), 1);
    EXPECT_EQ(nowhere.output, "\rKorvexSDK Fatal::EXCEPTION_ACCESS_VIOLATION\n");

    kxTempDirectory withPipes;
    const Remains amongPipes = crash("faultAmongPipes", {{"TMPDIR", directory.path()}}, withPipes.path());
    EXPECT_EQ(countDumps(amongPipes.file), 1);

    const Remains noRoom = crash("overflowAtLimit", {{"TMPDIR", directory.path()}});
    EXPECT_EQ(noRoom.file, "");
    EXPECT_EQ(countDumps(noRoom.error), 1);
    EXPECT_EQ(noRoom.output, nowhere.output);
}

TEST_F(kxCrashTest, ExceptionsOfThreadsBecomeLinesOfOneFile)
{
    const std::string line =
        "Thread \\d+ threw exception \\('thrown on purpose'\\) outside process\\(\\)\r\n";
    const Remains lines = crash("throwInThreads", {{"KORVEX_MEMORY_CHECK", "yes"}});
    EXPECT_EQ(lines.end, kxExited(0));
    EXPECT_TRUE(std::regex_match(lines.file, std::regex(line + line))) << lines.file;
    EXPECT_THAT(lines.output, testing::StartsWith("\r" + noticeOf(lines.path)));
    EXPECT_THAT(lines.output, testing::Not(HasSubstr("Lost mem")));

    const Remains atLimit = crash("throwAtLimit");
    EXPECT_EQ(atLimit.end, kxExited(0));
    EXPECT_EQ(atLimit.file, "");
    EXPECT_TRUE(std::regex_match(atLimit.error, std::regex(line))) << atLimit.error;

    const Remains mixed = crash("throwAndFault");
    EXPECT_EQ(mixed.end, kxKilledBy(SIGSEGV));
    std::smatch match;
    ASSERT_TRUE(std::regex_search(mixed.file, match, std::regex(line))) << mixed.file;
    EXPECT_EQ(match.position(), 0);
    EXPECT_EQ(countDumps(match.suffix()), 1);

    const Remains removed = crash("faultAfterRemoval");
    EXPECT_EQ(countDumps(removed.file), 1);
    EXPECT_THAT(removed.output, testing::EndsWith(noticeOf(removed.path)));
}

TEST(kxCrashText, CutsNamesButNotTheLine)
{
    const std::string name(5000, 'f');
    char room[kxCrashText::kLineBytes];
    kxCrashText text(room);
    text.addLine(255, {name, -1, name, 7, name});
    EXPECT_THAT(std::string(text.view()),
                testing::MatchesRegex("255: In f+\\(\\+-1\\) file:f+ line:7 module:f+\r\n"));
}

TEST_F(kxCrashTest, HandlerDoesWithoutWhatCannotBeHad)
{
    const Remains locked = crash("faultInPrinting");
    EXPECT_EQ(locked.end, kxKilledBy(SIGSEGV));
    EXPECT_EQ(countDumps(locked.file), 1);
    EXPECT_EQ(locked.error, "KorvexSDK Fatal::EXCEPTION_ACCESS_VIOLATION\n" + noticeOf(locked.path));

    const struct {
        std::string way;
        kxProcessEnd end;
    } cases[] = {{"faultInChild", kxExited(0)},
                 {"faultInReport", kxKilledBy(SIGSEGV)},
                 {"throwInReport", kxKilledBy(SIGSEGV)}};
    for (const auto& c : cases) {
        const Remains remains = crash(c.way);
        EXPECT_EQ(remains.end, c.end);
        EXPECT_EQ(countDumps(remains.file), 1);
        EXPECT_THAT(remains.file, HasSubstr(": In unknown(+"));
        EXPECT_THAT(remains.file, HasSubstr(" module:kxcrasher\r\n"));
        EXPECT_THAT(remains.error, HasSubstr(noticeOf(remains.path)));
    }
}

extern "C" std::uint32_t f(kxPlatformFrame (&frames)[KX_PLATFORM_MOST_FRAMES])
{
    return kxPlatformCrashFrames(frames, KX_PLATFORM_MOST_FRAMES);
}

TEST(kxExceptionFilter, ReportsKnownFaultsAndDumpsAll)
{
    const struct {
        std::uint32_t fault;
        const char* name;
    } cases[] = {
        {0xC0000005, "EXCEPTION_ACCESS_VIOLATION"},
        {0x80000002, "EXCEPTION_DATATYPE_MISALIGNMENT"},
        {0x80000003, "EXCEPTION_BREAKPOINT"},
        {0x80000004, "EXCEPTION_SINGLE_STEP"},
        {0xC0000025, "EXCEPTION_NONCONTINUABLE_EXCEPTION"},
        {0xC000008C, "EXCEPTION_ARRAY_BOUNDS_EXCEEDED"},
        {0xC000008D, "EXCEPTION_FLT_DENORMAL_OPERAND"},
        {0xC000008E, "EXCEPTION_FLT_DIVIDE_BY_ZERO"},
        {0xC000008F, "EXCEPTION_FLT_INEXACT_RESULT"},
        {0xC0000090, "EXCEPTION_FLT_INVALID_OPERATION"},
        {0xC0000091, "EXCEPTION_FLT_OVERFLOW"},
        {0xC0000092, "EXCEPTION_FLT_STACK_CHECK"},
        {0xC0000093, "EXCEPTION_FLT_UNDERFLOW"},
        {0xC0000094, "EXCEPTION_INT_DIVIDE_BY_ZERO"},
        {0xC0000095, "EXCEPTION_INT_OVERFLOW"},
        {0xC0000096, "EXCEPTION_PRIV_INSTRUCTION"},
        {0xC000001D, ""},
        {0, ""},
    };
    kxPlatformFrame frames[KX_PLATFORM_MOST_FRAMES];
    const std::uint32_t count = f(frames);
    for (const auto& c : cases) {
        Recorder recorder;
        EXPECT_EQ(kxExceptionFilter(c.fault, {frames, count}, recorder), KX_EXCEPTION_GOES_ON);
        EXPECT_EQ(recorder.errors, c.name);
        ASSERT_GE(recorder.items.size(), count);
#ifdef KX_TEST_BACKTRACE
        EXPECT_EQ(recorder.items[0].function, "f");  // no type float
        EXPECT_THAT(recorder.items[1].function.text(), HasSubstr("ReportsKnownFaultsAndDumpsAll"));
        EXPECT_THAT(recorder.items[0].file.text(), testing::EndsWith("kxProgramExecutionTest.cpp"));
#endif
        EXPECT_EQ(recorder.items[0].module, "kxtest_program");
    }
}

TEST(kxSymbolSearchPath, JoinsWhatIsSetInItsOrder)
{
    kxTempDirectory directory;
    std::filesystem::current_path(directory.path());
    const std::string program = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    ::setenv("SYSTEMROOT", std::string(1000, 'x').c_str(), 1);
    ::setenv("_NT_ALTERNATE_SYMBOL_PATH", "/b", 1);
    ::setenv("KORVEX_DEBUG_SYMBOLS", "/d;/e", 1);
    ::setenv("_NT_SYMBOL_PATH", "/a", 1);
    EXPECT_EQ(kxSymbolSearchPath(), directory.path() + ";" + program + ";/a;/b;/d;/e");
}
