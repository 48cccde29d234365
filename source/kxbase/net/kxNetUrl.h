// The parts of the URL of an adapter over a socket, behind its scheme.
//
//   [//]host[:port][/anything][?options]
//
// Options follow the last "?", the host part ends at the first slash, the port is the number behind the last colon
// of the host part and the host the text before the first one.
//
// Ownership: owns its texts.
// Threads:   a plain value.
// Errors:    a port that is no number from 1 to 65535 is 0.
#pragma once

#include "kxbase/serialize/kxUrlOptions.h"
#include "kxbase/string/kxString.h"

struct kxNetUrl {
    static constexpr std::uint16_t kDefaultPort = 6800;

    explicit kxNetUrl(const kxString& url);
    // From "host[:port]", for schemes that divide the rest of their URLs themselves.
    kxNetUrl(std::string_view hostPart, std::uint16_t defaultPort);

    kxUrlOptions lookup() const { return kxUrlOptions(options.view()); }
    // The interface that a connection is bound to; empty for none. First that applies: the option "no_nic" for none,
    // the one that the adapter was given, the option "nic", the variable KORVEX_HTTP_NIC of the environment.
    kxString interfaceText(const kxString& given) const;

    static std::uint16_t portOf(std::string_view text);

    kxString host;
    std::uint16_t port = kDefaultPort;
    kxString options;
};
