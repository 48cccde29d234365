// One datagram through the adapter, beside a bare loop over the system's calls on the same
// loopback sockets. The loop asks for nothing but the bytes; the adapter asks how many are pending before each
// datagram, keeps the sender, and tells its length first, as a relay asks it.

#include "kxbase/net/kxSerializeAdapterUDP.h"

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr int kBurst = 64;  // datagrams that every system's receive buffer holds

sockaddr_in localAddress(std::uint16_t port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
}

// A bare socket, bound to a port of the system's choice.
class BareSocket {
public:
    explicit BareSocket(int type) : descriptor_(::socket(AF_INET, type, 0))
    {
        sockaddr_in address = localAddress(0);
        socklen_t size = sizeof(address);
        if (::bind(descriptor_, reinterpret_cast<sockaddr*>(&address), size) == 0 &&
            ::getsockname(descriptor_, reinterpret_cast<sockaddr*>(&address), &size) == 0) {
            port_ = ntohs(address.sin_port);
        }
    }
    ~BareSocket() { ::close(descriptor_); }
    BareSocket(const BareSocket&) = delete;
    BareSocket& operator=(const BareSocket&) = delete;

    int descriptor() const { return descriptor_; }
    std::uint16_t port() const { return port_; }
    void sendTo(std::uint16_t port, const std::string& bytes) const
    {
        const sockaddr_in address = localAddress(port);
        benchmark::DoNotOptimize(::sendto(descriptor_, bytes.data(), bytes.size(), 0,
                                          reinterpret_cast<const sockaddr*>(&address), sizeof(address)));
    }

private:
    int descriptor_;
    std::uint16_t port_ = 0;
};

kxString urlOf(std::uint16_t port)
{
    return kxString("127.0.0.1:" + std::to_string(port) + "?nic=127.0.0.1&blocking=no");
}

std::string datagramOf(const benchmark::State& state)
{
    return std::string(static_cast<std::size_t>(state.range(0)), 'x');
}

void countDatagrams(benchmark::State& state, std::int64_t each)
{
    state.SetItemsProcessed(state.iterations() * each);
}

void sendAdapter(benchmark::State& state)
{
    const BareSocket sink(SOCK_DGRAM);
    kxSerializeAdapterUDP adapter(urlOf(sink.port()));
    const std::string bytes = datagramOf(state);
    for (auto _ : state) adapter.write(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
    countDatagrams(state, 1);
}

void sendBare(benchmark::State& state)
{
    const BareSocket sink(SOCK_DGRAM);
    const BareSocket sender(SOCK_DGRAM);
    const std::string bytes = datagramOf(state);
    for (auto _ : state) sender.sendTo(sink.port(), bytes);
    countDatagrams(state, 1);
}

// Both receivers take bursts that are there already; sending them is not counted.
void receiveAdapter(benchmark::State& state)
{
    const BareSocket sender(SOCK_DGRAM);
    const std::uint16_t port = BareSocket(SOCK_DGRAM).port();
    kxSerializeAdapterUDP adapter(urlOf(port));
    const std::string bytes = datagramOf(state);
    std::vector<char> block(bytes.size() * kBurst);
    for (auto _ : state) {
        state.PauseTiming();
        for (int count = 0; count < kBurst; ++count) sender.sendTo(port, bytes);
        state.ResumeTiming();
        benchmark::DoNotOptimize(adapter.read(block.data(), adapter.length()));
    }
    countDatagrams(state, kBurst);
}

void receiveBare(benchmark::State& state)
{
    const BareSocket sender(SOCK_DGRAM);
    const BareSocket receiver(SOCK_DGRAM);
    const std::string bytes = datagramOf(state);
    std::vector<char> block(bytes.size() * kBurst);
    for (auto _ : state) {
        state.PauseTiming();
        for (int count = 0; count < kBurst; ++count) sender.sendTo(receiver.port(), bytes);
        state.ResumeTiming();
        char* place = block.data();
        ssize_t got = 0;
        while ((got = ::recv(receiver.descriptor(), place, bytes.size(), MSG_DONTWAIT)) > 0) {
            if (place + got < block.data() + block.size()) place += got;
        }
    }
    countDatagrams(state, kBurst);
}

BENCHMARK(sendAdapter)->Arg(64)->Arg(1472);
BENCHMARK(sendBare)->Arg(64)->Arg(1472);
BENCHMARK(receiveAdapter)->Arg(64)->Arg(1472);
BENCHMARK(receiveBare)->Arg(64)->Arg(1472);

}  // namespace
