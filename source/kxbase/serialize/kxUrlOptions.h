// Looks options of a URL up: items "key=value" between "&" or its XML form "&amp;".
//
// The first item with the key counts. A value goes from the first "=" to the end of the item and may be empty;
// an item that is the bare key has the value "true". Keys are compared with their case.
//
// Ownership: refers to the text, which must outlive the object and the values that it answers. A lookup
//            allocates nothing.
// Threads:   a plain value.
// Errors:    none; a value that is not of the kind asked for counts as missing.
#pragma once

#include <cstdint>
#include <string_view>

class kxUrlOptions {
public:
    // The text behind the "?" of a URL, as kxSerializeAdapter::getOptions() keeps it.
    explicit kxUrlOptions(std::string_view options) noexcept : options_(options) {}

    bool has(std::string_view key) const noexcept;
    // The default is answered as it was passed, so it must live as long as the answer is used.
    std::string_view getText(std::string_view key, std::string_view defaultValue = {}) const noexcept;
    // "yes" and "true", "no" and "false", in any case.
    bool getBool(std::string_view key, bool defaultValue) const noexcept;
    // A decimal number and nothing else; see kxNumberScanner.
    double getNumber(std::string_view key, double defaultValue) const noexcept;
    // The same, truncated towards zero and saturated.
    std::int64_t getInteger(std::string_view key, std::int64_t defaultValue) const noexcept;

private:
    // The value of the key; its data is null when there is none.
    std::string_view find(std::string_view key) const noexcept;

    std::string_view options_;
};
