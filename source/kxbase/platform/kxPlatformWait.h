// Sleeping: for a time, or on a number until somebody changes it.
//
// Holds no state besides the number itself: a thread that is killed while it waits leaves nothing behind.
#pragma once

#include <atomic>
#include <cstdint>

// Sleeps at least the given time; signals do not cut it short.
void kxPlatformSleep(std::uint32_t milliseconds);

// A time that never passes, for the functions that say so.
constexpr std::uint32_t KX_PLATFORM_WAIT_FOREVER = 0xFFFFFFFFU;

// Sleeps while the word holds the value, at most the given time or KX_PLATFORM_WAIT_FOREVER. Answers whether the word
// holds another value.
bool kxPlatformWaitWhile(const std::atomic<std::uint32_t>& word, std::uint32_t value,
                         std::uint32_t milliseconds);
// Wakes everybody who sleeps on the word.
void kxPlatformWakeAll(std::atomic<std::uint32_t>& word);
