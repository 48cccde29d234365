// Appends messages to a log file, each with the time, the sender and the level's prefix before its text:
// "2024-02-29T23:59:59.999Z KorvexSDK Warning::text". The prefix stays English although the text is translated.
//
// Lines are kept back until 65536 bytes are pending; a Warning or anything above it hands over at once what is
// there, and so do flush() and the destructor. Each hand-over is one write, so that several processes may share
// a file. What is pending at a fork is the parent's; the child goes on with nothing pending.
//
// Ownership: owns the open file.
// Threads:   called by several threads at once; lines are not mixed with each other. All file receivers share one
//            mutex, which is free in a forked child.
// Errors:    a file that cannot be opened is reported in a Warning and takes nothing. So is the first write that
//            fails; what could not be written is kept for the next one, and lines that would make more than
//            65536 bytes of it are lost.
// Units:     times are UTC by the process clock.
#pragma once

#include "kxbase/message/kxMessageReceiverInterface.h"
#include "kxbase/platform/kxPlatformFile.h"

#include <string>

constexpr const char* KX_MESSAGE_LOG_FILE = "korvexsdk.log";

class kxMessageFileReceiver : public kxMessageReceiverInterface {
public:
    explicit kxMessageFileReceiver(const kxString& fileName = KX_MESSAGE_LOG_FILE);
    // To be removed from the manager before.
    ~kxMessageFileReceiver() noexcept override;
    kxMessageFileReceiver(const kxMessageFileReceiver&) = delete;
    kxMessageFileReceiver& operator=(const kxMessageFileReceiver&) = delete;

    void receive(const kxString& sender, std::uint32_t level, const kxString& text) override;
    void flush();
    bool isOpen() const { return file_ != KX_PLATFORM_NO_FILE; }

private:
    bool keep(const std::string& line);
    void leaveToParent();
    kxPlatformError writeOut();
    void report(kxPlatformError error) const;

    const kxString fileName_;
    kxPlatformFileHandle file_ = KX_PLATFORM_NO_FILE;
    // Under the shared mutex; no message is sent under it.
    std::string pending_;
    std::uint32_t forksBefore_;  // forks that led to the process in which pending_ came together
    bool isFailing_ = false;     // the last write failed, which has been reported
};
