// A program under test, run as a process of its own.
//
// Ownership: a process that still runs when the object goes is killed and reaped.
//            With a terminal the session lasts as long as the object, and a terminal serves one at a time.
// Threads:   one thread at a time.
// Errors:    what the system refuses throws std::system_error; a program that cannot be started ends with 127.
//            Every wait ends after its time-out. While the test waits or writes, standard output and standard
//            error are taken in, so that neither side stands still on a full pipe.
#pragma once

#include "support/kxCapturedStream.h"

#include <iosfwd>
#include <map>
#include <optional>
#include <vector>

#include <sys/types.h>

class kxPseudoTerminal;

struct kxProcessOptions {
    std::vector<std::string> arguments = {};              // without the program's name
    std::map<std::string, std::string> environment = {};  // added to the test's own
    std::string directory = {};                           // to start in; empty is the test's own
    // A file in the place of the pipe to the test; without a name it is not open at all.
    std::optional<std::string> input = {}, output = {};
    // All three standard streams are this terminal, and the program runs as a job, in a process group of its own,
    // of a session that the terminal controls. A small parent does for the job what a shell would do.
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
    ~kxProcess();
    kxProcess(const kxProcess&) = delete;
    kxProcess& operator=(const kxProcess&) = delete;

    // Writes to standard input; false when the program closed it or did not take everything in time.
    bool write(std::string_view bytes);
    void closeInput();

    // Waits until the text stands in the output behind all texts found before; false at the end of the
    // output or after the time-out.
    bool readUntil(std::string_view text);

    // All that has arrived on a piped standard output and standard error.
    const std::string& output();
    const std::string& error();
    // Leaves the program with a broken pipe.
    void closeOutput() { output_.close(); }

    void signal(int number);

    // Waits for the end and takes in the rest of the output. Standard input is left as it is.
    kxProcessEnd wait(std::chrono::milliseconds timeout = KX_TEST_TIMEOUT);

    bool waitUntilStopped();

    // Moves a job into the foreground or the background of its terminal; wakes nobody.
    void toForeground();
    void toBackground();

private:
    void takeEnd();
    void drain();

    pid_t id_ = 0;      // the program
    pid_t child_ = 0;   // the process to reap: the program, or the parent of its session
    int input_ = -1;    // writing end of its standard input
    int reports_ = -1;  // from the parent of its session
    kxProcessEnd end_;
    kxPseudoTerminal* terminal_ = nullptr;
    kxCapturedStream output_, error_;
};
