// Posting one message and delivering it to one and to ten subscribers, beside a hub made of the standard
// library's parts: a queue under a mutex, shared messages, and functions that are called under a second mutex.
//
// The hub knows no priorities, life times, filters or changes during a delivery. The manager reads the clock when
// a message is made and when it is delivered, and each message has a count under a lock of its own; these are
// most of the difference, and its rules demand them. Every further subscriber costs a virtual call.
#include "kxbase/notify/kxNotifyManager.h"

#include <benchmark/benchmark.h>

#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace {

class Counter : public kxNotifyInterface {
public:
    void receive(kxNotifyManager&, kxNotifyMessage& message, const void*) override
    {
        count += message.getTag() == 1;
    }
    std::uint64_t count = 0;
};

void postAndDeliver(benchmark::State& state)
{
    kxNotifyManager manager;
    std::vector<Counter> subscribers(static_cast<std::size_t>(state.range(0)));
    for (Counter& subscriber : subscribers) manager.subscribe(subscriber);
    const kxString name("data arrived");
    for (auto _ : state) {
        manager.post(name, 0, 0, &manager, nullptr, 1);
        manager.deliver();
    }
    benchmark::DoNotOptimize(subscribers.front().count);
}
BENCHMARK(postAndDeliver)->Arg(1)->Arg(10);

struct Event {
    std::string name;
    const void* sender;
    double tag;
};

class Hub {
public:
    using Function = std::function<void(const std::shared_ptr<Event>&)>;

    void subscribe(Function function) { functions_.push_back(std::move(function)); }
    void post(const std::string& name, const void* sender, double tag)
    {
        const std::lock_guard<std::mutex> guard(queueLock_);
        queue_.push_back(std::make_shared<Event>(Event{name, sender, tag}));
    }
    void deliver()
    {
        const std::lock_guard<std::recursive_mutex> guard(deliveryLock_);
        std::deque<std::shared_ptr<Event>> events;
        {
            const std::lock_guard<std::mutex> queueGuard(queueLock_);
            events.swap(queue_);
        }
        for (const auto& event : events)
            for (const Function& function : functions_) function(event);
    }

private:
    std::mutex queueLock_;
    std::recursive_mutex deliveryLock_;
    std::deque<std::shared_ptr<Event>> queue_;
    std::vector<Function> functions_;
};

void postAndDeliverTwin(benchmark::State& state)
{
    Hub hub;
    std::uint64_t count = 0;
    for (std::int64_t index = 0; index < state.range(0); ++index)
        hub.subscribe([&](const std::shared_ptr<Event>& event) { count += event->tag == 1; });
    const std::string name("data arrived");
    for (auto _ : state) {
        hub.post(name, &hub, 1);
        hub.deliver();
    }
    benchmark::DoNotOptimize(count);
}
BENCHMARK(postAndDeliverTwin)->Arg(1)->Arg(10);

}  // namespace
