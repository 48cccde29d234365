#include "kxbase/protocol/kxHttpStartLine.h"

namespace {

constexpr std::string_view kVersionStarts[] = {"HTTP/", "RTSP/"};
constexpr std::size_t kMostVersionDigits = 4;
constexpr std::size_t kStatusDigits = 3;

bool takeNumber(kxHttpCursor& line, std::uint32_t& number)
{
    const std::string_view digits = line.takeRun(KX_HTTP_DIGIT);
    number = 0;
    if (digits.empty() || digits.size() > kMostVersionDigits) return false;
    for (const char digit : digits) number = number * 10 + static_cast<std::uint32_t>(digit - '0');
    return true;
}

bool takeProtocol(kxHttpCursor& line, std::string_view& protocol)
{
    const char* const start = line.position();
    for (const std::string_view text : kVersionStarts) {
        if (!line.take(text)) continue;
        protocol = {start, text.size() - 1};
        return true;
    }
    return false;
}

bool takeVersionNumbers(kxHttpCursor& line, kxHttpStartLine& result)
{
    return (takeNumber(line, result.majorVersion) && line.take('.') &&
            takeNumber(line, result.minorVersion)) ||
           line.fail("Missing Version");
}

bool takeStatusCode(kxHttpCursor& line, int& code)
{
    const char* const start = line.position();
    std::uint32_t number = 0;
    const bool isCode = takeNumber(line, number) && line.position() == start + kStatusDigits && *start != '0';
    code = static_cast<int>(number);
    return isCode || line.failAt(start, "Malformed message received");
}

// Servers are known to send more than one space, and none where there is no reason.
bool takeStatus(kxHttpCursor& line, kxHttpStartLine& result)
{
    result.kind = KX_HTTP_REPLY;
    if (!takeVersionNumbers(line, result)) return false;
    if (line.takeRun(KX_HTTP_BLANK).empty()) return line.fail("Missing space");
    if (!takeStatusCode(line, result.statusCode)) return false;
    if (line.takeRun(KX_HTTP_BLANK).empty()) return line.endLine("Missing space");
    result.reason = line.takeText();
    return line.endLine("Missing CRLF");
}

bool takeRequestUri(kxHttpCursor& line, std::string_view& uri)
{
    const char* const start = line.position();
    if (line.isAtEnd() || line.isNext(' ')) return line.fail("Missing Request URI");
    const bool isPath = line.isNext('/') || line.isNext('*');
    if (!(isPath ? line.takeUriText() : line.takeAbsoluteUri())) return false;
    uri = {start, static_cast<std::size_t>(line.position() - start)};
    return true;
}

bool takeRequest(kxHttpCursor& line, kxHttpStartLine& result)
{
    result.kind = KX_HTTP_REQUEST;
    result.method = line.takeToken();
    if (result.method.empty() || !line.take(' ')) return line.fail("Missing space");
    if (!takeRequestUri(line, result.requestUri)) return false;
    if (!line.take(' ')) return line.fail("Missing space");
    if (!takeProtocol(line, result.protocol)) return line.fail("Missing Version");
    return takeVersionNumbers(line, result) && line.endLine("Missing CRLF");
}

}  // namespace

bool kxHttpReadStartLine(kxHttpCursor& line, kxHttpStartLine& result) noexcept
{
    return takeProtocol(line, result.protocol) ? takeStatus(line, result) : takeRequest(line, result);
}
