// A terminal for a program under test: the test holds the keyboard and the screen.
//
// Ownership: owns both ends; the program's end stays open here, so that the terminal outlives the program
//            and its attributes can be compared before and after. Must outlive the processes started on it.
// Threads:   one thread at a time.
// Errors:    a terminal that cannot be made throws std::system_error. Every wait ends after its time-out.
#pragma once

#include "support/kxCapturedStream.h"

#include <chrono>
#include <string>
#include <string_view>

#include <termios.h>

class kxPseudoTerminal {
public:
    // 24 lines of 80 columns in the system's initial mode: lines are edited and echoed, signals are on.
    kxPseudoTerminal();
    ~kxPseudoTerminal();
    kxPseudoTerminal(const kxPseudoTerminal&) = delete;
    kxPseudoTerminal& operator=(const kxPseudoTerminal&) = delete;

    // The program's end. It is no controlling terminal of the test.
    int slave() const { return slave_; }

    // The attributes in force now.
    termios attributes() const;

    // Types the bytes; control characters act as keys ("\x03" interrupts, "\x1a" stops, "\x04" ends the input).
    bool send(std::string_view keys, std::chrono::milliseconds timeout = KX_TEST_TIMEOUT);

    // Waits until the text shows on the screen behind all texts found before.
    bool readUntil(std::string_view text, std::chrono::milliseconds timeout = KX_TEST_TIMEOUT);

    // Waits until the condition on the attributes holds, as in "echo has been turned off".
    template <class Condition>
    bool waitForAttributes(Condition holds, std::chrono::milliseconds timeout = KX_TEST_TIMEOUT)
    {
        const auto end = std::chrono::steady_clock::now() + timeout;
        while (!holds(attributes())) {
            if (std::chrono::steady_clock::now() >= end) return false;
            pause();
        }
        return true;
    }

    // All that was shown so far. What is typed is part of it while echo is on.
    const std::string& screen();

private:
    void pause();

    int slave_ = -1;
    int master_ = -1;
    kxCapturedStream screen_;
};

// Two sets of attributes are the same in modes, keys and speeds.
bool kxSameAttributes(const termios& first, const termios& second);
