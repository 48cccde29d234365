// Messages that nobody wants and messages that are delivered, beside spdlog.
//
// The null receiver takes the finished text and drops it. A delivered message holds the list of receivers locked
// for reading and hands over a kxString, which is allocated and hashed, as its rules demand; spdlog formats into a
// buffer on the stack, and its multi-threaded null sink takes a mutex.
#include "kxbase/core/kxMessage.h"
#include "kxbase/message/kxMessageManager.h"

#include <benchmark/benchmark.h>
#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>

namespace {

class NullReceiver : public kxMessageReceiverInterface {
public:
    NullReceiver() { kxMessageManager::instance().addReceiver(*this); }
    ~NullReceiver() override { kxMessageManager::instance().removeReceiver(*this); }
    void receive(const kxString&, std::uint32_t, const kxString& text) override
    {
        benchmark::DoNotOptimize(text.text());
    }
};

void send(benchmark::State& state, std::uint32_t level)
{
    const NullReceiver receiver;
    const kxString name("input");
    int number = 0;
    for (auto _ : state) kxMessage(level, "%s has %d bytes, %d%% used", name, ++number, 50);
}
void filteredOut(benchmark::State& state)
{
    send(state, KX_MESSAGE_DEBUG);
}
void delivered(benchmark::State& state)
{
    send(state, KX_MESSAGE_NOTICE);
}
BENCHMARK(filteredOut);
BENCHMARK(delivered);

void sendTwin(benchmark::State& state, spdlog::level::level_enum level)
{
    spdlog::logger logger("null", std::make_shared<spdlog::sinks::null_sink_mt>());
    const std::string name("input");
    int number = 0;
    for (auto _ : state) logger.log(level, "{} has {} bytes, {}% used", name, ++number, 50);
}
void filteredOutTwin(benchmark::State& state)
{
    sendTwin(state, spdlog::level::debug);
}
void deliveredTwin(benchmark::State& state)
{
    sendTwin(state, spdlog::level::info);
}
BENCHMARK(filteredOutTwin);
BENCHMARK(deliveredTwin);

}  // namespace
