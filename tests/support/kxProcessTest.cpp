// The fixtures that drive programs, against programs that every system has.
#include "support/kxProcess.h"

#include "support/kxPseudoTerminal.h"
#include "support/kxTempDirectory.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <system_error>

#include <unistd.h>

using namespace std::chrono_literals;

namespace {

kxProcessOptions script(const std::string& text)
{
    return {.arguments = {"-c", text}};
}

bool echoes(const termios& attributes)
{
    return (attributes.c_lflag & ECHO) != 0;
}

}  // namespace

TEST(kxTempDirectory, IsItsOwnAndGoesWithAllItHolds)
{
    std::string path;
    {
        kxTempDirectory first, second;
        path = first.path();
        EXPECT_NE(first.path(), second.path());
        std::filesystem::create_directory(first.path("inner"));
        first.write("inner/file", std::string_view("a\0b", 3));
        EXPECT_EQ(first.read("inner/file"), std::string("a\0b", 3));
    }
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(kxProcess, PassesBytesBothWaysWithoutStandingStill)
{
    // More than two pipes hold, so that writing has to take in the output meanwhile.
    const std::string bytes(3 << 20, 'x');
    kxProcess cat("/bin/cat");
    ASSERT_TRUE(cat.write(bytes));
    cat.closeInput();
    EXPECT_EQ(cat.wait(), kxExited(0));
    EXPECT_EQ(cat.output().size(), bytes.size());
}

TEST(kxProcess, TellsHowTheProgramEnded)
{
    const struct {
        const char* why;
        const char* script;
        kxProcessEnd end;
    } cases[] = {
        {"exit status", "exit 99", kxExited(99)},
        {"a signal is no status", "kill -TERM $$", kxKilledBy(SIGTERM)},
        {"a status above 128 is no signal", "exit 143", kxExited(143)},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        EXPECT_EQ(kxProcess("/bin/sh", script(c.script)).wait(), c.end);
    }
    EXPECT_THROW(kxProcess("/nonexistent/program"), std::system_error);
    EXPECT_THROW(kxProcess("/bin/sh", {.directory = "/nonexistent"}), std::system_error);
}

TEST(kxProcess, EveryWaitEnds)
{
    kxProcess silent("/bin/sh", script("echo begun; exec sleep 600"));
    EXPECT_TRUE(silent.readUntil("begun"));
    EXPECT_FALSE(silent.readUntil("more", 30ms));
    EXPECT_FALSE(silent.write(std::string(1 << 20, 'x'), 30ms)) << "nobody reads";
    EXPECT_FALSE(silent.wait(30ms).ended);
    silent.signal(SIGKILL);
    EXPECT_EQ(silent.wait(), kxKilledBy(SIGKILL));
    EXPECT_FALSE(silent.readUntil("more")) << "the end of the output is no reason to wait";
    EXPECT_FALSE(silent.write("x")) << "a closed pipe is no reason to die";
}

TEST(kxProcess, FindsTextsOneAfterTheOther)
{
    kxProcess program("/bin/sh", script("printf abab; echo problem >&2"));
    EXPECT_TRUE(program.readUntil("ab"));
    EXPECT_TRUE(program.readUntil("ab"));
    EXPECT_FALSE(program.readUntil("ab"));
    EXPECT_TRUE(program.readErrorUntil("problem"));
}

TEST(kxProcess, ConnectsTheStreamsAsAsked)
{
    kxTempDirectory directory;
    const std::string input = directory.write("in", "from the file");
    kxProcess program("/bin/sh", {.arguments = {"-c", "cat; pwd -P; echo $KX_ADDED; test ! -e /dev/fd/2"},
                                  .environment = {{"KX_ADDED", "added"}},
                                  .directory = "/",
                                  .input = kxProcessStream::file(input),
                                  .output = kxProcessStream::file(directory.path("out")),
                                  .error = kxProcessStream::closed()});
    EXPECT_EQ(program.wait(), kxExited(0)) << "standard error is open";
    EXPECT_EQ(directory.read("out"), "from the file/\nadded\n");
}

TEST(kxPseudoTerminal, IsTheControllingTerminalAndCarriesKeys)
{
    kxPseudoTerminal terminal;
    const termios before = terminal.attributes();
    kxProcess program("/bin/sh", terminal,
                      {"-c", "stty -echo; read line </dev/tty; echo got $line; stty echo; exec cat"});
    EXPECT_TRUE(terminal.waitForAttributes([](const termios& now) { return !echoes(now); }));
    EXPECT_FALSE(kxSameAttributes(before, terminal.attributes()));
    EXPECT_EQ(terminal.foregroundGroup(), program.id());
    terminal.send("text\n");
    EXPECT_TRUE(terminal.readUntil("got text"));
    EXPECT_TRUE(terminal.waitForAttributes(echoes));
    EXPECT_TRUE(kxSameAttributes(before, terminal.attributes()));
    terminal.send("\x03");
    EXPECT_EQ(program.wait(), kxKilledBy(SIGINT));
}

TEST(kxPseudoTerminal, RunsAJobInTheBackgroundAndInTheForeground)
{
    kxPseudoTerminal terminal;
    kxProcess job("/bin/cat",
                  {.input = kxProcessStream::terminal(), .terminal = &terminal, .startsInBackground = true});
    EXPECT_TRUE(job.waitUntilStopped()) << "reading the terminal from the background stops";
    EXPECT_NE(terminal.foregroundGroup(), job.id());
    job.toForeground();
    job.signal(SIGCONT);
    EXPECT_TRUE(job.waitUntilContinued());
    terminal.send("line\n");
    EXPECT_TRUE(job.readUntil("line\n")) << "standard output is still a pipe";
    terminal.send("\x1a");
    EXPECT_TRUE(job.waitUntilStopped());
    job.signal(SIGCONT);
    terminal.send("\x04");
    EXPECT_EQ(job.wait(), kxExited(0));
}
