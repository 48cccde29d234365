#include "kxbase/protocol/kxHttpMessageParser.h"

#include "kxbase/protocol/kxHttpStatus.h"
#include "support/kxTest.h"

namespace {

using namespace std::string_literals;
using Texts = std::vector<std::string>;

constexpr std::uint32_t kAllMessages = KX_MESSAGE_INTERNAL_WARNING;
const std::string kOk = "HTTP/1.1 200 OK\r\n";

// Feeds pieces of at most so many bytes, random ones with a source of them; what the parser leaves is left.
std::size_t feedPieces(kxHttpMessageParser& parser, const std::string& text, std::size_t most,
                       kxTestRandom* random = nullptr)
{
    std::size_t done = 0;
    while (done != text.size()) {
        const std::size_t size = random != nullptr ? 1 + (*random)() % most : most;
        const std::size_t count = std::min(size, text.size() - done);
        const std::size_t taken = parser.feed(reinterpret_cast<const std::uint8_t*>(&text[done]), count);
        done += taken;
        if (taken != count) break;
    }
    return done;
}

// All that can be seen of a message.
std::string shown(const kxHttpMessage& head)
{
    const kxHttpFacts& facts = head.facts();
    std::string text =
        head.isReply() ? "" : kxString::format("%s %s ", head.method(), head.requestUri()).text();
    text += kxString::format("%s/%u.%u", head.protocol(), head.majorVersion(), head.minorVersion()).view();
    if (head.isReply()) text += kxString::format(" %d %s", head.statusCode(), head.reason()).view();
    if (facts.contentLength) text += ", " + std::to_string(*facts.contentLength) + " bytes";
    const std::pair<bool, const char*> flags[] = {{facts.isChunked, "chunked"},
                                                  {head.keepsAlive(), "keeps alive"},
                                                  {facts.asksToClose, "asks to close"},
                                                  {facts.forbidsCache, "no cache"},
                                                  {facts.mustRevalidate, "revalidates"},
                                                  {facts.methods.has(KX_HTTP_GET), "GET"},
                                                  {facts.methods.has(KX_HTTP_PUT), "PUT"},
                                                  {facts.methods.has(KX_HTTP_POST), "POST"}};
    for (const auto& [isSet, name] : flags)
        if (isSet) text.append(", ").append(name);
    for (std::uint32_t index = 0; index < head.headerCount(); ++index) {
        const kxHttpHeader header = head.header(index);
        text.append(header.isUnderstood ? "\n" : "\n?").append(header.name).append("=").append(header.value);
    }
    return text;
}

// What the parser took and made of a text, and its reports.
std::pair<std::string, Texts> outcomeOf(const std::string& text, std::size_t most,
                                        kxTestRandom* random = nullptr)
{
    kxMessageRecorder recorder(kAllMessages);
    kxHttpMessageParser parser;
    const std::size_t taken = feedPieces(parser, text, most, random);
    std::string made =
        std::to_string(parser.state()) + " " + std::to_string(taken) + " " + parser.errorText().text();
    if (parser.state() == KX_HTTP_COMPLETE) made += shown(parser.message());
    return {made, recorder.texts()};
}

// The reports about a head, which are the same in whatever pieces it comes, and so is all else.
Texts reportsOf(const std::string& text)
{
    static kxTestRandom random(9);
    const auto whole = outcomeOf(text, text.size());
    EXPECT_EQ(outcomeOf(text, 1), whole);
    EXPECT_EQ(outcomeOf(text, 40, &random), whole);
    return whole.second;
}

kxHttpMessage parsed(const std::string& text)
{
    kxHttpMessageParser parser;
    feedPieces(parser, text, text.size());
    EXPECT_EQ(parser.state(), KX_HTTP_COMPLETE) << parser.errorText();
    return parser.message();
}

}  // namespace

TEST(kxHttpMessageParser, ReadsRequestsAndReplies)
{
    const kxTestRow rows[] = {
        {"a reply, its headers folded",
         "\r\nHTTP/1.1 200 All is well\r\nServer: Apache/2.4 (Debian (x)) mod/1\r\nDATE: Sun\n"
         "Content-Length:  12 \r\nX-Long: a\r\n\t b\r\n  c\r\nx-none:\r\n",
         "HTTP/1.1 200 All is well, 12 bytes, keeps alive\nServer=Apache/2.4 (Debian (x)) mod/1\nDATE=Sun\n"
         "Content-Length=12\nX-Long=a  \t b    c\nx-none="},
        {"a request", "GET /a%20b?c HTTP/1.0\nHost: x\n", "GET /a%20b?c HTTP/1.0\nHost=x"},
        {"a request of RTSP", "DESCRIBE rtsp://h:554/v RTSP/1.0\r\n",
         "DESCRIBE rtsp://h:554/v RTSP/1.0, keeps alive"},
        {"a reply of RTSP", "RTSP/1.0 454 Not Found\r\nPublic: OPTIONS, PLAY\r\n",
         "RTSP/1.0 454 Not Found, keeps alive\n?Public=OPTIONS, PLAY"},
        {"facts from lists",
         kOk + "Cache-Control: No-Cache, must-revalidate\r\nConnection: , x,, Close ,\r\n",
         "HTTP/1.1 200 OK, asks to close, no cache, revalidates\n"
         "Cache-Control=No-Cache, must-revalidate\nConnection=, x,, Close ,"},
        {"methods", kOk + "Allow: GET, PUT,\r\n", "HTTP/1.1 200 OK, keeps alive, GET, PUT\nAllow=GET, PUT,"},
        {"a coding", kOk + "Transfer-Encoding: ,gzip;q=\"1,2\", Chunked,\r\n",
         "HTTP/1.1 200 OK, chunked, keeps alive\nTransfer-Encoding=,gzip;q=\"1,2\", Chunked,"},
        {"the same length twice", kOk + "Content-Length: ,5,, 5 ,\r\nCONTENT-LENGTH: 5\r\n",
         "HTTP/1.1 200 OK, 5 bytes, keeps alive\nContent-Length=,5,, 5 ,\nCONTENT-LENGTH=5"},
        {"an older server", "HTTP/1.0 200\r\n", "HTTP/1.0 200 "},
        {"that goes on", "HTTP/1.0 200 \r\nConnection: keep-alive\r\n",
         "HTTP/1.0 200 , keeps alive\nConnection=keep-alive"},
    };
    kxExpectRows(rows, [](const kxTestRow& row) { return shown(parsed(row.text + "\r\n")); });
    EXPECT_EQ(reportsOf(rows[0].text + "\r\n"), Texts{});

    kxHttpMessageParser parser;
    EXPECT_EQ(feedPieces(parser, rows[0].text + "\r\nbody", 1000), rows[0].text.size() + 2);
    const kxHttpMessage head = parser.message();
    parser.reset();
    EXPECT_EQ(head.headerValue("date"), "Sun");
    EXPECT_TRUE(head.hasHeader("X-None") && !head.hasHeader("X-Non"));
    EXPECT_EQ(head.headerValue("absent", "else"), "else");
    EXPECT_EQ(kxHttpStatusText(454) + ", "s + kxHttpStatusText(409), "Session Not Found, Unknown error");
}

TEST(kxHttpMessageParser, ReportsFaultsOfHeadersAndGoesOn)
{
    const struct {
        const char *line, *fault;
        int column;
    } cases[] = {
        {"Cache-Control:", "Missing argument for cache control", 15},
        {"Cache-Control: max-age=1", "Missing Cache Directive", 16},
        {"Cache-Control: no-cache, x", "Missing Directive in CacheDirectiveList", 26},
        {"Cache-Control: no-cache=x", "Missing =\" in no-cache directive", 24},
        {"Cache-Control: no-cache=\"a,=\"", "Missing 'FieldName' in FieldNameList", 28},
        {"Cache-Control: no-cache=\"a , b", "Unbalanced \" in string", 25},
        {"Connection: ,", "Missing Connection Type in Connection:", 14},
        {"Connection: close x", "Missing CRLF in Connection:", 19},
        {"Via: 1.1 x", "Via not implemented", 6},
        {"Server:", "Missing Product or Comment in Server:", 8},
        {"Server: a/", "Missing product version in Product/Version", 11},
        {"Server: a (b (c)", "Unbalanced () in comment", 11},
        {"Server: a ]", "Missing CRLF in Server:", 11},
        {"Retry-After: 3", "Retry-After not implemented", 14},
        {"Public: GET, PLAY", "Missing 'Method' in MethodList", 14},
        {"Public: GET PUT", "Missing CRLF in Public:", 13},
        {"Proxy-Authenticate: x", "Via not implemented", 21},
        {"Location: /x", "Via not implemented", 11},
        {"Allow: GET x", "Missing CRLF in Allow:", 12},
        {"Content-Base: /x", "Missing AbsoluteURI in Content-Base", 15},
        {"Content-Base: http", "Missing ':' in absolute URI", 19},
        {"Content-Base: http://%x", "Missing HEX char in escape", 23},
        {"Content-Base: http://%4", "Missing second HEX char in escape", 24},
        {"Content-Base: http://x y", "Missing CRLF in Content-Base:", 24},
        {"Content-Encoding: gzip", "Content-Encoding not implemented", 19},
        {"Content-Language: de", "Content-Language not implemented", 19},
        {"Content-Location: /", "Content-Location not implemented", 19},
        {"Content-Type:", "Missing AbsoluteURI in Content-Base", 14},
        {"Content-Type: text", "Missing '/' in MediaType", 19},
        {"Content-Type: text/", "Missing subtype in MediaType", 20},
        {"Content-Type: text/x;", "Missing parameter in MediaType", 22},
        {"Content-Type: text/x; a", "Missing '=' in Attribute", 24},
        {"Content-Type: text/x; a=", "Missing value in Attribute=", 25},
        {"Content-Type: text/x; a=\"\\\"", "Unbalanced \" in string", 25},
        {"Content-Type: text/x; a=\"b\" c", "Missing CRLF in Content-Type:", 29},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.line);
        const std::string line = c.line;
        const std::string text = kOk + line + "\r\nContent-Length: 3\r\n\r\n";
        EXPECT_EQ(reportsOf(text),
                  Texts{"Parse error '"s + c.fault + "' at (2," + std::to_string(c.column) + ")"});
        const std::size_t colon = line.find(':'),
                          value = std::min(line.find_first_not_of(": ", colon), line.size());
        EXPECT_EQ(shown(parsed(text)), "HTTP/1.1 200 OK, 3 bytes, keeps alive\n?" + line.substr(0, colon) +
                                           "=" + line.substr(value) + "\nContent-Length=3");
    }
}

TEST(kxHttpMessageParser, SkipsLinesThatAreNoHeaders)
{
    const struct {
        std::string lines;
        const char* report;
    } cases[] = {
        {"X: \xC3\xA4\0b"s, "Parse error 'Missing CRLF in Extension:' at (2,5)"},
        {"Connection: close\x7F", "Parse error 'Missing CRLF in Connection:' at (2,18)"},
        {"X: 12345678\rContent-Length: 4", "Parse error 'Missing CRLF in Extension:' at (2,12)"},
        {"Date: a\r\n b\r\n  \1c", "Data is discarded at (4,3)"},
        {"no header", "Data is discarded at (2,1)"},
        {"X-Length : 4", "Data is discarded at (2,1)"},
        {" Content-Length: 4", "Data is discarded at (2,1)"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.lines);
        const std::string text = kOk + c.lines + "\r\nA: b\r\n\r\n";
        EXPECT_EQ(reportsOf(text), Texts{c.report});
        EXPECT_EQ(parsed(text).headerCount(), 1U);
        EXPECT_EQ(parsed(text).header(0).value, "b");
    }
    EXPECT_EQ(reportsOf(kOk + "Server: a\r\n\t/\r\n\r\n"),
              Texts{"Parse error 'Missing CRLF in Server:' at (3,2)"});
}

TEST(kxHttpMessageParser, GivesUpWhereNoSenseCanBeMade)
{
    const std::string length = kOk + "Content-Length:";
    const std::string coding = kOk + "Transfer-Encoding: ";
    const struct {
        std::string text, report;
    } cases[] = {
        {"\x16\x03\x01\n"s, "Parse error 'Missing space' at (1,1)"},
        {"\n\r\nGET\r\n", "Parse error 'Missing space' at (3,4)"},
        {"GET  HTTP/1.1\r\n", "Parse error 'Missing Request URI' at (1,5)"},
        {"GET /%4x HTTP/1.1\r\n", "Parse error 'Missing second HEX char in escape' at (1,8)"},
        {"GET x HTTP/1.1\r\n", "Parse error 'Missing ':' in absolute URI' at (1,6)"},
        {"GET /\r\n", "Parse error 'Missing space' at (1,6)"},
        {"GET / http/1.1\r\n", "Parse error 'Missing Version' at (1,7)"},
        {"GET / HTTP/1.1 \r\n", "Parse error 'Missing CRLF' at (1,15)"},
        {"HTTP/1 200 OK\r\n", "Parse error 'Missing Version' at (1,7)"},
        {"HTTP/1.1\r\n", "Parse error 'Missing space' at (1,9)"},
        {"HTTP/1.1 20\r\n", "Parse error 'Malformed message received' at (1,10)"},
        {"HTTP/1.1 200OK\r\n", "Parse error 'Missing space' at (1,13)"},
        {"HTTP/1.1 200 O\0K\r\n"s, "Parse error 'Missing CRLF' at (1,15)"},
        {length + "\r\n\r\n", "Parse error 'Content-Length:? is missing' at (2,16)"},
        {length + " -1\r\n\r\n", "Parse error 'Content-Length:? is missing' at (2,17)"},
        {length + "18446744073709551616\r\n\r\n", "Parse error 'Content-Length:? is missing' at (2,16)"},
        {length + "1 1\r\n\r\n", "Parse error 'Missing CRLF in Content-Length:' at (2,18)"},
        {length + "1\0\r\n\r\n"s, "Parse error 'Missing CRLF in Content-Length:' at (2,17)"},
        {kOk + "Content-Length : 1\r\n\r\n", "Data is discarded at (2,1)"},
        {length + "1,2\r\n\r\n", "Parse error 'Malformed message received' at (2,18)"},
        {length + "1\r\ncontent-length:2\r\n\r\n", "Parse error 'Malformed message received' at (3,16)"},
        {coding + "chunked x\r\n\r\n", "Parse error 'Missing CRLF in Extension:' at (2,28)"},
        {coding + "\"chunked\"\r\n\r\n", "Parse error 'Missing CRLF in Extension:' at (2,20)"},
        {coding + "chunked;\r\n\r\n", "Parse error 'Missing parameter in MediaType' at (2,28)"},
        {coding + "chu\0nked\r\n\r\n"s, "Parse error 'Missing CRLF in Extension:' at (2,23)"},
        {std::string(70000, 'x'), "Generic Error at (1,65536)"},
        {kOk + kxTestRepeated("a: b\r\n c\r\n", 10000), "Generic Error at (1001,1)"},
        {kxTestRepeated("\r\n", 1001), "Generic Error at (1001,1)"},
        {kOk + kxTestRepeated(std::string(99, 'x') + "\n", 900), "Generic Error at (657,19)"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text.substr(0, 60));
        EXPECT_EQ(reportsOf(c.text).back(), c.report);
        kxHttpMessageParser parser;
        feedPieces(parser, c.text, c.text.size());
        EXPECT_EQ(parser.errorText(), "Malformed message received");
        EXPECT_EQ(feedPieces(parser, kOk + "\r\n", 100), 0U);
        parser.reset();
        feedPieces(parser, kOk + "\r\n", 100);
        EXPECT_EQ(parser.state(), KX_HTTP_COMPLETE);
    }
}

TEST(kxHttpMessageParser, TakesHeadsUpToItsLimits)
{
    EXPECT_EQ(parsed(kOk + kxTestRepeated("a:\n", 998) + "\n").headerCount(), 998U);
    const std::size_t rest = KX_HTTP_HEAD_MAX_BYTES - kOk.size() - 6;
    EXPECT_EQ(parsed(kOk + "a:" + std::string(rest, 'x') + "\r\n\r\n").header(0).value.size(), rest);
}

TEST(kxHttpMessageParser, SaysWhereItStoppedEarly)
{
    kxMessageRecorder recorder(kAllMessages);
    kxHttpMessageParser parser;
    parser.endOfData();
    EXPECT_EQ(parser.errorText(), "Out Of data at (1,1)");
    parser.reset();
    feedPieces(parser, kOk + "Serv", 100);
    parser.cancel();
    EXPECT_EQ(parser.errorText(), "User Exit at (2,5)");
    EXPECT_EQ(parser.state(), KX_HTTP_FAILED);
    EXPECT_EQ(recorder.texts(), (Texts{"Out Of data at (1,1)", "User Exit at (2,5)"}));
}

TEST(kxHttpMessageParser, LeavesTheBodyInTheAdapter)
{
    const auto adapter = kxTestInput(kOk + "A:");
    kxHttpMessageParser parser;
    EXPECT_EQ(parser.read(*adapter), KX_HTTP_READING);
    kxTestWrite(*adapter, " b\r\n\r\nbody");
    EXPECT_EQ(parser.read(*adapter), KX_HTTP_COMPLETE);
    EXPECT_EQ(kxTestTake(*adapter), "body");
    parser.reset();
    adapter->setError("gone");
    EXPECT_EQ(parser.read(*adapter), KX_HTTP_FAILED);
}
