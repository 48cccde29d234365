#include "support/kxProcessLaunch.h"

#include "support/kxPseudoTerminal.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace {

[[noreturn]] void fail(int error, const std::string& what)
{
    throw std::system_error(error, std::generic_category(), what);
}

std::vector<char*> pointers(std::vector<std::string>& texts)
{
    std::vector<char*> result;
    for (std::string& text : texts) result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

// A memory check of the tests themselves would add its report to the output of the program.
std::vector<std::string> mergedEnvironment(const std::map<std::string, std::string>& added)
{
    std::vector<std::string> result;
    for (char** entry = environ; *entry; ++entry) {
        const std::string text = *entry;
        const std::string name = text.substr(0, text.find('='));
        if (name != "KORVEX_MEMORY_CHECK" && !added.contains(name)) result.push_back(text);
    }
    for (const auto& [name, value] : added) result.push_back(name + "=" + value);
    return result;
}

// The program starts with every signal as a shell leaves it, whatever the test ignores or blocks.
void resetSignals()
{
    for (int number = 1; number < NSIG; ++number) std::signal(number, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

// The parent of a session outlives what is typed for the job, and may set the foreground from outside it.
void ignoreTerminalSignals()
{
    for (int number : {SIGHUP, SIGINT, SIGQUIT, SIGTSTP, SIGTTIN, SIGTTOU}) std::signal(number, SIG_IGN);
}

template <class... Kept> void closeAllBut(Kept... kept)
{
    constexpr int kHighest = 4096;
    for (int number = 0; number < kHighest; ++number)
        if (((number != kept) && ...)) ::close(number);
}

}  // namespace

kxProcessLaunch::Descriptor::Descriptor(int descriptor, const char* what)
{
    if (descriptor < 0) fail(errno, what);
    number_ = ::fcntl(descriptor, F_DUPFD_CLOEXEC, 3);
    ::close(descriptor);
    if (number_ < 0) fail(errno, what);
}

kxProcessLaunch::Descriptor::~Descriptor()
{
    if (number_ >= 0) ::close(number_);
}

kxProcessLaunch::Descriptor& kxProcessLaunch::Descriptor::operator=(Descriptor&& other) noexcept
{
    std::swap(number_, other.number_);
    return *this;
}

int kxProcessLaunch::Descriptor::take()
{
    return std::exchange(number_, -1);
}

kxProcessLaunch::kxProcessLaunch(const std::string& program, const kxProcessOptions& options)
    : program_(program), directory_(options.directory), arguments_(options.arguments),
      environment_(mergedEnvironment(options.environment)), background_(options.startsInBackground)
{
    arguments_.insert(arguments_.begin(), program);
    argumentPointers_ = pointers(arguments_);
    environmentPointers_ = pointers(environment_);
    if (options.terminal) terminal_ = options.terminal->slave();
    standard_[0] = makeStream(options.input, true, input);
    standard_[1] = makeStream(options.output, false, output);
    standard_[2] = makeStream(options.error, false, error);
    Pipe failure = makePipe();
    failureReading_ = std::move(failure.reading);
    failureWriting_ = std::move(failure.writing);
    if (!options.terminal) return;
    Pipe command = makePipe(), report = makePipe();
    commandReading_ = std::move(command.reading);
    commands = std::move(command.writing);
    reports = std::move(report.reading);
    reportWriting_ = std::move(report.writing);
}

kxProcessLaunch::Pipe kxProcessLaunch::makePipe()
{
    int ends[2];
    if (::pipe(ends) < 0) fail(errno, "pipe");
    return {Descriptor(ends[0], "pipe"), Descriptor(ends[1], "pipe")};
}

kxProcessLaunch::Descriptor kxProcessLaunch::makeStream(const kxProcessStream& stream, bool isInput,
                                                        Descriptor& testSide)
{
    switch (stream.kind) {
    case kxProcessStream::Kind::Pipe: {
        Pipe pipe = makePipe();
        testSide = std::move(isInput ? pipe.writing : pipe.reading);
        return std::move(isInput ? pipe.reading : pipe.writing);
    }
    case kxProcessStream::Kind::File: {
        const int flags = isInput ? O_RDONLY : O_WRONLY | O_CREAT | O_TRUNC;
        return {::open(stream.path.c_str(), flags | O_CLOEXEC, 0666), stream.path.c_str()};
    }
    case kxProcessStream::Kind::Descriptor:
        return {::dup(stream.descriptor), "given descriptor"};
    case kxProcessStream::Kind::Terminal:
        return {::dup(terminal_), "terminal"};
    case kxProcessStream::Kind::Closed:
        break;
    }
    return {};
}

pid_t kxProcessLaunch::run()
{
    const pid_t child = ::fork();
    if (child < 0) fail(errno, "fork");
    if (child == 0 && terminal_ >= 0) becomeSession();
    if (child == 0) becomeProgram();
    for (Descriptor* mine :
         {&standard_[0], &standard_[1], &standard_[2], &failureWriting_, &commandReading_, &reportWriting_})
        *mine = Descriptor();
    int problem = 0;
    // Ends when the program runs, which closes the writing end, or could not be started.
    while (::read(failureReading_.get(), &problem, sizeof problem) < 0 && errno == EINTR) {
    }
    if (problem == 0) return child;
    commands = Descriptor();
    ::waitpid(child, nullptr, 0);
    fail(problem, "cannot start " + program_);
}

void kxProcessLaunch::becomeProgram() const
{
    for (int number = 0; number < 3; ++number) {
        if (standard_[number].get() < 0)
            ::close(number);
        else if (::dup2(standard_[number].get(), number) < 0)
            giveUp();
    }
    if (!directory_.empty() && ::chdir(directory_.c_str()) < 0) giveUp();
    resetSignals();
    ::execve(program_.c_str(), argumentPointers_.data(), environmentPointers_.data());
    giveUp();
}

void kxProcessLaunch::giveUp() const
{
    const int problem = errno;
    if (::write(failureWriting_.get(), &problem, sizeof problem) < 0) ::_exit(126);
    ::_exit(127);
}

void kxProcessLaunch::becomeSession() const
{
    ignoreTerminalSignals();
    if (::setsid() < 0 || ::ioctl(terminal_, TIOCSCTTY, 0) < 0) giveUp();
    const pid_t job = ::fork();
    if (job < 0) giveUp();
    if (job == 0) becomeJob();
    ::setpgid(job, job);
    // Copies of the test's pipes would keep their readers from seeing the end.
    closeAllBut(commandReading_.get(), reportWriting_.get(), terminal_);
    report(kxJobReport::Started, job);
    serveJob(job);
    ::_exit(0);
}

void kxProcessLaunch::becomeJob() const
{
    ::setpgid(0, 0);
    if (!background_ && ::tcsetpgrp(terminal_, ::getpid()) < 0) giveUp();
    becomeProgram();
}

// Until the test closes the command pipe, which ends the job with it.
void kxProcessLaunch::serveJob(pid_t job) const
{
    bool ended = false;
    for (;;) {
        pollfd entry{commandReading_.get(), POLLIN, 0};
        ::poll(&entry, 1, 2);
        char command = 0;
        if (entry.revents != 0 && ::read(commandReading_.get(), &command, 1) <= 0) break;
        if (command != 0) obey(command, job);
        int status = 0;
        if (ended || ::waitpid(job, &status, WNOHANG | WUNTRACED | WCONTINUED) != job) continue;
        ended = WIFEXITED(status) || WIFSIGNALED(status);
        report(kxJobReport::Status, status);
    }
    if (ended) return;
    ::kill(-job, SIGKILL);
    ::waitpid(job, nullptr, 0);
}

void kxProcessLaunch::obey(char command, pid_t job) const
{
    ::tcsetpgrp(terminal_, command == 'f' ? job : ::getpid());
    report(kxJobReport::Done, 0);
}

void kxProcessLaunch::report(kxJobReport::Kind kind, int value) const
{
    const kxJobReport record{kind, value};
    // The test is gone when this fails, and the command pipe will say so.
    [[maybe_unused]] const ssize_t written = ::write(reportWriting_.get(), &record, sizeof record);
}
