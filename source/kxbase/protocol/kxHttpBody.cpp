#include "kxbase/protocol/kxHttpBody.h"

#include "kxbase/protocol/kxHttpCharacters.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace {

constexpr std::uint64_t kNoEnd = std::numeric_limits<std::uint64_t>::max();
constexpr int kNoContent = 204;
constexpr int kNotModified = 304;

enum ByteKind : std::uint8_t { DIGIT, SEMICOLON, BLANK, RETURN, FEED, OTHER };

ByteKind kindOf(char byte)
{
    switch (byte) {
    case ';':
        return SEMICOLON;
    case '\r':
        return RETURN;
    case '\n':
        return FEED;
    default:
        if (kxHttpIs(byte, KX_HTTP_HEX)) return DIGIT;
        return kxHttpIs(byte, KX_HTTP_BLANK) ? BLANK : OTHER;
    }
}

bool hasNoBody(const kxHttpMessage& head, std::string_view requestMethod)
{
    const int code = head.statusCode();
    return head.isReply() &&
           (requestMethod == "HEAD" || code / 100 == 1 || code == kNoContent || code == kNotModified);
}

}  // namespace

// clang-format off
const kxHttpBody::State kxHttpBody::kNextStates[STATE_COUNT][6] = {
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
            takeFraming(static_cast<char>(input[progress.taken++]));
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

void kxHttpBody::takeFraming(char byte) noexcept
{
    const bool isTrailer = state_ >= TRAILER_START;
    const std::uint32_t most = isTrailer ? KX_HTTP_TRAILER_MAX_BYTES : KX_HTTP_CHUNK_LINE_MAX_BYTES;
    if (++lineBytes_ > most && (isTrailer || byte != '\n')) return fail("Malformed message received");
    state_ = kNextStates[state_][kindOf(byte)];
    if (state_ == SIZE) addDigit(byte);
    if (state_ == FAILED) return fail("Malformed message received");
    if (state_ == RUN && runLength_ == 0) state_ = TRAILER_START;
    if (byte == '\n' && !isTrailer) lineBytes_ = 0;
}

// A size that does not fit is as good as no digit.
void kxHttpBody::addDigit(char digit) noexcept
{
    if (runLength_ > kNoEnd >> 4U) {
        state_ = FAILED;
        return;
    }
    const int value = digit <= '9' ? digit - '0' : kxHttpSmall(digit) - 'a' + 10;
    runLength_ = runLength_ << 4U | static_cast<std::uint64_t>(value);
}

void kxHttpBody::fail(const char* text) noexcept
{
    errorText_ = text;
    state_ = FAILED;
}
