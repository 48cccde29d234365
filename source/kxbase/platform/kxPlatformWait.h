// Sleeping: for a time, or on a word, which is a number, until somebody changes it.
//
// Ownership: the word is the caller's and must outlive each call with it.
// Threads:   any, also before main and after it. Safe in a signal handler. No state is held besides the word itself: a
//            thread that is killed while it waits leaves nothing behind.
// Errors:    none.
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
