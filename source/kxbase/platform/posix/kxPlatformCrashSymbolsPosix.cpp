#include "kxbase/platform/kxPlatformCrash.h"
#include "kxbase/platform/kxPlatformEnvironment.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

#include <cxxabi.h>
#include <dlfcn.h>
#include <link.h>

#ifdef KX_HAVE_BACKTRACE
#include <backtrace.h>
#endif

namespace {

template <std::size_t kBytes> void copyText(char (&target)[kBytes], std::string_view text)
{
    const std::size_t length = std::min(text.size(), kBytes - 1);
    std::memcpy(target, text.data(), length);
    target[length] = '\0';
}

std::string_view fileName(std::string_view path)
{
    return path.substr(path.rfind('/') + 1);
}

struct ProgramName {
    char text[sizeof(kxPlatformModule::name)] = {};

    ProgramName()
    {
        char path[4096];
        if (kxPlatformProgramFile(path, sizeof(path))) copyText(text, fileName(path));
    }
};

// Learned at installation, since the stack of a handler may be short of room for a path.
std::string_view programName()
{
    static const ProgramName name;
    return name.text;
}

// The system leaves the name of the program itself empty.
void copyModuleName(kxPlatformModule& module, const char* path)
{
    copyText(module.name, path[0] == '\0' ? programName() : fileName(path));
}

// The demangler takes a name of C for a type: "f" for float.
void copyFunction(kxPlatformSymbol& symbol, const char* name)
{
    if (!std::string_view(name).starts_with("_Z")) {
        copyText(symbol.function, name);
        return;
    }
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> written(
        abi::__cxa_demangle(name, nullptr, nullptr, &status), &std::free);
    copyText(symbol.function, written != nullptr ? written.get() : name);
}

// Where an address is looked up: a return address may be the first of the next line or function.
std::uintptr_t placeOf(const kxPlatformFrame& frame)
{
    return frame.isReturnAddress ? frame.address - 1 : frame.address;
}

// The function that holds the address, as the system's loader knows it, and where it begins; 0 for none.
std::uintptr_t exportedFunction(std::uintptr_t place, kxPlatformSymbol& symbol)
{
    Dl_info info{};
    if (::dladdr(reinterpret_cast<const void*>(place), &info) == 0 || info.dli_sname == nullptr) return 0;
    copyFunction(symbol, info.dli_sname);
    return reinterpret_cast<std::uintptr_t>(info.dli_saddr);
}

#ifdef KX_HAVE_BACKTRACE

// What is being filled in.
struct Lookup {
    kxPlatformSymbol* symbols;
    std::uint32_t capacity;
    std::uint32_t count = 0;
    std::uintptr_t functionStart = 0;
};

// Missing symbols are no error here.
void ignoreError(void*, const char*, int) {}

int takeLoads(dl_phdr_info* module, std::size_t, void* argument)
{
    *static_cast<unsigned long long*>(argument) = module->dlpi_adds;
    return 1;
}

// Modules that the program has loaded since it was started.
unsigned long long countLoads()
{
    unsigned long long count = 0;
    ::dl_iterate_phdr(takeLoads, &count);
    return count;
}

// The reader knows the modules that are there when it is made.
backtrace_state* symbolReader()
{
    constexpr int kThreaded = 1;
    static backtrace_state* const reader = backtrace_create_state(nullptr, kThreaded, ignoreError, nullptr);
    return reader;
}

int takeLine(void* argument, std::uintptr_t, const char* file, int line, const char* function)
{
    Lookup& lookup = *static_cast<Lookup*>(argument);
    if (lookup.count == lookup.capacity) return 1;
    if (file == nullptr && function == nullptr) return 0;
    kxPlatformSymbol& symbol = lookup.symbols[lookup.count++];
    symbol = {};
    if (function != nullptr) copyFunction(symbol, function);
    if (file != nullptr) copyText(symbol.file, file);
    symbol.line = static_cast<std::uint32_t>(line);
    return 0;
}

void takeFunction(void* argument, std::uintptr_t, const char* name, std::uintptr_t start, std::uintptr_t)
{
    Lookup& lookup = *static_cast<Lookup*>(argument);
    if (name == nullptr) return;
    lookup.functionStart = start;
    // The name of the whole function is more exact here, with its arguments.
    copyFunction(lookup.symbols[lookup.count - 1], name);
}

// Answers where the function begins, 0 when that is not known. As long as the loader knows no more, it is not asked:
// the thread that faulted may hold its lock.
std::uintptr_t readSymbols(std::uintptr_t place, Lookup& lookup)
{
    static const unsigned long long knownLoads = countLoads();
    backtrace_state* const reader = symbolReader();
    if (reader != nullptr) backtrace_pcinfo(reader, place, takeLine, ignoreError, &lookup);
    if (lookup.count == 0) lookup.symbols[lookup.count++] = {};
    if (reader == nullptr) return exportedFunction(place, lookup.symbols[0]);
    backtrace_syminfo(reader, place, takeFunction, ignoreError, &lookup);
    if (lookup.symbols[0].function[0] == '\0' && countLoads() != knownLoads)
        return exportedFunction(place, lookup.symbols[0]);
    return lookup.functionStart;
}

#else

struct Lookup {
    kxPlatformSymbol* symbols;
    std::uint32_t capacity;
    std::uint32_t count = 0;
};

std::uintptr_t readSymbols(std::uintptr_t place, Lookup& lookup)
{
    lookup.symbols[lookup.count++] = {};
    return exportedFunction(place, lookup.symbols[0]);
}

#endif

}  // namespace

void kxPlatformCrashModule(std::uintptr_t address, kxPlatformModule& module)
{
    module.name[0] = '\0';
    module.offset = address;
    void* const place = reinterpret_cast<void*>(address);
#ifdef DLFO_STRUCT_HAS_EH_DBASE
    dl_find_object found{};
    if (::_dl_find_object(place, &found) != 0 || found.dlfo_link_map == nullptr) return;
    const link_map& map = *found.dlfo_link_map;
#else
    Dl_info info{};
    link_map* found = nullptr;
    if (::dladdr1(place, &info, reinterpret_cast<void**>(&found), RTLD_DL_LINKMAP) == 0) return;
    const link_map& map = *found;
#endif
    copyModuleName(module, map.l_name);
    module.offset = address - map.l_addr;
}

// Symbols are found where the modules say that they are; the reader has no search path.
std::uint32_t kxPlatformCrashSymbols(const kxPlatformFrame& frame, const char*, kxPlatformSymbol* symbols,
                                     std::uint32_t capacity)
{
    Lookup lookup{symbols, capacity};
    const std::uintptr_t start = readSymbols(placeOf(frame), lookup);
    kxPlatformModule module{};
    kxPlatformCrashModule(frame.address, module);
    const std::uintptr_t offset = start != 0 ? frame.address - start : module.offset;
    for (std::uint32_t index = 0; index < lookup.count; ++index)
        symbols[index].offset = static_cast<std::int64_t>(offset);
    return lookup.count;
}
