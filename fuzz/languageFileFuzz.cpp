// Language files: whatever their bytes, reading them ends, in pieces as well as at once with the same outcome.

#include "kxbase/program/kxLanguageFileParser.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    kxTranslations whole;
    kxLanguageFileParser parser(whole);
    parser.feed(data, size);
    parser.finish();

    kxTranslations pieces;
    kxLanguageFileParser pieceParser(pieces);
    for (std::size_t at = 0; at < size; ++at) pieceParser.feed(data + at, 1);
    pieceParser.finish();

    if (whole.isEmpty() != pieces.isEmpty()) std::abort();
    for (const char* const english : {"Key", "a", "\n"}) {
        const std::string* const found = whole.find(english, "eng");
        const std::string* const foundToo = pieces.find(english, "eng");
        if ((found != nullptr) != (foundToo != nullptr)) std::abort();
        if (found == nullptr) continue;
        if (*found != *foundToo || found->empty() || found->size() > KX_STRING_MAX_LENGTH) std::abort();
    }
    return 0;
}
