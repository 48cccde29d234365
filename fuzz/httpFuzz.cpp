// Messages: a head means the same in whatever pieces it comes, and so does the body behind it.

#include "kxbase/kxprotocol.h"
#include "kxbase/message/kxMessageManager.h"
#include "kxbase/serialize/kxSerializeAdapterQueue.h"

#include <algorithm>
#include <cstdlib>
#include <string>
#include <utility>

namespace {

void require(bool condition)
{
    if (!condition) std::abort();
}

// What the parser reports is part of what it finds.
class Reports : private kxMessageReceiverInterface {
public:
    Reports()
    {
        kxMessageManager::instance().setLevel(KX_MESSAGE_INTERNAL_WARNING);
        kxMessageManager::instance().addReceiver(*this);
    }
    std::string take() { return std::exchange(texts_, std::string()); }

private:
    void receive(const kxString&, std::uint32_t, const kxString& text) override
    {
        texts_.append(text.view()).append("\n");
    }
    std::string texts_;
};

Reports& reports()
{
    static Reports reports;
    return reports;
}

std::string shown(const kxHttpMessage& head)
{
    std::string text(head.reason());
    text.append(head.method()).append(head.requestUri()).append(head.protocol());
    for (std::uint32_t index = 0; index < head.headerCount(); ++index) {
        const kxHttpHeader header = head.header(index);
        require(head.hasHeader(header.name));
        text.append(header.name).append(header.isUnderstood ? "=" : "?").append(header.value).append("\n");
    }
    return text;
}

// A piece of the input; its sizes follow from what lies in it.
std::size_t pieceAt(const std::uint8_t* data, std::size_t size)
{
    return std::min<std::size_t>(size, 1U + data[0] % 50U);
}

void readHeadInPieces(const kxHttpMessageParser& whole, const std::uint8_t* data, std::size_t taken)
{
    const std::string expected = reports().take();
    kxHttpMessageParser parser;
    for (std::size_t done = 0; done != taken;) {
        const std::size_t count = pieceAt(data + done, taken - done);
        require(parser.state() == KX_HTTP_READING && parser.feed(data + done, count) == count);
        done += count;
    }
    require(parser.state() == whole.state() && shown(parser.message()) == shown(whole.message()));
    require(reports().take() == expected);
}

void readHeadFromAdapter(const kxHttpMessageParser& whole, const std::uint8_t* data, std::size_t size,
                         std::size_t taken)
{
    const auto adapter = kxMakeRef<kxSerializeAdapterQueue>(KX_QUEUE_FIFO, 1024U);
    adapter->write(data, static_cast<std::uint32_t>(size));
    kxHttpMessageParser parser;
    require(parser.read(*adapter) == whole.state() && adapter->length() == size - taken);
    parser.endOfData();
    require(parser.errorText().isEmpty() == (parser.state() == KX_HTTP_COMPLETE));
}

struct Decoded {
    std::string text;
    std::size_t taken = 0;
    bool isComplete = false;
    bool hasFailed = false;

    bool operator==(const Decoded&) const = default;
};

Decoded decode(const kxHttpMessage& head, const std::uint8_t* data, std::size_t size, bool inPieces)
{
    kxHttpBody body;
    body.start(head, "GET");
    Decoded result;
    while (result.taken != size && !body.isComplete() && !body.hasFailed()) {
        const std::uint8_t* const input = data + result.taken;
        std::string room(inPieces ? 1U + input[0] % 5U : size, '\0');
        const std::size_t count = inPieces ? pieceAt(input, size - result.taken) : size - result.taken;
        const auto progress =
            body.decode(input, count, reinterpret_cast<std::uint8_t*>(room.data()), room.size());
        require(progress.taken <= count && progress.produced <= progress.taken && progress.taken != 0);
        result.taken += progress.taken;
        result.text.append(room, 0, progress.produced);
    }
    result.isComplete = body.isComplete();
    result.hasFailed = body.hasFailed();
    require(body.hasFailed() == (*body.errorText() != '\0'));
    return result;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    reports().take();
    kxHttpMessageParser parser;
    const std::size_t taken = parser.feed(data, size);
    require(taken <= size);
    readHeadInPieces(parser, data, taken);
    readHeadFromAdapter(parser, data, size, taken);
    if (parser.state() != KX_HTTP_COMPLETE) return 0;
    const Decoded whole = decode(parser.message(), data + taken, size - taken, false);
    require(decode(parser.message(), data + taken, size - taken, true) == whole);
    return 0;
}
