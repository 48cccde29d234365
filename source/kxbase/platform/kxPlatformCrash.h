// Faults of the program: being called when one happens, the frames of a stack, and what an address belongs to.
//
// A fault is caught by the handler on the thread that it happened on. What has to be done about it runs on a dump
// thread, which may allocate and take locks that the faulting thread does not hold; when that does not come to
// its end, because the fault left the program in disorder, the handler does without it.
//
// Threads: any, also before main. kxPlatformCrashFrames and kxPlatformCrashPrint are safe in a signal handler;
//          kxPlatformCrashSymbols allocates and takes locks.
#pragma once

#include <cstddef>
#include <cstdint>

// Kinds of faults. Values: the exception codes of Windows, so that reports of both systems agree.
enum kxPlatformFault : std::uint32_t {
    KX_FAULT_DATATYPE_MISALIGNMENT = 0x80000002,
    KX_FAULT_BREAKPOINT = 0x80000003,
    KX_FAULT_SINGLE_STEP = 0x80000004,
    KX_FAULT_ACCESS_VIOLATION = 0xC0000005,
    KX_FAULT_ILLEGAL_INSTRUCTION = 0xC000001D,
    KX_FAULT_NONCONTINUABLE = 0xC0000025,
    KX_FAULT_ARRAY_BOUNDS = 0xC000008C,
    KX_FAULT_FLT_DENORMAL_OPERAND = 0xC000008D,
    KX_FAULT_FLT_DIVIDE_BY_ZERO = 0xC000008E,
    KX_FAULT_FLT_INEXACT_RESULT = 0xC000008F,
    KX_FAULT_FLT_INVALID_OPERATION = 0xC0000090,
    KX_FAULT_FLT_OVERFLOW = 0xC0000091,
    KX_FAULT_FLT_STACK_CHECK = 0xC0000092,
    KX_FAULT_FLT_UNDERFLOW = 0xC0000093,
    KX_FAULT_INT_DIVIDE_BY_ZERO = 0xC0000094,
    KX_FAULT_INT_OVERFLOW = 0xC0000095,
    KX_FAULT_PRIV_INSTRUCTION = 0xC0000096,
};

struct kxPlatformFrame {
    std::uintptr_t address;
    bool isReturnAddress;  // the call stands before it
};
constexpr std::uint32_t KX_PLATFORM_MOST_FRAMES = 256;

// A fault with the frames of the thread that it happened on, the faulting one first.
struct kxPlatformCrash {
    std::uint32_t fault;
    std::uint32_t frameCount;
    kxPlatformFrame frames[KX_PLATFORM_MOST_FRAMES];
};

// What the program does about a fault. Those for the handler must neither allocate nor take a lock, and run on one
// thread at a time.
struct kxPlatformCrashActions {
    // On the dump thread: writes everything down. Answers whether the fault is handled. When it comes to its end too
    // late, dealInHandler may run at the same time, and what dump has found to tell is not told.
    bool (*dump)(const kxPlatformCrash& crash);
    // On the dump thread, after dump: tells the user.
    void (*tell)();
    // In the handler, when dump has come to its end and tell does not.
    void (*tellInHandler)(const kxPlatformCrash& crash);
    // In the handler, in place of dump and tell when dump does not come to its end.
    bool (*dealInHandler)(const kxPlatformCrash& crash);
};

// Catches faults from now on. Stack overflows are caught on threads that have a stack for handlers: those of
// kxPlatformThreadStart and the one that makes the first call (make it on the main thread). Elsewhere they end the
// process.
//
// 1. The first fault wins; other threads that fault wait until it has been dealt with or has come to the handler of 4.
// 2. The terminal is given back. Then dump and tell run on the dump thread, or dealInHandler in the handler; see
//    kxPlatformCrashActions.
// 3. Handled: the thread ends if kxPlatformThreadStart has started it, else the process, with the status that a shell
//    gives for such an end.
// 4. Not handled: the handler installed before is called as the system would call it. Without one the process ends by
//    the signal; a signal that was sent and had been ignored is ignored.
// 5. That handler may return or jump; the next fault begins at 1, unless the handler has changed the action or was
//    installed for one call. If it leaves the default action and returns to an instruction that has faulted, the
//    process ends. If it calls abort() on a thread that has a stack for handlers, that is the end of the same fault.
//
// A program that exits meanwhile waits for 1 to 4, for the handler of 4 until a second after its call.
//
// Only the first call in a process installs; in a forked child one more call starts the dump thread that the
// child does not have, and until then the handler does its work. False when the system refuses; another call tries
// again to start the thread.
bool kxPlatformCrashInstall(const kxPlatformCrashActions& actions);

// Fills in the frames of the calling thread, the caller's first; answers how many.
std::uint32_t kxPlatformCrashFrames(kxPlatformFrame* frames, std::uint32_t capacity);

// Writes to standard error. What that does not take within a second is dropped.
void kxPlatformCrashPrint(const char* text, std::size_t sizeBytes);

// Where an address stands. Texts are cut to fit, and empty where nothing is known.
struct kxPlatformModule {
    char name[256];         // of the program's or library's file, without folders
    std::uintptr_t offset;  // in the module, as its file counts; the address itself when there is no module
};
struct kxPlatformSymbol {
    char function[1024];  // as it is written in the source
    char file[1024];
    std::uint32_t line;
    std::int64_t offset;  // in the function, or where that is not known, in the module
};
constexpr std::uint32_t KX_PLATFORM_MOST_SYMBOLS = 16;

// Neither allocates nor locks where the system has a look-up of that kind.
void kxPlatformCrashModule(std::uintptr_t address, kxPlatformModule& module);
// Fills in the function that holds the address; calls that the compiler has put into it come before it, the
// innermost first, and count their offset in that function as well. Answers how many, at least 1. `searchPath` is
// looked through for symbols that do not stand with their module, by systems that do so; the first call counts.
std::uint32_t kxPlatformCrashSymbols(const kxPlatformFrame& frame, const char* searchPath,
                                     kxPlatformSymbol* symbols, std::uint32_t capacity);
