// The wait status of a forked child that ends with 0 when the code answers true there. An alarm ends a child that
// waits, for a lock that was taken in the parent.
#pragma once

#include <sys/wait.h>
#include <unistd.h>

template <typename Code> int kxStatusOfChild(Code code)
{
    const pid_t child = ::fork();
    if (child == 0) {
        ::alarm(20);
        ::_exit(code() ? 0 : 1);
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    return status;
}
