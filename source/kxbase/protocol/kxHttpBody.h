// Finds the bytes of a message's body behind its head: where the body ends, and what of the stream belongs to it.
//
// A body may be of any length; nothing of it is kept here.
//
// Threads: takes no lock; one thread at a time.
// Errors:  nothing is thrown. Failed is a body whose framing is broken, "Malformed message received", or which the
//          end of the data cuts short, "Message body is incomplete"; it stays failed until the next start.
// Units:   counts are in bytes.
// Format:  RFC 9112 6 and 7. Extensions of chunks and trailers are skipped, of the latter
//          KX_HTTP_TRAILER_MAX_BYTES at most. Lines end with CR LF or with LF alone.
#pragma once

#include "kxbase/protocol/kxHttpMessage.h"

#include <cstddef>

// A chunk's line with its extensions, up to its line feed.
constexpr std::uint32_t KX_HTTP_CHUNK_LINE_MAX_BYTES = 1024;
// All lines behind the last chunk.
constexpr std::uint32_t KX_HTTP_TRAILER_MAX_BYTES = 65535;

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

    bool isComplete() const noexcept { return state_ == COMPLETE; }
    bool hasFailed() const noexcept { return state_ == FAILED; }
    // Empty while nothing failed.
    const char* errorText() const noexcept { return errorText_; }

private:
    enum State : std::uint8_t {
        SIZE_START,     // the first digit of a chunk's size
        SIZE,           // more digits
        SIZE_END,       // blanks behind them
        EXTENSION,      // anything up to the line feed
        LINE_END,       // the line feed behind a carriage return
        DATA_END,       // the line end behind a chunk's data
        DATA_END_FEED,  // its line feed
        TRAILER_START,  // the first byte of a line behind the last chunk
        TRAILER,        // the rest of it
        LAST_FEED,      // the line feed of the empty line at the end
        RUN,            // bytes of the body
        COMPLETE,
        FAILED,
    };
    // Those that take framing byte by byte.
    static constexpr std::uint32_t kFramingStates = LAST_FEED + 1;
    static const State kNextStates[kFramingStates][6];

    // Takes framing up to the next plain run, the end of the body or a fault.
    std::size_t takeFraming(const std::uint8_t* bytes, std::size_t count) noexcept;
    void fail(const char* text) noexcept;

    std::uint64_t runLength_ = 0;  // bytes left of the plain run
    std::uint64_t chunkSize_ = 0;  // as far as it is read
    const char* errorText_ = "";
    std::uint32_t lineBytes_ = 0;  // of the chunk's line, or of all trailers
    kxHttpFraming framing_ = KX_HTTP_BODY_NONE;
    State state_ = COMPLETE;
};
