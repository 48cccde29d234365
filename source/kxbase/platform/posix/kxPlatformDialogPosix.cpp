#include "kxbase/platform/kxPlatformDialog.h"

#include "kxbase/platform/kxPlatformFile.h"
#include "kxbase/platform/kxPlatformWait.h"
#include "kxbase/platform/posix/kxPosixTerminalMode.h"

#include <csignal>
#include <cstring>
#include <initializer_list>

#include <poll.h>
#include <termios.h>
#include <unistd.h>

namespace {

constexpr const char* kControllingTerminal = "/dev/tty";
constexpr const char* kQuestion = "\n\n[R]etry or [I]gnore? ";
constexpr int kLookMilliseconds = 100;

// The keys that send a signal. While single keys are read they are answered here, so that nobody finds the
// terminal in that mode.
constexpr struct {
    int place;
    int signal;
} kSignalKeys[] = {{VINTR, SIGINT}, {VQUIT, SIGQUIT}, {VSUSP, SIGTSTP}};

bool isKey(const termios& mode, int place, unsigned char key)
{
    return mode.c_cc[place] == key && key != _POSIX_VDISABLE;
}

int signalOf(const termios& mode, unsigned char key)
{
    if ((mode.c_lflag & ISIG) == 0) return 0;
    for (const auto& row : kSignalKeys)
        if (isKey(mode, row.place, key)) return row.signal;
    return 0;
}

struct Reply {
    bool isRetry;
    int signal;  // that a key asked for, or 0
};

class ControllingTerminal {
public:
    ControllingTerminal()
        : input_(kxPlatformFileOpenRead(kControllingTerminal).file),
          // Opening for writing would make the file where there is none.
          output_(isOpen() ? kxPlatformFileOpenWrite(kControllingTerminal, KX_PLATFORM_APPEND).file
                           : KX_PLATFORM_NO_FILE)
    {}
    ~ControllingTerminal()
    {
        for (const kxPlatformFileHandle handle : {input_, output_})
            if (handle != KX_PLATFORM_NO_FILE) kxPlatformFileClose(handle);
    }
    ControllingTerminal(const ControllingTerminal&) = delete;
    ControllingTerminal& operator=(const ControllingTerminal&) = delete;

    bool isOurs() const { return isOpen() && ::tcgetpgrp(descriptor()) == ::getpgrp(); }
    int descriptor() const { return static_cast<int>(input_); }
    void show(std::initializer_list<const char*> pieces)
    {
        for (const char* const piece : pieces) kxPlatformFileWrite(output_, piece, std::strlen(piece));
    }
    // `mode` gives the keys their meaning.
    Reply readReply(const termios& mode)
    {
        unsigned char key = 0;
        while (readKey(key) && !isKey(mode, VEOF, key)) {
            if (key == 'R' || key == 'r') return {true, 0};
            if (key == 'I' || key == 'i') break;
            const int signal = signalOf(mode, key);
            if (signal != 0) return {false, signal};
        }
        return {false, 0};
    }

private:
    // Another thread may be stopped or close a console meanwhile, hence the look after it every now and then.
    bool readKey(unsigned char& key)
    {
        pollfd wanted{descriptor(), POLLIN, 0};
        do {
            if (!kxPosixDialogMode.takeAgain()) return false;
        } while (::poll(&wanted, 1, kLookMilliseconds) <= 0);
        return kxPlatformFileRead(input_, &key, 1).count == 1;
    }
    bool isOpen() const { return input_ != KX_PLATFORM_NO_FILE; }

    const kxPlatformFileHandle input_;
    const kxPlatformFileHandle output_;
};

// Keys that are typed as soon as the question is seen must find the mode set; those typed before it is seen are no
// answer to it.
Reply ask(ControllingTerminal& terminal, const char* title, const char* text)
{
    if (!kxPosixDialogMode.take(terminal.descriptor())) return {false, 0};
    ::tcflush(terminal.descriptor(), TCIFLUSH);
    terminal.show({"\n", title, "\n", text, kQuestion});
    const Reply reply = terminal.readReply(kxPosixDialogMode.modeBefore());
    terminal.show({"\n"});
    kxPosixDialogMode.giveBack();
    return reply;
}

}  // namespace

bool kxPlatformDialogAskRetry(const char* title, const char* text)
{
    ControllingTerminal terminal;
    while (terminal.isOurs()) {
        const Reply reply = ask(terminal, title, text);
        if (reply.signal == 0) return reply.isRetry;
        // As the terminal would have done; who lives on is asked again. The signal may act on another thread.
        ::kill(0, reply.signal);
        kxPlatformSleep(kLookMilliseconds);
    }
    return false;
}

void kxPlatformBreak()
{
    ::raise(SIGTRAP);
}
