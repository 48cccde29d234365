// A moment as date and time of day in the proleptic Gregorian calendar. Neither allocates nor locks, so that a handler
// of faults may use it.
//
// Units: milliseconds since the start of 1970, in UTC or in the local time that is wanted.
#pragma once

#include <chrono>
#include <cstdint>

struct kxCivilTime {
    int year;
    unsigned month, day, hour, minute, second, millisecond;

    static constexpr kxCivilTime at(std::int64_t milliseconds)
    {
        const std::chrono::sys_time<std::chrono::milliseconds> moment{
            std::chrono::milliseconds(milliseconds)};
        const auto midnight = std::chrono::floor<std::chrono::days>(moment);
        const std::chrono::year_month_day date(midnight);
        const std::chrono::hh_mm_ss clock(moment - midnight);
        return {static_cast<int>(date.year()),
                static_cast<unsigned>(date.month()),
                static_cast<unsigned>(date.day()),
                static_cast<unsigned>(clock.hours().count()),
                static_cast<unsigned>(clock.minutes().count()),
                static_cast<unsigned>(clock.seconds().count()),
                static_cast<unsigned>(clock.subseconds().count())};
    }
};
