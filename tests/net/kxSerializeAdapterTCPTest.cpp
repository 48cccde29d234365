#include "kxbase/net/kxSerializeAdapterTCP.h"
#include "kxbase/core/kxClock.h"
#include "support/kxTestSocket.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <thread>

#include <sys/socket.h>

namespace {

using Adapter = kxSerializeAdapterTCP;

std::string patternOf(std::size_t count)
{
    std::string bytes(count, '\0');
    for (std::size_t index = 0; index < count; ++index) bytes[index] = static_cast<char>(index * 31 / 7);
    return bytes;
}

// An adapter and the server that it is connected to.
struct Connection {
    explicit Connection(const std::string& options = "blocking=no")
        : adapter(std::make_unique<Adapter>(kxString(listener.url("") + "?" + options))),
          peer(listener.accept())
    {
        EXPECT_FALSE(adapter->hasError());
    }

    void write(const std::string& bytes)
    {
        adapter->write(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
    }
    // Everything up to the end that hasError() tells, as a relay reads it.
    std::string readToEnd()
    {
        std::string bytes;
        const double end = kxClock::seconds() + 20;
        while (!adapter->hasError() && kxClock::seconds() < end) {
            std::string some(adapter->length(), '\0');
            some.resize(adapter->read(some.data(), static_cast<std::uint32_t>(some.size())));
            bytes += some;
        }
        return bytes;
    }
    void expectClosed() { EXPECT_EQ(adapter->getError(), "IP connection closed"); }

    kxTestSocket listener = kxTestSocket::listener();
    std::unique_ptr<Adapter> adapter;
    kxTestSocket peer;
};

std::uint16_t closedPort()
{
    return kxTestSocket::listener().port();
}

}  // namespace

TEST(kxSerializeAdapterTCP, TellsWhyItCouldNotOpen)
{
    const std::string refused = "127.0.0.1:" + std::to_string(closedPort());
    const struct {
        const char* why;
        std::string url;
        std::string error;
    } cases[] = {
        {"nobody listens", refused,
         "kxSocket error: Connection was refused when connecting to IP adress " + refused +
             " and bind to Unknown"},
        {"bound first", refused + "?nic=127.0.0.1",
         "kxSocket error: Connection was refused when connecting to IP adress " + refused +
             "?nic=127.0.0.1 and bind to 127.0.0.1"},
        {"no host", ":80", "Missing IP adress :80"},
        {"no such host", "no.such.host.invalid:%d", "Unable to connect IP adress no.such.host.invalid:%d"},
        {"an unknown host is not this machine", "no.such.host.invalid",
         "kxSocket error: Cannot assign requested address when connecting to IP adress no.such.host.invalid "
         "and bind to Unknown"},
        {"any address is not this machine", "0.0.0.0:22",
         "kxSocket error: Cannot assign requested address when connecting to IP adress 0.0.0.0:22 and bind "
         "to Unknown"},
        {"an interface that is not here", refused + "?nic=192.0.2.77",
         "Unable to bind IP adress " + refused + " on iface:192.0.2.77"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        kxString error;
        Adapter adapter(kxString(c.url), &error);
        EXPECT_TRUE(adapter.hasError());
        EXPECT_EQ(adapter.getError(), c.error);
        EXPECT_EQ(error, "Failed to open TCP url '" + c.url + "'");
        EXPECT_EQ(adapter.length(), 0U);
        adapter.writeByte('x');
    }
}

TEST(kxSerializeAdapterTCP, GivesUpConnectingAfterThreeSeconds)
{
    const kxTestSocket full = kxTestSocket::listener(0);
    const kxTestSocket first = kxTestSocket::connectedTo(full.port());  // takes the only place
    const double start = kxClock::seconds();
    Adapter adapter(kxString(full.url("")));
    EXPECT_NEAR(kxClock::seconds() - start, 3.0, 0.5);
    EXPECT_EQ(adapter.getError(), "Unable to connect IP adress " + full.url(""));
}

TEST(kxSerializeAdapterTCP, ChoosesItsInterface)
{
    const kxTestSocket listener = kxTestSocket::listener();
    ::setenv("KORVEX_HTTP_NIC", "192.0.2.77", 1);
    const struct {
        const char* why;
        const char* options;
        const char* own;
        bool opens;
    } cases[] = {
        {"the environment", "", "", false},
        {"an option goes before it", "?nic=127.0.0.1", "", true},
        {"by name", "?nic=lo", "", true},
        {"the adapter's own goes first", "?nic=192.0.2.77", "127.0.0.1", true},
        {"none goes before all", "?no_nic=yes&nic=192.0.2.77", "192.0.2.77", true},
        {"not none", "?no_nic=no", "", false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        Adapter adapter({});
        adapter.setInterface(c.own);
        EXPECT_EQ(adapter.open(kxString(listener.url("") + c.options)), c.opens);
        EXPECT_EQ(adapter.open(kxString(listener.url("") + c.options)), c.opens) << "again";
    }
    ::unsetenv("KORVEX_HTTP_NIC");
}

TEST(kxSerializeAdapterTCP, CarriesBytesBothWaysToTheLastOne)
{
    const std::string bytes = patternOf(5000000);
    for (const char* const options : {"blocking=no", "timeout=20"}) {
        SCOPED_TRACE(options);
        Connection both(options);
        std::string echoed;
        std::thread peer([&] {
            echoed = both.peer.receive().value_or("");
            while (echoed.size() < bytes.size()) echoed += both.peer.receive().value_or("!");
            both.peer.send(echoed);
            both.peer.close();
        });
        both.write(bytes);
        EXPECT_TRUE(both.readToEnd() == bytes);
        both.expectClosed();
        peer.join();
    }
}

TEST(kxSerializeAdapterTCP, MovesOnWhenBothDirectionsAreFull)
{
    Connection both;
    const std::string bytes = patternOf(30000000);
    std::thread echo([&] {
        for (std::size_t done = 0; done < bytes.size();) {
            const std::string some = both.peer.receive().value_or("");
            both.peer.send(some);
            done += some.size();
        }
        both.peer.close();
    });
    both.write(bytes);  // the echo stands still until somebody takes what it sends
    EXPECT_TRUE(both.readToEnd() == bytes);
    echo.join();
}

TEST(kxSerializeAdapterTCP, ReadsWhatArrivedBeforeTheConnectionWasLost)
{
    Connection reset;
    reset.peer.send("last words");
    EXPECT_EQ(reset.adapter->length(), 10U);
    reset.peer.reset();
    while (reset.adapter->getSendError() == KX_SOCKET_OK) reset.write("x");
    EXPECT_EQ(reset.readToEnd(), "last words");
    reset.expectClosed();

    Connection gone;  // a failed write alone ends nothing
    gone.peer.send(std::string(100000, 'a'));
    gone.peer.close();
    while (gone.adapter->getSendError() == KX_SOCKET_OK) gone.write(std::string(100000, 'b'));
    EXPECT_EQ(gone.readToEnd(), std::string(100000, 'a'));
    gone.expectClosed();

    Connection half;
    half.peer.shutDownSending();
    half.readToEnd();
    half.expectClosed();
    half.write("still heard");
    EXPECT_EQ(half.peer.receive(), "still heard");

    Connection urgent;
    urgent.peer.send("a!", MSG_OOB);
    urgent.peer.send("b");
    urgent.peer.close();
    EXPECT_EQ(urgent.readToEnd(), "a!b");
}

TEST(kxSerializeAdapterTCP, ClosingLosesNothingThatThePeerHasNotRead)
{
    Connection closing;
    const std::string bytes = patternOf(3000000);
    closing.peer.send(std::string(100000, 'y'));
    std::string got;
    std::thread peer([&] {
        got = closing.peer.receive().value_or("");
        closing.peer.send(std::string(100000, 'z'));  // what nobody reads either
        got += closing.peer.receiveAll().value_or("!");
        closing.peer.close();
    });
    closing.write(bytes);
    closing.adapter.reset();
    peer.join();
    EXPECT_TRUE(got == bytes);

    Connection stubborn;
    stubborn.write("x");
    const double start = kxClock::seconds();
    stubborn.adapter.reset();
    EXPECT_NEAR(kxClock::seconds() - start, 1.0, 0.5) << "for a peer that does not close";
}

TEST(kxSerializeAdapterTCP, ClosesWhenNothingComesInTime)
{
    Connection late("timeout=0.3");
    late.peer.send("abc");
    char bytes[8];
    double start = kxClock::seconds();
    EXPECT_EQ(late.adapter->read(bytes, 8), 3U);
    EXPECT_NEAR(kxClock::seconds() - start, 0.3, 0.2);
    EXPECT_FALSE(late.adapter->isActive());
    EXPECT_TRUE(late.adapter->hasError());
    late.expectClosed();
    EXPECT_EQ(late.peer.receive(), "") << "the peer sees the end";

    // A write that stands still meanwhile is woken.
    Connection full("timeout=0.3");
    std::thread writing([&] { full.write(std::string(30000000, 'x')); });
    EXPECT_EQ(full.adapter->read(bytes, 8), 0U);
    writing.join();
    EXPECT_NE(full.adapter->getSendError(), KX_SOCKET_OK);
}

TEST(kxSerializeAdapterTCP, ReadsOnOneThreadWhileAnotherWrites)
{
    Connection both("timeout=20");
    const std::string bytes = patternOf(2000000);
    std::thread echo([&] {
        for (std::size_t done = 0; done < bytes.size();) {
            const std::string some = both.peer.receive().value_or("");
            both.peer.send(some);
            done += some.size();
        }
        both.peer.close();
    });
    std::thread writing([&] { both.write(bytes); });
    std::thread asking([&] {
        for (int count = 0; count < 200; ++count) both.adapter->length();
    });
    std::string got(bytes.size(), '\0');
    EXPECT_EQ(both.adapter->read(got.data(), static_cast<std::uint32_t>(got.size())), got.size());
    EXPECT_TRUE(got == bytes);
    for (std::thread* const thread : {&echo, &writing, &asking}) thread->join();
}
