// Inputs of the library's own grammars. What fast programs make of them, plain ones make as well.

#include "kxbase/lex/kxDynamicTypeArgumentParser.h"
#include "kxbase/lex/kxRegKeyExpandParser.h"
#include "kxbase/lex/kxSerializeLex.h"
#include "kxbase/message/kxMessageManager.h"
#include "kxbase/serialize/kxSerializeAdapterQueue.h"

#include <cstdlib>

namespace {

const char* const kRules = "main ::= ($ fNum fPush | $ fStr fPushStr | $ fIdent fPush | list | other) main?;"
                           "list ::= '[' (main (',' main){0,3})? ']' | '<' ([^>] - '--')+ '>';"
                           "other ::= ([^] - ('[' | ']' | ',')) | '[' $ fPlain fPush ']' | ',' fHex{2,5};";

struct Lexer : kxSerializeLex {
    explicit Lexer(bool isPlain)
    {
        setTracing(isPlain);
        setStepLimit(100000);
        addRules(kRules);
    }
};

// The result, what is left and the number of values; empty when the match was stopped.
std::string outcomeOf(kxSerializeLex& lex, std::string_view text)
{
    const auto input = kxMakeRef<kxSerializeAdapterQueue>(KX_QUEUE_FIFO, 1024U);
    input->write(text.data(), static_cast<std::uint32_t>(text.size()));
    lex.setAdapter(input);
    lex.clearValues();
    const kxLexResult result = lex.run("main");
    if (result == KX_LEX_ERROR) return "";
    return std::to_string(result) + " " + std::to_string(input->length()) + " " +
           std::to_string(lex.valueCount());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    kxMessageManager::instance().setEnabled(false);
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    static Lexer fastLexer(false);
    static Lexer plainLexer(true);
    static kxDynamicTypeArgumentParser arguments;
    static kxRegKeyExpandParser references;
    const std::string fast = outcomeOf(fastLexer, text);
    const std::string plain = outcomeOf(plainLexer, text);
    // A plain program uses more steps and calls, so that it may be stopped alone.
    if (fast != plain && !fast.empty() && !plain.empty()) std::abort();
    arguments.parse(text);
    kxString expanded;
    references.expand(text, expanded);
    return 0;
}
