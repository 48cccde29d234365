// The adapter against servers that send exactly what the test says.

#include "kxbase/protocol/kxSerializeAdapterHttp.h"
#include "kxbase/core/kxClock.h"
#include "kxbase/message/kxMessageManager.h"
#include "support/kxMarkingTranslator.h"
#include "support/kxTest.h"
#include "support/kxTestSocket.h"

#include <system_error>

namespace {

using Adapter = kxSerializeAdapterHttp;
using namespace std::string_literals;

enum Then { kHold, kClose, kReset };

// Serves one connection: a reply for each request, piece by piece, and then what is to become of the connection.
class Server {
public:
    explicit Server(std::vector<std::string> replies, Then then = kHold, std::size_t pieceBytes = 1 << 20,
                    const std::string& forEver = {})
        : thread_([=, this] {
              try {
                  serve(replies, then, pieceBytes, forEver);
              } catch (const std::system_error&) {
                  // The adapter has hung up.
              }
          })
    {}
    ~Server() { requests(); }

    // Once the connection has ended.
    std::string requests()
    {
        if (thread_.joinable()) thread_.join();
        return requests_;
    }
    std::string url(const std::string& rest = {}) const { return listener_.url("") + rest; }

private:
    void serve(const std::vector<std::string>& replies, Then then, std::size_t pieceBytes,
               const std::string& forEver)
    {
        kxTestSocket peer = listener_.accept();
        for (const std::string& reply : replies) {
            const std::string request = peer.receive().value_or("");
            if (request.empty()) return;
            requests_ += request;
            for (std::size_t at = 0; at < reply.size(); at += pieceBytes)
                peer.send(std::string_view(reply).substr(at, pieceBytes));
        }
        while (!forEver.empty()) peer.send(forEver);
        if (then != kClose) peer.receive(then == kHold ? KX_TEST_TIMEOUT : std::chrono::milliseconds(30));
        if (then == kReset) peer.reset();
    }

    kxTestSocket listener_ = kxTestSocket::listener();
    std::string requests_;
    std::thread thread_;
};

// Everything up to the end, in pieces of at most so many bytes.
std::string readAll(kxSerializeAdapter& adapter, std::uint32_t most = 1 << 30)
{
    std::string bytes;
    while (!adapter.hasError()) bytes += kxTestTake(adapter, std::min(adapter.length(), most));
    return bytes;
}

std::string head(const std::string& headers, const std::string& status = "200 OK")
{
    return "HTTP/1.1 " + status + "\r\n" + headers + "\r\n";
}

std::string length(std::size_t bytes, const std::string& status = "200 OK")
{
    return head("Content-Length: " + std::to_string(bytes) + "\r\n", status);
}

constexpr const char* kEnd = "IP connection closed";
constexpr const char* kBad = "Malformed message received";
constexpr const char* kCut = "Message body is incomplete";
constexpr const char* kLost = "kxSocket error: Connection was reset (127.0.0.1)";
constexpr const char* kTimeout = "HTTP Socket 127.0.0.1 timeout. No data";

}  // namespace

TEST(kxSerializeAdapterHttp, ReadsRepliesOfEveryKind)
{
    const std::string large = kxTestPattern(300000);
    const std::string chunks = head("Transfer-Encoding: chunked\r\n");
    const struct {
        const char* why;
        int status;
        std::string reply, body;
        const char* error = kEnd;
        Then then = kHold;
    } cases[] = {
        {"length", 200, length(5) + "hello", "hello"},
        {"large", 200, length(large.size()) + large, large},
        {"until close", 200, head("") + large, large, kEnd, kClose},
        {"chunks", 200, chunks + "1;x=y\r\na\r\n493e0\r\n" + large + "\r\n0\r\nX: y\r\n\r\n", "a" + large},
        {"interim", 200, head("", "100 Continue") + head("A: b\r\n", "103 Hints") + length(1) + "x", "x"},
        {"never a body", 204, length(5, "204 No Content"), ""},
        {"not followed", 302, head("Location: /\r\nContent-Length: 2\r\n", "302 Found") + "to", "to"},
        {"two replies", 200, length(1) + "a" + length(1) + "b", "a"},
        {"streaming", 200, "RTSP/1.0 200 OK\r\nCSeq: 1\r\nContent-Length: 4\r\n\r\nv=0\n", "v=0\n"},
        {"no reply", 0, "", "", "Connection was closed without a reply", kClose},
        {"half a head", 0, "HTTP/1.1 200 OK\r\nA: b\r\n", "", "Out Of data at (3,1)", kClose},
        {"another protocol", 0, "SSH-2.0-Server\r\n", "", kBad},
        {"a request", 0, "GET / HTTP/1.1\r\n\r\n", "", kBad},
        {"closed early", 200, length(large.size()) + large.substr(1), large.substr(1), kCut, kClose},
        {"no chunk", 200, chunks + "2\r\nab\r\nzz\r\n", "ab", kBad},
        {"reset until close", 200, head("") + "ab", "ab", kLost, kReset},
        {"reset at once", 0, "", "", kLost, kReset},
        {"silence", 0, "", "", kTimeout},
        {"stands still", 200, length(5) + "he", "he", kTimeout},
    };
    for (const auto& c : cases) {
        for (const bool byBytes : {false, true}) {
            SCOPED_TRACE(c.why);
            kxMessageRecorder recorder(KX_MESSAGE_WARNING);
            const Server server({c.reply}, c.then, byBytes && c.reply.size() < 1000 ? 1 : 1 << 20);
            Adapter adapter(kxString(server.url("/x")));
            adapter.setTimeout(c.error == kTimeout ? 1 : 20);
            EXPECT_FALSE(adapter.hasError());
            EXPECT_TRUE(readAll(adapter, byBytes ? static_cast<std::uint32_t>(c.reply.size() / 300 + 1)
                                                 : 1 << 30) == c.body);
            EXPECT_EQ(adapter.getError(), c.error);
            EXPECT_EQ(adapter.getReply().statusCode(), c.status);
            EXPECT_EQ(adapter.length(), 0U);
            std::string warnings;
            for (const std::string& text : recorder.texts()) warnings += text.substr(text.find(c.error));
            EXPECT_EQ(warnings, c.error == kEnd ? "" : c.error);
        }
    }
}

TEST(kxSerializeAdapterHttp, HoldsLittleOfEndlessReplies)
{
    const kxMessageRecorder recorder;
    const std::string chunks = head("Transfer-Encoding: chunked\r\n");
    const struct {
        const char* why;
        std::string reply, forEver;
        bool isBody;
    } cases[] = {{"a header", "HTTP/1.1 200 OK\r\nA: ", kxTestRepeated("b", 50000), false},
                 {"interim replies", "", kxTestRepeated(head("", "100 Continue"), 2000), false},
                 {"a chunk's line", chunks + "1;", kxTestRepeated("a", 50000), false},
                 {"trailers", chunks + "0\r\n", kxTestRepeated("A: b\r\n", 8000), false},
                 {"small chunks", chunks, kxTestRepeated("1\r\na\r\n", 8000), true},
                 {"a body", head(""), kxTestRepeated("a", 50000), true}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        const Server server({c.reply}, kHold, 1 << 20, c.forEver);
        Adapter adapter(kxString(server.url("/x")));
        adapter.setTimeout(2);
        EXPECT_TRUE(kxTestTake(adapter, 3000000) == std::string(c.isBody ? 3000000 : 0, 'a'));
        EXPECT_EQ(adapter.hasError(), !c.isBody);
        EXPECT_LT(adapter.length(), 3000000U) << "the rest waits in the connection";
    }
}

TEST(kxSerializeAdapterHttp, SendsNothingButTheTwoRequests)
{
    const struct {
        const char *why, *url, *path;
    } cases[] = {{"none", "", ""},
                 {"a query is kept by one more mark", "/a?b=c&d?", "a?b=c&d"},
                 {"options go nowhere", "\\a\\b?b=c", "a/b"},
                 {"header injection", "/a HTTP/1.1\r\nX: y\x7F", "a%20HTTP/1.1%0D%0AX:%20y%7F"},
                 {"other bytes", "/\xC3\xA4%20", "\xC3\xA4%20"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        Server server({length(0), head("Content-Length: 0\r\nAllow: GET, PUT\r\n")});
        const std::string place = server.url();
        {
            const char* const slashes = c.url[0] == '\\' ? "\\\\" : "//";
            Adapter adapter(kxString(slashes + ("me:pw@" + place) + c.url));
            EXPECT_EQ(adapter.getUrl().userName, "me:pw");
            adapter.setUserAgent("mine\r\nX: y");
            EXPECT_EQ(adapter.length(), 0U);
            EXPECT_TRUE(adapter.options()) << "on the same connection";
            EXPECT_TRUE(adapter.getReply().facts().methods.has(KX_HTTP_PUT));
        }
        const std::string tail = " HTTP/1.1\r\nUser-Agent:mine  X: y\r\nHost:" + place + "\r\n";
        EXPECT_EQ(server.requests(), "GET http://" + place + "/" + c.path + tail +
                                         "Proxy-Connection:Keep-Alive\r\n\r\nOPTIONS http://" + place + tail +
                                         "\r\n");
    }
}

TEST(kxSerializeAdapterHttp, TellsWhyItCouldNotOpen)
{
    const std::string closed = kxTestSocket::listener().url("");
    const std::string invalid = "Host name in URL is not valid",
                      socket = "kxSocket error: ", refused = socket + "Connection was refused (";
    const struct {
        const char* why;
        std::string url, error;
    } cases[] = {
        {"nobody listens", closed, refused + "127.0.0.1)"},
        {"proxy gone", "a/?proxy=" + closed, refused + "a)"},
        {"proxy in any spelling", "a:/?proxy=HTTP:\\\\" + closed + "\\", refused + "a)"},
        {"proxy without a port", "a/?proxy=127.0.0.1:99999", "Port of the proxy is not valid"},
        {"no name", "a#b/?proxy=127.0.0.1:1", invalid},
        {"not ours", closed + "?nic=192.0.2.77", socket + "Cannot assign requested address (127.0.0.1)"},
        {"unknown", "no.host.invalid", invalid},
        {"neither", "no.host.invalid/?proxy=no.proxy.invalid", invalid + " and proxy is not valid"},
        {"no host", "/a?proxy=127.0.0.1:1", invalid},
        {"another line", "a\r\nX: y/?proxy=127.0.0.1:1", invalid},
        {"no port", "127.0.0.1:65536", invalid}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        kxString error;
        Adapter adapter(kxString(c.url), &error);
        EXPECT_EQ(adapter.length(), 0U);
        EXPECT_TRUE(adapter.hasError());
        EXPECT_EQ(adapter.getError(), c.error);
        EXPECT_EQ(error, "Failed to open HTTP url '" + c.url + "'");
    }
    const kxTestSocket full = kxTestSocket::listener(0);
    const kxTestSocket first = kxTestSocket::connectedTo(full.port());  // takes the only place
    Adapter adapter({});
    EXPECT_TRUE(adapter.hasError()) << "there is no connection";
    adapter.setTimeout(0.2);
    EXPECT_FALSE(adapter.open(kxString(full.url(""))));
    EXPECT_EQ(adapter.getError(), "kxSocket error: Connection timed out (127.0.0.1)");
}

TEST(kxSerializeAdapterHttp, AsksAgainOnAConnectionThatIsFitForIt)
{
    Server once({length(1) + "a", head("Content-Length: 1\r\nETag: x\r\n") + "b"});
    Adapter adapter(kxString(once.url("/x")));
    EXPECT_TRUE(adapter.ensureData(1) && adapter.flush() == 0) << "which loses nothing";
    EXPECT_EQ(readAll(adapter), "a");
    EXPECT_TRUE(adapter.get() && adapter.isActive());
    EXPECT_EQ(adapter.getReply().headerValue("etag"), "x");
    EXPECT_EQ(readAll(adapter), "b");

    kxTestSocket listener = kxTestSocket::listener();  // a connection for each reply
    Adapter other(kxString(listener.url("")));
    listener.accept();  // and one that is closed before anybody asks
    std::thread server([&] {
        for (const std::string& reply :
             {length(9) + "left", length(1) + "c", head("Connection: close\r\n") + "d"}) {
            kxTestSocket peer = listener.accept();
            peer.receive();
            peer.send(reply);
            if (reply.ends_with("c")) peer.receive();
        }
    });
    EXPECT_EQ(other.readChar(), 'l');
    other.pushBack('x');
    EXPECT_TRUE(other.get()) << "and what is left of the reply before is gone";
    EXPECT_EQ(readAll(other), "c");
    EXPECT_TRUE(other.get()) << "though the server closes when the request comes";
    EXPECT_EQ(readAll(other), "d");
    EXPECT_FALSE(other.isActive());
    server.join();
}

TEST(kxSerializeAdapterHttp, ReadsWhatCameBeforeAReset)
{
    const struct {
        const char* why;
        std::string reply, body;
        bool isAsked;  // before the reset
        const char* error = kLost;
    } cases[] = {{"the request cannot be sent", length(5) + "hello", "hello", false, kEnd},
                 {"nor is the reply whole", head("") + "half of it", "half of it", false},
                 {"somebody has looked", head("") + "half of it", "half of it", true}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        const kxMessageRecorder recorder;
        kxTestSocket listener = kxTestSocket::listener();
        Adapter adapter(kxString(listener.url("")));
        kxTestSocket peer = listener.accept();
        peer.send(c.reply);
        EXPECT_EQ(c.isAsked ? adapter.length() : 0, c.isAsked ? c.body.size() : 0);
        peer.reset();
        EXPECT_FALSE(c.isAsked && adapter.isActive());
        EXPECT_EQ(readAll(adapter), c.body);
        EXPECT_EQ(adapter.getError(), c.error);
    }
}

TEST(kxSerializeAdapterHttp, KeepsWhatWasPushedBackAsLongAsItsResource)
{
    const Server first({length(5) + "h"});
    const Server second({length(1) + "b"});
    Adapter adapter(kxString(first.url()));
    adapter.setTimeout(2);
    adapter.pushBack('a');
    EXPECT_TRUE(adapter.ensureData(2)) << "the request loses nothing";
    EXPECT_TRUE(adapter.length() == 2 && adapter.ensureData(1) && adapter.isActive())
        << "nor is waited for more";
    EXPECT_TRUE(adapter.open(kxString(second.url())));
    EXPECT_EQ(readAll(adapter), "b");
}

TEST(kxSerializeAdapterHttp, SendsNoFurtherThanAnEarlyReplyOrTheTimeout)
{
    const struct {
        const char* why;
        std::string reply;
        bool pumpsItself = true;
        double timeoutSeconds = 20;
    } cases[] = {{"a reply", length(5) + "large"},
                 {"another thread takes it in", length(5) + "large", false},
                 {"silence", "", true, 0.2}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        const kxMessageRecorder recorder;
        kxTestSocket listener = kxTestSocket::listener();
        // Each blank is sent as three bytes, of which only some go out.
        Adapter adapter(kxString(listener.url("") + "/" + std::string(65000, ' ')));
        adapter.setUserAgent(kxString(std::string(65000, 'x')));
        listener.narrowClient();
        adapter.setTimeout(c.timeoutSeconds);
        adapter.setPumping(c.pumpsItself);
        kxTestSocket peer = listener.accept();
        std::atomic<bool> isOver{c.pumpsItself};
        std::thread server([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(100));  // until the request stands still
            peer.send(c.reply);
            while (!isOver) adapter.pump(50);
        });
        const double start = kxClock::seconds();
        EXPECT_EQ(adapter.get(), !c.reply.empty());
        EXPECT_LT(kxClock::seconds() - start, 10);
        isOver = true;
        server.join();
        EXPECT_EQ(readAll(adapter), c.reply.empty() ? "" : "large");
        EXPECT_FALSE(adapter.isActive()) << "it serves no other request";
    }
}

TEST(kxSerializeAdapterHttp, TranslatesWhatGoesWrong)
{
    const kxMessageRecorder recorder;
    const kxMarkingTranslator marking;
    for (const auto& [reply, error] :
         {std::pair("SSH\r\n", "<Malformed message received>"),
          {"HTTP/1.1 200 OK\r\nA: b\r\n", "<Out Of data at (3,1)>"},
          {"HTTP/1.1 200 OK\r\nContent-Length: 1\r\n\r\n", "<Message body is incomplete>"}}) {
        const Server server({reply}, kClose);
        Adapter adapter(kxString(server.url()));
        readAll(adapter);
        EXPECT_EQ(adapter.getError(), error);
    }
}

TEST(kxSerializeAdapterHttp, WaitsAsLongAsBytesCome)
{
    kxTestSocket listener = kxTestSocket::listener();
    Adapter adapter(kxString(listener.url("")));
    adapter.setTimeout(1.2);
    kxTestSocket peer = listener.accept();
    peer.send(head("Transfer-Encoding: chunked\r\n"));
    std::thread server([&] {
        for (const char* const piece : {"1", ";", "a", "\n", "x"}) {
            std::this_thread::sleep_for(std::chrono::milliseconds(300));
            peer.send(piece);
        }
    });
    EXPECT_EQ(adapter.readChar(), 'x');
    server.join();
}

TEST(kxSerializeAdapterHttp, LeavesTheConnectionToAThreadThatPumps)
{
    const std::string body = kxTestPattern(5000000);
    const Server server({length(body.size()) + body});
    Adapter adapter(kxString(server.url("/x")));
    adapter.setPumping(false);
    const double start = kxClock::seconds();
    EXPECT_EQ(adapter.length(), 0U);
    EXPECT_GE(kxClock::seconds() - start, 2.9) << "nobody pumps";
    EXPECT_LT(kxClock::seconds() - start, 10);
    EXPECT_FALSE(adapter.hasError());
    std::atomic<bool> isOver{false};
    std::thread pumping([&] {
        while (!isOver) adapter.pump(50);
    });
    EXPECT_TRUE(adapter.waitForReply());
    EXPECT_TRUE(readAll(adapter) == body);
    isOver = true;
    pumping.join();
}
