#include "kxbase/core/kxMessage.h"
#include "kxbase/message/DefaultMessageReceiver.h"
#include "kxbase/message/kxMessageFileReceiver.h"
#include "support/kxForkedChild.h"
#include "support/kxMessageRecorder.h"
#include "support/kxProcess.h"
#include "support/kxPseudoTerminal.h"
#include "support/kxTempDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <thread>

#include <poll.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

using testing::MatchesRegex;
using Texts = std::vector<std::string>;

struct Dialog : kxAssertDialogInterface {
    kxAssertAnswer ask(const kxString& title, const kxString& text) override
    {
        asked.push_back(std::string(title.view()) + "|" + text.text());
        return answer;
    }
    kxAssertAnswer answer = KX_ASSERT_IGNORE;
    Texts asked;
};

Texts linesOf(const std::string& text)
{
    std::istringstream stream(text);
    Texts lines;
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

}  // namespace

TEST(DefaultMessageReceiverDeathTest, AsksAboutAssertions)
{
    DefaultMessageReceiver receiver;
    Dialog dialog;
    receiver.setAssertDialog(&dialog);
    testing::internal::CaptureStdout();
    for (const std::uint32_t level : {0x6000U, 0x6E12U, 0x5000U}) receiver.receive("t", level, "broken 7");
    receiver.setEnabled(false);
    receiver.receive("t", KX_MESSAGE_ASSERT, "unseen");
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "\rt Assert::broken 7\n\rt Internal::broken 7\n\rt Fatal::broken 7\n");
    EXPECT_EQ(dialog.asked, Texts(2, "KorvexSDK Assert|\nbroken 7\n\n---- Press 'Retry' to debug  ----\n\n"
                                     "---- Press 'Ignore' to continue execution  ----"));
    receiver.setEnabled(true);
    dialog.answer = KX_ASSERT_RETRY;
    EXPECT_EXIT(receiver.receive("t", KX_MESSAGE_ASSERT, "x"), testing::KilledBySignal(SIGTRAP), "");
}

// Runs itself as the program that the table needs.
TEST(kxAssertDialog, AsksWhoSitsAtTheTerminal)
{
    if (const char* const kind = std::getenv("KX_TEST_ASSERT_PROGRAM")) {
        if (std::string_view(kind) == "no terminal") ::setsid();
        // The thread sanitizer loses a signal that comes while a thread begins to wait for the first time.
        ::poll(nullptr, 0, 0);
        kxMessage(KX_MESSAGE_ASSERT, "broken %d", 7);
        std::_Exit(7);
    }
    const struct {
        std::string kind;
        const char* keys;  // null when nothing is asked
        kxProcessEnd end;
        int signal = 0;  // that comes before the keys
    } cases[] = {
        {"other keys first", "x\rr", kxKilledBy(SIGTRAP)},
        {"ignore", "i", kxExited(7)},
        {"end of file", "\x04", kxExited(7)},
        {"interrupt", "\x03", kxKilledBy(SIGINT)},
        {"terminated", "", kxKilledBy(SIGTERM), SIGTERM},
        {"stopped, then retry", "r", kxKilledBy(SIGTRAP), SIGTSTP},
        {"background", nullptr, kxExited(7)},
        {"no terminal", nullptr, kxExited(7)},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.kind);
        kxPseudoTerminal terminal;
        const termios before = terminal.attributes();
        EXPECT_TRUE(terminal.send("r")) << "typed ahead, which is no answer";
        kxProcessOptions options;
        options.arguments = {"--gtest_filter=kxAssertDialog.*"};
        options.environment = {{"KX_TEST_ASSERT_PROGRAM", c.kind}};
        options.startsInBackground = c.kind == "background";
        if (c.kind != "no terminal") options.terminal = &terminal;
        kxProcess program(std::filesystem::read_symlink("/proc/self/exe"), options);
        if (c.keys != nullptr) {
            EXPECT_TRUE(terminal.readUntil("KorvexSDK Assert\r\n\r\nbroken 7\r\n\r\n---- Press 'Retry'"));
            EXPECT_TRUE(terminal.readUntil("gnore? "));
            if (c.signal != 0) program.signal(c.signal);
            if (c.signal == SIGTSTP) {
                EXPECT_TRUE(program.waitUntilStopped());
                EXPECT_TRUE(kxSameAttributes(before, terminal.attributes()));
                program.signal(SIGCONT);
                EXPECT_TRUE(kxAwait([&] { return (terminal.attributes().c_lflag & ISIG) == 0; }));
            }
            EXPECT_TRUE(terminal.send(c.keys));
        }
        EXPECT_EQ(program.wait(), c.end);
        EXPECT_TRUE(kxSameAttributes(before, terminal.attributes()));
    }
}

TEST(kxMessageReceivers, NeverTearTheMessagesOfSeveralThreads)
{
    const kxTempDirectory directory;
    DefaultMessageReceiver console;
    kxMessageFileReceiver file(directory.path("log").c_str());
    kxMessageManager& manager = kxMessageManager::instance();
    testing::internal::CaptureStdout();
    manager.addReceiver(console);
    manager.addReceiver(file);
    const auto send = [](const std::string& text) {
        for (int turn = 0; turn < 200; ++turn) kxMessage(KX_MESSAGE_NOTICE, "%s", text);
    };
    std::thread other(send, std::string(99, 'a'));
    send(std::string(99, 'b'));
    other.join();
    manager.removeReceiver(console);
    manager.removeReceiver(file);
    file.flush();
    const Texts lines = linesOf(testing::internal::GetCapturedStdout() + directory.read("log"));
    EXPECT_EQ(lines.size(), 800U);
    EXPECT_THAT(lines, testing::Each(MatchesRegex("(\r|2.*Z )KorvexSDK Notice::(a+|b+)")));
}

TEST(kxMessageFileReceiver, AppendsFromWarningOnAtOnceAndReportsAFailingFileOnce)
{
    const kxTempDirectory directory;
    kxMessageFileReceiver file(directory.write("log", "before\n").c_str());
    file.receive("s", KX_MESSAGE_NOTICE, "kept back");
    EXPECT_EQ(directory.read("log"), "before\n");
    kxStatusOfChild([&file] { return file.flush(), true; });  // the line is the parent's
    file.receive("s", KX_MESSAGE_INTERNAL_WARNING, "urgent");
    const std::string time = "20..-[01].-[0-3].T[0-2].:[0-5].:[0-6].\\....Z ";
    EXPECT_THAT(directory.read("log"), MatchesRegex("before\n" + time + "s Notice::kept back\n" + time +
                                                    "s Internal Warning::urgent\n"));
    const kxMessageRecorder messages;
    kxMessageFileReceiver none("/no/such/log");
    kxMessageFileReceiver full("/dev/full");
    for (int turn = 0; turn < 3; ++turn) full.receive("s", KX_MESSAGE_FATAL, "x");
    EXPECT_EQ(messages.texts(), Texts({"Could not open '/no/such/log' (No such file or directory)",
                                       "Could not write to '/dev/full' (No space left on device)"}));
}

TEST(kxMessageFileReceiver, KeepsSomeForAFileThatFailsForAWhile)
{
    const kxTempDirectory directory;
    const kxMessageRecorder messages;
    kxMessageFileReceiver file(directory.path("log").c_str());
    rlimit before{};
    ::getrlimit(RLIMIT_FSIZE, &before);
    ::signal(SIGXFSZ, SIG_IGN);
    for (const rlim_t limit : {rlim_t{0}, before.rlim_cur}) {
        const rlimit now{limit, before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &now);
        for (int turn = 0; turn < 200; ++turn) file.receive("s", 0x5000, std::string(1000, 'x').c_str());
    }
    EXPECT_EQ(linesOf(directory.read("log")).size(), 65536 / 1035 + 199U) << "but one is lost more";
    EXPECT_EQ(messages.entries().size(), 1U);
}
