// A receiver of a program's own: it counts what the library and the program report and shows the last Warning.
// Beside it, everything goes into the log file "korvexsdk.log".

#include "kxbase/kxbase.h"

#include <atomic>
#include <cstdio>

namespace {

// Receivers are called by several threads at once, hence the lock.
class Summary : public kxMessageReceiverInterface {
public:
    Summary() { kxMessageManager::instance().addReceiver(*this); }
    // When the removal returns, no thread is in receive() any more.
    ~Summary() noexcept override { kxMessageManager::instance().removeReceiver(*this); }

    void receive(const kxString& sender, std::uint32_t level, const kxString& text) override
    {
        ++count_;
        if (level < KX_MESSAGE_WARNING) return;
        const kxBodyGuard guard(mutex_);
        lastWarning_ = sender + ": " + text;
    }
    void print()
    {
        const kxBodyGuard guard(mutex_);
        std::printf("%u messages, the last warning is \"%s\"\n", count_.load(), lastWarning_.text());
    }

private:
    std::atomic<unsigned> count_{0};
    kxMutex mutex_;
    kxString lastWarning_;
};

}  // namespace

int main()
{
    kxMessageManager& messages = kxMessageManager::instance();
    messages.setSender("ownReceiver");
    kxMessageFileReceiver log;
    messages.addReceiver(log);
    Summary summary;

    kxMessage(KX_MESSAGE_NOTICE, "reading '%s'", "no such file");
    kxMessage(KX_MESSAGE_DEBUG, "not seen at the usual level");
    if (!kxSerializeAdapter::getAdapter("file:no such file", KX_SERIALIZE_INPUT)) {
        kxMessage(KX_MESSAGE_NOTICE, "as was to be expected");
    }
    summary.print();
    messages.removeReceiver(log);
    return 0;
}
