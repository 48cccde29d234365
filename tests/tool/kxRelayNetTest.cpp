// The program between sockets: its default job, and connections that end.

#include "support/kxProcess.h"
#include "support/kxPseudoTerminal.h"
#include "support/kxTestPattern.h"
#include "support/kxTestSocket.h"

#include <gtest/gtest.h>

#include <csignal>
#include <thread>

#include <unistd.h>

namespace {

constexpr std::uint16_t kDefaultPort = 45455;
constexpr const char* kDefaultNotice =
    "Opened URL 'udp::45455?nic=127.0.0.1&blocking=no&echo=yes' with output 'con:'\r\n";

// Others may be at the default port at the same time, so everybody there is spoken to, by an own word.
std::string ownWord(const std::string& word)
{
    return word + "-" + std::to_string(::getpid());
}

std::string takeUntil(kxTestSocket& listener, const std::string& word)
{
    std::string heard;
    while (heard.find(word) == std::string::npos)
        heard += listener.receive().value_or(word + " was never heard");
    return heard;
}

}  // namespace

TEST(kxRelayNet, ShowsDatagramsAndSendsWhatIsTyped)
{
    kxTestSocket listener = kxTestSocket::datagram(kDefaultPort);
    kxPseudoTerminal terminal;
    kxProcess tool(KX_TEST_TOOL, terminal);
    ASSERT_TRUE(terminal.readUntil("with output 'con:'"));
    listener.sendTo(kDefaultPort, ownWord("shown"), "127.255.255.255");
    EXPECT_TRUE(terminal.readUntil(ownWord("shown")));
    terminal.send(ownWord("typed"));
    EXPECT_TRUE(terminal.readUntil(ownWord("typed"))) << "by its echo";
    EXPECT_NE(takeUntil(listener, ownWord("typed")), "");
    tool.signal(SIGINT);
    EXPECT_EQ(tool.wait(), kxKilledBy(SIGINT));

    kxProcess piped(KX_TEST_TOOL);
    ASSERT_TRUE(piped.readUntil(kDefaultNotice));
    EXPECT_TRUE(piped.write(ownWord("piped")));
    EXPECT_TRUE(piped.readUntil(ownWord("piped")));
    EXPECT_NE(takeUntil(listener, ownWord("piped")), "");
    kxProcess second(KX_TEST_TOOL);
    ASSERT_TRUE(second.readUntil(kDefaultNotice));
    EXPECT_TRUE(second.write(ownWord("second")));
    EXPECT_TRUE(piped.readUntil(ownWord("second"))) << "two of them on one port";
}

TEST(kxRelayNet, RelaysBetweenTwoServersUntilTheInputEnds)
{
    kxTestSocket from = kxTestSocket::listener();
    kxTestSocket to = kxTestSocket::listener();
    kxProcessOptions options;
    options.arguments = {"-URL", from.url("tcp:") + "?blocking=no", "-output",
                         to.url("tcp:") + "?blocking=no"};
    options.input = kxProcessStream::closed();  // so that a socket might take its descriptor
    kxProcess tool(KX_TEST_TOOL, options);
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
    const std::string went = output.receiveAll().value_or("");
    output.close();
    answering.join();
    asking.join();
    const std::string notice =
        "Opened URL '" + options.arguments[1] + "' with output '" + options.arguments[3] + "'\r\n";
    EXPECT_TRUE(went == notice + there);
    EXPECT_TRUE(cameBack == back);
    EXPECT_EQ(tool.wait(), kxExited(0));
}

TEST(kxRelayNet, EndsWhenItsInputIsResetOrNeverThere)
{
    kxTestSocket from = kxTestSocket::listener();
    const std::string url = from.url("tcp:") + "?blocking=no";
    kxProcess lost(KX_TEST_TOOL, {.arguments = {"-URL", url}});
    ASSERT_TRUE(lost.readUntil("Opened URL"));
    kxTestSocket peer = from.accept();
    peer.send("last words");
    EXPECT_TRUE(lost.readUntil("last words"));
    peer.reset();
    EXPECT_EQ(lost.wait(), kxExited(0));

    from.close();
    kxProcess refused(KX_TEST_TOOL, {.arguments = {"-URL", url}});
    EXPECT_EQ(refused.wait(), kxExited(99));
    const std::string address = url.substr(4);
    EXPECT_EQ(refused.output(),
              "\rKorvexSDK Warning::URL Adapter (" + url +
                  ") Error:kxSocket error: Connection was refused when connecting to IP adress " + address +
                  " and bind to Unknown\n\rKorvexSDK Fatal::Error in input adapter " + url + "\n");
}
