// A program under test, run as a process of its own.
//
// Ownership: a process that still runs when the object goes is killed and reaped.
//            With a terminal the session lasts as long as the object, and a terminal serves one at a time.
// Threads:   one thread at a time.
// Errors:    a program that cannot be started throws std::system_error. Every wait ends after its time-out.
//            While the test waits or writes, standard output and standard error are taken in, so that neither
//            side stands still on a full pipe.
#pragma once

#include "support/kxCapturedStream.h"

#include <chrono>
#include <iosfwd>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

class kxPseudoTerminal;

// What one of the three standard descriptors of the program is.
struct kxProcessStream {
    enum class Kind { Pipe, File, Closed, Descriptor, Terminal };

    // A pipe to the test.
    static kxProcessStream pipe() { return {}; }
    // A file: read as standard input, made or emptied as an output.
    static kxProcessStream file(std::string path) { return {Kind::File, std::move(path), -1}; }
    // Not open at all.
    static kxProcessStream closed() { return {Kind::Closed, {}, -1}; }
    // A copy of a descriptor that stays the caller's.
    static kxProcessStream given(int descriptor) { return {Kind::Descriptor, {}, descriptor}; }
    // The program's end of kxProcessOptions::terminal.
    static kxProcessStream terminal() { return {Kind::Terminal, {}, -1}; }

    Kind kind = Kind::Pipe;
    std::string path = {};
    int descriptor = -1;
};

struct kxProcessOptions {
    std::vector<std::string> arguments = {};              // without the program's name
    std::map<std::string, std::string> environment = {};  // added to the test's own
    std::string directory = {};                           // to start in; empty is the test's own
    kxProcessStream input = {}, output = {}, error = {};  // pipes unless said otherwise
    // The program runs as a job, in a process group of its own, of a session whose controlling terminal this
    // is. The session's leader is a small parent that does for the job what a shell would do.
    kxPseudoTerminal* terminal = nullptr;
    bool startsInBackground = false;  // with a terminal only
};

// How a process ended.
struct kxProcessEnd {
    bool ended = false;  // false when the time-out came first
    int status = -1;     // exit status, -1 when ended by a signal
    int signal = 0;      // the signal that ended it, or 0

    bool operator==(const kxProcessEnd&) const = default;
    friend std::ostream& operator<<(std::ostream& stream, const kxProcessEnd& end);
};

inline constexpr kxProcessEnd kxExited(int status)
{
    return {true, status, 0};
}
inline constexpr kxProcessEnd kxKilledBy(int signal)
{
    return {true, -1, signal};
}

class kxProcess {
public:
    explicit kxProcess(const std::string& program, const kxProcessOptions& options = {});
    // All three standard streams on the terminal, as a program started from a shell.
    kxProcess(const std::string& program, kxPseudoTerminal& terminal,
              std::vector<std::string> arguments = {});
    ~kxProcess();
    kxProcess(const kxProcess&) = delete;
    kxProcess& operator=(const kxProcess&) = delete;

    pid_t id() const { return id_; }

    // Writes to standard input; false when the program closed it or did not take everything in time.
    bool write(std::string_view bytes, std::chrono::milliseconds timeout = KX_TEST_TIMEOUT);
    void closeInput();

    // Waits until the text stands in the output behind all texts found before; false at the end of the
    // output or after the time-out.
    bool readUntil(std::string_view text, std::chrono::milliseconds timeout = KX_TEST_TIMEOUT);

    // All that has arrived on a piped standard output and standard error.
    const std::string& output();
    const std::string& error();

    void signal(int number);

    // Waits for the end and takes in the rest of the output. Standard input is left as it is.
    kxProcessEnd wait(std::chrono::milliseconds timeout = KX_TEST_TIMEOUT);

    // Waits until the process has been stopped, or runs on after a stop; false when it ended instead.
    bool waitUntilStopped(std::chrono::milliseconds timeout = KX_TEST_TIMEOUT);
    bool waitUntilContinued(std::chrono::milliseconds timeout = KX_TEST_TIMEOUT);

    // Moves a job into the foreground or the background of its terminal; wakes nobody.
    void toForeground();
    void toBackground();

private:
    void start(const std::string& program, const kxProcessOptions& options);
    void takeStatus();
    void apply(int waitStatus);
    void command(char letter);
    void idle(bool wantsToWrite = false);
    bool waitUntil(bool stopped, std::chrono::milliseconds timeout);

    pid_t id_ = 0;       // the program
    pid_t child_ = 0;    // the process to reap: the program, or the parent of its session
    int input_ = -1;     // writing end of its standard input
    int commands_ = -1;  // to the parent of its session
    int reports_ = -1;   // from there
    bool stopped_ = false;
    bool commandDone_ = false;
    kxProcessEnd end_;
    kxPseudoTerminal* terminal_ = nullptr;
    kxCapturedStream output_, error_;
};
