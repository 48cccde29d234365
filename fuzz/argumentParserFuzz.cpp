// Command lines: whatever stands in one, options and arguments are words of it.

#include "kxbase/lex/kxArgumentParser.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    kxArgumentParser parser(0, nullptr);
    parser.setArguments(kxString(reinterpret_cast<const char*>(data), size));
    for (const auto* option : parser.getOptions()) {
        std::uint32_t start = 0;
        std::uint32_t count = 0;
        if (!parser.hasOption(option->getName(), true, &start, &count)) std::abort();
        if (start + count > parser.getArguments().count()) std::abort();
        parser.getOptionValue(option->getName(), "default", count);
    }
    for (const auto* argument : parser.getArguments()) {
        if (argument->getValue().isEmpty()) std::abort();
    }
    return 0;
}
