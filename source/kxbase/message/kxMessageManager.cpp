#include "kxbase/message/kxMessageManager.h"

#include "kxbase/core/kxBodyGuard.h"
#include "kxbase/core/kxFatalError.h"
#include "kxbase/core/kxForkGuard.h"
#include "kxbase/core/kxMemCheck.h"
#include "kxbase/core/kxMemoryMessages.h"
#include "kxbase/core/kxMessage.h"
#include "kxbase/core/kxModule.h"
#include "kxbase/core/kxProcessMutex.h"
#include "kxbase/core/kxQuietScope.h"
#include "kxbase/core/kxThreadScope.h"
#include "kxbase/core/kxUntrackedScope.h"
#include "kxbase/message/DefaultMessageReceiver.h"
#include "kxbase/message/kxMessageLevelNames.h"
#include "kxbase/platform/kxPlatformEnvironment.h"
#include "kxbase/platform/kxPlatformWait.h"
#include "kxbase/string/kxFormatFault.h"
#include "kxbase/thread/kxBodyReadGuard.h"
#include "kxbase/thread/kxBodyWriteGuard.h"

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

namespace {

constexpr const char* kLevelVariable = "KORVEX_MESSAGE_LEVEL";
constexpr std::uint32_t kDeepestNesting = 16;
constexpr std::uint32_t kMostNestedSends = 1000;

// While such an object lives, the messages that the calling thread sends go nowhere, those of the memory check too.
class Silence : public kxThreadScope<Silence> {};

std::uint32_t levelAtFirst()
{
    const char* const setting = kxPlatformEnvironment(kLevelVariable);
    return setting == nullptr ? KX_MESSAGE_NOTICE : kxMessageLevelNamed(setting, KX_MESSAGE_NOTICE);
}

// A translator that does not know a text answers the empty one.
std::string_view chosen(const kxString& translation, std::string_view english)
{
    return translation.isEmpty() ? english : translation.view();
}

kxString formatted(std::uint32_t level, std::string_view text, kxArgumentView arguments)
{
    if ((level & KX_MESSAGE_RAW) != 0) return kxString(text);
    try {
        return kxString::formatArguments(text, arguments);
    } catch (const kxFatalError&) {
        return kxString(text);
    }
}

}  // namespace

// A change of the receivers or of the sender.
struct kxMessageManager::Change {
    enum Kind : std::uint8_t { ADD, REMOVE, SENDER };

    Kind kind;
    kxMessageReceiverInterface* receiver = nullptr;
    kxString sender = {};
};

// What a thread is sending. Trivial, so that messages work while a thread or the process ends.
struct kxMessageManager::Sending {
    using Changes = std::vector<Change>;

    static constinit thread_local Sending ofThread;

    bool isInside() const { return depth != 0; }
    bool mayBegin() const
    {
        return !Silence::isInside() && depth < kDeepestNesting && nestedSends < kMostNestedSends;
    }

    bool isRemoved(const kxMessageReceiverInterface* receiver) const
    {
        if (postponed == nullptr) return false;
        const auto last = std::find_if(postponed->rbegin(), postponed->rend(),
                                       [=](const Change& change) { return change.receiver == receiver; });
        return last != postponed->rend() && last->kind == Change::REMOVE;
    }

    void postpone(const Change& change)
    {
        if (postponed == nullptr) postponed = new Changes;
        postponed->push_back(change);
    }

    std::uint32_t depth = 0;
    std::uint32_t nestedSends = 0;  // within the outermost send
    std::uint32_t vainTicket = 0;   // see kxChangeTurn
    Changes* postponed = nullptr;   // changes asked for by receivers
};

constinit thread_local kxMessageManager::Sending kxMessageManager::Sending::ofThread;

// One send of the calling thread.
class kxMessageManager::Delivery {
public:
    Delivery(kxMessageManager& manager, Sending& sending) : manager_(manager), sending_(sending)
    {
        if (sending_.depth++ != 0) ++sending_.nestedSends;
    }
    Delivery(const Delivery&) = delete;
    Delivery& operator=(const Delivery&) = delete;
    ~Delivery()
    {
        if (--sending_.depth != 0) return;
        sending_.nestedSends = 0;
        if (sending_.postponed == nullptr) return;
        const std::unique_ptr<Sending::Changes> changes(std::exchange(sending_.postponed, nullptr));
        for (Change& change : *changes) manager_.apply(change);
    }

private:
    kxMessageManager& manager_;
    Sending& sending_;
};

// A fork happens while nobody changes the list: it is locked for reading, since a receiver may be what forks. In
// the child a new lock takes the place of the old one, which threads that are not there may hold or wait for.
struct kxMessageManager::Fork {
    static void before() { instance().receiversLock_.readLock(); }
    static void after() { instance().receiversLock_.unlock(); }
    static void afterInChild()
    {
        std::construct_at(&instance().receiversLock_,
                          kxSemaphoreStart{.holderCount = Sending::ofThread.depth});
        instance().changeTurn_.forgetInChild();
    }
};

kxMessageManager& kxMessageManager::instance()
{
    const auto make = [] {
        const kxUntrackedScope scope;
        return new kxMessageManager;
    };
    static kxMessageManager* const manager = make();
    static const kxForkGuard guard({Fork::before, Fork::after, Fork::afterInChild});
    return *manager;
}

kxMessageManager::kxMessageManager() : module_(KX_MODULE_NAME), sender_(module_)
{
    setLevel(levelAtFirst());
    // Where the check was switched on before, or on another thread meanwhile, its own level counts.
    if (kxMemCheck::wasTracking()) kxMemoryMessages::show();
}

void kxMessageManager::send(std::uint32_t level, std::string_view format, kxArgumentView arguments)
{
    Sending& sending = Sending::ofThread;
    if (!kxMessageFilter::passes(level) || !sending.mayBegin()) return;
    const kxQuietScope quiet;  // a receiver that allocates is not called again before it is done
    if (!sending.isInside()) changeTurn_.letPass(sending.vainTicket);
    const Delivery delivery(*this, sending);
    while (!deliver(level, format, arguments)) addDefaultReceiver();
}

// Answers false when there is nobody to deliver to.
bool kxMessageManager::deliver(std::uint32_t level, std::string_view format, kxArgumentView arguments)
{
    const kxBodyReadGuard guard(receiversLock_);
    if (receivers_.empty()) return false;
    if (!kxMessageFilter::isWanted(level)) return true;
    const kxString text = finishedText(level, format, arguments);
    const kxFormatFaultReceiving receiving;
    for (kxMessageReceiverInterface* const receiver : receivers_) {
        if (!Sending::ofThread.isRemoved(receiver)) receiver->receive(sender_, level, text);
    }
    return true;
}

kxString kxMessageManager::finishedText(std::uint32_t level, std::string_view format,
                                        kxArgumentView arguments)
{
    const bool isTranslated = (level & KX_MESSAGE_UNTRANSLATED) == 0 && level >= KX_MESSAGE_NOTICE;
    const kxString translation = isTranslated ? translationOf(format, level) : kxString();
    return formatted(level, chosen(translation, format), arguments);
}

kxString kxMessageManager::translate(std::string_view text, std::uint32_t level)
{
    const kxString translation = translationOf(text, level);
    return kxString(chosen(translation, text));
}

// Empty when there is none.
kxString kxMessageManager::translationOf(std::string_view text, std::uint32_t level)
{
    kxMessageTranslatorInterface* const translator = translator_.load();
    return translator != nullptr ? translator->translate(text, module_, level) : kxString();
}

DefaultMessageReceiver& kxMessageManager::defaultReceiver()
{
    const kxBodyGuard guard(kxProcessMutex<DefaultMessageReceiver>());
    if (defaultReceiver_ == nullptr) {
        const Silence silence;  // what its creation sends would ask for the receiver
        defaultReceiver_ = new DefaultMessageReceiver;
    }
    return *defaultReceiver_;
}

void kxMessageManager::addDefaultReceiver()
{
    DefaultMessageReceiver& receiver = defaultReceiver();
    const kxBodyWriteGuard writing(receiversLock_);
    if (receivers_.empty()) receivers_.push_back(&receiver);
    kxMessageFilter::setHasNoReceiver(false);
}

void kxMessageManager::setSender(const kxString& sender)
{
    const kxUntrackedScope scope;  // the name lives as long as the process
    change({Change::SENDER, nullptr, sender});
}

void kxMessageManager::addReceiver(kxMessageReceiverInterface& receiver)
{
    change({Change::ADD, &receiver});
}

void kxMessageManager::removeReceiver(kxMessageReceiverInterface& receiver)
{
    change({Change::REMOVE, &receiver});
}

void kxMessageManager::change(Change change)
{
    Sending& sending = Sending::ofThread;
    if (sending.isInside())
        sending.postpone(change);
    else
        apply(change);
}

// What the change replaces goes with the change, when the list is free again.
void kxMessageManager::apply(Change& change)
{
    const kxChangeTurn::Announced announced(changeTurn_);
    const kxBodyWriteGuard guard(receiversLock_);
    const auto place = std::find(receivers_.begin(), receivers_.end(), change.receiver);
    if (change.kind == Change::SENDER)
        std::swap(sender_, change.sender);
    else if (change.kind == Change::ADD && place == receivers_.end())
        receivers_.push_back(change.receiver);
    else if (change.kind == Change::REMOVE && place != receivers_.end())
        receivers_.erase(place);
    kxMessageFilter::setHasNoReceiver(receivers_.empty());
}
