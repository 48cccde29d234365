#include "kxbase/protocol/kxHttpBody.h"

#include "kxbase/protocol/kxHttpCharacters.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <utility>

namespace {

constexpr std::uint64_t kNoEnd = std::numeric_limits<std::uint64_t>::max();
constexpr int kNoContent = 204;
constexpr int kNotModified = 304;

enum ByteKind : std::uint8_t { DIGIT, SEMICOLON, BLANK, RETURN, FEED, OTHER };

constexpr auto kByteKinds = [] {
    std::array<ByteKind, 256> kinds{};
    kinds.fill(OTHER);
    for (std::size_t byte = 0; byte < kinds.size(); ++byte) {
        if (kxHttpIs(static_cast<char>(byte), KX_HTTP_HEX)) kinds[byte] = DIGIT;
        if (kxHttpIs(static_cast<char>(byte), KX_HTTP_BLANK)) kinds[byte] = BLANK;
    }
    kinds[';'] = SEMICOLON;
    kinds['\r'] = RETURN;
    kinds['\n'] = FEED;
    return kinds;
}();

// False when the size would not fit.
bool addDigit(std::uint8_t digit, std::uint64_t& size)
{
    if (size > kNoEnd >> 4U) return false;
    // Letters of either case have bit 6 set and count 9 more than their low four bits.
    size = size << 4U | ((digit & 0x0FU) + (digit >> 6U) * 9U);
    return true;
}

bool hasNoBody(const kxHttpMessage& head, std::string_view requestMethod)
{
    const int code = head.statusCode();
    return head.isReply() &&
           (requestMethod == "HEAD" || code / 100 == 1 || code == kNoContent || code == kNotModified);
}

}  // namespace

// clang-format off
const kxHttpBody::State kxHttpBody::kNextStates[kFramingStates][6] = {
    //                 DIGIT      SEMICOLON  BLANK      RETURN         FEED           OTHER
    /* SIZE_START */    {SIZE,      FAILED,    FAILED,    FAILED,        FAILED,        FAILED},
    /* SIZE */          {SIZE,      EXTENSION, SIZE_END,  LINE_END,      RUN,           FAILED},
    /* SIZE_END */      {FAILED,    EXTENSION, SIZE_END,  LINE_END,      RUN,           FAILED},
    /* EXTENSION */     {EXTENSION, EXTENSION, EXTENSION, EXTENSION,     RUN,           EXTENSION},
    /* LINE_END */      {FAILED,    FAILED,    FAILED,    FAILED,        RUN,           FAILED},
    /* DATA_END */      {FAILED,    FAILED,    FAILED,    DATA_END_FEED, SIZE_START,    FAILED},
    /* DATA_END_FEED */ {FAILED,    FAILED,    FAILED,    FAILED,        SIZE_START,    FAILED},
    /* TRAILER_START */ {TRAILER,   TRAILER,   TRAILER,   LAST_FEED,     COMPLETE,      TRAILER},
    /* TRAILER */       {TRAILER,   TRAILER,   TRAILER,   TRAILER,       TRAILER_START, TRAILER},
    /* LAST_FEED */     {FAILED,    FAILED,    FAILED,    FAILED,        COMPLETE,      FAILED},
};
// clang-format on

kxHttpFraming kxHttpBody::framingOf(const kxHttpMessage& head, std::string_view requestMethod) noexcept
{
    const kxHttpFacts& facts = head.facts();
    if (hasNoBody(head, requestMethod)) return KX_HTTP_BODY_NONE;
    if (facts.isChunked) return KX_HTTP_BODY_CHUNKED;
    if (facts.hasTransferCoding) return KX_HTTP_BODY_UNTIL_CLOSE;
    if (facts.contentLength.has_value()) return KX_HTTP_BODY_LENGTH;
    // RFC 2326 12.14: without a length there is no body.
    return head.isReply() && !head.isRtsp() ? KX_HTTP_BODY_UNTIL_CLOSE : KX_HTTP_BODY_NONE;
}

void kxHttpBody::start(const kxHttpMessage& head, std::string_view requestMethod) noexcept
{
    *this = kxHttpBody();
    framing_ = framingOf(head, requestMethod);
    if (framing_ == KX_HTTP_BODY_CHUNKED) {
        state_ = SIZE_START;
        return;
    }
    if (framing_ == KX_HTTP_BODY_LENGTH) runLength_ = *head.facts().contentLength;
    if (framing_ == KX_HTTP_BODY_UNTIL_CLOSE) runLength_ = kNoEnd;
    if (runLength_ != 0) state_ = RUN;
}

kxHttpBody::Progress kxHttpBody::decode(const std::uint8_t* input, std::size_t count, std::uint8_t* output,
                                        std::size_t room) noexcept
{
    Progress progress{0, 0};
    while (progress.taken != count && state_ <= RUN) {
        if (state_ != RUN) {
            progress.taken += takeFraming(input + progress.taken, count - progress.taken);
            continue;
        }
        const std::size_t most = std::min(count - progress.taken, room - progress.produced);
        const auto length = static_cast<std::size_t>(std::min<std::uint64_t>(runLength_, most));
        if (length == 0) break;
        std::memmove(output + progress.produced, input + progress.taken, length);
        progress.taken += length;
        progress.produced += length;
        passPlain(length);
    }
    return progress;
}

std::uint64_t kxHttpBody::plainRun() const noexcept
{
    return state_ == RUN ? runLength_ : 0;
}

void kxHttpBody::passPlain(std::uint64_t count) noexcept
{
    if (state_ != RUN || framing_ == KX_HTTP_BODY_UNTIL_CLOSE) return;
    runLength_ -= std::min(count, runLength_);
    if (runLength_ == 0) state_ = framing_ == KX_HTTP_BODY_CHUNKED ? DATA_END : COMPLETE;
}

void kxHttpBody::endOfData() noexcept
{
    if (state_ == COMPLETE || state_ == FAILED) return;
    if (framing_ == KX_HTTP_BODY_UNTIL_CLOSE)
        state_ = COMPLETE;
    else
        fail("Message body is incomplete");
}

// Works on copies, which stay in registers.
std::size_t kxHttpBody::takeFraming(const std::uint8_t* bytes, std::size_t count) noexcept
{
    State state = state_;
    std::uint64_t size = chunkSize_;
    std::uint32_t lineBytes = lineBytes_;
    std::size_t taken = 0;
    while (taken != count && state < kFramingStates) {
        const std::uint8_t byte = bytes[taken++];
        const bool isTrailer = state >= TRAILER_START;
        state = kNextStates[state][kByteKinds[byte]];
        if (state == SIZE && !addDigit(byte, size)) state = FAILED;
        if (state == RUN && size == 0) state = TRAILER_START;
        if (byte == '\n' && !isTrailer)
            lineBytes = 0;
        else if (++lineBytes > (isTrailer ? KX_HTTP_TRAILER_MAX_BYTES : KX_HTTP_CHUNK_LINE_MAX_BYTES))
            state = FAILED;
    }
    state_ = state;
    if (state == RUN) runLength_ = std::exchange(size, 0);
    chunkSize_ = size;
    lineBytes_ = lineBytes;
    if (state == FAILED) fail("Malformed message received");
    return taken;
}

void kxHttpBody::fail(const char* text) noexcept
{
    errorText_ = text;
    state_ = FAILED;
}
