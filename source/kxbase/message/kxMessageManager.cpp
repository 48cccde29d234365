#include "kxbase/message/kxMessageManager.h"

#include "kxbase/core/kxBodyGuard.h"
#include "kxbase/core/kxFatalError.h"
#include "kxbase/core/kxMemCheck.h"
#include "kxbase/core/kxMemoryMessages.h"
#include "kxbase/core/kxMessage.h"
#include "kxbase/core/kxProcessMutex.h"
#include "kxbase/core/kxUntrackedScope.h"
#include "kxbase/core/kxVersion.h"
#include "kxbase/message/DefaultMessageReceiver.h"
#include "kxbase/message/kxMessagePrefix.h"
#include "kxbase/message/kxMessageSilence.h"
#include "kxbase/platform/kxPlatformEnvironment.h"
#include "kxbase/platform/kxPlatformThread.h"
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
constexpr std::uint32_t kLongestStandingBackMilliseconds = 1000;

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

// Holds senders back while a change waits for its turn.
struct kxMessageManager::Waiting {
    explicit Waiting(kxMessageManager& owner) : manager(owner)
    {
        ++manager.lastTicket_;
        ++manager.waitingChanges_;
    }
    ~Waiting()
    {
        --manager.waitingChanges_;
        kxPlatformWakeAll(manager.waitingChanges_);
    }
    Waiting(const Waiting&) = delete;
    Waiting& operator=(const Waiting&) = delete;

    kxMessageManager& manager;
};

// One send on the calling thread. The members of all threads are trivial, so that messages work while a
// thread or the process ends.
struct kxMessageManager::Delivery {
    using Changes = std::vector<Change>;

    static thread_local std::uint32_t depth;
    static thread_local std::uint32_t nestedSends;  // within the outermost send
    static thread_local std::uint32_t vainTicket;   // of the change stood back for in vain
    static thread_local Changes* postponed;         // changes asked for by receivers

    static bool isInside() { return depth != 0; }
    static bool mayBegin()
    {
        return !kxMessageSilence::isInside() && depth < kDeepestNesting && nestedSends < kMostNestedSends;
    }

    static bool isRemoved(const kxMessageReceiverInterface* receiver)
    {
        if (postponed == nullptr) return false;
        const auto last = std::find_if(postponed->rbegin(), postponed->rend(),
                                       [=](const Change& change) { return change.receiver == receiver; });
        return last != postponed->rend() && last->kind == Change::REMOVE;
    }

    static void postpone(const Change& change)
    {
        if (postponed == nullptr) postponed = new Changes;
        postponed->push_back(change);
    }

    explicit Delivery(kxMessageManager& owner) : manager(owner)
    {
        if (depth++ != 0) ++nestedSends;
    }
    Delivery(const Delivery&) = delete;
    Delivery& operator=(const Delivery&) = delete;
    ~Delivery()
    {
        if (--depth != 0) return;
        nestedSends = 0;
        if (postponed == nullptr) return;
        const std::unique_ptr<Changes> changes(std::exchange(postponed, nullptr));
        for (Change& change : *changes) manager.apply(change);
    }

    kxMessageManager& manager;
};

thread_local std::uint32_t kxMessageManager::Delivery::depth = 0;
thread_local std::uint32_t kxMessageManager::Delivery::nestedSends = 0;
thread_local std::uint32_t kxMessageManager::Delivery::vainTicket = 0;
thread_local kxMessageManager::Delivery::Changes* kxMessageManager::Delivery::postponed = nullptr;

// A fork happens while nobody changes the list: it is locked for reading, since a receiver may be what forks. In
// the child a new lock takes the place of the old one, which threads that are not there may hold or wait for.
struct kxMessageManager::Fork {
    static void before() { instance().receiversLock_.readLock(); }
    static void after() { instance().receiversLock_.unlock(); }
    static void afterInChild()
    {
        std::construct_at(&instance().receiversLock_, kxSemaphoreStart{.holderCount = Delivery::depth});
        instance().waitingChanges_ = 0;
    }
};

kxMessageManager& kxMessageManager::instance()
{
    const auto make = [] {
        const kxUntrackedScope scope;
        return new kxMessageManager;
    };
    static constinit kxPlatformForkGuard guard{Fork::before, Fork::after, Fork::afterInChild};
    static kxMessageManager* const manager = make();
    [[maybe_unused]] static const bool isGuarded = (kxPlatformAddForkGuard(guard), true);
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
    if (!kxMessageFilter::passes(level) || !Delivery::mayBegin()) return;
    if (!Delivery::isInside()) letChangesPass();
    const Delivery delivery(*this);
    while (!deliver(level, format, arguments)) addDefaultReceiver();
}

// Readers come in whoever waits to write, as nested sends need; so senders that never leave the list free would
// keep a change waiting for ever. A thread stands back once for each change, since the receiver that the change
// waits for may itself be waiting, even for this thread.
void kxMessageManager::letChangesPass() const
{
    const std::uint32_t waiting = waitingChanges_.load();
    const std::uint32_t ticket = lastTicket_.load();
    if (waiting == 0 || ticket == Delivery::vainTicket) return;
    if (!kxPlatformWaitWhile(waitingChanges_, waiting, kLongestStandingBackMilliseconds))
        Delivery::vainTicket = ticket;
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
        if (!Delivery::isRemoved(receiver)) receiver->receive(sender_, level, text);
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
        const kxMessageSilence silence;  // what its creation sends would ask for the receiver
        defaultReceiver_ = new DefaultMessageReceiver;
    }
    return *defaultReceiver_;
}

void kxMessageManager::addDefaultReceiver()
{
    DefaultMessageReceiver& receiver = defaultReceiver();
    const kxBodyWriteGuard writing(receiversLock_);
    if (receivers_.empty()) receivers_.push_back(&receiver);
    kxMessageFilter::setOpen(false);
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
    if (Delivery::isInside())
        Delivery::postpone(change);
    else
        apply(change);
}

// What the change replaces goes with the change, when the list is free again.
void kxMessageManager::apply(Change& change)
{
    const Waiting waiting(*this);
    const kxBodyWriteGuard guard(receiversLock_);
    const auto place = std::find(receivers_.begin(), receivers_.end(), change.receiver);
    if (change.kind == Change::SENDER)
        std::swap(sender_, change.sender);
    else if (change.kind == Change::ADD && place == receivers_.end())
        receivers_.push_back(change.receiver);
    else if (change.kind == Change::REMOVE && place != receivers_.end())
        receivers_.erase(place);
    kxMessageFilter::setOpen(receivers_.empty());
}
