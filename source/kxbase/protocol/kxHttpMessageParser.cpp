#include "kxbase/protocol/kxHttpMessageParser.h"

#include "kxbase/core/kxMessage.h"
#include "kxbase/protocol/kxHttpHeaderTable.h"
#include "kxbase/protocol/kxHttpStartLine.h"
#include "kxbase/serialize/kxSerializeAdapter.h"

#include <algorithm>
#include <cstring>

namespace {

// Bytes are copied in slices, which hold most heads whole and little of what is behind them.
constexpr std::uint32_t kSliceBytes = 1024;
constexpr std::uint32_t kUsualHeaders = 16;

std::string_view trimmed(std::string_view text)
{
    while (!text.empty() && kxHttpIs(text.front(), KX_HTTP_BLANK)) text.remove_prefix(1);
    while (!text.empty() && kxHttpIs(text.back(), KX_HTTP_BLANK)) text.remove_suffix(1);
    return text;
}

}  // namespace

std::size_t kxHttpMessageParser::feed(const std::uint8_t* bytes, std::size_t count)
{
    std::size_t taken = 0;
    while (state_ == KX_HTTP_READING && taken < count) taken += takeSlice(bytes + taken, count - taken);
    return taken;
}

kxHttpParserState kxHttpMessageParser::read(kxSerializeAdapter& adapter)
{
    std::uint8_t slice[kSliceBytes];
    while (state_ == KX_HTTP_READING) {
        const std::uint32_t ready = std::min(adapter.length(), kSliceBytes);
        const std::uint32_t count = ready != 0 ? adapter.read(slice, ready) : 0;
        if (count == 0) {
            if (adapter.hasError()) endOfData();
            break;
        }
        const auto taken = static_cast<std::uint32_t>(feed(slice, count));
        if (taken != count) adapter.pushBack(slice + taken, count - taken);
    }
    return state_;
}

void kxHttpMessageParser::endOfData()
{
    failAtEnd(KX_HTTP_OUT_OF_DATA);
}

void kxHttpMessageParser::cancel()
{
    failAtEnd(KX_HTTP_USER_EXIT);
}

void kxHttpMessageParser::reset() noexcept
{
    message_.clear();
    errorText_ = kxString();
    line_ = {};
    foldStarts_.clear();
    nextStart_ = 0;
    lineCount_ = 0;
    hasFirstLine_ = false;
    state_ = KX_HTTP_READING;
}

std::size_t kxHttpMessageParser::takeSlice(const std::uint8_t* bytes, std::size_t count)
{
    kxArray<char>& block = message_.block_;
    const std::uint32_t before = block.size();
    const std::uint32_t most = std::min(kSliceBytes, KX_HTTP_HEAD_MAX_BYTES - before);
    const auto sizeBytes = static_cast<std::uint32_t>(std::min<std::size_t>(count, most));
    block.appendBlock(reinterpret_cast<const char*>(bytes), sizeBytes);
    takeLines(before);
    if (state_ != KX_HTTP_READING) {
        block.resize(nextStart_);
    } else if (block.size() == KX_HTTP_HEAD_MAX_BYTES) {
        kxHttpReport(KX_HTTP_GENERIC_ERROR, endPlace());
        fail();
    }
    return block.size() - before;
}

void kxHttpMessageParser::takeLines(std::uint32_t from)
{
    const char* const block = message_.block_.data();
    const char* const end = block + message_.block_.size();
    const char* position = block + from;
    while (state_ == KX_HTTP_READING) {
        const void* const found = std::memchr(position, '\n', static_cast<std::size_t>(end - position));
        if (found == nullptr) return;
        position = static_cast<const char*>(found) + 1;
        takeLine(static_cast<std::uint32_t>(position - 1 - block));
    }
}

void kxHttpMessageParser::takeLine(std::uint32_t lineFeed)
{
    const char* const block = message_.block_.data();
    Line line{nextStart_, lineFeed, ++lineCount_};
    nextStart_ = lineFeed + 1;
    if (line.end != line.start && block[line.end - 1] == '\r') --line.end;
    if (lineCount_ > KX_HTTP_HEAD_MAX_LINES) {
        kxHttpReport(KX_HTTP_GENERIC_ERROR, {line.number, 1});
        return fail();
    }
    const bool isEmpty = line.end == line.start;
    if (!hasFirstLine_) {
        if (!isEmpty) takeFirstLine(line);
        return;
    }
    if (!isEmpty && kxHttpIs(block[line.start], KX_HTTP_BLANK)) return continueHeader(line);
    takeHeader();
    line_ = line;
    if (isEmpty && state_ == KX_HTTP_READING) state_ = KX_HTTP_COMPLETE;
}

void kxHttpMessageParser::takeFirstLine(const Line& line)
{
    line_ = line;
    kxHttpCursor cursor(view(line));
    kxHttpStartLine first;
    if (!kxHttpReadStartLine(cursor, first)) {
        reportFault(cursor.position(), cursor.fault());
        return fail();
    }
    message_.first_ = {
        spanOf(first.protocol), spanOf(first.reason), spanOf(first.method), spanOf(first.requestUri),
        first.majorVersion,     first.minorVersion,   first.statusCode,     first.kind};
    message_.headers_.reserve(kUsualHeaders);
    hasFirstLine_ = true;
    line_ = {};
}

// The line end in between becomes blanks, so that the header is one text.
void kxHttpMessageParser::continueHeader(const Line& line)
{
    if (line_.number == 0) return kxHttpReport(KX_HTTP_DATA_DISCARDED, {line.number, 1});
    char* const block = message_.block_.data();
    std::fill(block + line_.end, block + line.start, ' ');
    line_.end = line.end;
    foldStarts_.append(line.start);
}

void kxHttpMessageParser::takeHeader()
{
    if (line_.number == 0) return;
    kxHttpCursor cursor(view(line_));
    const std::string_view name = cursor.takeToken();
    if (name.empty() || !cursor.take(':')) {
        kxHttpReport(KX_HTTP_DATA_DISCARDED, {line_.number, 1});
        // Who put blanks before the colon goes by what the line says (RFC 9112 5.1).
        cursor.skipBlanks();
        if (cursor.isNext(':') && kxHttpFindHeader(name).isNeeded) fail();
    } else {
        const kxHttpHeaderRow& row = kxHttpFindHeader(name);
        const std::string_view value = trimmed(cursor.rest());
        const char* const control = kxHttpFindControl(value);
        if (control != value.data() + value.size())
            skipHeader(row, control);
        else
            keepHeader(name, value, readValue(row, value));
    }
    foldStarts_.clear();
}

bool kxHttpMessageParser::readValue(const kxHttpHeaderRow& row, std::string_view value)
{
    kxHttpCursor cursor(value);
    if (row.rule == nullptr) {
        if (row.notImplemented != nullptr) reportFault(cursor.position(), row.notImplemented);
        return row.notImplemented == nullptr;
    }
    kxHttpFacts facts = message_.facts_;
    if (row.rule(cursor, facts) && cursor.endValue(row.missingLineEnd)) {
        message_.facts_ = facts;
        return true;
    }
    reportFault(cursor.position(), cursor.fault());
    if (row.isNeeded) fail();
    return false;
}

void kxHttpMessageParser::skipHeader(const kxHttpHeaderRow& row, const char* controlByte)
{
    if (row.missingLineEnd != nullptr)
        reportFault(controlByte, row.missingLineEnd);
    else
        kxHttpReport(KX_HTTP_DATA_DISCARDED, placeOf(controlByte));
    if (row.isNeeded) fail();
}

void kxHttpMessageParser::keepHeader(std::string_view name, std::string_view value, bool isUnderstood)
{
    message_.headers_.append({spanOf(name), spanOf(value), isUnderstood});
}

void kxHttpMessageParser::reportFault(const char* position, const char* fault) const
{
    if (kxMessageFilter::passes(KX_MESSAGE_INTERNAL_WARNING))
        kxHttpReport(KX_HTTP_PARSE_ERROR, placeOf(position), fault);
}

void kxHttpMessageParser::fail()
{
    errorText_ = kxTranslate("Malformed message received");
    state_ = KX_HTTP_FAILED;
}

void kxHttpMessageParser::failAtEnd(kxHttpReportKind kind)
{
    if (state_ != KX_HTTP_READING) return;
    kxHttpReport(kind, endPlace());
    errorText_ = kxHttpReportText(kind, endPlace());
    state_ = KX_HTTP_FAILED;
}

std::string_view kxHttpMessageParser::view(const Line& line) const noexcept
{
    return {message_.block_.data() + line.start, line.end - line.start};
}

kxHttpMessage::Span kxHttpMessageParser::spanOf(std::string_view text) const noexcept
{
    if (text.empty()) return {};
    return {static_cast<std::uint32_t>(text.data() - message_.block_.data()),
            static_cast<std::uint32_t>(text.size())};
}

kxTextPlace kxHttpMessageParser::placeOf(const char* position) const noexcept
{
    const char* const block = message_.block_.data();
    kxTextPlace place{line_.number, 1};
    const char* lineStart = block + line_.start;
    for (const std::uint32_t foldStart : foldStarts_) {
        if (block + foldStart > position) break;
        lineStart = block + foldStart;
        ++place.line;
    }
    place.pass({lineStart, static_cast<std::size_t>(position - lineStart)});
    return place;
}

kxTextPlace kxHttpMessageParser::endPlace() const noexcept
{
    kxTextPlace place{lineCount_ + 1, 1};
    const char* const block = message_.block_.data();
    place.pass({block + nextStart_, message_.block_.size() - nextStart_});
    return place;
}
