// Rule texts: up to the first zero byte the bytes are a set of rules, behind it the input of each rule.

#include "kxbase/lex/kxRuleSplitter.h"
#include "kxbase/lex/kxSerializeLex.h"
#include "kxbase/message/kxMessageManager.h"
#include "kxbase/serialize/kxSerializeAdapterQueue.h"

#include <cstdlib>

namespace {

std::string_view nameOf(std::string_view rule)
{
    return rule.substr(0, rule.find_first_of(" \t\r\n:/"));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    kxMessageManager::instance().setEnabled(false);
    const std::string_view all(reinterpret_cast<const char*>(data), size);
    const std::string_view set = all.substr(0, all.find('\0'));
    const std::string_view text = all.substr(std::min(set.size() + 1, all.size()));
    for (const bool isWide : {false, true}) {
        const auto input = kxMakeRef<kxSerializeAdapterQueue>(KX_QUEUE_FIFO, 1024U);
        input->write(text.data(), static_cast<std::uint32_t>(text.size()));
        kxSerializeLex lex(input);
        lex.setWide(isWide);
        lex.setStepLimit(20000);
        lex.addRules(set);
        kxRuleSplitter splitter(set);
        kxRuleSplitter::Piece piece;
        for (int rules = 0; rules < 8 && splitter.next(piece); ++rules) {
            const kxLexResult result = lex.run(nameOf(piece.text));
            if (result != KX_LEX_OK && lex.hasValue()) std::abort();
            if (result != KX_LEX_OK && input->length() > text.size()) std::abort();
            lex.clearValues();
        }
    }
    return 0;
}
