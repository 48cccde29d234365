#include "support/kxPseudoTerminal.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <iterator>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

int checked(int result, const char* what)
{
    if (result < 0) throw std::system_error(errno, std::generic_category(), what);
    return result;
}

}  // namespace

kxPseudoTerminal::kxPseudoTerminal()
{
    master_ = checked(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC), "posix_openpt");
    screen_.open(master_);
    checked(::grantpt(master_), "grantpt");
    checked(::unlockpt(master_), "unlockpt");
    slave_ = checked(::open(::ptsname(master_), O_RDWR | O_NOCTTY | O_CLOEXEC), "open terminal");
    const winsize size{24, 80, 0, 0};
    checked(::ioctl(slave_, TIOCSWINSZ, &size), "window size");
}

kxPseudoTerminal::~kxPseudoTerminal()
{
    ::close(slave_);
}

termios kxPseudoTerminal::attributes() const
{
    termios result{};
    checked(::tcgetattr(slave_, &result), "tcgetattr");
    return result;
}

bool kxPseudoTerminal::send(std::string_view keys, std::chrono::milliseconds timeout)
{
    const auto end = Clock::now() + timeout;
    while (!keys.empty()) {
        const ssize_t count = ::write(master_, keys.data(), keys.size());
        if (count > 0)
            keys.remove_prefix(static_cast<std::size_t>(count));
        else if ((errno != EAGAIN && errno != EINTR) || Clock::now() >= end)
            return false;
        else
            pause();
    }
    return true;
}

bool kxPseudoTerminal::readUntil(std::string_view text, std::chrono::milliseconds timeout)
{
    const auto end = Clock::now() + timeout;
    screen_.drain();
    while (!screen_.find(text)) {
        if (Clock::now() >= end) return false;
        pause();
    }
    return true;
}

const std::string& kxPseudoTerminal::screen()
{
    screen_.drain();
    return screen_.text();
}

// Waits a moment for output and takes it in, so that the program never stands still on a full terminal.
void kxPseudoTerminal::pause()
{
    pollfd entry{master_, POLLIN, 0};
    ::poll(&entry, 1, 5);
    screen_.drain();
}

bool kxSameAttributes(const termios& first, const termios& second)
{
    return first.c_iflag == second.c_iflag && first.c_oflag == second.c_oflag &&
           first.c_cflag == second.c_cflag && first.c_lflag == second.c_lflag &&
           std::equal(std::begin(first.c_cc), std::end(first.c_cc), std::begin(second.c_cc)) &&
           ::cfgetispeed(&first) == ::cfgetispeed(&second) && ::cfgetospeed(&first) == ::cfgetospeed(&second);
}
