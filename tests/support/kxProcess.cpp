#include "support/kxProcess.h"

#include "support/kxProcessLaunch.h"
#include "support/kxPseudoTerminal.h"

#include <cerrno>
#include <csignal>
#include <ctime>
#include <ostream>

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

void setNonBlocking(int descriptor)
{
    if (descriptor >= 0) ::fcntl(descriptor, F_SETFL, ::fcntl(descriptor, F_GETFL) | O_NONBLOCK);
}

void closeDescriptor(int& descriptor)
{
    if (descriptor >= 0) ::close(descriptor);
    descriptor = -1;
}

// A write whose SIGPIPE reaches nobody; the signal's disposition stays what the test made it.
ssize_t writeQuietly(int descriptor, std::string_view bytes)
{
    sigset_t pipeSignal, before;
    sigemptyset(&pipeSignal);
    sigaddset(&pipeSignal, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipeSignal, &before);
    const ssize_t count = ::write(descriptor, bytes.data(), bytes.size());
    const int problem = errno;
    const timespec now{};
    if (count < 0 && problem == EPIPE) sigtimedwait(&pipeSignal, nullptr, &now);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    errno = problem;
    return count;
}

}  // namespace

std::ostream& operator<<(std::ostream& stream, const kxProcessEnd& end)
{
    if (!end.ended) return stream << "still running";
    if (end.signal != 0) return stream << "ended by signal " << end.signal;
    return stream << "ended with status " << end.status;
}

kxProcess::kxProcess(const std::string& program, const kxProcessOptions& options)
{
    start(program, options);
}

kxProcess::kxProcess(const std::string& program, kxPseudoTerminal& terminal,
                     std::vector<std::string> arguments)
{
    const kxProcessStream stream = kxProcessStream::terminal();
    start(program, {.arguments = std::move(arguments),
                    .input = stream,
                    .output = stream,
                    .error = stream,
                    .terminal = &terminal});
}

void kxProcess::start(const std::string& program, const kxProcessOptions& options)
{
    kxProcessLaunch launch(program, options);
    child_ = id_ = launch.run();
    terminal_ = options.terminal;
    input_ = launch.input.take();
    commands_ = launch.commands.take();
    reports_ = launch.reports.take();
    for (int descriptor : {input_, reports_}) setNonBlocking(descriptor);
    if (const int reading = launch.output.take(); reading >= 0) output_.open(reading);
    if (const int reading = launch.error.take(); reading >= 0) error_.open(reading);
    if (!terminal_) return;
    const auto end = Clock::now() + KX_TEST_TIMEOUT;
    for (takeStatus(); id_ == child_ && Clock::now() < end; takeStatus()) idle();
}

kxProcess::~kxProcess()
{
    closeDescriptor(input_);
    // The parent of a session ends its job itself when the pipe closes.
    closeDescriptor(commands_);
    closeDescriptor(reports_);
    if (!terminal_ && !end_.ended) ::kill(child_, SIGKILL);
    if (terminal_ || !end_.ended) ::waitpid(child_, nullptr, 0);
}

bool kxProcess::write(std::string_view bytes, std::chrono::milliseconds timeout)
{
    const auto end = Clock::now() + timeout;
    while (!bytes.empty()) {
        const ssize_t count = writeQuietly(input_, bytes);
        if (count >= 0)
            bytes.remove_prefix(static_cast<std::size_t>(count));
        else if ((errno != EAGAIN && errno != EINTR) || Clock::now() >= end)
            return false;
        else
            idle(true);
    }
    return true;
}

void kxProcess::closeInput()
{
    closeDescriptor(input_);
}

bool kxProcess::readUntil(std::string_view text, std::chrono::milliseconds timeout)
{
    const auto end = Clock::now() + timeout;
    output_.drain();
    while (!output_.find(text)) {
        if (output_.descriptor() < 0 || Clock::now() >= end) return false;
        idle();
    }
    return true;
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
    takeStatus();
    // The id of a process that has been reaped may belong to another one.
    if (!end_.ended) ::kill(id_, number);
}

kxProcessEnd kxProcess::wait(std::chrono::milliseconds timeout)
{
    const auto end = Clock::now() + timeout;
    for (takeStatus(); !end_.ended && Clock::now() < end; takeStatus()) idle();
    output_.drain();
    error_.drain();
    return end_;
}

bool kxProcess::waitUntilStopped(std::chrono::milliseconds timeout)
{
    return waitUntil(true, timeout);
}

bool kxProcess::waitUntilContinued(std::chrono::milliseconds timeout)
{
    return waitUntil(false, timeout);
}

bool kxProcess::waitUntil(bool stopped, std::chrono::milliseconds timeout)
{
    const auto end = Clock::now() + timeout;
    for (takeStatus(); stopped_ != stopped && !end_.ended && Clock::now() < end; takeStatus()) idle();
    return !end_.ended && stopped_ == stopped;
}

void kxProcess::toForeground()
{
    command('f');
}

void kxProcess::toBackground()
{
    command('b');
}

// Answers when the parent of the session has done it, so that the test may rely on it.
void kxProcess::command(char letter)
{
    commandDone_ = false;
    if (writeQuietly(commands_, {&letter, 1}) != 1) return;
    const auto end = Clock::now() + KX_TEST_TIMEOUT;
    for (takeStatus(); !commandDone_ && Clock::now() < end; takeStatus()) idle();
}

void kxProcess::takeStatus()
{
    kxJobReport report{};
    while (reports_ >= 0 && ::read(reports_, &report, sizeof report) == ssize_t(sizeof report)) {
        if (report.kind == kxJobReport::Started) id_ = report.value;
        if (report.kind == kxJobReport::Status) apply(report.value);
        if (report.kind == kxJobReport::Done) commandDone_ = true;
    }
    int status = 0;
    while (!terminal_ && !end_.ended && ::waitpid(child_, &status, WNOHANG | WUNTRACED | WCONTINUED) > 0)
        apply(status);
}

void kxProcess::apply(int waitStatus)
{
    stopped_ = WIFSTOPPED(waitStatus);
    if (WIFEXITED(waitStatus)) end_ = kxExited(WEXITSTATUS(waitStatus));
    if (WIFSIGNALED(waitStatus)) end_ = kxKilledBy(WTERMSIG(waitStatus));
}

// Waits a moment for something to happen and takes in what came.
void kxProcess::idle(bool wantsToWrite)
{
    pollfd entries[] = {{output_.descriptor(), POLLIN, 0},
                        {error_.descriptor(), POLLIN, 0},
                        {reports_, POLLIN, 0},
                        {wantsToWrite ? input_ : -1, POLLOUT, 0}};
    ::poll(entries, std::size(entries), 5);
    output_.drain();
    error_.drain();
    if (terminal_) terminal_->screen();
}
