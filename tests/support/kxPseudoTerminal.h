// A terminal for a program under test: the test holds the keyboard and the screen.
//
// Ownership: owns both ends; the program's end stays open here, so that the terminal outlives the program
//            and its attributes can be compared before and after. Must outlive the processes started on it.
// Threads:   one thread at a time.
// Errors:    what the system refuses throws std::system_error. Every wait ends after its time-out.
#pragma once

#include "support/kxCapturedStream.h"

#include <sys/types.h>
#include <termios.h>

class kxPseudoTerminal {
public:
    // In the system's initial mode: lines are edited and echoed, signals are on.
    kxPseudoTerminal();
    ~kxPseudoTerminal();
    kxPseudoTerminal(const kxPseudoTerminal&) = delete;
    kxPseudoTerminal& operator=(const kxPseudoTerminal&) = delete;

    // The program's end. It is no controlling terminal of the test.
    int slave() const { return slave_; }

    // The attributes in force now.
    termios attributes() const;

    // The process group that has the terminal.
    pid_t foreground() const;

    // Types the bytes; control characters act as keys ("\x03" interrupts, "\x1a" stops, "\x04" ends the input).
    bool send(std::string_view keys);

    // Waits until the text shows on the screen behind all texts found before.
    bool readUntil(std::string_view text);

    // All that was shown so far. What is typed is part of it while echo is on.
    const std::string& screen();

private:
    int slave_ = -1;
    int master_ = -1;
    kxCapturedStream screen_;
};

// Two sets of attributes are the same in modes, keys and speeds.
bool kxSameAttributes(const termios& first, const termios& second);
