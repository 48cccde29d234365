#include "support/kxPseudoTerminal.h"

#include <cerrno>
#include <cstring>
#include <system_error>

#include <fcntl.h>
#include <pty.h>
#include <unistd.h>

namespace {

void check(int result)
{
    if (result < 0) throw std::system_error(errno, std::generic_category(), "kxPseudoTerminal");
}

}  // namespace

kxPseudoTerminal::kxPseudoTerminal()
{
    check(::openpty(&master_, &slave_, nullptr, nullptr, nullptr));
    for (const int end : {master_, slave_}) ::fcntl(end, F_SETFD, FD_CLOEXEC);
    screen_.open(master_);
}

kxPseudoTerminal::~kxPseudoTerminal()
{
    ::close(slave_);
}

termios kxPseudoTerminal::attributes() const
{
    termios result{};
    check(::tcgetattr(slave_, &result));
    return result;
}

pid_t kxPseudoTerminal::foreground() const
{
    return ::tcgetpgrp(master_);
}

bool kxPseudoTerminal::send(std::string_view keys)
{
    return ::write(master_, keys.data(), keys.size()) == static_cast<ssize_t>(keys.size());
}

bool kxPseudoTerminal::readUntil(std::string_view text)
{
    return kxAwait([&] {
        screen_.drain();
        return screen_.find(text);
    });
}

const std::string& kxPseudoTerminal::screen()
{
    screen_.drain();
    return screen_.text();
}

bool kxSameAttributes(const termios& first, const termios& second)
{
    return std::memcmp(&first, &second, offsetof(termios, c_cc) + sizeof first.c_cc) == 0 &&
           ::cfgetispeed(&first) == ::cfgetispeed(&second) && ::cfgetospeed(&first) == ::cfgetospeed(&second);
}
