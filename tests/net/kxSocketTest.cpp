#include "kxbase/net/kxSocket.h"
#include "kxbase/core/kxClock.h"
#include "kxbase/net/kxNetwork.h"
#include "kxbase/thread/kxThreadPoolTicker.h"
#include "support/kxTest.h"
#include "support/kxTestSocket.h"

#include <csignal>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

const kxHostAddress kLocal(127, 0, 0, 1);

// A connected stream and its peer.
struct Pair {
    kxTestSocket connected()
    {
        EXPECT_TRUE(socket.create(KX_SOCKET_IPV4, KX_SOCKET_STREAM));
        socket.setDetectClose(true);
        EXPECT_TRUE(socket.connect(kxSocketAddress(kLocal, listener.port())));
        return listener.accept();
    }

    kxTestSocket listener = kxTestSocket::listener();
    kxSocket socket;
    kxTestSocket peer = connected();
};

void openDatagram(kxSocket& socket)
{
    ASSERT_TRUE(socket.create(KX_SOCKET_IPV4, KX_SOCKET_DATAGRAM) && socket.bind(kxSocketAddress(kLocal, 0)));
}

}  // namespace

TEST(kxSocket, HasAFixedTextForEveryCode)
{
    const std::pair<std::uint32_t, std::string> cases[] = {
        {0, "Operation aborted"}, {2, "Unknown socket error"},  {8, "Unknown socket error"},
        {27, "No such device"},   {28, "Unknown socket error"}, {10, "Socket not configured or active"}};
    for (const auto& [code, text] : cases) EXPECT_EQ(kxSocket::errorText(code), "kxSocket error: " + text);
}

TEST(kxSocket, SetsOnlyTheOptionsOfTheTable)
{
    const std::tuple<const char*, std::uint32_t, std::uint32_t, std::uint32_t> cases[] = {
        {"no entry", 1, 1, KX_SOCKET_BAD_OPTION},
        {"beyond the table", 14, 1, KX_SOCKET_BAD_OPTION},
        {"linger", KX_SOCKET_LINGER_ON, 5, KX_SOCKET_OK},
        {"fits its byte", KX_SOCKET_MULTICAST_TTL, 255, KX_SOCKET_OK},
        {"does not", KX_SOCKET_MULTICAST_TTL, 256, KX_SOCKET_BAD_ARGUMENT},
        {"no group", KX_SOCKET_JOIN_GROUP, 0x0A000001, KX_SOCKET_BAD_ARGUMENT},
        {"never joined", KX_SOCKET_LEAVE_GROUP, 0xEF010203, KX_SOCKET_ADDRESS_NOT_AVAILABLE},
        {"milliseconds", KX_SOCKET_RECEIVE_TIMEOUT, 50, KX_SOCKET_OK}};
    kxSocket socket;
    for (const auto& [why, option, value, error] : cases) {
        SCOPED_TRACE(why);
        socket.close(true);
        EXPECT_FALSE(socket.setOption(option, value)) << "closed";
        EXPECT_EQ(socket.error(), KX_SOCKET_BAD_OPTION);
        openDatagram(socket);
        EXPECT_EQ(socket.setOption(option, kxDynamicType(value)), error == KX_SOCKET_OK);
        EXPECT_EQ(socket.error(), error);
    }
    const double start = kxClock::seconds();
    char byte = 0;
    EXPECT_EQ(socket.receive(&byte, 1), -1);
    EXPECT_EQ(socket.error(), KX_SOCKET_OK) << "nothing there is no error";
    EXPECT_GE(kxClock::seconds() - start, 0.045);
}

TEST(kxSocket, KnowsKindsFamiliesAndAddresses)
{
    kxSocket socket;
    EXPECT_FALSE(socket.waitForRoom(KX_PLATFORM_WAIT_FOREVER));
    EXPECT_EQ(socket.error(), KX_SOCKET_BAD_DESCRIPTOR) << "at once";
    EXPECT_FALSE(socket.create(KX_SOCKET_INFRARED, KX_SOCKET_DATAGRAM));
    EXPECT_EQ(socket.error(), KX_SOCKET_BAD_ADDRESS_FAMILY);
    ASSERT_TRUE(socket.openBroadcast(0));
    const std::uint16_t port = socket.localAddress().port();
    EXPECT_NE(port, 0) << "what the system gave";
    kxSocket second;
    EXPECT_TRUE(second.openBroadcast(port)) << "a port is shared";
    second.create(KX_SOCKET_IPV4, KX_SOCKET_DATAGRAM);
    EXPECT_FALSE(second.bind(kxSocketAddress(port)));
    EXPECT_EQ(second.error(), KX_SOCKET_ADDRESS_IN_USE);
    EXPECT_TRUE(second.localAddress().isEmpty());

    ASSERT_TRUE(socket.create(KX_SOCKET_IPV4, KX_SOCKET_STREAM) && socket.bind({}) && socket.listen(0));
    const kxTestSocket guest = kxTestSocket::connectedTo(socket.localAddress().port());
    EXPECT_TRUE(socket.waitForData(1000) && socket.isActive());
}

TEST(kxSocket, TakesNoOtherAddressWhileItConnects)
{
    const kxTestSocket busy = kxTestSocket::listener(0);
    const kxTestSocket first = kxTestSocket::connectedTo(busy.port());  // takes the only place
    const kxTestSocket idle = kxTestSocket::listener();
    kxSocket socket;
    ASSERT_TRUE(socket.create(KX_SOCKET_IPV4, KX_SOCKET_STREAM) && socket.setBlocking(false));
    const auto connects = [&](std::uint16_t port) { return socket.connect(kxSocketAddress(kLocal, port)); };
    EXPECT_TRUE(!connects(busy.port()) && !connects(busy.port()) && socket.error() == KX_SOCKET_OK);
    EXPECT_FALSE(connects(idle.port()));
    EXPECT_EQ(socket.error(), KX_SOCKET_BAD_ARGUMENT);
    EXPECT_TRUE(socket.peerAddress().isEmpty());
}

TEST(kxSocket, ReachesTheWholeAddressOfIPv6)
{
    kxSocket socket;
    kxSocket other;
    if (!socket.create(KX_SOCKET_IPV6, KX_SOCKET_DATAGRAM)) GTEST_SKIP() << "no IPv6";
    ASSERT_TRUE(socket.bind({}));
    kxArray<std::uint8_t> bytes = socket.localAddress().bytes();
    ASSERT_EQ(bytes.size(), 28U);
    bytes[23] = 1;  // ::1 instead of any
    kxSocketAddress address;
    address.setBytes(bytes.data(), bytes.size());
    ASSERT_TRUE(other.create(KX_SOCKET_IPV6, KX_SOCKET_DATAGRAM));
    if (other.sendTo(address, "x", 1) != 1) GTEST_SKIP() << "no loopback of IPv6";
    char byte = 0;
    EXPECT_EQ(socket.receive(&byte, 1), 1);
    EXPECT_EQ(byte, 'x');
}

TEST(kxSocket, TellsAPeerThatClosedFromOneThatIsSilent)
{
    Pair patient;
    patient.socket.setDetectClose(false);
    patient.peer.close();
    ASSERT_TRUE(patient.socket.waitForData(1000));
    EXPECT_TRUE(patient.socket.isActive());
    patient.socket.setDetectClose(true);
    EXPECT_FALSE(patient.socket.isActive());
    EXPECT_EQ(patient.socket.error(), KX_SOCKET_CLOSED_BY_PEER);

    Pair reset;
    EXPECT_TRUE(reset.socket.isActive());
    reset.peer.reset();
    ASSERT_TRUE(reset.socket.waitForData(1000));
    EXPECT_FALSE(reset.socket.isActive());
    EXPECT_EQ(reset.socket.error(), KX_SOCKET_RESET);
    EXPECT_EQ(reset.socket.send("x", 1), -1) << "and no signal";
    EXPECT_EQ(reset.socket.error(), KX_SOCKET_ABORTED);

    Pair full;
    full.socket.setBlocking(false);
    const std::string bytes(1000000, 'x');
    while (full.socket.send(bytes.data(), 1000000) > 0) continue;
    EXPECT_EQ(full.socket.error(), KX_SOCKET_WOULD_BLOCK);

    Pair pair;
    pair.socket.setThrowOnError(true);
    EXPECT_FALSE(pair.socket.setOption(1, 1U)) << "no failure of the system";
    EXPECT_EQ(kxFatalText([&] { pair.socket.connect(kxSocketAddress(kLocal, 1)); }),
              "kxSocket error: Is already connected");

    Pair stubborn;
    stubborn.peer.send("unread");
    const double start = kxClock::seconds();
    EXPECT_FALSE(stubborn.socket.close(true));
    EXPECT_NEAR(kxClock::seconds() - start, 2.0, 1.0) << "for a peer that does not close";
    EXPECT_EQ(stubborn.peer.receive(), "") << "an end, no reset";
}

TEST(kxSocket, WorksThroughInterruptionsAndOnHighDescriptors)
{
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &limit);
    std::vector<int> taken(1100);
    for (int& descriptor : taken) descriptor = ::open("/dev/null", O_RDONLY);
    if (taken.back() < 0) GTEST_SKIP() << "fewer descriptors than that";
    Pair pair;
    for (const int descriptor : taken) ::close(descriptor);
    EXPECT_GT(pair.socket.descriptor(), 1024);
    struct sigaction action {};
    action.sa_handler = [](int) {};
    ::sigaction(SIGALRM, &action, nullptr);
    ::ualarm(1000, 1000);
    const double start = kxClock::seconds();
    EXPECT_FALSE(pair.socket.waitForData(200));
    EXPECT_GE(kxClock::seconds() - start, 0.199);
    char none = 0;
    EXPECT_TRUE(pair.socket.setOption(KX_SOCKET_RECEIVE_TIMEOUT, 50));
    EXPECT_EQ(pair.socket.receive(&none, 1), -1) << "each signal would begin the time-out anew";
    EXPECT_GE(kxClock::seconds() - start, 0.249);
    EXPECT_TRUE(pair.socket.setOption(KX_SOCKET_RECEIVE_TIMEOUT, 0));
    std::thread sending([&] {
        pair.peer.send(std::string(5000000, 'z'));
        pair.peer.close();
    });
    std::string buffer(100000, '\0');
    std::int64_t count = 0;
    for (std::int64_t got = 1; got > 0; count += got) got = pair.socket.receive(buffer.data(), 100000);
    sending.join();
    ::ualarm(0, 0);
    EXPECT_EQ(count, 5000000);
    EXPECT_EQ(pair.socket.error(), KX_SOCKET_OK);
}

TEST(kxSocket, PostsWhatItReceivesToItsSubscribers)
{
    struct Subscriber : kxNotifyInterface {
        void receive(kxNotifyManager&, kxNotifyMessage& message, const void*) override
        {
            auto& data = *static_cast<kxNetData*>(message.getPayload());
            text.append(reinterpret_cast<const char*>(data.data()), data.length());
            ++count;
        }
        std::atomic<int> count = 0;
        std::string text;
    } subscriber;
    kxSocket socket;
    openDatagram(socket);
    const std::uint16_t port = socket.localAddress().port();
    socket.subscribe(subscriber, &socket);
    kxTestSocket sender = kxTestSocket::datagram();
    EXPECT_FALSE(socket.tick());
    for (int count = 0; count < 150; ++count) sender.sendTo(port, "x");
    EXPECT_TRUE(socket.tick());
    EXPECT_EQ(subscriber.text, std::string(100, 'x'));
    sender.sendTo(port, "");
    socket.sendTo(socket.localAddress(), "own", 3);
    sender.sendTo(port, "y");
    EXPECT_TRUE(socket.tick());
    EXPECT_EQ(subscriber.text, std::string(150, 'x')) << "up to its own one";

    kxThreadPoolTicker pool;
    EXPECT_TRUE(pool.add(socket));
    while (subscriber.count < 152) sender.sendTo(port, "z");
    pool.remove(socket);
    EXPECT_EQ(subscriber.text.substr(150, 2), "yz");
}

TEST(kxNetwork, ChoosesTheAddressThatOthersReach)
{
    constexpr std::uint32_t local = 0x7F000001, other = 0x7F000101, own = 0xA9FE0102, real = 0x0A000005;
    const std::tuple<const char*, std::vector<std::uint32_t>, std::uint32_t> cases[] = {
        {"loopback only", {local, other}, 0},
        {"self-given is better than loopback", {local, own, own + 1}, own},
        {"anything else is better than self-given", {own, local, real, real + 1}, real}};
    for (const auto& [why, addresses, choice] : cases) {
        const auto count = static_cast<std::uint32_t>(addresses.size());
        EXPECT_EQ(kxNetwork::chooseLocal({addresses.data(), count}), choice) << why;
    }
    EXPECT_EQ(kxHostAddress(), kxHostAddress(kxNetwork::localAddress()));
}

TEST(kxNetwork, ReadsAddressesAndNames)
{
    kxMessageRecorder messages(KX_MESSAGE_DEBUG | KX_MESSAGE_INTERNAL);
    const std::pair<kxString, const char*> hosts[] = {{kxString("127.0.0.1\0x", 11), "Unknown"},
                                                      {"10.0.0.255", "10.0.0.255"},
                                                      {"010.1.2.3", "10.1.2.3"},
                                                      {"localhost", "127.0.0.1"},
                                                      {"", "Unknown"},
                                                      {"1.2.3.256", "Unknown"},
                                                      {"1.2.3.4.5", "Unknown"},
                                                      {"no.such.%d", "Unknown"}};
    for (const auto& [text, address] : hosts) EXPECT_EQ(kxHostAddress(text).text(), address) << text;
    EXPECT_EQ(messages.takeTexts().back(), "Host 'no.such.%d' not found");
    EXPECT_TRUE(kxSocketAddress(kxHostAddress::none(), 5).isEmpty());

    for (const char* const text : {"127.0.0.1", "lo", "localhost"})
        EXPECT_EQ(kxNetwork::interfaceAddress(text), kLocal);
    EXPECT_FALSE(kxNetwork::interfaceAddress("no-such-interface.invalid").isValid());
    EXPECT_EQ(messages.entries().back().level, KX_MESSAGE_INTERNAL_WARNING);
    EXPECT_EQ(kxNetwork::broadcastAddress(0x7F000001), 0x7FFFFFFFU);
    EXPECT_EQ(kxNetwork::broadcastAddress(0x01020304), 0xFFFFFFFFU);
}
