// What the headers of a message say about its body and its connection.
#pragma once

#include "kxbase/protocol/kxHttpMethod.h"

#include <cstdint>
#include <optional>

struct kxHttpFacts {
    std::optional<std::uint64_t> contentLength;  // in bytes
    bool hasTransferCoding = false;              // a Transfer-Encoding other than identity
    bool isChunked = false;                      // the last transfer coding is "chunked"
    bool asksToClose = false;                    // "Connection: close"
    bool asksToKeepAlive = false;                // "Connection: keep-alive"
    bool forbidsCache = false;                   // "Cache-Control: no-cache" for the whole message
    bool mustRevalidate = false;                 // "Cache-Control: must-revalidate"
    kxHttpMethodSet methods;                     // of Allow and Public
};
