// The texts of a crash file, built in place: nothing is allocated or locked, so that a handler of faults may use it.
//
// Ownership: the room for the text is the caller's.
// Errors:    what does not fit into a text is cut, its line end is not. In the line of a frame the names are cut.
#pragma once

#include "kxbase/core/kxCivilTime.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

// One frame, as kxStackItem has it.
struct kxCrashLine {
    std::string_view function;
    std::int64_t offset;
    std::string_view file;
    std::uint32_t line;
    std::string_view module;
};

class kxCrashText {
public:
    // The bytes of a line or a path, and of a name in the line of a frame.
    static constexpr std::size_t kLineBytes = 4096;
    static constexpr std::size_t kNameBytes = 1024;

    constexpr explicit kxCrashText(std::span<char> room) noexcept : room_(room) {}

    // "2026_11_14__17_18_05_crash.txt"
    void addFileName(const kxCivilTime& time);
    void addHeader(const kxCivilTime& time);
    // Fits into kLineBytes.
    void addLine(std::uint32_t number, const kxCrashLine& line);
    void add(std::string_view text);
    void add(std::int64_t number, std::size_t leastDigits = 1);
    void clear() { length_ = 0; }

    std::string_view view() const { return {room_.data(), length_}; }
    // Something may have been cut.
    bool isFull() const { return length_ == mostBytes(); }
    // Terminated by a zero.
    const char* text();

private:
    void addName(std::string_view name) { add(name.substr(0, kNameBytes)); }
    void addTwoDigits(std::string_view separator, unsigned number);
    std::size_t mostBytes() const { return room_.size() - 1; }
    void endLine();

    const std::span<char> room_;
    std::size_t length_ = 0;
};
