#include "kxbase/notify/kxNotifyManager.h"

#include "kxbase/core/kxClock.h"
#include "support/kxMemoryTrace.h"
#include "support/kxTest.h"

#include <mutex>

namespace {

using Names = std::vector<std::string>;
using Action = std::function<void(kxNotifyManager&, kxNotifyMessage&)>;

struct Subscriber : kxNotifyInterface {
    explicit Subscriber(Action received) : action(std::move(received)) {}
    ~Subscriber() override { unsubscribeFromAll(); }
    void receive(kxNotifyManager& from, kxNotifyMessage& message, const void*) override
    {
        action(from, message);
    }
    const Action action;
};

// Writes down what it gets.
struct Recorder : Subscriber {
    Recorder() : Subscriber([this](auto&, auto& message) { names.emplace_back(message.getName().view()); }) {}
    Names names;
};

}  // namespace

TEST(kxNotifyManager, DeliversByPriorityThenInTheOrderOfPosting)
{
    struct Post {
        const char* name;
        std::int32_t priority;
        double lifetime = 0;
        double dueTime = 0;
    };
    const double later = kxClock::seconds() + 1000;
    const std::tuple<const char*, std::vector<Post>, Names> cases[] = {
        {"higher first", {{"low", 0}, {"high", 5}, {"high too", 5}}, {"high", "high too", "low"}},
        {"between", {{"a", 9}, {"c", 1}, {"b", 5}, {"b2", 5}, {"a2", 9}}, {"a", "a2", "b", "b2", "c"}},
        {"extremes", {{"min", INT32_MIN}, {"zero", 0}, {"max", INT32_MAX}}, {"max", "zero", "min"}},
        {"expired ones go", {{"gone", 9, -1}, {"lives", 0, 1000}, {"for ever", -1}}, {"lives", "for ever"}},
        {"not due ones stay", {{"a", 3, 0, later}, {"b", 2}, {"c", 1, 0, later}, {"d", 0, 0, 1}}, {"b", "d"}},
        {"expiry goes before due time", {{"a", 0, -1, later}, {"b", 0}}, {"b"}},
    };
    for (const auto& [why, posts, expected] : cases) {
        SCOPED_TRACE(why);
        kxNotifyManager manager;
        Recorder recorder;
        manager.subscribe(recorder);
        for (const Post& p : posts)
            manager.post(p.name, p.priority, p.lifetime, nullptr, nullptr, 0, false, p.dueTime);
        EXPECT_EQ(recorder.names, Names());
        manager.deliver();
        EXPECT_EQ(recorder.names, expected);
    }
    kxNotifyManager manager;
    Recorder recorder;
    manager.subscribe(recorder);
    const double due = kxClock::seconds() + 0.03;
    manager.post("due", 0, 0, nullptr, nullptr, 0, false, due);
    while (recorder.names.empty() && kxClock::seconds() < due + 10) manager.deliver();
    EXPECT_TRUE(kxClock::seconds() >= due && recorder.names == Names({"due"}));
}

TEST(kxNotifyManager, FiltersBySenderAndDeliversAtOnceWhenAsked)
{
    int senders[2];
    kxNotifyManager manager;
    Recorder all, first, both;
    for (int turn = 0; turn < 2; ++turn) manager.subscribe(all);
    manager.subscribe(first, &senders[0]);
    for (int& sender : senders) manager.subscribe(both, &sender);
    manager.post("a", 0, 0, &senders[0], nullptr, 0, true);
    manager.setAutoDeliver(true);
    manager.post("b", 0, 0, &senders[1]);
    manager.unsubscribe(both, &senders[0]);
    manager.post("c", 0, 0, &senders[0]);
    manager.unsubscribe(both);
    manager.post("d", 0, 0, &senders[1]);
    EXPECT_EQ(all.names, Names({"a", "b", "c", "d"}));
    EXPECT_EQ(first.names, Names({"a", "c"}));
    EXPECT_EQ(both.names, Names({"a", "b"}));
}

TEST(kxNotifyManager, ChangesFromInsideADelivery)
{
    kxNotifyManager manager;
    Recorder added, leaving;
    Subscriber changing([&](kxNotifyManager& from, kxNotifyMessage& message) {
        if (message.getName() != "one") return;
        for (int time = 0; time < 2; ++time) from.post("nested", 9, 0, nullptr, nullptr, 0, true);
        from.subscribe(added);
        from.unsubscribe(leaving);
    });
    manager.subscribe(changing);
    manager.subscribe(leaving);
    manager.post("one");
    manager.post("two");
    manager.deliver();
    EXPECT_EQ(added.names, Names()) << "new ones wait for the end";
    EXPECT_EQ(leaving.names, Names()) << "those that leave are not called any more";
    EXPECT_EQ(manager.getPendingCount(), 2U) << "no delivery inside another";
    manager.deliver();
    EXPECT_EQ(added.names, Names({"nested", "nested"}));
}

TEST(kxNotifyManager, OutlivesWhatSubscribersDo)
{
    auto manager = std::make_unique<kxNotifyManager>();
    auto passing = std::make_unique<Recorder>();
    Recorder first;
    Subscriber hostile([&](auto&, auto& message) {
        passing.reset();
        if (message.getName() == "throw") throw std::runtime_error("x");
        if (message.getName() == "destroy") manager.reset();
    });
    manager->subscribe(first);
    manager->subscribe(hostile);
    manager->subscribe(*passing);
    for (const char* name : {"throw", "plain", "destroy", "lost"}) manager->post(name);
    EXPECT_THROW(manager->deliver(), std::runtime_error);
    manager->deliver();
    EXPECT_EQ(manager, nullptr);
    EXPECT_EQ(first.names, Names({"throw", "plain", "destroy"}));
}

TEST(kxNotifyMessage, CopiesEveryFieldAndClonesWhatMayBeCloned)
{
    const auto plain = kxMakeRef<kxThreadSafeReference>();
    const auto message = kxMakeRef<kxNotifyMessage>("name", this, plain, 5, 2, 1.5);
    const kxNotifyMessage copy(*message);
    EXPECT_TRUE(copy.getName() == "name" && copy.getSender() == this && copy.getTag() == 1.5 &&
                copy.getCreationTime() == 5 && copy.getExpiryTime() == 7 && copy.getPayload() == plain.get());
    const kxNotifyMessage outer("outer", this, message, 5, 0, 0);
    EXPECT_NE(kxNotifyMessage(outer).getPayload(), message.get()) << "a message says that it may be cloned";
}

TEST(kxNotifyManager, WithstandsEverythingAtOnce)
{
    const double end = kxClock::seconds() + 0.3;
    std::mutex lock;
    std::shared_ptr<kxNotifyManager> managers[2];
    std::atomic<int> received{0};
    const auto replace = [&](std::uint32_t number, bool isGoing) {
        std::shared_ptr<kxNotifyManager> gone;  // outside the lock
        const std::lock_guard guard(lock);
        auto& place = managers[number % 2];
        if (isGoing) gone.swap(place);
        if (!place) place = std::make_shared<kxNotifyManager>();
        return place;
    };
    const auto repeat = [&](auto action) {
        const auto isOver = [&](double now) { return now >= end + (received == 0 ? 10 : 0); };
        for (std::uint32_t number = 0; !isOver(kxClock::seconds()); ++number)
            action(replace(number, false), number);
    };
    const auto post = [&](const auto& manager, std::uint32_t number) {
        manager->post("x", std::int32_t(number % 7), 0, nullptr, kxMakeRef<kxThreadSafeReference>());
    };
    const auto subscribe = [&](const auto& first, std::uint32_t number) {
        Subscriber subscriber([&](auto&, auto& message) { received += message.getName() == "x"; });
        const auto second = replace(number + 1, false);  // both may go before the subscriber
        first->subscribe(subscriber);
        second->subscribe(subscriber, second.get());
        std::this_thread::yield();
        if (number % 3 == 0) first->unsubscribe(subscriber);
    };
    {
        std::vector<std::jthread> threads;
        for (int count = 0; count < 4; ++count) threads.emplace_back([&] { repeat(post); });
        for (int count = 0; count < 2; ++count) threads.emplace_back([&] { repeat(subscribe); });
        for (int count = 0; count < 2; ++count)
            threads.emplace_back([&] { repeat([](const auto& manager, auto) { manager->deliver(); }); });
        repeat([&](const auto&, std::uint32_t number) { replace(number, true); });
    }
    EXPECT_GT(received, 0);
}

// Were a line sent under a lock of the manager, the other thread would wait for ever. Last, since it ends a trace that
// the environment has begun.
TEST(kxNotifyManager, LetsOthersInWhileTheMemoryCheckTellsOfAPost)
{
    struct Looker final : kxMessageReceiverInterface {
        explicit Looker(const kxNotifyManager& itsManager) : manager(itsManager) {}
        void receive(const kxString&, std::uint32_t, const kxString&) override
        {
            std::thread([this] { counts.push_back(manager.getPendingCount()); }).join();
        }
        const kxNotifyManager& manager;
        std::vector<std::uint32_t> counts;
    };
    kxNotifyManager manager;
    Looker looker(manager);
    kxMessageManager::instance().addReceiver(looker);
    {
        const kxMemoryTrace trace;
        for (const std::int32_t priority : {1, 2}) manager.post("x", priority);
    }
    kxMessageManager::instance().removeReceiver(looker);
    EXPECT_TRUE(std::is_sorted(looker.counts.begin(), looker.counts.end()));
    EXPECT_EQ(looker.counts.back(), 2U) << "told of its place once it has it";
}
