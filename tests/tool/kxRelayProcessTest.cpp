// The program as its users run it: from a shell, in pipes and on a terminal.

#include "support/kxPseudoTerminal.h"
#include "support/kxTestSocket.h"
#include "support/kxTestTool.h"

#include <csignal>
#include <cstdlib>

#include <unistd.h>

namespace {

using Arguments = std::vector<std::string>;

class kxRelayProcessTest : public testing::Test {
protected:
    kxProcessOptions optionsOf(const Arguments& arguments) { return {arguments, {}, directory.path()}; }
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
        std::string mark = {};  // behind the name
    } cases[] = {
        {"empty", "file:in", "in", 0},
        {"three reads, every byte value", "file:in", "in", 2500000},
        {"blanks in quotes", "'file:a b  c'", "a b  c", 10},
        {"percent signs are no format", "file:%s%n%d", "%s%n%d", 10},
        {"UTF-8", "file:gr\xC3\xBC\xC3\x9F \xE2\x82\xAC", "gr\xC3\xBC\xC3\x9F", 10},
        {"a question mark with one more behind it", "file:what?now?", "what?now", 10, "?"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        const std::string bytes = kxTestPattern(c.size);
        directory.write(c.name, bytes);
        directory.write("out", "before");
        const std::string shown = "file:" + c.name + c.mark;
        EXPECT_TRUE(run(kxArgumentsOf(c.url, "con:")) == kxNoticeOf(shown, "con:") + bytes);
        EXPECT_EQ(run({"-url", c.url, "-OUTPUT", "file:out"}), "");
        EXPECT_TRUE(directory.read("out") == "before" + kxNoticeOf(shown, "file:out") + bytes);
    }
}

TEST_F(kxRelayProcessTest, SaysWhatItCouldNotOpenAndEndsWith99)
{
    directory.write("in", "x");
    const struct {
        const char *url, *output, *warning, *fatal;
    } cases[] = {
        {"abc:x%d", "con:", "Could not create URL Adapter 'abc:x%d'", "input adapter abc:x%d"},
        {"file:.", "con:", "URL Adapter (file:.) Error:Could not open '.' for reading (Is a directory)",
         "input adapter file:."},
        {"file:in", "file:no/out",
         "URL Adapter (file:no/out) Error:Could not open 'no/out' for writing (No such file or directory)",
         "output adapter"},
    };
    for (const auto& [url, output, warning, fatal] : cases)
        EXPECT_EQ(run(kxArgumentsOf(url, output), kxExited(99)),
                  "\rKorvexSDK Warning::" + std::string(warning) + "\n\rKorvexSDK Fatal::Error in " + fatal +
                      "\n");
    run(kxArgumentsOf("none:", "file:made"), kxExited(99));
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
            EXPECT_TRUE(run({"-URL", url}) == kxNoticeOf(url, "con:") + bytes) << url;
        }
        EXPECT_EQ(run(kxArgumentsOf("file:bytes", "hex:file:written")), "");
        shell("xxd -r -p written >back; rm written");
        EXPECT_TRUE(directory.read("back") == kxNoticeOf("file:bytes", "hex:file:written") + bytes);
        EXPECT_EQ(run(kxArgumentsOf("file:bytes", "dummy:")), "");
    }
}

TEST_F(kxRelayProcessTest, LosesNoMemoryWhateverTheScheme)
{
    directory.write("in", "\n0a");
    kxTestSocket listener = kxTestSocket::listener();
    kxTestSocket datagrams = kxTestSocket::datagram();
    const std::pair<std::string, std::string> cases[] = {
        {"con:", "file:out"},
        {"rand:hex:file:in", "b64:hex:file:out"},
        {"purl:in,file:in", "purl:out,dummy:"},
        {"file:in", datagrams.url("udp:") + "?blocking=no"},
        {"file:in", listener.url("tcp:") + "?blocking=no"},
        {"file:in", "mem:0,0"},
    };
    for (const auto& [url, output] : cases) {
        SCOPED_TRACE(url + " to " + output);
        kxProcessOptions options = optionsOf(kxArgumentsOf(url, output));
        options.environment["KORVEX_MEMORY_CHECK"] = "yes";
        kxProcess tool(KX_TEST_TOOL, options);
        tool.closeInput();
        EXPECT_EQ(tool.wait(), kxExited(0));
        kxExpectNothingLost(tool.output());
    }
}

TEST_F(kxRelayProcessTest, ReadsStandardInputToItsEnd)
{
    const std::string bytes = kxTestPattern(3000000);
    kxProcess tool(KX_TEST_TOOL, optionsOf(kxArgumentsOf("con:", "file:out")));
    EXPECT_TRUE(tool.write(bytes));
    tool.closeInput();
    EXPECT_EQ(tool.wait(), kxExited(0));
    EXPECT_TRUE(directory.read("out") == kxNoticeOf("con:", "file:out") + bytes);

    for (const char* const input : {"", "/dev/null"}) {
        kxProcessOptions options = optionsOf({"-URL", "con:"});
        options.input = input;
        kxProcess none(KX_TEST_TOOL, options);
        EXPECT_EQ(none.wait(), kxExited(0));
        EXPECT_EQ(none.output(), kxNoticeOf("con:", "con:"));
    }
}

TEST_F(kxRelayProcessTest, AFileThatIsItsOwnOutputIsCopiedOnce)
{
    for (const std::string bytes : {"", "abc"}) {
        directory.write("self", bytes);
        EXPECT_EQ(run(kxArgumentsOf("file:self", "file:self")), "");
        EXPECT_EQ(directory.read("self"), bytes + kxNoticeOf("file:self", "file:self") + bytes);
    }
}

TEST_F(kxRelayProcessTest, PingsOnceASecondAndNeverReadsItsInput)
{
    directory.write("in", "unread");
    const auto start = std::chrono::steady_clock::now();
    kxProcess tool(KX_TEST_TOOL, optionsOf({"-URL", "file:in", "-ping"}));
    const std::string ping("Ping\r\n\0", 7);
    ASSERT_TRUE(tool.readUntil(ping));
    ASSERT_TRUE(tool.readUntil(ping));
    EXPECT_GT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(900));
    tool.signal(SIGTERM);
    EXPECT_EQ(tool.wait(), kxKilledBy(SIGTERM));
    std::string pings = ping + ping;
    while (pings.size() < tool.output().size()) pings += ping;
    EXPECT_EQ(tool.output(), pings);
}

TEST_F(kxRelayProcessTest, AFullDiskAndABrokenPipeDoNotPassSilently)
{
    directory.write("in", kxTestPattern(100));
    const std::size_t lost = kxNoticeOf("file:in", "file:/dev/full").size() + 100;
    const std::string warning = "\rKorvexSDK Warning::";
    EXPECT_EQ(run(kxArgumentsOf("file:in", "file:/dev/full")),
              warning + "Could not flush to file '/dev/full' (No space left on device)\n" + warning +
                  std::to_string(lost) + " bytes could not be written to file '/dev/full' and are lost\n");

    kxProcessOptions full = optionsOf({"-URL", "file:in"});
    full.output = "/dev/full";
    kxProcess console(KX_TEST_TOOL, full);
    EXPECT_EQ(console.wait(), kxExited(0));
    EXPECT_EQ(console.error(), "Could not write to the console (No space left on device)\n");

    kxProcess tool(KX_TEST_TOOL, optionsOf({"-URL", "con:"}));
    ASSERT_TRUE(tool.readUntil(kxNoticeOf("con:", "con:")));
    tool.closeOutput();
    EXPECT_TRUE(tool.write("x"));
    EXPECT_EQ(tool.wait(), kxKilledBy(SIGPIPE));
}

// ---- on a terminal

namespace {

class kxRelayTerminalTest : public kxRelayProcessTest {
protected:
    void waitForRaw()
    {
        ASSERT_TRUE(kxAwait([this] { return (terminal.attributes().c_lflag & ECHO) == 0; }));
    }
    void expectFoundAgain() { EXPECT_TRUE(kxSameAttributes(terminal.attributes(), before)); }
    kxProcessOptions onTerminal(const Arguments& arguments)
    {
        return {.arguments = arguments, .directory = directory.path(), .terminal = &terminal};
    }
    bool waitForOutput(const std::string& expected)
    {
        return kxAwait([&] { return directory.read("out") == expected; });
    }

    kxPseudoTerminal terminal;
    const termios before = terminal.attributes();
};

}  // namespace

TEST_F(kxRelayTerminalTest, KeysArriveAtOnceUnechoedAndUnmapped)
{
    kxProcess tool(KX_TEST_TOOL, onTerminal(kxArgumentsOf("con:", "file:out")));
    waitForRaw();
    ASSERT_TRUE(terminal.send("a\r\x7F\x04\xC3\xA9"));
    EXPECT_TRUE(waitForOutput(kxNoticeOf("con:", "file:out") + "a\r\b\x04\xC3\xA9"));
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

TEST_F(kxRelayTerminalTest, TakesTheTerminalInTheForegroundOnlyAndGivesItBackWhenStopped)
{
    kxProcessOptions options = onTerminal(kxArgumentsOf("con:", "file:out"));
    options.startsInBackground = true;
    kxProcess tool(KX_TEST_TOOL, options);
    ASSERT_TRUE(waitForOutput(kxNoticeOf("con:", "file:out")));
    ::usleep(50000);
    expectFoundAgain();
    tool.toForeground();
    waitForRaw();
    ASSERT_TRUE(terminal.send("\x1A"));
    ASSERT_TRUE(tool.waitUntilStopped());
    expectFoundAgain();
    tool.toBackground();
    tool.signal(SIGCONT);
    ::usleep(50000);
    expectFoundAgain();
    tool.toForeground();
    waitForRaw();
    ASSERT_TRUE(terminal.send("x"));
    EXPECT_TRUE(waitForOutput(kxNoticeOf("con:", "file:out") + "x"));
}
