#include "kxbase/net/kxSerializeAdapterTCP.h"
#include "kxbase/core/kxClock.h"
#include "support/kxMarkingTranslator.h"
#include "support/kxTest.h"
#include "support/kxTestSocket.h"

#include <cstdlib>

#include <sys/resource.h>
#include <sys/socket.h>

namespace {

using Adapter = kxSerializeAdapterTCP;

// An adapter and the server that it is connected to.
struct Connection {
    explicit Connection(const std::string& options = "blocking=no")
        : adapter(std::make_unique<Adapter>(kxString(listener.url("") + "?" + options))),
          peer(listener.accept())
    {
        EXPECT_FALSE(adapter->hasError());
    }
    void write(const std::string& bytes) { kxTestWrite(*adapter, bytes); }
    std::string readToEnd()
    {
        const std::string bytes = kxTestRead(*adapter);
        EXPECT_EQ(adapter->getError(), "IP connection closed");
        return bytes;
    }
    // Sends so many bytes back as they come, and closes.
    std::thread echo(std::size_t count)
    {
        return std::thread([this, count] {
            for (std::size_t done = 0; done < count;) {
                const std::string some = peer.receive().value_or("");
                peer.send(some);
                done += some.size();
            }
            peer.close();
        });
    }

    kxTestSocket listener = kxTestSocket::listener();
    std::unique_ptr<Adapter> adapter;
    kxTestSocket peer;
};

}  // namespace

TEST(kxSerializeAdapterTCP, TellsWhyItCouldNotOpen)
{
    const std::string closed = kxTestSocket::listener().url(""), nobody = "no.such.host.invalid";
    const auto told = [](const char* error, const std::string& url, const char* from = "Unknown") {
        return std::string("kxSocket error: ") + error + " when connecting to IP adress " + url +
               " and bind to " + from;
    };
    const char *const refused = "Connection was refused", *const nowhere = "Cannot assign requested address",
                      *const unknown = "Unknown socket error";
    const struct {
        const char* why;
        std::string url, error;
        bool lacksDescriptors = false;
    } cases[] = {{"nobody listens", closed, told(refused, closed)},
                 {"bound", closed + "?nic=lo", told(refused, closed + "?nic=lo", "127.0.0.1")},
                 {"no host", ":80", "Missing IP adress :80"},
                 {"no port", "localhost:%d", "Unable to connect IP adress localhost:%d"},
                 {"unknown is not here", nobody, told(nowhere, nobody)},
                 {"nor is any", "0.0.0.0:22", told(nowhere, "0.0.0.0:22")},
                 {"not ours", closed + "?nic=192.0.2.77",
                  "Unable to bind IP adress " + closed + " on iface:192.0.2.77"},
                 {"before anything else", closed, told(unknown, closed), true},
                 {"nor bound", closed + "?nic=127.0.0.1", told(unknown, closed + "?nic=127.0.0.1"), true}};
    rlimit before{};
    ::getrlimit(RLIMIT_NOFILE, &before);
    const rlimit none{0, before.rlim_max};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        kxString error;
        if (c.lacksDescriptors) ::setrlimit(RLIMIT_NOFILE, &none);
        Adapter adapter(kxString(c.url), &error);
        ::setrlimit(RLIMIT_NOFILE, &before);
        EXPECT_TRUE(adapter.hasError());
        EXPECT_EQ(adapter.getError(), c.error);
        EXPECT_EQ(error, "Failed to open TCP url '" + c.url + "'");
        EXPECT_EQ(adapter.length(), 0U);
        adapter.writeByte('x');
    }
    const kxTestSocket full = kxTestSocket::listener(0);
    const kxTestSocket first = kxTestSocket::connectedTo(full.port());  // takes the only place
    const double start = kxClock::seconds();
    Adapter adapter(kxString(full.url("")));
    EXPECT_GE(kxClock::seconds() - start, 2.9);
    EXPECT_LT(kxClock::seconds() - start, 10);
    EXPECT_EQ(adapter.getError(), "Unable to connect IP adress " + full.url(""));
    EXPECT_FALSE(adapter.isActive()) << "an attempt that goes on";
}

TEST(kxSerializeAdapterTCP, ChoosesItsInterface)
{
    const kxTestSocket listener = kxTestSocket::listener();
    ::setenv("KORVEX_HTTP_NIC", "192.0.2.77", 1);
    const std::tuple<const char*, const char*, bool> cases[] = {
        {"", "", false},
        {"?nic=127.0.0.1", "", true},
        {"?nic=192.0.2.77", "lo", true},
        {"?no_nic=yes&nic=192.0.2.77", "192.0.2.77", true}};
    for (const auto& [options, own, opens] : cases) {
        Adapter adapter({});
        adapter.setInterface(own);
        for (int again = 0; again < 2; ++again)
            EXPECT_EQ(adapter.open(kxString(listener.url("") + options)), opens) << options;
    }
    ::unsetenv("KORVEX_HTTP_NIC");
}

TEST(kxSerializeAdapterTCP, MovesOnWhenBothDirectionsAreFull)
{
    const std::string bytes = kxTestPattern(20000000);
    for (const bool onOneThread : {true, false}) {
        SCOPED_TRACE(onOneThread);
        Connection both(onOneThread ? "blocking=no" : "timeout=20");
        std::thread echo = both.echo(bytes.size());
        // The echo stands still until somebody takes what it sends.
        std::thread writing([&] { both.write(bytes); });
        if (onOneThread) writing.join();
        std::thread asking([&] {
            while (!both.adapter->hasError() && both.adapter->length() != 0) both.adapter->flush();
        });
        EXPECT_TRUE(both.readToEnd() == bytes);
        for (std::thread* const thread : {&echo, &writing, &asking})
            if (thread->joinable()) thread->join();
    }
}

TEST(kxSerializeAdapterTCP, ReadsWhatArrivedBeforeTheConnectionWasLost)
{
    kxMessageRecorder recorder;
    Connection reset;
    reset.peer.send("last words");
    EXPECT_EQ(reset.adapter->length(), 10U);
    reset.peer.reset();
    {
        const kxMarkingTranslator marking;
        while (reset.adapter->getSendError() == KX_SOCKET_OK) reset.write("x");
        reset.write("x");
    }
    EXPECT_EQ(reset.readToEnd(), "last words");
    ASSERT_EQ(recorder.texts().size(), 1U) << "once for each connection";
    EXPECT_TRUE(recorder.texts()[0].starts_with("<Could not send to 127.0.0.1:"));
    EXPECT_NE(recorder.texts()[0].find(" (<kxSocket error: "), std::string::npos);

    Connection gone;  // a failed write alone ends nothing
    gone.peer.send(std::string(100000, 'a'));
    gone.peer.send("!", MSG_OOB);  // urgent bytes are bytes like others
    gone.peer.close();
    while (gone.adapter->getSendError() == KX_SOCKET_OK) gone.write(std::string(100000, 'b'));
    EXPECT_EQ(gone.readToEnd(), std::string(100000, 'a') + "!");

    Connection again;  // another connection starts with nothing of the first
    again.peer.send("old");
    while (again.adapter->length() < 3) continue;
    again.adapter->pushBack(again.adapter->readByte());
    EXPECT_TRUE(again.adapter->open(kxString(again.listener.url("") + "?blocking=no")));
    again.listener.accept().send("new");
    EXPECT_EQ(again.readToEnd(), "new");

    Connection half;
    half.peer.shutDownSending();
    half.readToEnd();
    half.write("still heard");
    EXPECT_EQ(half.peer.receive(), "still heard");
}

TEST(kxSerializeAdapterTCP, ClosingLosesNothingThatThePeerHasNotRead)
{
    const std::string bytes = kxTestPattern(2000000);
    for (const char* const options : {"blocking=no", "timeout=0.1"}) {
        Connection closing(options);
        closing.peer.send(std::string(100000, 'y'));
        std::thread user([&] {
            closing.write(bytes);
            std::string some(100001, '\0');
            if (closing.adapter->isBlocking()) closing.adapter->read(some.data(), 100001);
            closing.adapter.reset();
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(250));  // until it has given up reading
        std::string got = closing.peer.receive().value_or("");
        closing.peer.send(std::string(100000, 'z'));  // what nobody reads either
        got += closing.peer.receiveAll().value_or("!");
        closing.peer.close();
        user.join();
        EXPECT_TRUE(got == bytes) << options;
    }

    Connection stubborn;
    stubborn.write("x");
    const double start = kxClock::seconds();
    stubborn.adapter.reset();
    EXPECT_GE(kxClock::seconds() - start, 0.9) << "for a peer that does not close";
    EXPECT_LT(kxClock::seconds() - start, 10);
}

TEST(kxSerializeAdapterTCP, ClosesWhenNothingComesInTime)
{
    Connection undone("timeout=0.1");
    undone.adapter->pushBack('x');
    EXPECT_TRUE(undone.adapter->length() == 1 && undone.adapter->ensureData(1) && undone.adapter->isActive());
    EXPECT_TRUE(undone.adapter->readChar() == 'x' && undone.adapter->length() == 0);
    EXPECT_FALSE(undone.adapter->isActive()) << "once nothing is left";

    Connection full("timeout=0.3");
    std::thread writing([&] { full.write(std::string(30000000, 'x')); });
    EXPECT_EQ(full.adapter->readByte(), 0);
    EXPECT_FALSE(full.adapter->isActive());
    EXPECT_EQ(full.readToEnd(), "");
    writing.join();
    EXPECT_NE(full.adapter->getSendError(), KX_SOCKET_OK) << "a write that stood still is woken";
}
