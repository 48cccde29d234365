#include "kxbase/protocol/kxHttpBody.h"

#include "kxbase/protocol/kxHttpMessageParser.h"
#include "support/kxTest.h"

namespace {

const std::string kChunked = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";

const std::uint8_t* bytesOf(const std::string& text)
{
    return reinterpret_cast<const std::uint8_t*>(text.data());
}

kxHttpMessage headOf(const std::string& text)
{
    kxHttpMessageParser parser;
    parser.feed(bytesOf(text), text.size());
    EXPECT_EQ(parser.state(), KX_HTTP_COMPLETE) << text;
    return parser.message();
}

// The body, then what became of it; in pieces of at most so many bytes with as much room, or less.
std::string decoded(const kxHttpMessage& head, const std::string& input, std::size_t most)
{
    kxTestRandom random(5);
    kxHttpBody body;
    body.start(head, "GET");
    std::string output;
    std::size_t done = 0;
    while (done != input.size() && !body.isComplete() && !body.hasFailed()) {
        std::string room(1 + random() % most, '\0');
        const std::size_t count = std::min<std::size_t>(1 + random() % most, input.size() - done);
        const kxHttpBody::Progress progress = body.decode(
            bytesOf(input) + done, count, reinterpret_cast<std::uint8_t*>(room.data()), room.size());
        done += progress.taken;
        output.append(room, 0, progress.produced);
    }
    const std::string rest = "|" + input.substr(done);
    if (body.isComplete()) return output + rest;
    body.endOfData();
    return output + (body.isComplete() ? "|" : "!") + body.errorText();
}

}  // namespace

TEST(kxHttpBody, FindsTheFraming)
{
    const std::string ok = "HTTP/1.1 200 OK\r\n";
    const std::string length = "Content-Length: 5\r\n";
    const std::string coded = ok + length + "Transfer-Encoding: ";
    const struct {
        const char* why;
        std::string head, method;
        kxHttpFraming expected;
    } cases[] = {
        {"a length", "HTTP/1.1 404 X\r\n" + length, "GET", KX_HTTP_BODY_LENGTH},
        {"no length", ok, "GET", KX_HTTP_BODY_UNTIL_CLOSE},
        {"chunked wins", coded + "chunked\r\n", "GET", KX_HTTP_BODY_CHUNKED},
        {"chunked must be last", coded + "chunked, x\r\n", "GET", KX_HTTP_BODY_UNTIL_CLOSE},
        {"identity is none", coded + "identity\r\n", "GET", KX_HTTP_BODY_LENGTH},
        {"not to HEAD", ok + length, "HEAD", KX_HTTP_BODY_NONE},
        {"no content", "HTTP/1.1 204 X\r\nTransfer-Encoding: chunked\r\n", "GET", KX_HTTP_BODY_NONE},
        {"not modified", "HTTP/1.1 304 X\r\n" + length, "GET", KX_HTTP_BODY_NONE},
        {"RTSP needs a length", "RTSP/1.0 200 OK\r\n", "DESCRIBE", KX_HTTP_BODY_NONE},
        {"requests as well", "PUT / HTTP/1.1\r\n", "", KX_HTTP_BODY_NONE},
        {"and have one", "PUT / HTTP/1.1\r\n" + length, "HEAD", KX_HTTP_BODY_LENGTH},
    };
    kxExpectRows(cases,
                 [](const auto& c) { return kxHttpBody::framingOf(headOf(c.head + "\r\n"), c.method); });
}

TEST(kxHttpBody, DecodesInWhateverPieces)
{
    const std::string incomplete = "!Message body is incomplete";
    const std::string malformed = "!Malformed message received";
    const std::string length = "HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\n";
    const std::string toClose = "HTTP/1.1 200 OK\r\n\r\n";
    const struct {
        const char* why;
        std::string head, input, expected;
    } cases[] = {
        {"length", length, "hellonext", "hello|next"},
        {"closed early", length, "hell", "hell" + incomplete},
        {"until close", toClose, "hello", "hello|"},
        {"chunks", kChunked, "2\r\nhe\r\n3 \t;a=\"b\"\r\nllo\r\n0\r\n\r\nnext", "hello|next"},
        {"line feeds alone", kChunked, "00005\nhello\n0;x\nA: b\n\nnext", "hello|next"},
        {"capitals and trailers", kChunked, "A\r\n0123456789\r\n0\r\nA: b\r\n c\r\n\r\n", "0123456789|"},
        {"the longest line", kChunked, "1;" + std::string(1022, 'x') + "\na\n0\n\n", "a|"},
        {"closed in the size", kChunked, "5", incomplete},
        {"closed in a chunk", kChunked, "5\r\nhell", "hell" + incomplete},
        {"no digit", kChunked, ";x\r\n", malformed},
        {"a return alone", kChunked, "5\rx", malformed},
        {"too big a size", kChunked, "11111111111111111\r\n", malformed},
        {"data longer than said", kChunked, "2\r\nhel", "he" + malformed},
        {"a return in its place", kChunked, "2\r\nhe\rx", "he" + malformed},
        {"a last line that is none", kChunked, "0\r\n\rx", malformed},
        {"an endless extension", kChunked, "1;" + std::string(1023, 'x') + "\na", malformed},
        {"endless zeros", kChunked, std::string(5000, '0'), malformed},
        {"an endless trailer", kChunked, "0\r\n" + std::string(70000, 'x'), malformed},
    };
    for (const std::size_t most : {1U, 7U, 100000U})
        kxExpectRows(cases, [=](const auto& c) { return decoded(headOf(c.head), c.input, most); });
}

TEST(kxHttpBody, LetsPlainRunsBeReadByTheCaller)
{
    kxHttpBody body;
    body.start(headOf(kChunked), "GET");
    std::string text = "4\r\nabcdefg\r\n";
    auto* const bytes = reinterpret_cast<std::uint8_t*>(text.data());
    EXPECT_EQ(body.plainRun(), 0U);
    EXPECT_EQ(body.decode(bytes, text.size(), nullptr, 0).taken, 3U);
    EXPECT_EQ(body.plainRun(), 4U);
    body.passPlain(1);
    EXPECT_EQ(body.decode(bytes + 4, 2, bytes, 9).produced, 2U);
    EXPECT_EQ(text.substr(0, 2), "bc");
    body.passPlain(1);
    EXPECT_EQ(body.plainRun(), 0U);
    EXPECT_FALSE(body.isComplete());

    body.start(headOf("HTTP/1.1 200 OK\r\nContent-Length: 18446744073709551615\r\n\r\n"), "GET");
    body.passPlain(18446744073709551614U);
    EXPECT_EQ(body.plainRun(), 1U);
    body.passPlain(1);
    EXPECT_TRUE(body.isComplete());
}
