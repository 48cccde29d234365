// The first line of a message: a status line or a request line (RFC 9112 3 and 4, RFC 2326 6.1 and 7.1).
//
// Ownership: the texts refer to the line.
#pragma once

#include "kxbase/protocol/kxHttpCursor.h"
#include "kxbase/protocol/kxHttpMessage.h"

struct kxHttpStartLine {
    kxHttpMessageKind kind = KX_HTTP_REPLY;
    std::string_view protocol;
    std::uint32_t majorVersion = 0;
    std::uint32_t minorVersion = 0;
    int statusCode = 0;
    std::string_view reason;
    std::string_view method;
    std::string_view requestUri;
};

// Reads a whole line without its end; false leaves the fault in the cursor.
bool kxHttpReadStartLine(kxHttpCursor& line, kxHttpStartLine& result) noexcept;
