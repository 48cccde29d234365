// Finds the bytes of a message's body behind its head: where the body ends, and what of the stream belongs to it.
//
// A body may be of any length; nothing of it is kept here.
//
// Threads: takes no lock; one thread at a time.
// Errors:  nothing is thrown. Failed is a body whose framing is broken, "Malformed message received", or which the
//          end of the data cuts short, "Message body is incomplete"; it stays failed until the next start.
// Units:   counts are in bytes.
// Format:  RFC 9112 6 and 7. Extensions of chunks and trailers are skipped. Lines end with CR LF or with LF alone.
#pragma once

#include "kxbase/protocol/kxHttpMessage.h"

#include <cstddef>

// A chunk's line with its extensions, without the line's end.
constexpr std::uint32_t KX_HTTP_CHUNK_LINE_MAX_BYTES = 1024;

enum kxHttpFraming : std::uint8_t {
    KX_HTTP_BODY_NONE,
    KX_HTTP_BODY_LENGTH,
    KX_HTTP_BODY_CHUNKED,
    KX_HTTP_BODY_UNTIL_CLOSE,
};

class kxHttpBody {
public:
    struct Progress {
        std::size_t taken;     // bytes of the input that are done with
        std::size_t produced;  // bytes of the body that were put out
    };

    // How the body behind a head ends. `requestMethod` is that of the request which a reply answers; it does not
    // matter for a request itself.
    static kxHttpFraming framingOf(const kxHttpMessage& head, std::string_view requestMethod) noexcept;

    // Ready for the body behind a head; the head is not needed afterwards. A body without bytes is complete.
    void start(const kxHttpMessage& head, std::string_view requestMethod) noexcept;
    kxHttpFraming framing() const noexcept { return framing_; }

    // Takes input and puts the body's bytes out, until one of them is used up or the body ends. Framing is taken
    // without any room for output. Input behind the body is not taken. The output may begin where the input does.
    Progress decode(const std::uint8_t* input, std::size_t count, std::uint8_t* output,
                    std::size_t room) noexcept;
    // How many of the next bytes of the stream are body as they stand, so that they may be received straight into
    // the caller's block; the largest number when there is no end to be seen.
    std::uint64_t plainRun() const noexcept;
    // The caller has taken so many of the plain run, at most all.
    void passPlain(std::uint64_t count) noexcept;
    // The connection is closed: completes a body that ends so, and fails any other that is not complete.
    void endOfData() noexcept;

    bool isComplete() const noexcept;
    bool hasFailed() const noexcept;
    // Empty while nothing failed.
    const char* errorText() const noexcept { return errorText_; }

private:
    std::uint64_t runLength_ = 0;  // bytes left of the plain run
    const char* errorText_ = "";
    kxHttpFraming framing_ = KX_HTTP_BODY_NONE;
};
