// The child's side of kxProcess: prepares everything before the fork, so that only calls which are safe in the
// child of a threaded process stand between fork and exec.
//
// Ownership: owns the descriptors that it opens, those of the test's side until they are taken.
// Errors:    what cannot be opened or started throws std::system_error.
#pragma once

#include "support/kxProcess.h"

#include <string>
#include <vector>

// What the parent of a session tells the test.
struct kxJobReport {
    enum Kind : int { Started, Status, Done } kind;
    int value;  // the job's id; its wait status; nothing
};

class kxProcessLaunch {
public:
    // A descriptor of the launch, above the standard three, closed on exec.
    class Descriptor {
    public:
        Descriptor() = default;
        // Takes over the descriptor; a negative one throws with errno and the name of what failed.
        Descriptor(int descriptor, const char* what);
        ~Descriptor();
        Descriptor(Descriptor&& other) noexcept : number_(other.take()) {}
        Descriptor& operator=(Descriptor&& other) noexcept;

        int get() const { return number_; }
        int take();

    private:
        int number_ = -1;
    };

    kxProcessLaunch(const std::string& program, const kxProcessOptions& options);

    // Forks and waits until the program runs; answers the child of the test, which is the program or, with a
    // terminal, the parent of its session.
    pid_t run();

    // The test's side; -1 where the stream is no pipe or there is no terminal.
    Descriptor input, output, error, commands, reports;

private:
    struct Pipe {
        Descriptor reading, writing;
    };

    static Pipe makePipe();
    Descriptor makeStream(const kxProcessStream& stream, bool isInput, Descriptor& testSide);
    [[noreturn]] void becomeProgram() const;
    [[noreturn]] void becomeSession() const;
    [[noreturn]] void becomeJob() const;
    [[noreturn]] void giveUp() const;
    void serveJob(pid_t job) const;
    void obey(char command, pid_t job) const;
    void report(kxJobReport::Kind kind, int value) const;

    std::string program_, directory_;
    std::vector<std::string> arguments_, environment_;
    std::vector<char*> argumentPointers_, environmentPointers_;
    Descriptor standard_[3];  // the program's three; -1 is closed
    Descriptor failureReading_, failureWriting_;
    Descriptor commandReading_, reportWriting_;
    int terminal_ = -1;
    bool background_ = false;
};
