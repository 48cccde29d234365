// The process-wide message service: filters messages by level, translates and formats them, and hands them to
// its receivers in the order in which they were added. While there is none, any message adds the default receiver,
// also one that is then filtered out; what is sent while that is made goes nowhere. While messaging is switched off
// nothing is added.
//
// Ownership: refers to receivers and to the translator; their owners remove them before destroying them. When the
//            removal of a receiver returns, it is not called any more; setTranslator() promises less.
// Threads:   every operation may be called from any thread, also before main and after it. A change of the
//            receivers waits for deliveries on other threads. While it waits, each thread that begins to send
//            stands back for it, up to one second and then not again; so a change gets its turn as long as
//            deliveries take less than that, and a receiver that blocks holds up no other sender for longer.
//            From inside a receiver, additions and removals take effect when the outermost delivery of that
//            thread is over; a receiver removed there is not called again by it. Receivers and the translator
//            are called with the list locked for reading, so they must not wait for a thread that adds or
//            removes receivers. They may wait for threads that send. A forked child may use everything, also
//            when a receiver forks.
// Errors:    sending never throws because of the message; a fault in the formatting becomes a further message.
//            Receivers that send are nested at most 16 deep and send at most 1000 times within one outermost
//            message; what is more is dropped.
#pragma once

#include "kxbase/core/kxArgumentView.h"
#include "kxbase/core/kxMessageFilter.h"
#include "kxbase/message/kxMessageReceiverInterface.h"
#include "kxbase/message/kxMessageTranslatorInterface.h"
#include "kxbase/thread/kxChangeTurn.h"
#include "kxbase/thread/kxReadWriteMutex.h"

#include <atomic>
#include <vector>

class DefaultMessageReceiver;

class kxMessageManager {
public:
    // Made on first use and never destroyed.
    static kxMessageManager& instance();

    void send(std::uint32_t level, std::string_view format, kxArgumentView arguments);

    // Messages below this level are dropped, and those from inside the library unless it carries
    // KX_MESSAGE_INTERNAL. At first it is Notice, or what KORVEX_MESSAGE_LEVEL says.
    void setLevel(std::uint32_t level) { kxMessageFilter::setLevel(level); }
    std::uint32_t level() const { return kxMessageFilter::level(); }
    // Switches all messages off and on.
    void setEnabled(bool enabled) { kxMessageFilter::setEnabled(enabled); }
    // The name handed to receivers; "KorvexSDK" at first. From inside a receiver it takes effect when the outermost
    // delivery is over, as additions do.
    void setSender(const kxString& sender);

    // Adding a receiver that is there already changes nothing.
    void addReceiver(kxMessageReceiverInterface& receiver);
    void removeReceiver(kxMessageReceiverInterface& receiver);
    // The receiver that a message adds when there is none; it may be switched off or removed.
    DefaultMessageReceiver& defaultReceiver();
    // The translator that the manager has at first; it lives as long as the process. Defined in
    // program/kxDefaultMessageTranslator.cpp: it rests on adapters, which this folder does not know.
    static kxMessageTranslatorInterface& defaultTranslator();
    // Null for none. Unlike a removed receiver, the previous translator may still be at work on other threads when
    // this returns, and must outlive that.
    void setTranslator(kxMessageTranslatorInterface* translator) { translator_.store(translator); }
    // The translation of a text, or the text itself when there is none. The level is handed to the translator; nothing
    // is filtered by it.
    kxString translate(std::string_view text, std::uint32_t level);

private:
    class Delivery;
    struct Change;
    struct Fork;
    struct Sending;

    kxMessageManager();
    kxString finishedText(std::uint32_t level, std::string_view format, kxArgumentView arguments);
    bool deliver(std::uint32_t level, std::string_view format, kxArgumentView arguments);
    void addDefaultReceiver();
    void change(Change change);
    void apply(Change& change);

    kxString translationOf(std::string_view text, std::uint32_t level);

    std::atomic<kxMessageTranslatorInterface*> translator_{&defaultTranslator()};
    const kxString module_;
    kxString sender_;  // guarded as the receivers are
    kxChangeTurn changeTurn_;
    kxReadWriteMutex receiversLock_;
    std::vector<kxMessageReceiverInterface*> receivers_;
    DefaultMessageReceiver* defaultReceiver_ = nullptr;  // under a mutex of the process
};
