#include "kxbase/message/kxMessageManager.h"

#include "kxbase/core/kxMemCheck.h"
#include "kxbase/core/kxMessage.h"
#include "kxbase/message/DefaultMessageReceiver.h"
#include "kxbase/message/kxMessageLevelNames.h"
#include "support/kxFatalText.h"
#include "support/kxMessageRecorder.h"

#include <gtest/gtest.h>

#include <latch>
#include <new>
#include <thread>

#include <unistd.h>

namespace {

using Texts = std::vector<std::string>;

// Restores what a test changes in the process-wide manager.
class kxMessageManagerTest : public testing::Test {
protected:
    void TearDown() override
    {
        manager.setLevel(KX_MESSAGE_NOTICE);
        manager.setTranslator(nullptr);
        manager.setEnabled(true);
    }

    kxMessageManager& manager = kxMessageManager::instance();
};

// Hands every message to a function.
class Receiver : public kxMessageReceiverInterface {
public:
    explicit Receiver(std::function<void(const std::string&)> action) : action_(std::move(action)) {}
    void receive(const kxString&, std::uint32_t, const kxString& text) override
    {
        action_(std::string(text.view()));
    }

private:
    std::function<void(const std::string&)> action_;
};

// One that is added for as long as it lives.
struct Added : Receiver {
    explicit Added(std::function<void(const std::string&)> action) : Receiver(std::move(action))
    {
        kxMessageManager::instance().addReceiver(*this);
    }
    ~Added() override { kxMessageManager::instance().removeReceiver(*this); }
};

class Translator : public kxMessageTranslatorInterface {
public:
    kxString translate(std::string_view text, const kxString&, std::uint32_t) override
    {
        asked.emplace_back(text);
        return text == "hello %s" ? "bonjour %s" : "";
    }
    Texts asked;
};

}  // namespace

TEST_F(kxMessageManagerTest, FiltersByLevelAndFlags)
{
    const std::tuple<const char*, std::uint32_t, std::uint32_t, bool> cases[] = {
        {"the level itself", 0x3000, 0x3000, true},
        {"a lower one", 0x3000, 0x2000, false},
        {"low bits refine", 0x1001, 0x1000, false},
        {"internal unasked", 0x3000, 0x4800, false},
        {"internal asked for", 0x3800, 0x4800, true},
        {"flags of the message count, so raw lifts it above its level", 0x4001, 0x4400, true},
    };
    for (const auto& [why, set, sent, expected] : cases) {
        SCOPED_TRACE(why);
        manager.setLevel(set);
        const kxMessageRecorder messages;
        kxMessage(sent, "x");
        EXPECT_EQ(messages.entries().size(), expected ? 1U : 0U);
    }
    manager.setEnabled(false);
    const kxMessageRecorder messages;
    kxMessage(KX_MESSAGE_ALWAYS, "x");
    EXPECT_EQ(messages.texts(), Texts());
}

TEST_F(kxMessageManagerTest, FormatsUnlessRawAndTranslatesFromNoticeOn)
{
    Translator translator;
    manager.setTranslator(&translator);
    manager.setLevel(KX_MESSAGE_MEMORY);
    const kxMessageRecorder messages;
    kxMessage(KX_MESSAGE_NOTICE, "hello %s", "you");
    kxMessage(KX_MESSAGE_DEBUG, "hello %s", "debug");
    kxMessage(KX_MESSAGE_WARNING | KX_MESSAGE_UNTRANSLATED, "hello %s", "plain");
    kxMessage(KX_MESSAGE_WARNING | KX_MESSAGE_RAW, "100%d");
    kxMessage(KX_MESSAGE_NOTICE, "unknown %d", 5);
    EXPECT_EQ(messages.texts(), Texts({"bonjour you", "hello debug", "hello plain", "100%d", "unknown 5"}));
    EXPECT_EQ(translator.asked, Texts({"hello %s", "100%d", "unknown %d"}));
    EXPECT_EQ(kxTranslate("none"), "none");
}

TEST_F(kxMessageManagerTest, DeliversInOrderAndLimitsNesting)
{
    Texts order;
    {
        Added first([&](const std::string& text) { order.push_back("first " + text); });
        Added second([&](const std::string& text) { order.push_back("second " + text); });
        manager.addReceiver(first);
        kxMessage(KX_MESSAGE_NOTICE, "x");
    }
    EXPECT_EQ(order, Texts({"first x", "second x"}));

    int received = 0;
    Added echoing([&](const std::string&) {
        ++received;
        kxMessage(KX_MESSAGE_NOTICE, "again");
    });
    kxMessage(KX_MESSAGE_NOTICE, "once");
    EXPECT_EQ(received, 16);
    const Added doubling([](const std::string&) { kxMessage(KX_MESSAGE_NOTICE, "again"); });
    received = 0;
    kxMessage(KX_MESSAGE_NOTICE, "once");
    EXPECT_EQ(received, 1001) << "not 65535";
}

TEST_F(kxMessageManagerTest, ChangesFromInsideAReceiverWaitForTheOutermostDelivery)
{
    Texts order;
    Receiver added([&](const std::string& text) { order.push_back("added " + text); });
    Receiver leaving([&](const std::string& text) { order.push_back("leaving " + text); });
    Receiver changing([&](const std::string& text) {
        order.push_back("changing " + text);
        if (text != "one") return;
        manager.addReceiver(added);
        manager.removeReceiver(leaving);
        kxMessage(KX_MESSAGE_NOTICE, "nested");
    });
    manager.addReceiver(changing);
    manager.addReceiver(leaving);
    kxMessage(KX_MESSAGE_NOTICE, "one");
    kxMessage(KX_MESSAGE_NOTICE, "two");
    manager.removeReceiver(changing);
    manager.removeReceiver(added);
    EXPECT_EQ(order, Texts({"changing one", "changing nested", "changing two", "added two"}));
}

TEST_F(kxMessageManagerTest, ARemovalEndsAndTheReceiverIsNotCalledWhateverOtherThreadsSend)
{
    std::atomic<bool> stop{false};
    Added slow([](const std::string&) { std::this_thread::sleep_for(std::chrono::milliseconds(1)); });
    const auto send = [&] {
        while (!stop) kxMessage(KX_MESSAGE_NOTICE, "%d", 1);
    };
    std::jthread first(send), second(send), third(send);
    for (int round = 0; round < 20; ++round) {
        std::atomic<int> calls{0};
        bool alive = true;
        Receiver receiver([&](const std::string&) {
            EXPECT_TRUE(alive);
            ++calls;
        });
        manager.addReceiver(receiver);
        while (calls < 6) std::this_thread::yield();
        manager.removeReceiver(receiver);
        alive = false;
    }
    stop = true;
}

TEST_F(kxMessageManagerTest, SendsFromInsideWhileAChangeWaits)
{
    Texts order;
    std::thread changer;
    Added sending([&](const std::string& text) {
        order.push_back(text);
        if (text != "outer") return;
        changer = std::thread([&] { manager.removeReceiver(sending); });
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        kxMessage(KX_MESSAGE_NOTICE, "nested");
    });
    kxMessage(KX_MESSAGE_NOTICE, "outer");
    changer.join();
    EXPECT_EQ(order, Texts({"outer", "nested"}));
}

TEST_F(kxMessageManagerTest, MakesTheDefaultReceiverForTwoThreadsAtOnce)
{
    testing::internal::CaptureStdout();
    for (int round = 0; round < 400; ++round) {
        std::latch start(2);
        const auto send = [&] {
            start.arrive_and_wait();
            kxMessage(KX_MESSAGE_NOTICE, "first");
        };
        std::thread other(send);
        send();
        other.join();
        kxMessage(KX_MESSAGE_NOTICE, "third");
        manager.removeReceiver(manager.defaultReceiver());
    }
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(std::count(printed.begin(), printed.end(), '\n'), 1200);
}

TEST_F(kxMessageManagerTest, TwoThreadsChangeTheReceiversInsideTheirDeliveries)
{
    std::latch inside(2);
    std::atomic<int> afterwards{0};
    Receiver added([&](const std::string&) { ++afterwards; });
    Receiver changing([&](const std::string&) {
        inside.arrive_and_wait();
        manager.removeReceiver(changing);
        manager.addReceiver(added);
    });
    manager.addReceiver(changing);
    std::thread second([] { kxMessage(KX_MESSAGE_NOTICE, "x"); });
    kxMessage(KX_MESSAGE_NOTICE, "x");
    second.join();
    afterwards = 0;
    kxMessage(KX_MESSAGE_NOTICE, "x");
    manager.removeReceiver(added);
    EXPECT_EQ(afterwards, 1);
}

TEST_F(kxMessageManagerTest, RaisesWithTheFinishedText)
{
    const kxMessageRecorder messages;
    Translator translator;
    manager.setTranslator(&translator);
    EXPECT_EQ(kxFatalText([] { kxRaiseFatal("hello %s", "you"); }), "bonjour you");
    EXPECT_EQ(kxFatalText([] { kxRaiseTemplateFatal("x%d", 1); }), "Template-x1");
    EXPECT_EQ(messages.texts(), Texts()) << "raising sends nothing by itself";
    EXPECT_THROW(kxThrowBadAlloc("/a/b/c.cpp", 7), std::bad_alloc);
    EXPECT_EQ(messages.texts(), Texts({"Bad Alloc:File: c.cpp  Line: 7  Ver: 2.10.5"}));
    EXPECT_EQ(messages.entries()[0].level, KX_MESSAGE_FATAL);
    const Added failing([](const std::string&) { throw 1; });
    EXPECT_THROW(kxThrowBadAlloc("x", 1), std::bad_alloc);
    EXPECT_EQ(messages.texts().size(), 2U);
}

TEST(kxMessageLevelNames, StandInPrefixesAndAreFound)
{
    const std::tuple<std::uint32_t, const char*> prefixes[] = {
        {0x1001, " Perf::"}, {0x2800, " Internal Debug::"}, {0x4002, ""}, {0x4802, " Internal::"}};
    for (const auto& [level, prefix] : prefixes) EXPECT_EQ(kxMessagePrefix(level), prefix) << level;

    const std::tuple<const char*, std::uint32_t> settings[] = {
        {"Warning", 0x4000}, {"internal perf", 0x1801}, {"0x2800", 0x2800}, {"8192", 0x2000},
        {"", 0x3000},        {"Internal", 0x3000},      {"Warn", 0x3000},   {"99999999999", 0x3000},
    };
    for (const auto& [setting, expected] : settings) {
        EXPECT_EQ(kxMessageLevelNamed(setting, 0x3000), expected) << setting;
    }
}

TEST(DefaultMessageReceiverDeathTest, IsMadeByTheFirstMessageAndWritesToStandardOutput)
{
    const auto send = [] {
        ::dup2(2, 1);  // death tests look at standard error
        if (kxMemCheck::isTracking()) kxMessageManager::instance().setLevel(KX_MESSAGE_NOTICE);
        kxMessage(KX_MESSAGE_DEBUG, "filtered out, but first");
        const kxMessageRecorder other;
        kxMessage(KX_MESSAGE_WARNING, "%s", "text");
        kxMessage(KX_MESSAGE_INTERNAL_WARNING, "unseen");
        kxMessageManager::instance().setSender(std::string(2000, 's').c_str());
        kxMessage(KX_MESSAGE_FATAL, "x");
        ::_exit(0);
    };
    EXPECT_EXIT(send(), testing::ExitedWithCode(0), "^\rKorvexSDK Warning::text\n\rs{1023}x\n$");
}
