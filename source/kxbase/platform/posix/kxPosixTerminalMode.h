// A change of a terminal's mode that is undone whatever becomes of the process: by giveBack(), at exit, on ending
// signals that have no handler of the host's, and around a stop by the terminal.
//
// The dialog's change may lie over the console's; all are undone in that order.
//
// Threads: each object is taken, asked and given back by one thread at a time. giveAllBack() and giveAllBackForGood()
//          may be called meanwhile from any thread and from handlers of signals.
#pragma once

#include <atomic>

#include <sys/types.h>
#include <termios.h>

class kxPosixTerminalMode {
public:
    using Change = void (*)(termios& mode);

    // For static objects: the handlers know those that are declared below. While `above` is taken, this one cannot be.
    explicit constexpr kxPosixTerminalMode(Change change, const kxPosixTerminalMode* above = nullptr) noexcept
        : change_(change), above_(above)
    {}
    kxPosixTerminalMode(const kxPosixTerminalMode&) = delete;
    kxPosixTerminalMode& operator=(const kxPosixTerminalMode&) = delete;

    // Changes the mode of the terminal. Answers whether the terminal may be read in it: not while the process is in its
    // background, the mode above is taken or the process is about to end. One that hung up may be, which tells its end.
    bool take(int terminal);
    // The same for the terminal taken last, which a stop or whoever gave all modes back may have changed since.
    bool takeAgain() { return take(terminal_); }
    void giveBack();

    // By this process, not by the one that it was forked from.
    bool isTaken() const;
    // The mode as it was before; valid while it is taken.
    const termios& modeBefore() const { return before_; }

    static void giveAllBack();
    // When the process is about to end.
    static void giveAllBackForGood();
    // Whether that has happened, and no mode can be taken any more.
    static bool isGivenBackForGood();
    // A terminal that does not control the process has no background.
    static bool isInForegroundOf(int terminal);
    // Whether a handler of signals is the one that gives all back before the process ends by the signal.
    static bool isEndingBy(void (*handler)(int));

private:
    bool mayBeTaken(int terminal) const;
    void giveBackLocked();
    static void onContinue(int signal);
    static void installHandlers();

    const Change change_;
    const kxPosixTerminalMode* const above_;
    int terminal_ = -1;
    termios before_{};
    std::atomic<bool> isTaken_{false};
    std::atomic<bool> isToBeTakenAgain_{false};  // somebody else may have set the mode since
    std::atomic<pid_t> takenBy_{0};              // a forked child must not give back what its parent holds
    static_assert(std::atomic<bool>::is_always_lock_free && std::atomic<pid_t>::is_always_lock_free,
                  "used in signal handlers");
};

// Keys arrive at once, unechoed and unmapped; signals stay on. What is typed while the dialog is open is its answer.
extern kxPosixTerminalMode kxPosixConsoleMode;
// Keys arrive at once and without an effect of their own.
extern kxPosixTerminalMode kxPosixDialogMode;
