// The program as its users run it: from a shell, in pipes and on a terminal.

#include "support/kxProcess.h"
#include "support/kxPseudoTerminal.h"
#include "support/kxTempDirectory.h"
#include "support/kxTestPattern.h"
#include "support/kxTestSocket.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using Arguments = std::vector<std::string>;

std::string noticeOf(const std::string& url, const std::string& output)
{
    return "Opened URL '" + url + "' with output '" + output + "'\r\n";
}

class kxRelayProcessTest : public testing::Test {
protected:
    kxProcessOptions optionsOf(const Arguments& arguments)
    {
        kxProcessOptions options;
        options.arguments = arguments;
        options.directory = directory.path();
        return options;
    }
    // Runs the tool to its end with nothing on its standard input; answers its output.
    std::string run(const Arguments& arguments, const kxProcessEnd& end = kxExited(0))
    {
        kxProcess tool(KX_TEST_TOOL, optionsOf(arguments));
        tool.closeInput();
        EXPECT_EQ(tool.wait(), end);
        return tool.output();
    }

    kxTempDirectory directory;
};

}  // namespace

TEST_F(kxRelayProcessTest, CopiesFilesExactlyBehindTheNotice)
{
    const struct {
        const char* why;
        std::string url;   // as written on the command line
        std::string name;  // of the file
        std::size_t size;
    } cases[] = {
        {"empty", "file:in", "in", 0},
        {"three reads, every byte value", "file:in", "in", 2500000},
        {"blanks in quotes", "'file:a b  c'", "a b  c", 10},
        {"percent signs are no format", "file:%s%n%d", "%s%n%d", 10},
        {"UTF-8", "file:gr\xC3\xBC\xC3\x9F \xE2\x82\xAC", "gr\xC3\xBC\xC3\x9F", 10},
        {"a question mark with one more behind it", "file:what?now?", "what?now", 10},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        const std::string bytes = kxTestPattern(c.size);
        directory.write(c.name, bytes);
        directory.write("out", "before");
        std::string shown = c.url;
        if (shown.front() == '\'') shown = shown.substr(1, shown.size() - 2);
        shown = shown.substr(0, shown.find(" \xE2"));  // an unquoted blank ends the value
        EXPECT_TRUE(run({"-URL", c.url, "-output", "con:"}) == noticeOf(shown, "con:") + bytes);
        EXPECT_EQ(run({"-url", c.url, "-OUTPUT", "file:out"}), "");
        EXPECT_TRUE(directory.read("out") == "before" + noticeOf(shown, "file:out") + bytes);
    }
}

TEST_F(kxRelayProcessTest, SaysWhatItCouldNotOpenAndEndsWith99)
{
    directory.write("in", "x");
    const struct {
        Arguments arguments;
        std::string warning;
        std::string fatal;
    } cases[] = {
        {{"-URL", "abc:x%d"}, "Could not create URL Adapter 'abc:x%d'", "Error in input adapter abc:x%d"},
        {{"-URL", "file:none"},
         "URL Adapter (file:none) Error:Could not open 'none' for reading (No such file or directory)",
         "Error in input adapter file:none"},
        {{"-URL", "hex:b64:file:none"},
         "URL Adapter (hex:b64:file:none) Error:Could not open 'none' for reading (No such file or "
         "directory)",
         "Error in input adapter hex:b64:file:none"},
        {{"-URL", "file:."},
         "URL Adapter (file:.) Error:Could not open '.' for reading (Is a directory)",
         "Error in input adapter file:."},
        {{"-URL", "file:in", "-output", "file:no/out"},
         "URL Adapter (file:no/out) Error:Could not open 'no/out' for writing (No such file or directory)",
         "Error in output adapter"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(run(c.arguments, kxExited(99)),
                  "\rKorvexSDK Warning::" + c.warning + "\n\rKorvexSDK Fatal::" + c.fatal + "\n");
    }
    run({"-URL", "none:", "-output", "file:made"}, kxExited(99));
    EXPECT_EQ(::access(directory.path("made").c_str(), F_OK), 0) << "the output is opened all the same";
}

TEST_F(kxRelayProcessTest, ReadsAndWritesTheTextOfTheSystemsEncoders)
{
    const auto shell = [&](const std::string& command) {
        EXPECT_EQ(std::system(("cd '" + directory.path() + "' && " + command).c_str()), 0) << command;
    };
    // Text of more than one read and a last group that is not whole.
    for (const std::size_t size : {0U, 1U, 2U, 3U, 30U, 1500001U}) {
        SCOPED_TRACE(size);
        const std::string bytes = kxTestPattern(size);
        directory.write("bytes", bytes);
        shell("base64 bytes >b64; base64 -w0 bytes | tr -d = >bare; xxd -p bytes >hex; base64 hex >both");
        for (const std::string url : {"b64:file:b64", "b64:file:bare", "hex:file:hex", "hex:b64:file:both"}) {
            EXPECT_TRUE(run({"-URL", url}) == noticeOf(url, "con:") + bytes) << url;
        }
        EXPECT_EQ(run({"-URL", "file:bytes", "-output", "hex:file:written"}), "");
        shell("xxd -r -p written >back; rm written");
        EXPECT_TRUE(directory.read("back") == noticeOf("file:bytes", "hex:file:written") + bytes);
        EXPECT_EQ(run({"-URL", "file:bytes", "-output", "dummy:"}), "");
    }
}

TEST_F(kxRelayProcessTest, OpensLayersOnNoDataAndEndsWith0)
{
    directory.write("empty", "");
    directory.write("feed", "\n");
    for (const std::string url : {"rand:file:empty", "hex:rand:file:empty", "rand:hex:file:feed"}) {
        EXPECT_EQ(run({"-URL", url}), noticeOf(url, "con:"));
    }
}

TEST_F(kxRelayProcessTest, LosesNoMemoryWhateverTheScheme)
{
    directory.write("in", "\n0a");
    directory.write("empty", "");
    kxTestSocket listener = kxTestSocket::listener();
    const std::string tcp = listener.url("tcp:") + "?blocking=no";
    const struct {
        std::string url, output;
    } cases[] = {
        {"file:in", "con:"},
        {"con:", "file:out"},
        {"rand:file:empty", "con:"},
        {"rand:hex:file:in", "rand:file:out"},
        {"hex:b64:file:in", "b64:hex:file:out"},
        {"purl:in,file:in", "purl:out,file:out"},
        {"file:in", "dummy:"},
        {"file:in", "udp:127.0.0.1:9?blocking=no"},
        {"file:in", tcp},
        {"file:in", "mem:0,0"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.url + " to " + c.output);
        kxProcessOptions options = optionsOf({"-URL", c.url, "-output", c.output});
        options.environment["KORVEX_MEMORY_CHECK"] = "yes";
        kxProcess tool(KX_TEST_TOOL, options);
        tool.closeInput();
        EXPECT_EQ(tool.wait(), kxExited(0));
        EXPECT_NE(tool.output().find("-- End of Lost Memory Report"), std::string::npos);
        EXPECT_EQ(tool.output().find("Lost mem "), std::string::npos) << tool.output();
    }
    kxProcess input(KX_TEST_TOOL,
                    {.arguments = {"-URL", tcp}, .environment = {{"KORVEX_MEMORY_CHECK", "yes"}}});
    listener.accept().close();  // the connection of the case above
    kxTestSocket peer = listener.accept();
    peer.send("text");
    EXPECT_TRUE(input.readUntil("text"));
    peer.close();
    EXPECT_EQ(input.wait(), kxExited(0));
    EXPECT_EQ(input.output().find("Lost mem "), std::string::npos) << input.output();
    EXPECT_TRUE(input.output().ends_with("-----\n\n"));
}

TEST_F(kxRelayProcessTest, ReadsStandardInputToItsEnd)
{
    const std::string bytes = kxTestPattern(3000000);
    kxProcess tool(KX_TEST_TOOL, optionsOf({"-URL", "con:", "-output", "file:out"}));
    EXPECT_TRUE(tool.write(bytes));
    tool.closeInput();
    EXPECT_EQ(tool.wait(), kxExited(0));
    EXPECT_TRUE(directory.read("out") == noticeOf("con:", "file:out") + bytes);

    for (const kxProcessStream& input : {kxProcessStream::closed(), kxProcessStream::file("/dev/null")}) {
        kxProcessOptions options = optionsOf({"-URL", "con:"});
        options.input = input;
        kxProcess none(KX_TEST_TOOL, options);
        EXPECT_EQ(none.wait(), kxExited(0));
        EXPECT_EQ(none.output(), noticeOf("con:", "con:"));
    }
}

TEST_F(kxRelayProcessTest, RunsOnWithoutStandardInputWhenItOnlyWrites)
{
    const std::string fifo = directory.path("fifo");
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    kxProcessOptions options = optionsOf({"-URL", "file:fifo"});
    options.input = kxProcessStream::closed();
    kxProcess tool(KX_TEST_TOOL, options);
    const int writer = ::open(fifo.c_str(), O_WRONLY | O_CLOEXEC);
    ASSERT_TRUE(tool.readUntil(noticeOf("file:fifo", "con:")));
    ASSERT_EQ(::write(writer, "later", 5), 5);
    EXPECT_TRUE(tool.readUntil("later"));
    ::close(writer);
    EXPECT_EQ(tool.wait(), kxExited(0));
}

TEST_F(kxRelayProcessTest, AFileThatIsItsOwnOutputIsCopiedOnce)
{
    for (const std::string bytes : {"", "abc"}) {
        directory.write("self", bytes);
        EXPECT_EQ(run({"-URL", "file:self", "-output", "file:self"}), "");
        EXPECT_EQ(directory.read("self"), bytes + noticeOf("file:self", "file:self") + bytes);

        directory.write("self", bytes);
        kxProcessOptions options = optionsOf({"-URL", "con:", "-output", "file:self"});
        options.input = kxProcessStream::file(directory.path("self"));
        kxProcess tool(KX_TEST_TOOL, options);
        EXPECT_EQ(tool.wait(), kxExited(0));
        EXPECT_TRUE(directory.read("self").starts_with(bytes + noticeOf("con:", "file:self")));
    }
}

TEST_F(kxRelayProcessTest, PingsOnceASecondAndNeverReadsItsInput)
{
    directory.write("in", "unread");
    kxProcess tool(KX_TEST_TOOL, optionsOf({"-URL", "file:in", "-ping"}));
    const std::string ping("Ping\r\n\0", 7);
    ASSERT_TRUE(tool.readUntil(ping));
    const auto start = std::chrono::steady_clock::now();
    ASSERT_TRUE(tool.readUntil(ping));
    EXPECT_GT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(900));
    tool.signal(SIGTERM);
    EXPECT_EQ(tool.wait(), kxKilledBy(SIGTERM));
    EXPECT_EQ(tool.output(), ping + ping);
}

TEST_F(kxRelayProcessTest, AFullDiskAndABrokenPipeDoNotPassSilently)
{
    directory.write("in", kxTestPattern(100));
    const std::size_t lost = noticeOf("file:in", "file:/dev/full").size() + 100;
    EXPECT_EQ(run({"-URL", "file:in", "-output", "file:/dev/full"}),
              "\rKorvexSDK Warning::Could not flush to file '/dev/full' (No space left on device)\n"
              "\rKorvexSDK Warning::" +
                  std::to_string(lost) + " bytes could not be written to file '/dev/full' and are lost\n");

    kxProcessOptions full = optionsOf({"-URL", "file:in"});
    full.output = kxProcessStream::file("/dev/full");
    kxProcess console(KX_TEST_TOOL, full);
    EXPECT_EQ(console.wait(), kxExited(0));
    EXPECT_EQ(console.error(), "Could not write to the console (No space left on device)\n");

    int ends[2];
    ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    ::close(ends[0]);
    kxProcessOptions options = optionsOf({"-URL", "file:in"});
    options.output = kxProcessStream::given(ends[1]);
    kxProcess tool(KX_TEST_TOOL, options);
    ::close(ends[1]);
    EXPECT_EQ(tool.wait(), kxKilledBy(SIGPIPE));
}

// ---- on a terminal

namespace {

bool echoes(const termios& attributes)
{
    return (attributes.c_lflag & ECHO) != 0;
}

class kxRelayTerminalTest : public kxRelayProcessTest {
protected:
    void SetUp() override
    {
        before = terminal.attributes();
        ASSERT_TRUE(echoes(before));
        directory.write("in", "text");
    }
    void waitForRaw()
    {
        ASSERT_TRUE(terminal.waitForAttributes([](const termios& now) { return !echoes(now); }));
    }
    void expectFoundAgain() { EXPECT_TRUE(kxSameAttributes(terminal.attributes(), before)); }
    kxProcessOptions onTerminal(const Arguments& arguments)
    {
        kxProcessOptions options = optionsOf(arguments);
        options.terminal = &terminal;
        options.input = options.output = options.error = kxProcessStream::terminal();
        return options;
    }
    bool waitForOutput(const std::string& expected)
    {
        for (int look = 0; look < 1000 && directory.read("out") != expected; ++look) ::usleep(10000);
        return directory.read("out") == expected;
    }

    kxPseudoTerminal terminal;
    termios before{};
};

}  // namespace

TEST_F(kxRelayTerminalTest, KeysArriveAtOnceUnechoedAndUnmapped)
{
    kxProcess tool(KX_TEST_TOOL, onTerminal({"-URL", "con:", "-output", "file:out"}));
    waitForRaw();
    ASSERT_TRUE(terminal.send("a\r\x7F\x04\xC3\xA9"));
    EXPECT_TRUE(waitForOutput(noticeOf("con:", "file:out") + "a\r\b\x04\xC3\xA9"));
    EXPECT_EQ(terminal.screen(), "");
    ASSERT_TRUE(terminal.send("\x03"));
    EXPECT_EQ(tool.wait(), kxKilledBy(SIGINT));
    expectFoundAgain();
}

TEST_F(kxRelayTerminalTest, ABackspaceErasesTheCharacterBeforeTheCursor)
{
    directory.write("in", "ab\bc");
    kxProcess tool(KX_TEST_TOOL, onTerminal({"-URL", "file:in"}));
    EXPECT_EQ(tool.wait(), kxExited(0));
    EXPECT_TRUE(terminal.readUntil("with output 'con:'\r\r\nab\b \bc")) << "the terminal adds its own return";
    expectFoundAgain();
}

TEST_F(kxRelayTerminalTest, EverySignalThatEndsItGivesTheTerminalBack)
{
    for (const int signal : {SIGTERM, SIGHUP, SIGQUIT, SIGSEGV, SIGABRT, SIGPROF, SIGRTMIN}) {
        SCOPED_TRACE(signal);
        kxProcess tool(KX_TEST_TOOL, onTerminal({"-URL", "con:"}));
        waitForRaw();
        tool.signal(signal);
        EXPECT_EQ(tool.wait(), kxKilledBy(signal));
        expectFoundAgain();
    }
}

TEST_F(kxRelayTerminalTest, AStopGivesTheTerminalBackAndGoingOnTakesItAgain)
{
    kxProcess tool(KX_TEST_TOOL, onTerminal({"-URL", "con:", "-output", "file:out"}));
    waitForRaw();
    ASSERT_TRUE(terminal.send("\x1A"));
    ASSERT_TRUE(tool.waitUntilStopped());
    expectFoundAgain();
    tool.toBackground();
    tool.signal(SIGCONT);
    ASSERT_TRUE(tool.waitUntilContinued());
    ::usleep(50000);
    expectFoundAgain();
    tool.toForeground();
    waitForRaw();
    ASSERT_TRUE(terminal.send("x"));
    EXPECT_TRUE(waitForOutput(noticeOf("con:", "file:out") + "x"));
}

TEST_F(kxRelayTerminalTest, InTheBackgroundItNeitherStopsNorTakesTheTerminal)
{
    kxProcessOptions options = onTerminal({"-URL", "con:", "-output", "file:out"});
    options.startsInBackground = true;
    kxProcess tool(KX_TEST_TOOL, options);
    ASSERT_TRUE(waitForOutput(noticeOf("con:", "file:out")));
    ::usleep(50000);
    expectFoundAgain();
    tool.toForeground();
    waitForRaw();
    ASSERT_TRUE(terminal.send("k"));
    EXPECT_TRUE(waitForOutput(noticeOf("con:", "file:out") + "k"));
}
