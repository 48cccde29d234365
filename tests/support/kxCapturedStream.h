// The reading end of a pipe or terminal: collects what arrives and finds texts in it, in order.
//
// Ownership: owns the descriptor and makes it non-blocking.
// Threads:   one thread at a time.
// Errors:    none; a descriptor that fails counts as ended.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>
#include <thread>

// No wait of the test fixtures lasts longer than this unless the test says so.
inline constexpr std::chrono::milliseconds KX_TEST_TIMEOUT{20000};

// Waits until the condition holds; false when the time has passed.
template <typename Condition>
bool kxAwait(Condition holds, std::chrono::milliseconds timeout = KX_TEST_TIMEOUT)
{
    const auto end = std::chrono::steady_clock::now() + timeout;
    while (!holds()) {
        if (std::chrono::steady_clock::now() >= end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

class kxCapturedStream {
public:
    kxCapturedStream() = default;
    ~kxCapturedStream() { close(); }
    kxCapturedStream(const kxCapturedStream&) = delete;
    kxCapturedStream& operator=(const kxCapturedStream&) = delete;

    void open(int descriptor);

    // Takes in what is there now, without waiting.
    void drain();

    // The text stands behind everything found before; the next search begins after it.
    bool find(std::string_view text);

    // The descriptor while more can arrive, else -1.
    int descriptor() const { return descriptor_; }

    // All that has arrived.
    const std::string& text() const { return text_; }

    void close();

private:
    int descriptor_ = -1;
    std::string text_;
    std::size_t mark_ = 0;
};
