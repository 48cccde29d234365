// The parts of the URL of a resource, behind the scheme "http:", and which proxy it is asked of.
//
//   [//][user@]host[:port][/path][?options]
//
// Options follow the last "?", so that a path with a query is written with one more "?" at its end. A backslash is a
// slash. A port that is left out, or empty, is the default one; one that is no number from 1 to 65535 is 0.
//
// Ownership: owns its texts.
// Threads:   a plain value.
// Errors:    a host that no request can name is told by hasUsableHost(); everything else can be asked for.
#pragma once

#include "kxbase/net/kxNetUrl.h"

#include <string>

struct kxHttpUrl {
    static constexpr std::uint16_t kDefaultPort = 80;
    static constexpr std::uint16_t kDefaultProxyPort = 8080;
    // A name of the domain system is shorter.
    static constexpr std::uint32_t kLongestHostBytes = 255;

    kxHttpUrl() : kxHttpUrl(kxString()) {}
    explicit kxHttpUrl(const kxString& url);

    // Whether the host could stand in a request: not empty, without blanks, control bytes and what divides a URL, and
    // with a port from 1 to 65535.
    bool hasUsableHost() const;
    // The path with blanks and control bytes as %XX.
    std::string encodedPath() const;

    kxString userName = "anonymous";
    kxNetUrl origin;  // host, port and options
    kxString path;    // as written, without the slash in front
    // First that applies: the option "no_proxy" for none, the option "proxy", the variable KORVEX_HTTP_PROXY of the
    // environment. It may be written as a URL too.
    bool hasProxy = false;
    kxNetUrl proxy;
};
