// Adapters between hosts, which are network namespaces of a process of their own.

#include "kxbase/core/kxClock.h"
#include "kxbase/net/kxNetwork.h"
#include "kxbase/net/kxSerializeAdapterTCP.h"
#include "kxbase/net/kxSerializeAdapterUDP.h"
#include "support/kxProcess.h"
#include "support/kxTest.h"
#include "support/kxTestSocket.h"

#include <ctime>
#include <filesystem>

#include <fcntl.h>
#include <netinet/in.h>
#include <sched.h>
#include <unistd.h>

namespace {

bool shell(const std::string& command)
{
    return std::system(command.c_str()) == 0;
}

// This host leads by kxleft (10.77.1.1) to 10.77.1.2, the left one, and by kxright (10.77.2.1) to 10.77.2.2.
struct Hosts {
    // Sockets stay where they were made.
    template <typename Make> auto at(int host, const Make& make) const
    {
        EXPECT_EQ(::setns(host, CLONE_NEWNET), 0);
        auto made = make();
        EXPECT_EQ(::setns(here, CLONE_NEWNET), 0);
        return made;
    }
    int neighbour(const std::string& link, const std::string& network) const
    {
        EXPECT_EQ(::unshare(CLONE_NEWNET), 0);
        const int host = ::open("/proc/self/ns/net", O_RDONLY);
        const std::string path = "/proc/" + std::to_string(::getpid()) + "/fd/" + std::to_string(host);
        const std::string end = " && ip link set lo up && ip address add broadcast + " + network;
        EXPECT_TRUE(at(here, [&] {
            return shell("ip link add " + link + " type veth peer name eth0 netns " + path + end +
                         ".1/24 dev " + link + " && ip link set " + link + " up");
        }));
        const std::string route = ".2/24 dev eth0 && ip route add default via " + network + ".1";
        EXPECT_TRUE(at(host, [&] { return shell("ip link set eth0 up" + end + route); }));
        return host;
    }

    int here = ::open("/proc/self/ns/net", O_RDONLY);
    int left = neighbour("kxleft", "10.77.1");
    int right = neighbour("kxright", "10.77.2");
};

// Runs the body as root of a network of its own, for which another process runs the whole test again.
template <typename Body> void betweenHosts(const Body& body)
{
    if (std::getenv("KX_TEST_HOSTS") != nullptr) return body(Hosts());
    const std::string inside = ::geteuid() != 0 ? "unshare -n -u -r " : "unshare -n -u ";
    const std::string self = std::filesystem::read_symlink("/proc/self/exe").string();
    const std::string test = testing::UnitTest::GetInstance()->current_test_info()->name();
    const std::string command = inside + "ip link add type veth || exit 77; exec env KX_TEST_HOSTS=1 " +
                                inside + self + " --gtest_filter=kxNetHosts." + test;
    kxProcess process("/bin/sh", {.arguments = {"-c", command}});
    const kxProcessEnd end = process.wait(std::chrono::seconds(100));
    if (end == kxExited(77)) GTEST_SKIP() << "no network of our own: " << process.error();
    EXPECT_EQ(end, kxExited(0)) << process.output() << process.error();
}

}  // namespace

TEST(kxNetHosts, DatagramsTakeTheirInterface)
{
    betweenHosts([](const Hosts& hosts) {
        const std::tuple<const char*, const char*, bool, bool, int, const char*> cases[] = {
            {"", "&nic=10.77.1.1", true, false, 64, "10.77.1.1"},
            {"", "&nic=kxright", false, true, 64, "10.77.2.1"},
            {"10.77.2.255", "&nic=kxright", false, true, 64, "10.77.2.1"},
            {"", "", true, false, 64, "10.77.1.1"},
            {"239.255.77.1", "&nic=10.77.2.1&ttl=1", false, true, 1, "10.77.2.1"},
            {"239.255.77.1", "&nic=kxleft", true, false, 32, "10.77.1.1"},
            {"239.255.77.1", "&nic=kxleft&ttl=0", false, false, 0, "10.77.2.1"},
            {"10.77.2.2", "&ttl=1", false, true, 64, "10.77.2.1"}};
        const auto open = [](const std::string& host, const std::string& options) {
            return std::make_unique<kxSerializeAdapterUDP>(kxString(host + ":5000?blocking=no" + options));
        };
        const auto listen = [&] { return open("239.255.77.1", "&nic=eth0"); };
        const auto left = hosts.at(hosts.left, listen), right = hosts.at(hosts.right, listen);
        for (const auto& [host, options, toLeft, toRight, ttl, from] : cases) {
            SCOPED_TRACE(host + std::string(options));
            const int packets = hosts.at(toLeft ? hosts.left : hosts.right,
                                         [] { return ::socket(AF_INET, SOCK_RAW, IPPROTO_UDP); });
            const auto sender = open(host, options);
            sender->writeByte('x');
            EXPECT_EQ(sender->getError(), "");
            EXPECT_EQ(kxTestRead(*left, toLeft ? 1 : 0), toLeft ? "x" : "");
            EXPECT_EQ(kxTestRead(*right, toRight ? 1 : 0), toRight ? "x" : "");
            EXPECT_EQ(left->length() + right->length(), 0U);
            EXPECT_EQ((toLeft ? left : right)->getLastSender().host().text(), from);
            char packet[100] = {};
            ::recv(packets, packet, sizeof(packet), MSG_DONTWAIT);
            EXPECT_EQ(packet[8], ttl);
            ::close(packets);
        }
    });
}

TEST(kxNetHosts, ConnectionsTakeTheirInterfaceAndOutliveALinkThatGoesDown)
{
    betweenHosts([](const Hosts& hosts) {
        kxTestSocket listener = hosts.at(hosts.left, [] { return kxTestSocket::listener(9, INADDR_ANY); });
        const std::string bytes = kxTestPattern(20000000);
        const std::tuple<const char*, const char*, bool> cases[] = {
            {"?timeout=0.3", "10.77.1.1", false},
            {"?blocking=no&nic=kxleft", "10.77.1.1", true},
            {"?blocking=no&nic=10.77.2.1", "10.77.2.1", true}};
        for (const auto& [options, from, comesBack] : cases) {
            SCOPED_TRACE(options);
            kxSerializeAdapterTCP adapter(kxString("10.77.1.2:" + std::to_string(listener.port()) + options));
            kxTestSocket peer = listener.accept();
            EXPECT_EQ(peer.peer(), from);
            std::thread writing([&] { adapter.write(bytes.data(), 20000000); });
            std::string got = peer.receive().value_or("");
            shell("ip link set kxleft down");
            const std::clock_t processor = std::clock();
            const double end = kxClock::seconds() + (comesBack ? 0.5 : 5);
            int looks = 0;
            for (; !adapter.hasError() && kxClock::seconds() < end; ++looks) adapter.length();
            EXPECT_EQ(adapter.getError(), comesBack ? "" : "IP connection closed");
            EXPECT_LT(looks, 600);
            EXPECT_LT(std::clock() - processor, CLOCKS_PER_SEC / 5) << "nobody spins";
            shell("ip link set kxleft up");
            while (comesBack && got.size() < bytes.size()) got += peer.receive().value_or("lost");
            writing.join();
            EXPECT_TRUE(bytes.starts_with(got));
        }
        kxTestSocket hearer = hosts.at(hosts.left, [] { return kxTestSocket::datagram(5000); });
        kxSerializeAdapterUDP sender(kxString("10.77.1.2:5000?nic=kxleft"));
        for (const char* const state : {"down", "up"}) {
            shell(std::string("ip link set kxleft ") + state);
            sender.writeBlock(state, 2);
        }
        EXPECT_EQ(sender.getSendError(), KX_SOCKET_NETWORK_UNREACHABLE);
        EXPECT_EQ(hearer.receive(), "up") << "what is sent later arrives";
    });
}

TEST(kxNetHosts, TellsThatItsOwnNameIsUnknown)
{
    betweenHosts([](const Hosts&) {
        const std::string name = "no.such.machine.invalid";
        ::sethostname(name.data(), name.size());
        kxMessageRecorder messages(KX_MESSAGE_DEBUG);
        EXPECT_EQ(kxHostAddress().text(), "10.77.1.1") << "by its interfaces";
        const std::size_t told = messages.takeTexts().size();
        kxNetwork::resolve(kxString(name));
        EXPECT_EQ(told, messages.texts().size()) << "but where the system knows every name of its own";
    });
}
