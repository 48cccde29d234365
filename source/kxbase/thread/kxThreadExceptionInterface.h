// Told of exceptions that leave the process() of a kxThread, besides the Fatal message that is sent.
//
// Ownership: whoever installs one with kxThread::setExceptionHandler keeps it as long as threads run: removing it
//            does not wait for a call in progress.
// Threads:   called on the thread that the exception ended, with no lock held.
// Errors:    what it throws is dropped.
#pragma once

#include <cstdint>

class kxThreadExceptionInterface {
public:
    virtual void exceptionLeftProcess(std::uint32_t threadId, const char* text) = 0;

protected:
    ~kxThreadExceptionInterface() = default;
};
