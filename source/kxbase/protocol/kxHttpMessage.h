// The head of an HTTP or RTSP message: its first line and its headers.
//
// Ownership: owns the text of the head in one block; every view that it gives ends with the message, with its
//            assignment, and with the next reset of the parser that filled it. A copy has a block of its own.
// Threads:   a plain value; one thread at a time while it changes.
// Errors:    an index at or beyond headerCount() is fatal.
// Format:    RFC 9112 and RFC 2326. Values are without the white space around them; a line that is folded is one
//            value. They hold no control bytes other than tabs.
#pragma once

#include "kxbase/containers/kxArray.h"
#include "kxbase/protocol/kxHttpFacts.h"
#include "kxbase/string/kxString.h"

#include <string_view>

enum kxHttpMessageKind : std::uint8_t {
    KX_HTTP_REPLY,
    KX_HTTP_REQUEST,
};

struct kxHttpHeader {
    std::string_view name;  // as it was sent, without the colon
    std::string_view value;
    // Whether the value is what the grammar of this header takes. Nothing in the facts comes from one that is not.
    bool isUnderstood;
};

class kxHttpMessage {
public:
    kxHttpMessageKind kind() const noexcept { return first_.kind; }
    bool isReply() const noexcept { return first_.kind == KX_HTTP_REPLY; }
    // "HTTP" or "RTSP".
    std::string_view protocol() const noexcept { return view(first_.protocol); }
    bool isRtsp() const noexcept { return protocol() == "RTSP"; }
    std::uint32_t majorVersion() const noexcept { return first_.majorVersion; }
    std::uint32_t minorVersion() const noexcept { return first_.minorVersion; }

    // Of a reply: three digits, and the text behind them, which may be empty.
    int statusCode() const noexcept { return first_.statusCode; }
    std::string_view reason() const noexcept { return view(first_.reason); }
    // Of a request: any method, known or not, and the request URI as it stands.
    std::string_view method() const noexcept { return view(first_.method); }
    std::string_view requestUri() const noexcept { return view(first_.requestUri); }

    // Headers in the order in which they came; a name may occur again.
    std::uint32_t headerCount() const noexcept { return headers_.size(); }
    kxHttpHeader header(std::uint32_t index) const;
    // The first header with a name in any case, without its colon.
    bool hasHeader(std::string_view name) const noexcept;
    std::string_view headerValue(std::string_view name, std::string_view absent = {}) const noexcept;

    const kxHttpFacts& facts() const noexcept { return facts_; }
    // Whether the connection goes on after this message (RFC 9112 9.3).
    bool keepsAlive() const noexcept;

private:
    friend class kxHttpMessageParser;

    // A piece of the block.
    struct Span {
        std::uint32_t start = 0;
        std::uint32_t length = 0;
    };
    struct FirstLine {
        Span protocol;
        Span reason;
        Span method;
        Span requestUri;
        std::uint32_t majorVersion = 0;
        std::uint32_t minorVersion = 0;
        int statusCode = 0;
        kxHttpMessageKind kind = KX_HTTP_REPLY;
    };
    struct Header {
        Span name;
        Span value;
        bool isUnderstood;
    };

    std::string_view view(Span span) const noexcept { return {block_.data() + span.start, span.length}; }
    const Header* find(std::string_view name) const noexcept;
    // Forgets everything and keeps the room.
    void clear() noexcept;

    kxArray<char> block_;
    kxArray<Header> headers_;
    FirstLine first_;
    kxHttpFacts facts_;
};
