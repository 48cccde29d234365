// One reply as it comes from a connection: its head, and the decoded bytes of its body.
//
// Interim replies (1xx) are skipped. What stands behind the reply belongs to nobody and is dropped.
//
// Ownership: owns what has been received and not taken; whoever fills it bounds it.
// Threads:   takes no lock; one thread at a time.
// Errors:    isOver() with an error text is a reply that cannot be used further; what came before it can be taken.
// Units:     counts are in bytes.
#pragma once

#include "kxbase/protocol/kxHttpBody.h"
#include "kxbase/protocol/kxHttpMessageParser.h"
#include "kxbase/serialize/kxFileQueue.h"

#include <span>

class kxHttpReplyReader {
public:
    // Forgets everything and waits for the reply to a request of this method.
    void start(kxHttpMethod requestMethod);

    // Room for what the connection delivers; received() is told which part of it, from the start, was filled, and
    // decodes it in place.
    std::uint8_t* room(std::uint32_t count) { return body_.room(count); }
    void received(std::span<std::uint8_t> filled);
    // Nothing more will come.
    void endOfData();

    bool hasHead() const { return hasHead_; }
    // The head, once there is one; until the next start.
    const kxHttpMessage& head() const { return parser_.message(); }
    // Whether the reply is complete or has failed.
    bool isOver() const { return !errorText_.isEmpty() || (hasHead_ && framing_.isComplete()); }
    // Empty while nothing failed.
    const kxString& errorText() const { return errorText_; }
    // Whether the connection can serve another request.
    bool leavesConnectionUsable() const;

    // Bytes of the body that are ready to be taken.
    std::uint32_t length() const { return body_.length(); }
    std::uint32_t take(std::uint8_t* bytes, std::uint32_t count) { return body_.take(bytes, count); }
    // How many of the connection's next bytes are the body's next bytes, as they stand; passPlain() tells how many
    // were received past this object.
    std::uint64_t plainRun() const;
    void passPlain(std::uint32_t count) { framing_.passPlain(count); }

private:
    void takeHead();
    void failHead();
    void noteFraming();

    kxHttpMessageParser parser_;
    kxHttpBody framing_;
    kxFileQueue body_;
    kxString errorText_;
    kxHttpMethod requestMethod_ = KX_HTTP_GET;
    bool hasHead_ = false;
    bool hasMore_ = false;  // bytes behind the reply
};
