// The texts of a crash file, built in place: nothing is allocated or locked, so that a handler of faults may use it.
//
// Errors: what does not fit into a text is cut, its line end is not.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

// A moment in local time.
struct kxCrashTime {
    std::int64_t year;
    unsigned month, day, hour, minute, second;

    static kxCrashTime at(double wallSeconds, std::int32_t utcOffsetSeconds);
};

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
    // "2026_11_14__17_18_05_crash.txt"
    void addFileName(const kxCrashTime& time);
    void addHeader(const kxCrashTime& time);
    void addLine(std::uint32_t number, const kxCrashLine& line);
    void add(std::string_view text);
    void add(std::int64_t number, std::size_t leastDigits = 1);
    void clear() { length_ = 0; }

    std::string_view view() const { return {text_, length_}; }
    // Terminated by a zero.
    const char* text();

private:
    static constexpr std::size_t kMostBytes = 4096;

    void endLine();

    char text_[kMostBytes + 1];
    std::size_t length_ = 0;
};
