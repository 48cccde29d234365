#include "kxbase/protocol/kxHttpHeaderTable.h"

#include "kxbase/core/kxAsciiCase.h"

#include <algorithm>
#include <iterator>
#include <limits>

namespace {

// "=" and a quoted list of field names, which limit the directive to those fields.
bool takeNoCache(kxHttpCursor& value, kxHttpFacts& facts)
{
    const char* const start = value.position();
    if (!value.isNext('=') && !value.isNext('"')) {
        facts.forbidsCache = true;
        return true;
    }
    if (!value.take("=\"")) return value.fail("Missing =\" in no-cache directive");
    if (!value.takeFieldNameList()) return false;
    value.skipBlanks();
    return value.take('"') || value.failAt(start + 1, "Unbalanced \" in string");
}

bool takeMustRevalidate(kxHttpCursor&, kxHttpFacts& facts)
{
    return facts.mustRevalidate = true;
}

constexpr struct {
    std::string_view name;
    kxHttpValueRule rule;
} kDirectives[] = {
    {"no-cache", takeNoCache},
    {"must-revalidate", takeMustRevalidate},
};

bool takeDirective(kxHttpCursor& value, kxHttpFacts& facts, const char* fault)
{
    const char* const start = value.position();
    const std::string_view name = value.takeToken();
    for (const auto& directive : kDirectives) {
        if (kxEqualsIgnoreCase(name, directive.name)) return directive.rule(value, facts);
    }
    return value.failAt(start, fault);
}

bool takeCacheControl(kxHttpCursor& value, kxHttpFacts& facts)
{
    constexpr const char* missing = "Missing Directive in CacheDirectiveList";
    if (value.isAtEnd()) return value.fail("Missing argument for cache control");
    value.skipCommas();
    if (!takeDirective(value, facts, "Missing Cache Directive")) return false;
    while (value.takeComma()) {
        if (!takeDirective(value, facts, missing)) return false;
    }
    return value.endLine(missing);
}

bool takeConnection(kxHttpCursor& value, kxHttpFacts& facts)
{
    value.skipCommas();
    do {
        const std::string_view type = value.takeToken();
        if (type.empty()) return value.fail("Missing Connection Type in Connection:");
        facts.asksToClose |= kxEqualsIgnoreCase(type, "close");
        facts.asksToKeepAlive |= kxEqualsIgnoreCase(type, "keep-alive");
    } while (value.takeComma());
    return true;
}

bool takeServer(kxHttpCursor& value, kxHttpFacts&)
{
    bool isAny = false;
    for (;; value.skipBlanks(), isAny = true) {
        const bool isComment = value.isNext('(');
        if (!isComment && !value.isNextOf(KX_HTTP_TOKEN)) break;
        if (!(isComment ? value.takeComment() : value.takeProduct())) return false;
    }
    return isAny || value.fail("Missing Product or Comment in Server:");
}

bool takeMethodList(kxHttpCursor& value, kxHttpFacts& facts)
{
    value.skipCommas();
    do {
        const char* const start = value.position();
        const kxHttpMethod method = kxHttpFindMethod(value.takeToken());
        if (method == KX_HTTP_METHOD_COUNT) return value.failAt(start, "Missing 'Method' in MethodList");
        facts.methods.add(method);
    } while (value.takeComma());
    return true;
}

bool takeContentBase(kxHttpCursor& value, kxHttpFacts&)
{
    if (!value.isNextOf(KX_HTTP_SCHEME)) return value.fail("Missing AbsoluteURI in Content-Base");
    return value.takeAbsoluteUri();
}

bool takeLength(kxHttpCursor& value, std::uint64_t& length)
{
    constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
    const char* const start = value.position();
    const std::string_view digits = value.takeRun(KX_HTTP_DIGIT);
    length = 0;
    for (const char character : digits) {
        const auto digit = static_cast<std::uint64_t>(character - '0');
        if (length > (most - digit) / 10) return value.failAt(start, "Content-Length:? is missing");
        length = length * 10 + digit;
    }
    return !digits.empty() || value.fail("Content-Length:? is missing");
}

// The same length may be said again, in the same line too (RFC 9110 8.6).
bool takeContentLength(kxHttpCursor& value, kxHttpFacts& facts)
{
    value.skipCommas();
    do {
        const char* const start = value.position();
        std::uint64_t length = 0;
        if (!takeLength(value, length)) return false;
        if (facts.contentLength.value_or(length) != length)
            return value.failAt(start, "Malformed message received");
        facts.contentLength = length;
    } while (value.takeComma());
    return true;
}

// "name=value" after each semicolon.
bool takeParameters(kxHttpCursor& value)
{
    for (value.skipBlanks(); value.take(';'); value.skipBlanks()) {
        value.skipBlanks();
        if (value.takeToken().empty()) return value.fail("Missing parameter in MediaType");
        if (!value.take('=')) return value.fail("Missing '=' in Attribute");
        if (value.isNext('"')) {
            if (!value.takeString()) return false;
        } else if (value.takeToken().empty()) {
            return value.fail("Missing value in Attribute=");
        }
    }
    return true;
}

bool takeContentType(kxHttpCursor& value, kxHttpFacts&)
{
    // The text of Content-Base stands here too.
    if (value.takeToken().empty()) return value.fail("Missing AbsoluteURI in Content-Base");
    if (!value.take('/')) return value.fail("Missing '/' in MediaType");
    if (value.takeToken().empty()) return value.fail("Missing subtype in MediaType");
    return takeParameters(value);
}

constexpr const char* kExtensionLineEnd = "Missing CRLF in Extension:";

bool takeTransferEncoding(kxHttpCursor& value, kxHttpFacts& facts)
{
    value.skipCommas();
    do {
        const std::string_view coding = value.takeToken();
        if (coding.empty()) return value.fail(kExtensionLineEnd);
        if (!takeParameters(value)) return false;
        facts.isChunked = kxEqualsIgnoreCase(coding, "chunked");
        facts.hasTransferCoding |= !kxEqualsIgnoreCase(coding, "identity");
    } while (value.takeComma());
    return true;
}

constexpr kxHttpHeaderRow kExtension = {.missingLineEnd = kExtensionLineEnd};

constexpr kxHttpHeaderRow kHeaders[] = {
    {.name = "cache-control", .rule = takeCacheControl},
    {.name = "connection", .rule = takeConnection, .missingLineEnd = "Missing CRLF in Connection:"},
    {.name = "date"},
    {.name = "via", .notImplemented = "Via not implemented"},
    {.name = "server", .rule = takeServer, .missingLineEnd = "Missing CRLF in Server:"},
    {.name = "retry-after", .notImplemented = "Retry-After not implemented"},
    {.name = "public", .rule = takeMethodList, .missingLineEnd = "Missing CRLF in Public:"},
    // Two more headers have the text of Via.
    {.name = "proxy-authenticate", .notImplemented = "Via not implemented"},
    {.name = "location", .notImplemented = "Via not implemented"},
    {.name = "allow", .rule = takeMethodList, .missingLineEnd = "Missing CRLF in Allow:"},
    {.name = "content-base", .rule = takeContentBase, .missingLineEnd = "Missing CRLF in Content-Base:"},
    {.name = "content-encoding", .notImplemented = "Content-Encoding not implemented"},
    {.name = "content-language", .notImplemented = "Content-Language not implemented"},
    {.name = "content-length",
     .rule = takeContentLength,
     .missingLineEnd = "Missing CRLF in Content-Length:",
     .isNeeded = true},
    {.name = "content-location", .notImplemented = "Content-Location not implemented"},
    {.name = "content-type", .rule = takeContentType, .missingLineEnd = "Missing CRLF in Content-Type:"},
    {.name = "transfer-encoding",
     .rule = takeTransferEncoding,
     .missingLineEnd = kExtensionLineEnd,
     .isNeeded = true},
};

}  // namespace

const kxHttpHeaderRow& kxHttpFindHeader(std::string_view name) noexcept
{
    const auto* const row = std::find_if(std::begin(kHeaders), std::end(kHeaders), [=](const auto& entry) {
        return kxEqualsIgnoreCase(name, entry.name);
    });
    return row != std::end(kHeaders) ? *row : kExtension;
}
