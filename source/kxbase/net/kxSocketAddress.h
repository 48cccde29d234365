// Host and port in the system's form, as bind, connect and sendTo take them.
//
// Ownership: owns its bytes; a copy has its own. Assigning keeps the room for them.
// Threads:   a plain value.
// Errors:    an address made of a host that is not valid is empty.
#pragma once

#include "kxbase/net/kxHostAddress.h"

class kxSocketAddress {
public:
    // Empty.
    kxSocketAddress() = default;
    // Any address of this machine.
    explicit kxSocketAddress(std::uint16_t port);
    kxSocketAddress(const kxHostAddress& host, std::uint16_t port);
    kxSocketAddress(const kxString& hostName, std::uint16_t port);

    bool isEmpty() const { return bytes_.isEmpty(); }
    // 0 when the address is empty or not IPv4.
    std::uint16_t port() const;
    kxHostAddress host() const;
    // The host as a number in the host's byte order; 0 also where there is none.
    std::uint32_t hostValue() const;

    // The system's bytes.
    const kxArray<std::uint8_t>& bytes() const { return bytes_; }
    void setBytes(const std::uint8_t* bytes, std::uint32_t sizeBytes);
    void clear() { bytes_.clear(); }

    friend bool operator==(const kxSocketAddress& left, const kxSocketAddress& right);

private:
    void set(std::uint32_t host, std::uint16_t port);

    kxArray<std::uint8_t> bytes_;
};
