// The request methods that lists of methods know (RFC 2068 5.1.1), and sets of them.
#pragma once

#include <cstdint>
#include <string_view>

enum kxHttpMethod : std::uint8_t {
    KX_HTTP_OPTIONS,
    KX_HTTP_GET,
    KX_HTTP_HEAD,
    KX_HTTP_POST,
    KX_HTTP_PUT,
    KX_HTTP_DELETE,
    KX_HTTP_TRACE,
    KX_HTTP_METHOD_COUNT,
};

// The name in capitals, as it is sent; "" for a value that is no method.
const char* kxHttpMethodName(kxHttpMethod method) noexcept;
// The method of a name, or KX_HTTP_METHOD_COUNT. Methods are told apart by case.
kxHttpMethod kxHttpFindMethod(std::string_view name) noexcept;

class kxHttpMethodSet {
public:
    constexpr void add(kxHttpMethod method) noexcept { bits_ |= std::uint32_t{1} << method; }
    constexpr bool has(kxHttpMethod method) const noexcept { return (bits_ >> method & 1U) != 0; }
    constexpr bool isEmpty() const noexcept { return bits_ == 0; }

private:
    std::uint32_t bits_ = 0;
};
