// The adapter against servers that send exactly what the test says.

#include "kxbase/protocol/kxSerializeAdapterHttp.h"
#include "kxbase/core/kxClock.h"
#include "support/kxMessageRecorder.h"
#include "support/kxTestPattern.h"
#include "support/kxTestSocket.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <system_error>
#include <thread>

namespace {

using Adapter = kxSerializeAdapterHttp;
using namespace std::string_literals;

enum class Then { Hold, Close, Reset, GoOn };

// Serves one connection: a reply for each request, piece by piece, and then what is to become of the connection.
// With GoOn the last reply is followed by the same text for ever.
class Server {
public:
    Server(std::vector<std::string> replies, Then then = Then::Hold, std::size_t pieceBytes = 1 << 20,
           const std::string& more = {})
        : thread_([=, this] {
              try {
                  serve(replies, then, pieceBytes, more);
              } catch (const std::system_error&) {
                  // The adapter has hung up.
              }
          })
    {}
    ~Server() { stop(); }

    // The requests so far; ends the connection.
    std::string stop()
    {
        if (thread_.joinable()) thread_.join();
        return requests_;
    }
    std::string url(const std::string& rest = {}) const { return listener_.url("") + rest; }

private:
    void serve(const std::vector<std::string>& replies, Then then, std::size_t pieceBytes,
               const std::string& more)
    {
        kxTestSocket peer = listener_.accept();
        for (const std::string& reply : replies) {
            std::string request;
            while (!request.ends_with("\r\n\r\n")) {
                const std::string some = peer.receive().value_or("");
                if (some.empty()) return;
                request += some;
            }
            requests_ += request;
            for (std::size_t at = 0; at < reply.size(); at += pieceBytes)
                peer.send(std::string_view(reply).substr(at, pieceBytes));
        }
        std::string block;
        while (then == Then::GoOn && block.size() < 50000) block += more;
        while (then == Then::GoOn) peer.send(block);
        if (then == Then::Reset) {
            peer.receive(std::chrono::milliseconds(30));  // a reset may destroy what has not been read
            peer.reset();
        }
        if (then == Then::Hold) peer.receive();  // until the adapter closes
    }

    kxTestSocket listener_ = kxTestSocket::listener();
    std::string requests_;
    std::thread thread_;
};

std::string readAsRelay(Adapter& adapter)
{
    std::string bytes;
    while (!adapter.hasError()) {
        std::string some(adapter.length(), '\0');
        EXPECT_LE(some.size(), 5000000U) << "what is not read waits in the connection";
        some.resize(adapter.read(some.data(), static_cast<std::uint32_t>(some.size())));
        bytes += some;
    }
    return bytes;
}

std::string readAsBlock(Adapter& adapter)
{
    std::string bytes(1 << 20, '\0');
    bytes.resize(adapter.read(bytes.data(), static_cast<std::uint32_t>(bytes.size())));
    EXPECT_TRUE(adapter.hasError());
    return bytes;
}

std::string readByBytes(Adapter& adapter)
{
    std::string bytes;
    while (adapter.hasData()) bytes += static_cast<char>(adapter.readChar());
    EXPECT_TRUE(adapter.hasError());
    return bytes;
}

std::string head(const std::string& headers, const std::string& status = "200 OK")
{
    return "HTTP/1.1 " + status + "\r\n" + headers + "\r\n";
}

constexpr const char* kChunked = "Transfer-Encoding: chunked\r\n";
constexpr const char* kEnd = "IP connection closed";
constexpr const char* kMalformed = "Malformed message received";
constexpr const char* kIncomplete = "Message body is incomplete";
constexpr const char* kReset = "kxSocket error: Connection was reset (127.0.0.1)";
constexpr const char* kTimeout = "HTTP Socket 127.0.0.1 timeout. No data";

}  // namespace

TEST(kxSerializeAdapterHttp, ReadsRepliesOfEveryKindInEveryWay)
{
    const std::string large = kxTestPattern(300000);
    const std::string length = "Content-Length: " + std::to_string(large.size()) + "\r\n";
    const struct {
        const char* why;
        std::string reply;
        Then then;
        int status;
        std::string body;
        const char* error;
    } cases[] = {
        {"length", head("Content-Length: 5\r\n") + "hello", Then::Hold, 200, "hello", kEnd},
        {"large", head(length) + large, Then::Hold, 200, large, kEnd},
        {"until close", head("") + large, Then::Close, 200, large, kEnd},
        {"chunks", head(kChunked) + "3;x=y\r\nabc\r\n493e0\r\n" + large + "\r\n0\r\nX: y\r\n\r\n", Then::Hold,
         200, "abc" + large, kEnd},
        {"chunks win", head("Content-Length: 99\r\n"s + kChunked) + "1\na\n0\n\n", Then::Hold, 200, "a",
         kEnd},
        {"interim",
         head("", "100 Continue") + head("A: b\r\n", "103 Hints") + head("Content-Length: 1\r\n") + "x",
         Then::Hold, 200, "x", kEnd},
        {"never a body", head("Content-Length: 5\r\n", "204 No Content"), Then::Hold, 204, "", kEnd},
        {"nor here", head(kChunked, "304 Not Modified"), Then::Hold, 304, "", kEnd},
        {"an error page", head("Content-Length: 2\r\n", "404 Not Found") + "no", Then::Hold, 404, "no", kEnd},
        {"not followed", head("Location: http://127.0.0.1:1/\r\nContent-Length: 2\r\n", "302 Found") + "to",
         Then::Hold, 302, "to", kEnd},
        {"two replies", head("Content-Length: 1\r\n") + "a" + head("Content-Length: 1\r\n") + "b", Then::Hold,
         200, "a", kEnd},
        {"streaming", "RTSP/1.0 200 OK\r\nCSeq: 1\r\nPublic: SETUP\r\nContent-Length: 4\r\n\r\nv=0\n",
         Then::Hold, 200, "v=0\n", kEnd},
        {"no reply", "", Then::Close, 0, "", kEnd},
        {"half a head", "HTTP/1.1 200 OK\r\nA: b\r\n", Then::Close, 0, "", "Out Of data at (3,1)"},
        {"another protocol", "SSH-2.0-Server\r\n", Then::Hold, 0, "", kMalformed},
        {"a request", "GET / HTTP/1.1\r\n\r\n", Then::Hold, 0, "", kMalformed},
        {"lengths differ", head("Content-Length: 1\r\nContent-Length: 2\r\n") + "ab", Then::Hold, 0, "",
         kMalformed},
        {"no length", head("Content-Length: -1\r\n") + "ab", Then::Hold, 0, "", kMalformed},
        {"length too large", head("Content-Length: 18446744073709551616\r\n"), Then::Hold, 0, "", kMalformed},
        {"closed early", head(length) + large.substr(1), Then::Close, 200, large.substr(1), kIncomplete},
        {"within a chunk", head(kChunked) + "5\r\nab", Then::Close, 200, "ab", kIncomplete},
        {"before the last chunk", head(kChunked) + "2\r\nab\r\n", Then::Close, 200, "ab", kIncomplete},
        {"no chunk", head(kChunked) + "2\r\nab\r\nzz\r\n", Then::Hold, 200, "ab", kMalformed},
        {"no end of a chunk", head(kChunked) + "2\r\nabc", Then::Hold, 200, "ab", kMalformed},
        {"chunk too large", head(kChunked) + "fffffffffffffffff\r\n", Then::Hold, 200, "", kMalformed},
        {"reset", head(length) + "ab", Then::Reset, 200, "ab", kReset},
        {"reset until close", head("") + "ab", Then::Reset, 200, "ab", kReset},
        {"reset at once", "", Then::Reset, 0, "", kReset},
        {"silence", "", Then::Hold, 0, "", kTimeout},
        {"stands still", head("Content-Length: 5\r\n") + "he", Then::Hold, 200, "he", kTimeout},
    };
    for (const auto& c : cases) {
        for (const auto read : {readAsRelay, readAsBlock, readByBytes}) {
            for (const std::size_t pieceBytes : {c.reply.size() + 1, std::size_t{1}}) {
                if (pieceBytes == 1 && c.reply.size() > 10000) continue;
                SCOPED_TRACE(c.why);
                kxMessageRecorder recorder;
                const Server server({c.reply}, c.then, pieceBytes);
                Adapter adapter(kxString(server.url("/x")));
                adapter.setTimeout(c.error == kTimeout ? 0.1 : 20);
                EXPECT_FALSE(adapter.hasError());
                EXPECT_TRUE(read(adapter) == c.body);
                EXPECT_EQ(adapter.getError(), c.error);
                EXPECT_EQ(adapter.getReply().statusCode(), c.status);
                EXPECT_EQ(adapter.length(), 0U);
                const bool isWarned = c.error != kEnd || c.status == 0;
                ASSERT_EQ(recorder.entries().size(), isWarned ? 1U : 0U);
                if (isWarned) EXPECT_TRUE(recorder.entries()[0].text.ends_with(c.error));
            }
        }
    }
}

TEST(kxSerializeAdapterHttp, HoldsLittleOfEndlessReplies)
{
    const struct {
        const char* why;
        std::string reply, more;
        bool isBody;
    } cases[] = {{"headers", "HTTP/1.1 200 OK\r\n", "A: b\r\n", false},
                 {"a header", "HTTP/1.1 200 OK\r\nA: ", std::string(1000, 'b'), false},
                 {"interim replies", "", head("", "100 Continue"), false},
                 {"a chunk's line", head(kChunked) + "1;", "a", false},
                 {"trailers", head(kChunked) + "0\r\n", "A: b\r\n", false},
                 {"small chunks", head(kChunked), "1\r\na\r\n", true},
                 {"a body", head(""), std::string(100000, 'a'), true}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        Server server({c.reply}, Then::GoOn, 1 << 20, c.more);
        {
            Adapter adapter(kxString(server.url("/x")));
            adapter.setTimeout(0.5);
            std::string bytes(3000000, '\0');
            const std::uint32_t got = adapter.read(bytes.data(), 3000000);
            EXPECT_EQ(got, c.isBody ? 3000000U : 0U);
            if (c.isBody) EXPECT_EQ(bytes, std::string(3000000, 'a'));
            EXPECT_EQ(adapter.hasError(), !c.isBody);
        }
        server.stop();
    }
}

TEST(kxSerializeAdapterHttp, SendsNothingButTheTwoRequests)
{
    const struct {
        const char *why, *url, *path;
    } cases[] = {{"none", "", ""},
                 {"plain", "/a/b", "a/b"},
                 {"a query is kept by one more mark", "/a?b=c&d?", "a?b=c&d"},
                 {"options go nowhere", "/a?b=c", "a"},
                 {"backslashes", "\\a\\b", "a/b"},
                 {"header injection", "/a HTTP/1.1\r\nX: y\x7F", "a%20HTTP/1.1%0D%0AX:%20y%7F"},
                 {"other bytes", "/\xC3\xA4%20", "\xC3\xA4%20"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        Server server({head("Content-Length: 0\r\n"), head("Content-Length: 0\r\nAllow: GET, PUT\r\n")});
        const std::string place = server.url();
        {
            Adapter adapter(kxString("//me:pw@" + place + c.url));
            EXPECT_EQ(adapter.getUrl().userName, "me:pw");
            adapter.setUserAgent("mine\r\nX: y");
            EXPECT_EQ(adapter.length(), 0U);
            EXPECT_TRUE(adapter.options()) << "on the same connection";
            EXPECT_TRUE(adapter.getReply().facts().methods.has(KX_HTTP_PUT));
        }
        const std::string tail = "User-Agent:mine  X: y\r\nHost:" + place + "\r\n";
        EXPECT_EQ(server.stop(), "GET http://" + place + "/" + c.path + " HTTP/1.1\r\n" + tail +
                                     "Proxy-Connection:Keep-Alive\r\n\r\nOPTIONS http://" + place +
                                     " HTTP/1.1\r\n" + tail + "\r\n");
    }
}

TEST(kxSerializeAdapterHttp, TellsWhyItCouldNotOpen)
{
    const std::string closed = kxTestSocket::listener().url("");
    const char* const invalid = "Host name in URL is not valid";
    const struct {
        const char* why;
        std::string url, error;
    } cases[] = {
        {"nobody listens", closed, "kxSocket error: Connection was refused (127.0.0.1)"},
        {"proxy gone", "a/?proxy=" + closed, "kxSocket error: Connection was refused (a)"},
        {"not our interface", closed + "?nic=192.0.2.77",
         "kxSocket error: Cannot assign requested address (127.0.0.1)"},
        {"unknown", "no.such.host.invalid", invalid},
        {"neither", "no.such.host.invalid/?proxy=no.such.proxy.invalid",
         invalid + " and proxy is not valid"s},
        {"no host", "/a", invalid},
        {"nor with a proxy", "/a?proxy=127.0.0.1:1", invalid},
        {"a blank", "a b/?proxy=127.0.0.1:1", invalid},
        {"a line", "a\r\nX: y/?proxy=127.0.0.1:1", invalid},
        {"no port", "127.0.0.1:65536", invalid},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        kxString error;
        Adapter adapter(kxString(c.url), &error);
        EXPECT_TRUE(adapter.hasError());
        EXPECT_EQ(adapter.getError(), c.error);
        EXPECT_EQ(error, "Failed to open HTTP url '" + c.url + "'");
        EXPECT_EQ(adapter.length(), 0U);
    }
    const kxTestSocket full = kxTestSocket::listener(0);
    const kxTestSocket first = kxTestSocket::connectedTo(full.port());  // takes the only place
    Adapter adapter({});
    adapter.setTimeout(0.2);
    EXPECT_FALSE(adapter.open(kxString(full.url(""))));
    EXPECT_EQ(adapter.getError(), "kxSocket error: Connection timed out (127.0.0.1)");
}

TEST(kxSerializeAdapterHttp, ChoosesItsProxy)
{
    const struct {
        const char *why, *options, *variable;
        bool usesProxy;
    } cases[] = {{"none", "", "", false},
                 {"option", "?proxy=%", "192.0.2.77", true},
                 {"a URL", "?proxy=http://me:pw@%/", "", true},
                 {"variable", "", "%", true},
                 {"none at all", "?no_proxy=yes&proxy=%", "%", false},
                 {"one that is not known", "?proxy=no.such.proxy.invalid", "", false}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        Server origin({head("Content-Length: 0\r\n")});
        Server proxy({head("Content-Length: 0\r\n")});
        const auto filled = [&](std::string text) {
            if (const auto at = text.find('%'); at != std::string::npos) text.replace(at, 1, proxy.url());
            return text;
        };
        ::setenv("KORVEX_HTTP_PROXY", filled(c.variable).c_str(), 1);
        Adapter adapter(kxString(origin.url("/a" + filled(c.options))));
        ::unsetenv("KORVEX_HTTP_PROXY");
        EXPECT_TRUE(adapter.get());
        EXPECT_EQ(adapter.getUrl().proxy.host.isEmpty(), !c.usesProxy);
        adapter.open({});
        Server& used = c.usesProxy ? proxy : origin;
        kxTestSocket::connectedTo(kxNetUrl(kxString((c.usesProxy ? origin : proxy).url())).port);
        EXPECT_TRUE(used.stop().starts_with("GET http://" + origin.url("/a HTTP/1.1\r\n")));
    }
}

TEST(kxSerializeAdapterHttp, AsksAgainOnAConnectionThatIsFitForIt)
{
    Server once({head("Content-Length: 1\r\n") + "a", head("Content-Length: 1\r\nETag: x\r\n") + "b"});
    Adapter adapter(kxString(once.url("/x")));
    EXPECT_EQ(readAsRelay(adapter), "a");
    EXPECT_TRUE(adapter.isActive());
    EXPECT_TRUE(adapter.get());
    EXPECT_EQ(adapter.getReply().headerValue("etag"), "x");
    EXPECT_EQ(readAsRelay(adapter), "b");
    adapter.open({});
    once.stop();

    kxTestSocket listener = kxTestSocket::listener();  // a connection for each request
    std::thread server([&] {
        for (const std::string reply :
             {head("Content-Length: 9\r\n") + "left", head("Connection: close\r\n") + "b"}) {
            kxTestSocket peer = listener.accept();
            peer.receive();
            peer.send(reply);
        }
    });
    Adapter other(kxString(listener.url("")));
    EXPECT_EQ(other.readChar(), 'l');
    other.pushBack('x');
    EXPECT_TRUE(other.get()) << "and what is left of the reply before is gone";
    EXPECT_EQ(readAsRelay(other), "b");
    EXPECT_FALSE(other.isActive());
    server.join();
}

TEST(kxSerializeAdapterHttp, LeavesTheConnectionToAThreadThatPumps)
{
    const std::string body = kxTestPattern(5000000);
    const Server server({head("Content-Length: 5000000\r\n") + body});
    Adapter adapter(kxString(server.url("/x")));
    adapter.setPumping(false);
    const double start = kxClock::seconds();
    EXPECT_EQ(adapter.length(), 0U);
    EXPECT_NEAR(kxClock::seconds() - start, 3.0, 0.5) << "nobody pumps";
    EXPECT_FALSE(adapter.hasError());
    std::atomic<bool> isOver{false};
    std::thread pumping([&] {
        while (!isOver) adapter.pump(50);
    });
    EXPECT_TRUE(adapter.waitForReply());
    EXPECT_TRUE(readAsRelay(adapter) == body);
    isOver = true;
    pumping.join();
}

TEST(kxSerializeAdapterHttp, KeepsWhatWasPushedBackAndDropsWhatIsWritten)
{
    const Server server({head("Content-Length: 3\r\n") + "abc"});
    const auto made = kxSerializeAdapter::getAdapter(kxString("http:" + server.url("/x/y?no_proxy")), 3);
    ASSERT_TRUE(made);
    auto& adapter = dynamic_cast<Adapter&>(*made);
    EXPECT_EQ(adapter.getScheme() + adapter.getName() + adapter.getOptions(), "http:yno_proxy");
    EXPECT_TRUE(adapter.ensureData(3));
    kxMessageRecorder recorder;
    for (int again = 0; again < 2; ++again) adapter.write("notice", 6);
    EXPECT_EQ(recorder.texts(), std::vector<std::string>{"HTTP Socket y cannot be written to"});
    adapter.flush();
    EXPECT_FALSE(adapter.hasError());
    EXPECT_EQ(readAsRelay(adapter), "abc");
}
