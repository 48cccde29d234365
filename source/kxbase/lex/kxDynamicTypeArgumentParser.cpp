#include "kxbase/lex/kxDynamicTypeArgumentParser.h"

#include "kxbase/core/kxMessage.h"
#include "kxbase/lex/kxLexBuiltins.h"
#include "kxbase/lex/kxMatchDelivery.h"

namespace {

constexpr std::string_view kGrammar =
    "array\t\t::=\t'[' fArrayBegin arg_list ']' fArrayEnd ;\t\t\t"
    "boolean\t\t::=\t$ [yesYESnoNOtruTRUfalFAL]+ fBool ;\t\t\t"
    "string\t\t::=\t$ (('\"' [^\"]* '\"')|(\"'\" [^']* \"'\")) fString ;\t\t"
    "number\t\t::=\t$ float fNum ;\t\t\t\t\t"
    "guid\t\t::=\t$ '{' (X)8 '-' (X)4 '-' (X)4 '-' (X)4 '-' (X)12 '}' fGUID ;\t"
    "argument\t::=\tnumber | string | boolean | array | guid ;\t\t"
    "arg_list\t::=\tSP* argument SP* (',' arg_list)? ;\t\t\t";
constexpr std::string_view kNames = "X ::= fHexS; SP ::= fWS;";

// What a value within values must not pass, or it could not be read again from its bytes.
constexpr std::size_t kDeepestArray = 60;

constexpr struct {
    std::string_view word;
    int value;
} kBooleans[] = {{"yes", 1}, {"true", 1}, {"no", 0}, {"false", 0}};

}  // namespace

kxDynamicTypeArgumentParser::kxDynamicTypeArgumentParser()
{
    lex_.addRules(kGrammar);
    lex_.addRules(kNames);
    lex_.add(kxLexBuiltins::number("float"));
    addAction("fArrayBegin", &kxDynamicTypeArgumentParser::beginArray);
    addAction("fArrayEnd", &kxDynamicTypeArgumentParser::endArray);
    addAction("fBool", &kxDynamicTypeArgumentParser::addBoolean);
    addAction("fString", &kxDynamicTypeArgumentParser::addString);
    addAction("fNum", &kxDynamicTypeArgumentParser::addNumber);
    addAction("fGUID", &kxDynamicTypeArgumentParser::addGuid);
}

void kxDynamicTypeArgumentParser::addAction(std::string_view name, Action action)
{
    lex_.addAction(name, [this, action](kxLexCapture& capture) { return (this->*action)(capture); });
}

bool kxDynamicTypeArgumentParser::parse(const kxString& text)
{
    arguments_.clear();
    open_.clear();
    return lex_.runText("arg_list", text);
}

kxLexResult kxDynamicTypeArgumentParser::add(kxDynamicType value)
{
    (open_.empty() ? arguments_ : open_.back()).append(std::move(value));
    return KX_LEX_OK;
}

kxLexResult kxDynamicTypeArgumentParser::beginArray(kxLexCapture& capture)
{
    if (open_.size() == kDeepestArray) {
        capture.setFault(kxTranslate("Too many nested arrays"));
        return KX_LEX_ERROR;
    }
    open_.emplace_back();
    return KX_LEX_OK;
}

kxLexResult kxDynamicTypeArgumentParser::endArray(kxLexCapture&)
{
    const kxDynamicType array = open_.back();
    open_.pop_back();
    return add(array);
}

kxLexResult kxDynamicTypeArgumentParser::addBoolean(kxLexCapture& capture)
{
    const kxString word = capture.get(0);
    for (const auto& row : kBooleans) {
        if (word.equalsIgnoreCase(row.word)) return add(row.value);
    }
    capture.setFault(kxTranslate("Neither yes, no, true nor false"));
    return KX_LEX_ERROR;
}

kxLexResult kxDynamicTypeArgumentParser::addString(kxLexCapture& capture)
{
    const std::string_view quoted = capture.view(0);
    return add(quoted.substr(1, quoted.size() - 2));
}

kxLexResult kxDynamicTypeArgumentParser::addNumber(kxLexCapture& capture)
{
    return add(kxMatchDelivery::valueOf(capture.view(0), '.'));
}

kxLexResult kxDynamicTypeArgumentParser::addGuid(kxLexCapture& capture)
{
    kxGUID guid;
    const char* const fault = kxGUID::read(capture.view(0), guid);
    if (fault == nullptr) return add(guid);
    capture.setFault(kxTranslate(fault));
    return KX_LEX_ERROR;
}
