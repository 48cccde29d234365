#include "kxbase/net/kxSerializeAdapterUDP.h"
#include "kxbase/core/kxClock.h"
#include "support/kxTest.h"
#include "support/kxTestSocket.h"

namespace {

using Adapter = kxSerializeAdapterUDP;

// A port that nobody uses, for an adapter to listen on.
std::uint16_t freePort()
{
    return kxTestSocket::datagram().port();
}

kxString urlOf(const std::string& host, std::uint16_t port, const std::string& options = "nic=lo&blocking=no")
{
    return kxString(host + ":" + std::to_string(port) + "?" + options);
}

}  // namespace

TEST(kxNetUrl, TakesHostPortAndOptionsApart)
{
    const std::tuple<const char*, const char*, int, const char*> cases[] = {
        {":45455?nic=127.0.0.1&echo=yes", "", 45455, "nic=127.0.0.1&echo=yes"},
        {"host", "host", 6800, ""},
        {"//host:80/path:9?a=b?c=d", "host", 80, "c=d"},
        {"a:b:7", "a", 7, ""},
        {"host:80x", "host", 0, ""},
        {"host:65535", "host", 65535, ""},
        {"host:4294967297", "host", 0, ""}};
    for (const auto& [text, host, port, options] : cases) {
        const kxNetUrl url(text);
        EXPECT_TRUE(url.host == host && url.port == port && url.options == options) << text;
    }
}

TEST(kxSerializeAdapterUDP, ReadsTheModeFromTheHostText)
{
    const std::pair<const char*, kxUdpMode> cases[] = {
        {"", KX_UDP_BROADCAST},         {"239.1.2.3", KX_UDP_MULTICAST},  {"224.0.0.255", KX_UDP_MULTICAST},
        {"240.1.2.3", KX_UDP_UNICAST},  {"10.0.0.255", KX_UDP_BROADCAST}, {"255", KX_UDP_UNICAST},
        {"host.255", KX_UDP_BROADCAST}, {"localhost", KX_UDP_UNICAST},    {"239x.1.2", KX_UDP_UNICAST}};
    for (const auto& [host, mode] : cases) EXPECT_EQ(Adapter::modeOf(host), mode) << host;
}

TEST(kxSerializeAdapterUDP, TellsWhyItCouldNotOpen)
{
    const std::pair<std::string, const char*> cases[] = {
        {"localhost:%s", "Failed to bind UDP receive socket to port '0'"},
        {"localhost?port=70000", "Failed to bind UDP receive socket to port '70000'"},
        {"localhost:5?nic=192.0.2.77", "Failed to bind UDP send socket to interface '192.0.2.77'"},
        {"239.1.2.3:5000?ttl=256", "Failed to set TTL '256' on MULTICAST socket"},
        {"239.1.2.3:5000?ttl=4294967297", "Failed to set TTL '4294967297' on MULTICAST socket"},
        {"239.1.2.3:5000?ttl=-1", "Failed to set TTL '-1' on MULTICAST socket"}};
    for (const auto& [url, reason] : cases) {
        kxString error;
        Adapter adapter(kxString(url), &error);
        EXPECT_TRUE(adapter.hasError());
        EXPECT_EQ(adapter.getError(), reason);
        EXPECT_EQ(error, "Failed to open UDP url '" + url + "'");
        EXPECT_EQ(adapter.readByte(), 0);
    }
    kxTestSocket listener = kxTestSocket::datagram();
    Adapter nowhere(urlOf("no.such.host.invalid", listener.port()));
    EXPECT_FALSE(nowhere.hasError());
    kxTestWrite(nowhere, "lost");
    EXPECT_EQ(nowhere.getSendError(), KX_SOCKET_ADDRESS_NOT_AVAILABLE);
    EXPECT_EQ(listener.receive(std::chrono::milliseconds(50)), std::nullopt);
}

TEST(kxSerializeAdapterUDP, SendsFullDatagramsButTheLast)
{
    kxTestSocket listener = kxTestSocket::datagram();
    Adapter adapter(urlOf("127.0.0.1", listener.port()));
    const std::string bytes = kxTestPattern(3000);
    kxTestWrite(adapter, bytes);
    adapter.writeByte('!');
    for (const auto& datagram :
         {bytes.substr(0, 1472), bytes.substr(1472, 1472), bytes.substr(2944), std::string("!")})
        EXPECT_TRUE(listener.receive() == datagram);
    EXPECT_EQ(listener.receive(std::chrono::milliseconds(20)), std::nullopt);
}

TEST(kxSerializeAdapterUDP, ReadsDatagramsOfAnySenderAsOneStream)
{
    const std::uint16_t port = freePort();
    kxTestSocket sender = kxTestSocket::datagram();
    kxTestSocket other = kxTestSocket::datagram();
    Adapter adapter(urlOf("127.0.0.1", port));
    for (const char* const bytes : {"", "ab", "", ""}) sender.sendTo(port, bytes);
    other.sendTo(port, std::string(65507, 'x'));
    sender.sendTo(port, "");
    other.sendTo(port, "z");
    EXPECT_TRUE(kxTestRead(adapter, 65510) == "ab" + std::string(65507, 'x') + "z");
    EXPECT_EQ(adapter.getEmptyDatagrams(), 4U) << "none of them deafens the adapter";
    EXPECT_EQ(adapter.getLastSender().port(), other.port());
    EXPECT_EQ(adapter.readByte(), 0);

    std::string all;  // of more datagrams than one poll takes
    for (std::size_t size = 0; size < 1500; ++size) {
        all += std::string(size % 300, static_cast<char>('a' + size % 26));
        sender.sendTo(port, std::string_view(all).substr(all.size() - size % 300));
        if (size % 500 == 0) adapter.length();
    }
    EXPECT_TRUE(kxTestRead(adapter, all.size()) == all);
}

TEST(kxSerializeAdapterUDP, ReachesEveryListenerAndHearsItselfOnlyWithEcho)
{
    const std::uint16_t port = freePort();
    Adapter echoing(urlOf("", port, "nic=127.0.0.1&blocking=no&echo=yes"));
    Adapter silent(urlOf("", port));
    kxTestSocket third = kxTestSocket::datagram(port);
    kxTestWrite(echoing, "one");
    EXPECT_EQ(third.receive(), "one");
    EXPECT_EQ(kxTestRead(echoing, 3), "one");
    EXPECT_EQ(kxTestRead(silent, 3), "one");
    kxTestWrite(silent, "two");
    EXPECT_EQ(third.receive(), "two");
    EXPECT_EQ(kxTestRead(echoing, 3), "two");
    EXPECT_EQ(silent.length(), 0U);
    const std::uint16_t own = freePort();  // from any interface, by the address of one of them
    Adapter self(urlOf("127.0.0.1", own, "blocking=no"));
    kxTestWrite(self, "three");
    EXPECT_EQ(self.length(), 0U);
}

TEST(kxSerializeAdapterUDP, CarriesGroups)
{
    const std::uint16_t port = freePort();
    Adapter sender(urlOf("239.255.77.1", port, "blocking=no&ttl=0"));
    Adapter local(urlOf("239.255.77.1", port));
    Adapter listener(urlOf("239.255.77.1", port));
    Adapter stranger(urlOf("239.255.77.2", port));
    kxTestWrite(local, "local");
    EXPECT_EQ(kxTestRead(listener, 5), "local");
    kxTestWrite(sender, "group");
    if (sender.hasError() || sender.getSendError() != KX_SOCKET_OK)
        GTEST_SKIP() << "no groups on this machine";
    EXPECT_EQ(kxTestRead(listener, 5), "group");
    EXPECT_EQ(kxTestRead(local, 5), "group") << "and nothing of its own";
    EXPECT_EQ(stranger.length(), 0U) << "a group that it has not joined";
    EXPECT_EQ(sender.length(), 0U);
}

TEST(kxSerializeAdapterUDP, ClosesItsReceivingSideWhenNothingComesInTime)
{
    const std::uint16_t port = freePort();
    kxTestSocket sender = kxTestSocket::datagram();
    Adapter adapter(urlOf("127.0.0.1", port, "timeout=1"));
    sender.sendTo(port, "abc");
    char bytes[8];
    const double start = kxClock::seconds();
    EXPECT_EQ(adapter.read(bytes, 8), 3U) << "what came";
    const double closed = kxClock::seconds();
    EXPECT_GE(closed - start, 0.99);
    EXPECT_FALSE(adapter.isActive());
    EXPECT_TRUE(adapter.hasError());
    EXPECT_EQ(adapter.getError(), "IP connection closed");
    EXPECT_EQ(adapter.length() + adapter.read(bytes, 8), 0U);
    EXPECT_LT(kxClock::seconds() - closed, 0.9) << "at once from now on";
    int looks = 0;
    for (const double end = kxClock::seconds() + 0.1; kxClock::seconds() < end; ++looks) adapter.length();
    EXPECT_LT(looks, 150) << "but for a loop, which would burn a processor";
}
