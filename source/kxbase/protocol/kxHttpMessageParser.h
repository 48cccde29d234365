// Reads the head of an HTTP or RTSP message, a reply or a request, from bytes that come in pieces of any size.
//
// Lines end with CR LF or with LF alone; empty lines before the first line are skipped; a line that starts with
// white space continues the header before it. Which pieces the bytes come in makes no difference.
//
// Ownership: owns the message. reset() keeps its room, so that a parser that is used again allocates nothing.
// Threads:   takes no lock; one thread at a time.
// Errors:    nothing is thrown but std::bad_alloc. Failed is a message whose first line, Content-Length or
//            Transfer-Encoding cannot be used or has blanks before its colon, two lengths that differ, or more than
//            the limits; errorText() is "Malformed message received", translated, then. A header whose value its
//            grammar does not take is kept but not understood; a line that is no header, or has control bytes in its
//            value, is skipped. All of it is reported with its place as a Warning from inside the library.
// Units:     lines and columns are counted from 1, columns in characters.
#pragma once

#include "kxbase/protocol/kxHttpMessage.h"
#include "kxbase/protocol/kxHttpReport.h"

#include <cstddef>

class kxSerializeAdapter;
struct kxHttpHeaderRow;

// From the first byte up to the empty line at the end, which counts.
constexpr std::uint32_t KX_HTTP_HEAD_MAX_BYTES = 65535;
constexpr std::uint32_t KX_HTTP_HEAD_MAX_LINES = 1000;

enum kxHttpParserState : std::uint8_t {
    KX_HTTP_READING,
    KX_HTTP_COMPLETE,
    KX_HTTP_FAILED,
};

class kxHttpMessageParser {
public:
    // Takes bytes up to the empty line that ends the head, that line included and never more; answers how many it
    // took. Once complete or failed it takes none.
    std::size_t feed(const std::uint8_t* bytes, std::size_t count);
    // Takes what an adapter has ready; what is behind the head stays in the adapter. An adapter that has nothing
    // more and shows its end as an error ends the data.
    kxHttpParserState read(kxSerializeAdapter& adapter);
    // No byte follows: fails when the head is not complete, with "Out Of data at (line,column)".
    void endOfData();
    // The caller has no use for the rest: fails when the head is not complete, with "User Exit at (line,column)".
    void cancel();
    // Ready for the next message.
    void reset() noexcept;

    kxHttpParserState state() const noexcept { return state_; }
    // Whether any byte of the message has come.
    bool hasStarted() const noexcept { return !message_.block_.isEmpty(); }
    // Valid when the head is complete.
    const kxHttpMessage& message() const noexcept { return message_; }
    const kxString& errorText() const noexcept { return errorText_; }

private:
    // A line without its end, as positions in the block; a header with all that continues it.
    struct Line {
        std::uint32_t start = 0;
        std::uint32_t end = 0;
        std::uint32_t number = 0;
    };

    std::size_t takeSlice(const std::uint8_t* bytes, std::size_t count);
    void takeLines(std::uint32_t from);
    void takeLine(std::uint32_t lineFeed);
    void takeFirstLine(const Line& line);
    void continueHeader(const Line& line);
    // What the header means that line_ holds, if any.
    void takeHeader();
    // Reports what is wrong with a value that a row does not take.
    bool readValue(const kxHttpHeaderRow& row, std::string_view value);
    void skipHeader(const kxHttpHeaderRow& row, const char* controlByte);
    void keepHeader(std::string_view name, std::string_view value, bool isUnderstood);

    void reportFault(const char* position, const char* fault) const;
    void fail();
    void failAtEnd(kxHttpReportKind kind);
    std::string_view view(const Line& line) const noexcept;
    kxHttpMessage::Span spanOf(std::string_view text) const noexcept;
    kxTextPlace placeOf(const char* position) const noexcept;
    kxTextPlace endPlace() const noexcept;

    kxHttpMessage message_;
    kxString errorText_;
    // The first line, or the header that the next line may continue; number 0 when there is none.
    Line line_;
    kxArray<std::uint32_t> foldStarts_;  // where the lines begin that continue line_
    std::uint32_t nextStart_ = 0;        // one past the last line end
    std::uint32_t lineCount_ = 0;        // of complete lines
    bool hasFirstLine_ = false;
    kxHttpParserState state_ = KX_HTTP_READING;
};
