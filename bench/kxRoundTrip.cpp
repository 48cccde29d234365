// Measures what a relay between two TCP connections adds to a question and its answer.
//
//   kxroundtrip PORT OTHER [TRIPS]
//
// Listens on both ports of 127.0.0.1 and takes one connection on each, which are the two ends of the relay. 64 bytes
// go in at OTHER, come out at PORT and go all the way back, 20,000 times if nothing else is said. Prints the median
// and the 99th percentile of a round trip in microseconds.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr std::size_t kMessageBytes = 64;
constexpr std::size_t kWarmUpTrips = 1000;

int checked(int result, const char* what)
{
    if (result >= 0) return result;
    std::perror(what);
    std::exit(1);
}

int listener(const char* port)
{
    const int descriptor = checked(::socket(AF_INET, SOCK_STREAM, 0), "socket");
    const int on = 1;
    checked(::setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on)), "SO_REUSEADDR");
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(std::atoi(port)));
    checked(::bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), "bind");
    checked(::listen(descriptor, 1), "listen");
    return descriptor;
}

int accepted(int listening)
{
    const int descriptor = checked(::accept(listening, nullptr, nullptr), "accept");
    const int on = 1;
    checked(::setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on)), "TCP_NODELAY");
    return descriptor;
}

void pass(int from, int to, char* message)
{
    const auto sent = ::send(from, message, kMessageBytes, MSG_NOSIGNAL);
    const auto got = ::recv(to, message, kMessageBytes, MSG_WAITALL);
    if (sent == kMessageBytes && got == kMessageBytes) return;
    std::fprintf(stderr, "kxroundtrip: the relay ended\n");
    std::exit(1);
}

double tripMicroseconds(int near, int far)
{
    char message[kMessageBytes] = {};
    const auto start = std::chrono::steady_clock::now();
    pass(near, far, message);
    pass(far, near, message);
    return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace

int main(int argumentCount, char** arguments)
{
    if (argumentCount < 3) {
        std::fprintf(stderr, "usage: kxroundtrip PORT OTHER [TRIPS]\n");
        return 2;
    }
    const int listening[] = {listener(arguments[1]), listener(arguments[2])};
    const int far = accepted(listening[0]);
    const int near = accepted(listening[1]);
    const int wanted = argumentCount > 3 ? std::atoi(arguments[3]) : 20000;
    std::vector<double> trips(static_cast<std::size_t>(std::max(wanted, 1)));
    for (std::size_t trip = 0; trip < kWarmUpTrips; ++trip) tripMicroseconds(near, far);
    for (double& trip : trips) trip = tripMicroseconds(near, far);
    std::sort(trips.begin(), trips.end());
    std::printf("%.1f %.1f\n", trips[trips.size() / 2], trips[trips.size() * 99 / 100]);
    return 0;
}
