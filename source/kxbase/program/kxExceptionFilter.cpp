#include "kxbase/program/kxExceptionFilter.h"

#include "kxbase/core/kxAsciiCase.h"
#include "kxbase/core/kxUntrackedScope.h"
#include "kxbase/platform/kxPlatformEnvironment.h"
#include "kxbase/program/kxSymbolSearchPath.h"

#include <string_view>

namespace {

// An illegal instruction has a dump but no report, hence no name.
constexpr struct {
    kxPlatformFault fault;
    const char* name;
} kNames[] = {
    {KX_FAULT_ACCESS_VIOLATION, "EXCEPTION_ACCESS_VIOLATION"},
    {KX_FAULT_DATATYPE_MISALIGNMENT, "EXCEPTION_DATATYPE_MISALIGNMENT"},
    {KX_FAULT_BREAKPOINT, "EXCEPTION_BREAKPOINT"},
    {KX_FAULT_SINGLE_STEP, "EXCEPTION_SINGLE_STEP"},
    {KX_FAULT_NONCONTINUABLE, "EXCEPTION_NONCONTINUABLE_EXCEPTION"},
    {KX_FAULT_ARRAY_BOUNDS, "EXCEPTION_ARRAY_BOUNDS_EXCEEDED"},
    {KX_FAULT_FLT_DENORMAL_OPERAND, "EXCEPTION_FLT_DENORMAL_OPERAND"},
    {KX_FAULT_FLT_DIVIDE_BY_ZERO, "EXCEPTION_FLT_DIVIDE_BY_ZERO"},
    {KX_FAULT_FLT_INEXACT_RESULT, "EXCEPTION_FLT_INEXACT_RESULT"},
    {KX_FAULT_FLT_INVALID_OPERATION, "EXCEPTION_FLT_INVALID_OPERATION"},
    {KX_FAULT_FLT_OVERFLOW, "EXCEPTION_FLT_OVERFLOW"},
    {KX_FAULT_FLT_STACK_CHECK, "EXCEPTION_FLT_STACK_CHECK"},
    {KX_FAULT_FLT_UNDERFLOW, "EXCEPTION_FLT_UNDERFLOW"},
    {KX_FAULT_INT_DIVIDE_BY_ZERO, "EXCEPTION_INT_DIVIDE_BY_ZERO"},
    {KX_FAULT_INT_OVERFLOW, "EXCEPTION_INT_OVERFLOW"},
    {KX_FAULT_PRIV_INSTRUCTION, "EXCEPTION_PRIV_INSTRUCTION"},
};

bool isOn(const char* setting)
{
    const char* const value = kxPlatformEnvironment(setting);
    if (value == nullptr) return true;
    const auto says = [=](std::string_view word) { return kxEqualsIgnoreCase(value, word); };
    return !says("no") && !says("false") && !says("0") && !says("off");
}

kxString knownOr(const char* text, const char* otherwise)
{
    return text[0] != '\0' ? text : otherwise;
}

// Made when the first stack is looked up, and kept.
const kxString& searchPath()
{
    const auto make = [] {
        const kxUntrackedScope scope;
        return new kxString(kxSymbolSearchPath());
    };
    static const kxString* const path = make();
    return *path;
}

void addItems(const kxPlatformFrame& frame, std::vector<kxStackItem>& items)
{
    kxPlatformModule module{};
    kxPlatformCrashModule(frame.address, module);
    const kxString moduleName = knownOr(module.name, KX_STACK_UNKNOWN);

    std::vector<kxPlatformSymbol> symbols(KX_PLATFORM_MOST_SYMBOLS);
    symbols.resize(
        kxPlatformCrashSymbols(frame, searchPath().text(), symbols.data(), KX_PLATFORM_MOST_SYMBOLS));
    for (const kxPlatformSymbol& symbol : symbols) {
        items.push_back({knownOr(symbol.function, KX_STACK_UNKNOWN), symbol.offset,
                         knownOr(symbol.file, KX_STACK_UNKNOWN), symbol.line, moduleName});
    }
}

std::vector<kxStackItem> itemsOf(std::span<const kxPlatformFrame> frames)
{
    std::vector<kxStackItem> items;
    for (const kxPlatformFrame& frame : frames) addItems(frame, items);
    return items;
}

}  // namespace

kxExceptionResult kxExceptionFilter(std::uint32_t fault, std::span<const kxPlatformFrame> frames,
                                    kxExceptionReportInterface& report)
{
    if (const char* const name = kxExceptionName(fault)) report.reportError(kxFatalError(name));
    if (kxExceptionIsDumped()) report.writeDump(itemsOf(frames));
    return kxExceptionRouting();
}

const char* kxExceptionName(std::uint32_t fault)
{
    for (const auto& row : kNames)
        if (row.fault == fault) return row.name;
    return nullptr;
}

bool kxExceptionIsDumped()
{
    return isOn("KORVEX_DUMP_EXCEPTION");
}

kxExceptionResult kxExceptionRouting()
{
    return isOn("KORVEX_ROUTE_EXCEPTION") ? KX_EXCEPTION_GOES_ON : KX_EXCEPTION_HANDLED;
}
