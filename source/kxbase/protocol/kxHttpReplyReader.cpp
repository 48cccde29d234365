#include "kxbase/protocol/kxHttpReplyReader.h"

#include "kxbase/core/kxMessage.h"

namespace {

constexpr int kFirstFinalStatus = 200;

}  // namespace

void kxHttpReplyReader::start(kxHttpMethod requestMethod)
{
    parser_.reset();
    body_.drop(body_.length());
    errorText_ = {};
    requestMethod_ = requestMethod;
    hasHead_ = hasMore_ = false;
}

void kxHttpReplyReader::received(std::span<std::uint8_t> filled)
{
    std::span<const std::uint8_t> left = filled;
    while (!left.empty() && !hasHead_ && errorText_.isEmpty()) {
        left = left.subspan(parser_.feed(left.data(), left.size()));
        if (parser_.state() == KX_HTTP_FAILED) failHead();
        if (parser_.state() == KX_HTTP_COMPLETE) takeHead();
    }
    if (!hasHead_ || isOver()) {
        hasMore_ = hasMore_ || !left.empty();
        return;
    }
    // The body's bytes are put out where the raw ones lie, which are never fewer.
    const kxHttpBody::Progress progress =
        framing_.decode(left.data(), left.size(), filled.data(), left.size());
    body_.commit(static_cast<std::uint32_t>(progress.produced));
    hasMore_ = progress.taken < left.size();
    noteFraming();
}

void kxHttpReplyReader::takeHead()
{
    if (!head().isReply()) {
        errorText_ = kxTranslate("Malformed message received");
        parser_.reset();
    } else if (head().statusCode() < kFirstFinalStatus) {
        parser_.reset();
    } else {
        framing_.start(head(), kxHttpMethodName(requestMethod_));
        hasHead_ = true;
    }
}

// Nothing of a head that failed is to be taken for an answer.
void kxHttpReplyReader::failHead()
{
    errorText_ = parser_.errorText();
    parser_.reset();
}

void kxHttpReplyReader::noteFraming()
{
    if (framing_.hasFailed()) errorText_ = kxTranslate(framing_.errorText());
}

void kxHttpReplyReader::endOfData()
{
    if (isOver()) return;
    if (hasHead_) {
        framing_.endOfData();
        noteFraming();
    } else if (parser_.hasStarted()) {
        parser_.endOfData();
        failHead();
    } else {
        errorText_ = kxTranslate("Connection was closed without a reply");
    }
}

bool kxHttpReplyReader::leavesConnectionUsable() const
{
    return hasHead_ && errorText_.isEmpty() && framing_.isComplete() && !hasMore_ && head().keepsAlive() &&
           framing_.framing() != KX_HTTP_BODY_UNTIL_CLOSE;
}

std::uint64_t kxHttpReplyReader::plainRun() const
{
    return hasHead_ && body_.isEmpty() && !isOver() ? framing_.plainRun() : 0;
}
