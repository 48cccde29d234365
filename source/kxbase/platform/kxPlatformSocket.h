// Sockets of the internet protocols.
//
// Ownership: a handle is the caller's until it is closed.
// Threads:   any. One handle may be used by several threads, closing excepted.
// Errors:    as kxSocketError; nothing is thrown.
//
// Addresses are opaque bytes in the system's form, made and read by the functions at the end. Calls that a
// signal interrupts are repeated, and waits go on for what is left of their time. Sockets are not inherited by
// child processes and are never one of the standard streams. A peer that has gone is an error of the call, never
// a signal. Urgent data of a stream arrives in line. A datagram socket hears only the groups that it has joined.
#pragma once

#include "kxbase/platform/kxPlatformWait.h"

#include <cstddef>
#include <cstdint>

using kxPlatformSocketHandle = std::intptr_t;
constexpr kxPlatformSocketHandle KX_PLATFORM_NO_SOCKET = -1;

// The portable error codes, of which a system reports its own choice.
enum kxSocketError : std::uint32_t {
    KX_SOCKET_OK = 0,
    KX_SOCKET_UNKNOWN = 2,
    KX_SOCKET_BAD_PROTOCOL_FAMILY = 3,
    KX_SOCKET_BAD_ADDRESS_FAMILY = 4,
    KX_SOCKET_PERMISSION_DENIED = 5,
    KX_SOCKET_BAD_PROTOCOL = 6,
    KX_SOCKET_NOT_STARTED = 7,
    KX_SOCKET_CLOSED_BY_PEER = 8,
    KX_SOCKET_BAD_OPTION = 9,  // the socket has no such option
    KX_SOCKET_NOT_CONFIGURED = 10,
    KX_SOCKET_HOST_UNREACHABLE = 11,
    KX_SOCKET_NETWORK_UNREACHABLE = 12,
    KX_SOCKET_UNKNOWN_OPTION = 13,  // the system has no such option
    KX_SOCKET_BAD_DESCRIPTOR = 14,
    KX_SOCKET_BAD_ARGUMENT = 15,
    KX_SOCKET_ADDRESS_IN_USE = 16,
    KX_SOCKET_ADDRESS_NOT_AVAILABLE = 17,
    KX_SOCKET_IS_CONNECTED = 18,
    KX_SOCKET_NOT_CONNECTED = 19,
    KX_SOCKET_RESET = 20,
    KX_SOCKET_ABORTED = 21,
    KX_SOCKET_REFUSED = 22,
    KX_SOCKET_TIMED_OUT = 23,
    KX_SOCKET_WOULD_BLOCK = 24,
    KX_SOCKET_TRUNCATED = 25,
    KX_SOCKET_INTERRUPTED = 26,
    KX_SOCKET_NO_DEVICE = 27,
};

enum kxSocketFamily : std::uint32_t { KX_SOCKET_IPV4 = 0, KX_SOCKET_INFRARED = 1, KX_SOCKET_IPV6 = 2 };

enum kxSocketKind : std::uint32_t { KX_SOCKET_STREAM = 0, KX_SOCKET_DATAGRAM = 1, KX_SOCKET_NO_KIND = 2 };

enum kxSocketOption : std::uint32_t {
    KX_SOCKET_BROADCAST = 0,
    KX_SOCKET_LINGER_ON = 2,   // seconds
    KX_SOCKET_LINGER_OFF = 3,  // seconds
    KX_SOCKET_KEEP_ALIVE = 4,
    KX_SOCKET_REUSE_ADDRESS = 5,
    KX_SOCKET_MULTICAST_TTL = 6,        // 0 to 255
    KX_SOCKET_MULTICAST_INTERFACE = 7,  // address of the interface; 0 is the system's choice
    KX_SOCKET_MULTICAST_LOOP = 8,
    KX_SOCKET_JOIN_GROUP = 9,  // address of the group
    KX_SOCKET_LEAVE_GROUP = 10,
    KX_SOCKET_RECEIVE_BUFFER = 11,   // bytes
    KX_SOCKET_SEND_BUFFER = 12,      // bytes
    KX_SOCKET_RECEIVE_TIMEOUT = 13,  // milliseconds
};

struct kxPlatformSocketOpened {
    kxPlatformSocketHandle socket;  // KX_PLATFORM_NO_SOCKET on failure, with `error` set
    kxSocketError error;
};

// What a call moved or counted; -1 on failure, with `error` set.
struct kxPlatformSocketResult {
    std::int64_t count;
    kxSocketError error;
};

// Readiness, to be added up.
constexpr std::uint32_t KX_SOCKET_CAN_READ = 1;  // also: the peer has closed, or a call would report an error
constexpr std::uint32_t KX_SOCKET_CAN_WRITE = 2;

// Makes the network usable; called once, before any other function.
kxSocketError kxPlatformSocketStart();

// A family and kind that the system does not know is an error. Datagrams exist for IPv4 and IPv6.
kxPlatformSocketOpened kxPlatformSocketOpen(kxSocketFamily family, kxSocketKind kind);
void kxPlatformSocketClose(kxPlatformSocketHandle socket);
// Calls on a blocking socket wait; on another they fail with KX_SOCKET_WOULD_BLOCK instead.
kxSocketError kxPlatformSocketSetBlocking(kxPlatformSocketHandle socket, bool blocks);
// Fails with KX_SOCKET_BAD_OPTION when the option is not one of those above. Groups are joined and left on the
// interface of the given address; 0 is the system's choice. Addresses are numbers in the host's byte order.
kxSocketError kxPlatformSocketSetOption(kxPlatformSocketHandle socket, std::uint32_t option,
                                        std::uint32_t value, std::uint32_t groupInterface);

kxSocketError kxPlatformSocketBind(kxPlatformSocketHandle socket, const std::uint8_t* address,
                                   std::uint32_t sizeBytes);
// On a socket that does not block, an attempt that goes on is KX_SOCKET_WOULD_BLOCK.
kxSocketError kxPlatformSocketConnect(kxPlatformSocketHandle socket, const std::uint8_t* address,
                                      std::uint32_t sizeBytes);
// How an attempt that went on has ended; KX_SOCKET_WOULD_BLOCK while it has not.
kxSocketError kxPlatformSocketConnectResult(kxPlatformSocketHandle socket);
kxSocketError kxPlatformSocketListen(kxPlatformSocketHandle socket, std::uint32_t backlog);
void kxPlatformSocketShutDownSending(kxPlatformSocketHandle socket);
void kxPlatformSocketShutDownReceiving(kxPlatformSocketHandle socket);

// Waits for any of the wanted readiness, at most the given time or KX_PLATFORM_WAIT_FOREVER; `count` is what was found,
// 0 when the time passed.
kxPlatformSocketResult kxPlatformSocketWait(kxPlatformSocketHandle socket, std::uint32_t wanted,
                                            std::uint32_t milliseconds);
// Waits until either socket can be read or the time, or KX_PLATFORM_WAIT_FOREVER, has passed. One that is none, or none
// any more, is not waited for.
void kxPlatformSocketWaitForEither(kxPlatformSocketHandle first, kxPlatformSocketHandle second,
                                   std::uint32_t milliseconds);
// Bytes of a stream that are there to read, or those of the first datagram.
kxPlatformSocketResult kxPlatformSocketPending(kxPlatformSocketHandle socket);
// Looks at the next byte without taking it or waiting; `count` is 0 at the end of a stream.
kxPlatformSocketResult kxPlatformSocketPeek(kxPlatformSocketHandle socket);

// One call each.
kxPlatformSocketResult kxPlatformSocketReceive(kxPlatformSocketHandle socket, void* bytes,
                                               std::uint32_t sizeBytes);
kxPlatformSocketResult kxPlatformSocketSend(kxPlatformSocketHandle socket, const void* bytes,
                                            std::uint32_t sizeBytes);
// The first KX_PLATFORM_ADDRESS_BYTES of the sender's address are written, which is all of one of IPv4; zeros where the
// system tells none.
constexpr std::uint32_t KX_PLATFORM_ADDRESS_BYTES = 16;
kxPlatformSocketResult kxPlatformSocketReceiveFrom(kxPlatformSocketHandle socket, std::uint8_t* sender,
                                                   void* bytes, std::uint32_t sizeBytes);
kxPlatformSocketResult kxPlatformSocketSendTo(kxPlatformSocketHandle socket, const std::uint8_t* address,
                                              std::uint32_t addressBytes, const void* bytes,
                                              std::uint32_t sizeBytes);

// These write an address of any family to a buffer of KX_PLATFORM_LARGEST_ADDRESS_BYTES and answer its size in bytes.
constexpr std::uint32_t KX_PLATFORM_LARGEST_ADDRESS_BYTES = 28;
// The one that the socket is bound to; 0 when there is none.
std::uint32_t kxPlatformSocketLocalAddress(kxPlatformSocketHandle socket, std::uint8_t* address);
// Any address and port of this machine.
std::uint32_t kxPlatformAddressAny(kxSocketFamily family, std::uint8_t* address);

// An IPv4 address and port, each a number in the host's byte order, in KX_PLATFORM_ADDRESS_BYTES bytes of the
// system's form. Reading answers false, and leaves the numbers alone, when the bytes are nothing of the kind.
void kxPlatformAddressMake(std::uint32_t host, std::uint16_t port, std::uint8_t* address);
bool kxPlatformAddressRead(const std::uint8_t* address, std::uint32_t sizeBytes, std::uint32_t& host,
                           std::uint16_t& port);
