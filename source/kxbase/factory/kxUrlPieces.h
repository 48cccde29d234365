// The two pieces of a URL that names another URL and something beside it: "purl:name,url", "zip:{archive},file".
#pragma once

#include "kxbase/string/kxString.h"

struct kxUrlPieces {
    // Matches a URL with a scan pattern that pushes the first piece, the second without its options, and the
    // options. The pattern begins with the scheme, its colon and the first piece, and the second follows it at once:
    // the second is cut out by these lengths. False when the URL does not match.
    bool read(const kxString& url, std::string_view pattern);

    kxString first;   // as the pattern pushes it
    kxString second;  // with its options
};
