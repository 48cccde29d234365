// Where the parts of a URL with a host lie, behind its scheme.
//
//   [//]host part[/rest][?options]
//
// Options follow the last "?"; the host part ends at the first slash. A backslash is a slash everywhere.
//
// Ownership: refers to the text, which must outlive the object.
// Threads:   a plain value.
// Errors:    none; every text has these parts, empty ones included.
#pragma once

#include <string_view>

struct kxUrlPlace {
    explicit kxUrlPlace(std::string_view url) noexcept;

    std::string_view hostPart;
    std::string_view rest;  // without the slash in front
    std::string_view options;
};
