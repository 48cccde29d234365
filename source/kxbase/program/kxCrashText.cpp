#include "kxbase/program/kxCrashText.h"

#include "kxbase/core/kxVersion.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstring>
#include <iterator>

namespace {

constexpr std::string_view kLineEnd = "\r\n";

}  // namespace

kxCrashTime kxCrashTime::at(double wallSeconds, std::int32_t utcOffsetSeconds)
{
    using namespace std::chrono;
    const sys_seconds moment(seconds(static_cast<std::int64_t>(wallSeconds) + utcOffsetSeconds));
    const auto midnight = floor<days>(moment);
    const year_month_day date(midnight);
    const hh_mm_ss clock(moment - midnight);
    return {static_cast<int>(date.year()),
            static_cast<unsigned>(date.month()),
            static_cast<unsigned>(date.day()),
            static_cast<unsigned>(clock.hours().count()),
            static_cast<unsigned>(clock.minutes().count()),
            static_cast<unsigned>(clock.seconds().count())};
}

void kxCrashText::addFileName(const kxCrashTime& time)
{
    add(time.year, 4);
    for (const unsigned number : {time.month, time.day}) add("_"), add(number, 2);
    add("_");
    for (const unsigned number : {time.hour, time.minute, time.second}) add("_"), add(number, 2);
    add("_crash.txt");
}

void kxCrashText::addHeader(const kxCrashTime& time)
{
    add("------ Crash Dump generated ");
    add(time.year, 4);
    for (const unsigned number : {time.month, time.day}) add("-"), add(number, 2);
    add(" "), add(time.hour, 2);
    for (const unsigned number : {time.minute, time.second}) add(":"), add(number, 2);
    add(" - KorvexSDK Ver:"), add(KX_LIBRARY_VERSION), add(" --------");
    endLine();
}

void kxCrashText::addLine(std::uint32_t number, const kxCrashLine& line)
{
    add(number), add(": In "), addName(line.function);
    add("(+"), add(line.offset), add(") file:"), addName(line.file);
    add(" line:"), add(line.line), add(" module:"), addName(line.module);
    endLine();
}

void kxCrashText::add(std::string_view text)
{
    const std::size_t count = std::min(text.size(), mostBytes() - length_);
    std::memcpy(room_.data() + length_, text.data(), count);
    length_ += count;
}

void kxCrashText::add(std::int64_t number, std::size_t leastDigits)
{
    char digits[24];
    const auto [end, error] = std::to_chars(std::begin(digits), std::end(digits), number);
    const std::string_view written(digits, static_cast<std::size_t>(end - digits));
    for (std::size_t count = written.size(); count < leastDigits; ++count) add("0");
    add(written);
}

bool kxCrashText::addFrom(bool (*function)(char* text, std::size_t sizeBytes))
{
    char* const end = room_.data() + length_;
    const bool isAdded = function(end, room_.size() - length_);
    if (isAdded) length_ += std::strlen(end);
    return isAdded;
}

const char* kxCrashText::text()
{
    room_[length_] = '\0';
    return room_.data();
}

void kxCrashText::endLine()
{
    length_ = std::min(length_, mostBytes() - kLineEnd.size());
    add(kLineEnd);
}
