// Address of a host: IPv4, or no address at all.
//
// Ownership: owns its bytes; a copy has its own.
// Threads:   a plain value.
// Errors:    a text that names no host gives an address that is not valid, and a Debug message.
#pragma once

#include "kxbase/containers/kxArray.h"
#include "kxbase/object/kxReference.h"
#include "kxbase/string/kxString.h"

constexpr std::uint32_t KX_HOST_NONE = 0;
constexpr std::uint32_t KX_HOST_IPV4 = 1;

class kxHostAddress : public kxReference {
public:
    // The address of this machine, see kxNetwork::localAddress(); the first one asks for its name, which may take
    // seconds.
    kxHostAddress();
    kxHostAddress(std::uint8_t first, std::uint8_t second, std::uint8_t third, std::uint8_t fourth);
    // A number in the host's byte order.
    explicit kxHostAddress(std::uint32_t value);
    // Four decimal numbers stand for themselves; any other text is a host name, and its first address counts.
    // Asking for a name may take seconds.
    explicit kxHostAddress(const kxString& text);
    // The address that is not valid.
    static kxHostAddress none() { return kxHostAddress(None{}); }

    bool isValid() const { return kind_ != KX_HOST_NONE; }
    // KX_HOST_NONE or KX_HOST_IPV4.
    std::uint32_t kind() const { return kind_; }
    // Four bytes in network order; none when the address is not valid.
    const kxArray<std::uint8_t>& bytes() const { return bytes_; }
    // A number in the host's byte order; 0 when the address is not valid.
    std::uint32_t value() const;
    // Four decimal numbers, or "Unknown".
    kxString text() const;

    friend bool operator==(const kxHostAddress& left, const kxHostAddress& right)
    {
        return left.kind_ == right.kind_ && left.value() == right.value();
    }

private:
    struct None {};
    explicit kxHostAddress(None) {}
    void set(std::uint32_t value);

    std::uint32_t kind_ = KX_HOST_NONE;
    kxArray<std::uint8_t> bytes_;
};
