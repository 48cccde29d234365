#include "kxbase/net/kxSocket.h"
#include "kxbase/core/kxClock.h"
#include "kxbase/net/kxNetwork.h"
#include "kxbase/thread/kxThreadPoolTicker.h"
#include "support/kxFatalText.h"
#include "support/kxMessageRecorder.h"
#include "support/kxTestSocket.h"

#include <gtest/gtest.h>

#include <csignal>
#include <thread>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/time.h>
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

// Interrupts whatever the process does, a thousand times a second.
class Interruptions {
public:
    Interruptions()
    {
        struct sigaction action {};
        action.sa_handler = [](int) {};
        ::sigaction(SIGALRM, &action, &before_);
        setEvery(1000);
    }
    ~Interruptions()
    {
        setEvery(0);
        ::sigaction(SIGALRM, &before_, nullptr);
    }

private:
    static void setEvery(suseconds_t microseconds)
    {
        const itimerval timer{{0, microseconds}, {0, microseconds}};
        ::setitimer(ITIMER_REAL, &timer, nullptr);
    }
    struct sigaction before_ {};
};

}  // namespace

TEST(kxSocket, HasAFixedTextForEveryCode)
{
    const struct {
        std::uint32_t code;
        std::string text;
    } cases[] = {
        {KX_SOCKET_OK, "Operation aborted"},
        {KX_SOCKET_UNKNOWN, "Unknown socket error"},
        {KX_SOCKET_CLOSED_BY_PEER, "Unknown socket error"},
        {KX_SOCKET_NOT_CONFIGURED, "Socket not configured or active"},
        {KX_SOCKET_TRUNCATED, "Message was truncated"},
        {KX_SOCKET_NO_DEVICE, "No such device"},
        {28, "Unknown socket error"},
        {0xFFFFFFFF, "Unknown socket error"},
    };
    for (const auto& c : cases) EXPECT_EQ(kxSocket::errorText(c.code), "kxSocket error: " + c.text);
}

TEST(kxSocket, SetsOnlyTheOptionsOfTheTable)
{
    const struct {
        const char* why;
        std::uint32_t option, value, error;
    } cases[] = {
        {"no entry", 1, 1, KX_SOCKET_BAD_OPTION},
        {"beyond the table", 14, 1, KX_SOCKET_BAD_OPTION},
        {"a broadcast switch", KX_SOCKET_BROADCAST, 1, KX_SOCKET_OK},
        {"linger", KX_SOCKET_LINGER_ON, 5, KX_SOCKET_OK},
        {"no linger", KX_SOCKET_LINGER_OFF, 0, KX_SOCKET_OK},
        {"the largest that fits its byte", KX_SOCKET_MULTICAST_TTL, 255, KX_SOCKET_OK},
        {"one more", KX_SOCKET_MULTICAST_TTL, 256, KX_SOCKET_BAD_ARGUMENT},
        {"loop off", KX_SOCKET_MULTICAST_LOOP, 0, KX_SOCKET_OK},
        {"no group", KX_SOCKET_JOIN_GROUP, 0x0A000001, KX_SOCKET_BAD_ARGUMENT},
        {"never joined", KX_SOCKET_LEAVE_GROUP, 0xEF010203, KX_SOCKET_ADDRESS_NOT_AVAILABLE},
        {"milliseconds", KX_SOCKET_RECEIVE_TIMEOUT, 50, KX_SOCKET_OK},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        kxSocket socket;
        EXPECT_FALSE(socket.setOption(c.option, c.value)) << "closed";
        EXPECT_EQ(socket.error(), KX_SOCKET_BAD_OPTION);
        ASSERT_TRUE(socket.create(KX_SOCKET_IPV4, KX_SOCKET_DATAGRAM) && socket.bind({}));
        EXPECT_EQ(socket.setOption(c.option, c.value), c.error == KX_SOCKET_OK);
        EXPECT_EQ(socket.error(), c.error);
    }
    kxSocket socket;
    socket.create(KX_SOCKET_IPV4, KX_SOCKET_DATAGRAM);
    socket.bind(kxSocketAddress(kLocal, 0));
    EXPECT_TRUE(socket.setOption(KX_SOCKET_RECEIVE_TIMEOUT, kxDynamicType(50)));
    const double start = kxClock::seconds();
    char byte = 0;
    kxSocketAddress sender;
    EXPECT_EQ(socket.receiveFrom(sender, &byte, 1), -1);
    EXPECT_EQ(socket.error(), KX_SOCKET_OK) << "nothing there is no error";
    EXPECT_GE(kxClock::seconds() - start, 0.045);
}

TEST(kxSocket, KnowsKindsFamiliesAndAddresses)
{
    kxSocket socket;
    EXPECT_EQ(socket.kind(), KX_SOCKET_NO_KIND);
    EXPECT_FALSE(socket.create(KX_SOCKET_INFRARED, KX_SOCKET_DATAGRAM));
    EXPECT_EQ(socket.error(), KX_SOCKET_BAD_ADDRESS_FAMILY);
    EXPECT_EQ(socket.kind(), KX_SOCKET_STREAM);
    EXPECT_FALSE(socket.isActive());

    ASSERT_TRUE(socket.openBroadcast(0));
    const std::uint16_t port = socket.localAddress().port();
    EXPECT_NE(port, 0) << "what the system gave";
    EXPECT_EQ(socket.hostAddress().text(), "0.0.0.0");
    kxSocket second;
    EXPECT_TRUE(second.openBroadcast(port)) << "a port is shared";
    kxSocket third;
    third.create(KX_SOCKET_IPV4, KX_SOCKET_DATAGRAM);
    EXPECT_FALSE(third.bind(kxSocketAddress(port)));
    EXPECT_EQ(third.error(), KX_SOCKET_ADDRESS_IN_USE);
    EXPECT_TRUE(third.localAddress().isEmpty());
    third.close(false);
    third.close(true);
    EXPECT_EQ(third.error(), KX_SOCKET_OK);

    kxSocket listener;
    ASSERT_TRUE(listener.create(KX_SOCKET_IPV4, KX_SOCKET_STREAM) &&
                listener.bind(kxSocketAddress(kLocal, 0)));
    EXPECT_TRUE(listener.listen(0));
    const kxTestSocket guest = kxTestSocket::connectedTo(listener.localAddress().port());
    EXPECT_TRUE(listener.waitForData(1000) && listener.isActive());
}

TEST(kxSocket, NeverReachesThisMachineByAnAddressThatCameToNothing)
{
    const kxTestSocket datagrams = kxTestSocket::datagram();
    const kxTestSocket listener = kxTestSocket::listener();
    for (const char* const name : {"", "0.0.0.0", "no.such.host.invalid", "0"}) {
        SCOPED_TRACE(name);
        kxSocket socket;
        socket.create(KX_SOCKET_IPV4, KX_SOCKET_STREAM);
        EXPECT_FALSE(socket.connect(kxSocketAddress(kxString(name), listener.port())));
        EXPECT_EQ(socket.error(), KX_SOCKET_ADDRESS_NOT_AVAILABLE);
        EXPECT_EQ(socket.sendTo(kxSocketAddress(kxString(name), datagrams.port()), "x", 1), -1);
    }
    EXPECT_TRUE(kxSocketAddress(kxString("127.0.0.1\0x", 11), 1).isEmpty()) << "a zero byte ends no name";
}

TEST(kxSocket, TellsAPeerThatClosedFromOneThatIsSilent)
{
    Pair quiet;
    EXPECT_TRUE(quiet.socket.isActive());
    quiet.peer.send("last");
    quiet.peer.close();
    ASSERT_TRUE(quiet.socket.waitForData(1000));
    char bytes[8];
    EXPECT_TRUE(quiet.socket.isActive()) << "there is something to read";
    EXPECT_EQ(quiet.socket.receive(bytes, sizeof(bytes)), 4);
    while (quiet.socket.isActive()) quiet.socket.waitForData(10);
    EXPECT_EQ(quiet.socket.error(), KX_SOCKET_CLOSED_BY_PEER);

    Pair patient;
    patient.socket.setDetectClose(false);
    patient.peer.close();
    ASSERT_TRUE(patient.socket.waitForData(1000));
    EXPECT_TRUE(patient.socket.isActive());
    EXPECT_EQ(patient.socket.receive(bytes, sizeof(bytes)), 0);

    Pair reset;
    reset.peer.reset();
    ASSERT_TRUE(reset.socket.waitForData(1000));
    EXPECT_FALSE(reset.socket.isActive());
    EXPECT_EQ(reset.socket.error(), KX_SOCKET_RESET);
    EXPECT_EQ(reset.socket.send("x", 1), -1) << "and no signal";
    EXPECT_EQ(reset.socket.error(), KX_SOCKET_ABORTED);

    Pair urgent;
    urgent.peer.send("a!", MSG_OOB);
    urgent.peer.send("b");
    std::string got;
    while (got.size() < 3 && urgent.socket.waitForData(1000)) {
        got.append(bytes, static_cast<std::size_t>(urgent.socket.receive(bytes, sizeof(bytes))));
        EXPECT_TRUE(urgent.socket.isActive());
    }
    EXPECT_EQ(got, "a!b") << "urgent bytes are bytes like others";
}

TEST(kxSocket, ClosingLosesNothingThatThePeerHasNotRead)
{
    for (const bool graceful : {false, true}) {
        SCOPED_TRACE(graceful);
        Pair pair;
        const std::string sent(3000000, 'x');
        pair.peer.send(std::string(100000, 'y'));  // never read
        std::thread closing([&] {
            pair.socket.setBlocking(true);
            for (std::size_t done = 0; done < sent.size();) {
                const std::int64_t count =
                    pair.socket.send(sent.data() + done, static_cast<std::uint32_t>(sent.size() - done));
                if (count < 0) return;
                done += static_cast<std::size_t>(count);
            }
            pair.socket.close(graceful);
        });
        const auto got = pair.peer.receiveAll();
        pair.peer.close();
        closing.join();
        EXPECT_TRUE(got == sent);
    }
    Pair stubborn;
    stubborn.peer.send("unread");
    const double start = kxClock::seconds();
    EXPECT_FALSE(stubborn.socket.close(true));
    EXPECT_NEAR(kxClock::seconds() - start, 2.0, 1.0) << "a peer that never closes is not waited for";
    EXPECT_FALSE(stubborn.socket.isOpen());
}

TEST(kxSocket, RaisesFailuresOfTheSystemWhenAsked)
{
    Pair pair;
    pair.socket.setThrowOnError(true);
    EXPECT_FALSE(pair.socket.setOption(1, 1)) << "not of the system";
    EXPECT_EQ(kxFatalText([&] { pair.socket.connect(kxSocketAddress(kLocal, 1)); }),
              "kxSocket error: Is already connected");
    EXPECT_EQ(pair.socket.error(), KX_SOCKET_IS_CONNECTED);
}

TEST(kxSocket, WorksThroughInterruptionsAndOnHighDescriptors)
{
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &limit);
    std::vector<int> taken;
    while (taken.empty() || (taken.back() >= 0 && taken.back() < 1100))
        taken.push_back(::open("/dev/null", O_RDONLY));
    {
        Pair pair;
        const Interruptions interruptions;
        const double start = kxClock::seconds();
        EXPECT_FALSE(pair.socket.waitForData(300));
        EXPECT_GE(kxClock::seconds() - start, 0.299);
        EXPECT_TRUE(pair.socket.descriptor() > 1024 || taken.back() < 0);
        std::thread sending([&] {
            pair.peer.send(std::string(5000000, 'z'));
            pair.peer.close();
        });
        std::size_t count = 0;
        std::string buffer(100000, '\0');
        std::int64_t got = 1;
        while (got > 0) {
            got = pair.socket.receive(buffer.data(), 100000);
            count += static_cast<std::size_t>(got);
        }
        sending.join();
        EXPECT_EQ(count, 5000000U);
        EXPECT_EQ(pair.socket.error(), KX_SOCKET_OK);
    }
    for (const int descriptor : taken) ::close(descriptor);
}

TEST(kxSocket, PostsWhatItReceivesToItsSubscribers)
{
    struct Subscriber : kxNotifyInterface {
        void receive(kxNotifyManager&, kxNotifyMessage& message, const void*) override
        {
            auto& data = *static_cast<kxNetData*>(message.getPayload());
            text.append(reinterpret_cast<const char*>(data.data()), data.length());
            port = data.sender.port();
            ++count;
        }
        std::atomic<int> count = 0;
        std::string text;
        std::uint16_t port = 0;
    } subscriber;
    kxSocket socket;
    ASSERT_TRUE(socket.create(KX_SOCKET_IPV4, KX_SOCKET_DATAGRAM) && socket.bind(kxSocketAddress(kLocal, 0)));
    const std::uint16_t port = socket.localAddress().port();
    socket.subscribe(subscriber, &socket);
    kxTestSocket sender = kxTestSocket::datagram();
    EXPECT_FALSE(socket.tick());
    for (int count = 0; count < 150; ++count) sender.sendTo(port, "x");
    EXPECT_TRUE(socket.tick());
    EXPECT_EQ(subscriber.text, std::string(100, 'x'));
    EXPECT_EQ(subscriber.port, sender.port());
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
    constexpr std::uint32_t local = 0x7F000001, other = 0x7F000101, own = 0xA9FE0102, own2 = 0xA9FE0103,
                            real = 0x0A000005;
    const struct {
        const char* why;
        std::vector<std::uint32_t> addresses;
        std::uint32_t choice;
    } cases[] = {
        {"nothing", {}, 0},
        {"loopback only", {local, other}, 0},
        {"self-given is better than loopback", {local, own, own2}, own},
        {"anything else is better than self-given", {own, local, real}, real},
        {"the first counts", {real, 0x0A000006}, real},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        EXPECT_EQ(
            kxNetwork::chooseLocal({c.addresses.data(), static_cast<std::uint32_t>(c.addresses.size())}),
            c.choice);
    }
    EXPECT_EQ(kxHostAddress(), kxHostAddress(kxNetwork::localAddress()));
}

TEST(kxNetwork, ReadsAddressesAndNames)
{
    kxMessageRecorder messages(KX_MESSAGE_DEBUG | KX_MESSAGE_INTERNAL);
    const struct {
        const char* text;
        const char* address;
    } cases[] = {
        {"10.0.0.255", "10.0.0.255"},
        {"010.1.2.3", "10.1.2.3"},
        {"localhost", "127.0.0.1"},
        {"", "Unknown"},
        {"1.2.3.256", "Unknown"},
        {"1.2.3.4.5", "Unknown"},
        {"no.such.host.invalid", "Unknown"},
    };
    for (const auto& c : cases) EXPECT_EQ(kxHostAddress(kxString(c.text)).text(), c.address) << c.text;
    EXPECT_EQ(messages.takeTexts().back(), "Host 'no.such.host.invalid' not found");
    EXPECT_EQ(kxSocketAddress(kxHostAddress(1, 2, 3, 4), 65535).port(), 65535);
    EXPECT_TRUE(kxSocketAddress(kxHostAddress::none(), 5).isEmpty());

    const struct {
        const char* text;
        const char* address;
    } interfaces[] = {{"192.0.2.77", "192.0.2.77"}, {"lo", "127.0.0.1"}, {"localhost", "127.0.0.1"}};
    for (const auto& c : interfaces) EXPECT_EQ(kxNetwork::interfaceAddress(c.text).text(), c.address);
    EXPECT_FALSE(kxNetwork::interfaceAddress("no-such-interface.invalid").isValid());
    EXPECT_EQ(messages.entries().back().level, KX_MESSAGE_INTERNAL_WARNING);
    EXPECT_EQ(kxNetwork::broadcastAddress(0x7F000001), 0x7FFFFFFFU);
    EXPECT_EQ(kxNetwork::broadcastAddress(0x01020304), 0xFFFFFFFFU);
}
