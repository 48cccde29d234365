// The program between sockets: its default job, and connections that end.

#include "support/kxPseudoTerminal.h"
#include "support/kxTestSocket.h"
#include "support/kxTestTool.h"

#include <csignal>
#include <cstring>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

constexpr std::uint16_t kDefaultPort = 45455;
constexpr std::uint32_t kEverybodyHere = 0x7FFFFFFF;  // 127.255.255.255

// Typed letters travel one by one and would mix with those of another run of this test on the machine. So only one
// run at a time speaks there: the one that holds a name which the system frees with its owner.
class kxTurnAtDefaultPort {
public:
    kxTurnAtDefaultPort()
    {
        sockaddr_un name{AF_UNIX, {}};
        std::strcpy(name.sun_path + 1, "kxtest-45455");  // behind the zero of a name without a file
        isOurs_ = kxAwait(
            [&] { return ::bind(descriptor_, reinterpret_cast<sockaddr*>(&name), sizeof(name)) == 0; });
    }
    ~kxTurnAtDefaultPort() { ::close(descriptor_); }
    bool isOurs() const { return isOurs_; }

private:
    const int descriptor_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    bool isOurs_ = false;
};

// Others may be at the default port all the same, so everybody there is spoken to, by an own word.
std::string ownWord(const std::string& word)
{
    return word + "-" + std::to_string(::getpid());
}

}  // namespace

TEST(kxRelayNet, ShowsDatagramsAndSendsWhatIsTyped)
{
    const kxTurnAtDefaultPort turn;
    ASSERT_TRUE(turn.isOurs());
    kxTestSocket other = kxTestSocket::datagram(kDefaultPort);
    kxPseudoTerminal terminal;
    kxProcess tool(KX_TEST_TOOL, {.terminal = &terminal});
    ASSERT_TRUE(terminal.readUntil("with output 'con:'"));
    other.sendTo(kDefaultPort, ownWord("shown"), kEverybodyHere);
    EXPECT_TRUE(terminal.readUntil(ownWord("shown")));
    terminal.send(ownWord("typed"));
    EXPECT_TRUE(terminal.readUntil(ownWord("typed"))) << "by its echo";
    std::string heard;
    while (heard.find(ownWord("typed")) == std::string::npos)
        heard += other.receive().value_or(ownWord("typed") + " was never heard");
    EXPECT_EQ(heard.find("never"), std::string::npos);

    kxProcess piped(KX_TEST_TOOL);
    ASSERT_TRUE(piped.readUntil(kxNoticeOf("udp::45455?nic=127.0.0.1&blocking=no&echo=yes", "con:")));
    EXPECT_TRUE(piped.write(ownWord("piped")));
    EXPECT_TRUE(piped.readUntil(ownWord("piped")));
    EXPECT_TRUE(terminal.readUntil(ownWord("piped"))) << "two of them on one port";
}

TEST(kxRelayNet, RelaysBetweenTwoServersUntilTheInputEnds)
{
    kxTestSocket from = kxTestSocket::listener();
    kxTestSocket to = kxTestSocket::listener();
    const std::string url = from.url("tcp:") + "?blocking=no";
    const std::string outputUrl = to.url("tcp:") + "?blocking=no";
    // Without an input, so that a socket might take its descriptor.
    kxProcess tool(KX_TEST_TOOL, {.arguments = kxArgumentsOf(url, outputUrl), .input = ""});
    kxTestSocket input = from.accept();
    kxTestSocket output = to.accept();
    const std::string there = kxTestPattern(20000000);
    const std::string back = kxTestPattern(9000000);
    std::string cameBack;
    std::thread answering([&] { output.send(back); });
    std::thread asking([&] {
        input.send(there);
        while (cameBack.size() < back.size()) cameBack += input.receive().value_or("!");
        input.close();
    });
    EXPECT_TRUE(output.receiveAll() == kxNoticeOf(url, outputUrl) + there);
    output.close();
    answering.join();
    asking.join();
    EXPECT_TRUE(cameBack == back);
    EXPECT_EQ(tool.wait(), kxExited(0));
}

TEST(kxRelayNet, EndsWhenItsInputIsResetOrNeverThere)
{
    kxTestSocket from = kxTestSocket::listener();
    const std::string url = from.url("tcp:") + "?blocking=no";
    kxProcess lost(KX_TEST_TOOL, {.arguments = {"-URL", url}});
    kxTestSocket peer = from.accept();
    peer.send("last words");
    EXPECT_TRUE(lost.readUntil(kxNoticeOf(url, "con:") + "last words"));
    peer.reset();
    EXPECT_EQ(lost.wait(), kxExited(0));
    from.close();
    EXPECT_EQ(kxProcess(KX_TEST_TOOL, {.arguments = {"-URL", url}}).wait(), kxExited(99));
}
