#include "kxbase/program/kxCrashText.h"

#include "kxbase/core/kxVersion.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <iterator>

namespace {

constexpr std::string_view kLineEnd = "\r\n";

}  // namespace

void kxCrashText::addFileName(const kxCivilTime& time)
{
    add(time.year, 4);
    addTwoDigits("_", time.month);
    addTwoDigits("_", time.day);
    addTwoDigits("__", time.hour);
    addTwoDigits("_", time.minute);
    addTwoDigits("_", time.second);
    add("_crash.txt");
}

void kxCrashText::addHeader(const kxCivilTime& time)
{
    add("------ Crash Dump generated ");
    add(time.year, 4);
    addTwoDigits("-", time.month);
    addTwoDigits("-", time.day);
    addTwoDigits(" ", time.hour);
    addTwoDigits(":", time.minute);
    addTwoDigits(":", time.second);
    add(" - KorvexSDK Ver:");
    add(KX_LIBRARY_VERSION);
    add(" --------");
    endLine();
}

void kxCrashText::addLine(std::uint32_t number, const kxCrashLine& line)
{
    add(number);
    add(": In ");
    addName(line.function);
    add("(+");
    add(line.offset);
    add(") file:");
    addName(line.file);
    add(" line:");
    add(line.line);
    add(" module:");
    addName(line.module);
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

void kxCrashText::addTwoDigits(std::string_view separator, unsigned number)
{
    add(separator);
    add(number, 2);
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
