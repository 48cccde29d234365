#include "support/kxProcess.h"

#include "support/kxPseudoTerminal.h"

#include <cerrno>
#include <csignal>
#include <fstream>
#include <ostream>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

template <typename Result> Result checked(Result result)
{
    if (result < 0) throw std::system_error(errno, std::generic_category(), "kxProcess");
    return result;
}

// Answers the program's end of a pipe.
int openPipe(bool isInput, int& testSide)
{
    int ends[2];
    checked(::pipe2(ends, O_CLOEXEC));
    testSide = ends[isInput];
    return ends[!isInput];
}

int openFile(const std::string& path, int flags)
{
    return path.empty() ? -1 : checked(::open(path.c_str(), flags | O_CLOEXEC, 0666));
}

// What env is to start, with every signal as a shell leaves it, whatever the test ignores. A memory check of the tests
// themselves would add its report to the output of the program.
std::vector<std::string> wordsOf(const std::string& program, const kxProcessOptions& options)
{
    std::vector<std::string> words = {"env", "--default-signal", "--unset=KORVEX_MEMORY_CHECK"};
    if (!options.directory.empty()) words.push_back("--chdir=" + options.directory);
    for (const auto& [name, value] : options.environment) words.push_back(name + "=" + value);
    words.push_back(program);
    words.insert(words.end(), options.arguments.begin(), options.arguments.end());
    return words;
}

// Prepared before the fork: behind it stand only calls which are safe in the child of a threaded process.
struct Launch {
    std::vector<char*> words;
    int standard[3];  // -1 is closed

    [[noreturn]] void becomeProgram() const
    {
        const rlimit none{};
        ::setrlimit(RLIMIT_CORE, &none);
        for (int number = 0; number < 3; ++number) {
            if (standard[number] < 0) ::close(number);
            if (standard[number] >= 0) ::dup2(standard[number], number);
        }
        ::execv("/usr/bin/env", words.data());
        ::_exit(127);
    }
    [[noreturn]] void leadSession(int report, bool isBackground) const;
};

pid_t job = 0;  // of the session that this process leads

void moveJobToForeground(int)
{
    ::tcsetpgrp(STDIN_FILENO, job);
}

void moveJobToBackground(int)
{
    ::tcsetpgrp(STDIN_FILENO, ::getpid());
}

// The signals that move the job may interrupt the waiting.
bool waitForJob(int& status)
{
    pid_t ended = -1;
    do {
        ended = ::waitpid(job, &status, 0);
    } while (ended < 0 && errno == EINTR);
    return ended == job;
}

// Reports the job's id and its wait status, and moves it on signals, until it is killed.
void Launch::leadSession(int report, bool isBackground) const
{
    ::setsid();
    ::ioctl(standard[0], TIOCSCTTY, 0);
    std::signal(SIGTTOU, SIG_IGN);  // so that it may set the foreground from outside it
    job = ::fork();
    if (job == 0) {
        ::setpgid(0, 0);
        if (!isBackground) ::tcsetpgrp(standard[0], ::getpid());
        becomeProgram();
    }
    ::setpgid(job, job);
    ::dup2(standard[0], STDIN_FILENO);
    ::dup2(report, STDOUT_FILENO);
    ::closefrom(STDERR_FILENO);  // copies of the test's pipes would keep their readers from seeing the end
    std::signal(SIGUSR1, moveJobToForeground);
    std::signal(SIGUSR2, moveJobToBackground);
    int status = 0;
    bool isTold = ::write(STDOUT_FILENO, &job, sizeof job) > 0 && waitForJob(status) &&
                  ::write(STDOUT_FILENO, &status, sizeof status) > 0;
    while (isTold) ::pause();
    ::_exit(1);
}

}  // namespace

std::ostream& operator<<(std::ostream& stream, const kxProcessEnd& end)
{
    if (!end.ended) return stream << "still running";
    if (end.signal != 0) return stream << "ended by signal " << end.signal;
    return stream << "ended with status " << end.status;
}

kxProcess::kxProcess(const std::string& program, const kxProcessOptions& options)
    : terminal_(options.terminal)
{
    std::vector<std::string> words = wordsOf(program, options);
    Launch launch{};
    for (std::string& word : words) launch.words.push_back(word.data());
    launch.words.push_back(nullptr);
    int output = -1, error = -1, report = -1;
    if (terminal_ != nullptr) {
        for (int& stream : launch.standard) stream = checked(::fcntl(terminal_->slave(), F_DUPFD_CLOEXEC, 3));
        report = openPipe(false, reports_);
    } else {
        const int flags = O_WRONLY | O_CREAT | O_TRUNC;
        launch.standard[0] = options.input ? openFile(*options.input, O_RDONLY) : openPipe(true, input_);
        launch.standard[1] = options.output ? openFile(*options.output, flags) : openPipe(false, output);
        launch.standard[2] = openPipe(false, error);
    }
    child_ = id_ = checked(::fork());
    if (child_ == 0 && terminal_ != nullptr) launch.leadSession(report, options.startsInBackground);
    if (child_ == 0) launch.becomeProgram();
    for (const int mine : {launch.standard[0], launch.standard[1], launch.standard[2], report}) ::close(mine);
    if (terminal_ != nullptr) checked(::read(reports_, &id_, sizeof id_));
    for (const int stream : {input_, reports_}) ::fcntl(stream, F_SETFL, O_NONBLOCK);
    if (output >= 0) output_.open(output);
    if (error >= 0) error_.open(error);
}

kxProcess::~kxProcess()
{
    signal(SIGKILL);
    if (terminal_ != nullptr) ::kill(child_, SIGKILL);
    if (terminal_ != nullptr || !end_.ended) ::waitpid(child_, nullptr, 0);
    closeInput();
    ::close(reports_);
}

bool kxProcess::write(std::string_view bytes)
{
    std::signal(SIGPIPE, SIG_IGN);
    return kxAwait([&] {
               drain();
               const ssize_t count = ::write(input_, bytes.data(), bytes.size());
               if (count > 0) bytes.remove_prefix(static_cast<std::size_t>(count));
               return bytes.empty() || (count < 0 && errno == EPIPE);
           }) &&
           bytes.empty();
}

void kxProcess::closeInput()
{
    if (input_ >= 0) ::close(std::exchange(input_, -1));
}

bool kxProcess::readUntil(std::string_view text)
{
    bool isFound = false;
    kxAwait([&] {
        const bool hasEnded = output_.descriptor() < 0;
        drain();
        isFound = output_.find(text);
        return isFound || hasEnded;
    });
    return isFound;
}

const std::string& kxProcess::output()
{
    output_.drain();
    return output_.text();
}

const std::string& kxProcess::error()
{
    error_.drain();
    return error_.text();
}

void kxProcess::signal(int number)
{
    takeEnd();
    // The id of a process that has been reaped may belong to another one.
    if (!end_.ended) ::kill(id_, number);
}

kxProcessEnd kxProcess::wait(std::chrono::milliseconds timeout)
{
    const auto hasEnded = [this] {
        drain();
        takeEnd();
        return end_.ended;
    };
    kxAwait(hasEnded, timeout);
    drain();
    return end_;
}

bool kxProcess::waitUntilStopped()
{
    return kxAwait([this] {
        drain();
        std::ifstream file("/proc/" + std::to_string(id_) + "/stat");
        std::string number, name, state;
        return file >> number >> name >> state && state == "T";
    });
}

void kxProcess::toForeground()
{
    ::kill(child_, SIGUSR1);
    kxAwait([this] { return terminal_->foreground() == id_; });
}

void kxProcess::toBackground()
{
    ::kill(child_, SIGUSR2);
    kxAwait([this] { return terminal_->foreground() == child_; });
}

void kxProcess::takeEnd()
{
    int status = 0;
    const bool hasEnded = terminal_ != nullptr ? ::read(reports_, &status, sizeof status) > 0
                                               : !end_.ended && ::waitpid(child_, &status, WNOHANG) > 0;
    if (hasEnded) end_ = WIFEXITED(status) ? kxExited(WEXITSTATUS(status)) : kxKilledBy(WTERMSIG(status));
}

void kxProcess::drain()
{
    output_.drain();
    error_.drain();
    if (terminal_ != nullptr) terminal_->screen();
}
