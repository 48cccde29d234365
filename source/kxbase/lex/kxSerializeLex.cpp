#include "kxbase/lex/kxSerializeLex.h"

#include "kxbase/core/kxMessage.h"
#include "kxbase/lex/kxLexBuiltins.h"
#include "kxbase/lex/kxMatchDelivery.h"
#include "kxbase/lex/kxRuleParser.h"
#include "kxbase/lex/kxRuleSplitter.h"
#include "kxbase/lex/kxScanPattern.h"
#include "kxbase/serialize/kxErrorText.h"
#include "kxbase/serialize/kxSerializeAdapterString.h"
#include "kxbase/serialize/kxShortName.h"

namespace {

constexpr std::string_view kScanRule = "main";
constexpr std::string_view kNotAll = "Not All arguments were parsed";
constexpr std::uint32_t kReadBytes = 65536;
constexpr std::string_view kSeparators = "!\"#$%&()*,./:;<=>?@[\\]^_`{|}~";

// Reads up to the end, or to a byte more than there may be.
std::string readAll(kxSerializeAdapter& adapter)
{
    std::string text;
    for (std::uint32_t taken = kReadBytes; taken != 0 && text.size() <= KX_LEX_MAX_RULE_BYTES;) {
        const std::size_t size = text.size();
        text.resize(size + kReadBytes);
        taken = adapter.length() != 0 || adapter.hasData() ? adapter.read(text.data() + size, kReadBytes) : 0;
        text.resize(size + taken);
    }
    return text;
}

}  // namespace

kxSerializeLex::kxSerializeLex(const kxRefPointer<kxSerializeAdapter>& adapter)
{
    kxLexBuiltins::addTo(names_);
    setAdapter(adapter);
}

// Programs, input and log belong to the match that runs.
void kxSerializeLex::refuseWithinMatch() const
{
    if (isMatching_) kxRaiseFatal("kxSerializeLex:match within a match");
}

void kxSerializeLex::setAdapter(const kxRefPointer<kxSerializeAdapter>& adapter)
{
    refuseWithinMatch();
    adapter_ = adapter;
    setWide(adapter && (adapter->getFlags() & KX_SERIALIZE_WIDE) != 0);
}

void kxSerializeLex::setWide(bool isWide)
{
    refuseWithinMatch();
    isWide_ = isWide;
    input_.setAdapter(adapter_, isWide);
}

// ---- rules

bool kxSerializeLex::addRule(std::string_view text)
{
    error_ = kxString();
    if (compile(text)) return true;
    kxMessage(KX_MESSAGE_WARNING, "Malformed rule in parser -> '%s'", kxShortName(text));
    return false;
}

bool kxSerializeLex::compile(std::string_view text, const kxTextPlace& place)
{
    if (text.size() > KX_LEX_MAX_RULE_BYTES) return fail(kxTranslate("Too much input"));
    kxRuleParser parser(text, place);
    if (!parser.parse()) return fail(parser.fault());
    names_.set(kxMakeRef<kxRuleInfo>(parser.takeTree()));
    return true;
}

bool kxSerializeLex::fail(const kxString& text)
{
    error_ = text;
    kxMessage(KX_MESSAGE_WARNING, "%s", text);
    return false;
}

bool kxSerializeLex::addRules(std::string_view set)
{
    return addRulesOf(set, "Malformed rule in parser string:%s rule nr:%d", kxShortName(set));
}

bool kxSerializeLex::loadRules(const kxString& url)
{
    kxString reason;
    const auto adapter = kxSerializeAdapter::getAdapter(url, KX_SERIALIZE_INPUT, 0, {}, &reason);
    error_ = reason;
    if (!adapter) return false;
    const std::string set = readAll(*adapter);
    if (set.empty()) return fail(kxTranslate("Adapter out of Data"));
    if (set.size() > KX_LEX_MAX_RULE_BYTES) return fail(kxTranslate("Too much input"));
    return addRulesOf(set, "Malformed rule in parser url:%s rule nr:%d", kxShortName(url));
}

bool kxSerializeLex::addRulesOf(std::string_view set, const char* malformed, const kxString& source)
{
    kxString firstError;
    error_ = kxString();
    kxRuleSplitter splitter(set);
    for (kxRuleSplitter::Piece piece; splitter.next(piece);) {
        if (compile(piece.text, piece.place)) continue;
        if (firstError.isEmpty()) firstError = error_;
        kxMessage(KX_MESSAGE_WARNING, malformed, source, piece.number);
    }
    error_ = firstError;
    return error_.isEmpty();
}

void kxSerializeLex::addFunction(std::string_view name, kxParserFunction function)
{
    names_.set(kxFuncInfo::ofMatch(name, std::move(function)));
}

void kxSerializeLex::addAction(std::string_view name, kxLexAction action)
{
    names_.set(kxFuncInfo::ofAction(name, std::move(action)));
}

bool kxSerializeLex::setDecimalSeparator(char separator)
{
    if (kSeparators.find(separator) == std::string_view::npos) return false;
    if (separator != '.' && !addRule(kxLexBuiltins::numberRule(separator))) return false;
    decimalSeparator_ = separator;
    return true;
}

// ---- matches

kxLexResult kxSerializeLex::scan(std::string_view pattern)
{
    refuseWithinMatch();
    if (scanned_ == Scanned{pattern, names_.version(), decimalSeparator_}) return run(kScanRule);
    error_ = kxString();
    std::string rule;
    if (!kxScanPattern::toRule(pattern, decimalSeparator_, rule)) {
        kxMessage(KX_MESSAGE_WARNING, "Malformed rule in parser -> '%s'", kxShortName(pattern));
        error_ = kxErrorText("Malformed rule in parser -> '%s'", kxShortName(pattern));
        return KX_LEX_ERROR;
    }
    if (!addRule(rule)) return KX_LEX_ERROR;
    pattern_ = pattern;
    scanned_ = {pattern_, names_.version(), decimalSeparator_};
    return run(kScanRule);
}

kxLexResult kxSerializeLex::run(const kxString& rule)
{
    refuseWithinMatch();
    error_ = kxString();
    kxRuleInfo* const start = names_.findRule(rule);
    if (start == nullptr) {
        fail(kxErrorText("Unknow parse function '%s'", kxShortName(rule)));
        return KX_LEX_ERROR;
    }
    const kxRuleCode kind = traces_ ? kxRuleCode::kPlain : kxRuleCode::kFast;
    const kxRuleProgram* const program = programs_.get(names_, *start, isWide_, kind);
    if (program != nullptr) return match(*program);
    fail(programs_.fault());
    return KX_LEX_ERROR;
}

kxLexResult kxSerializeLex::runWhole(const kxString& rule)
{
    const kxLexResult result = run(rule);
    if (result == KX_LEX_OK && adapter_ && (adapter_->length() != 0 || adapter_->hasData()))
        error_ = kxTranslate(kNotAll);
    return result;
}

bool kxSerializeLex::runText(const kxString& rule, const kxString& text)
{
    setAdapter(kxMakeRef<kxSerializeAdapterString>(text));
    clearValues();
    const kxLexResult result = runWhole(rule);
    if (result == KX_LEX_NO_MATCH && error_.isEmpty()) error_ = kxTranslate(kNotAll);
    return error_.isEmpty();
}

kxLexResult kxSerializeLex::match(const kxRuleProgram& program)
{
    struct Matching {
        bool& flag;
        explicit Matching(bool& matching) : flag(matching) { flag = true; }
        ~Matching() { flag = false; }
    } matching(isMatching_);
    input_.begin();
    try {
        const kxLexResult result = matchAndDeliver(program);
        finishMatch(result == KX_LEX_OK ? machine_.position() : 0);
        return result;
    } catch (...) {
        finishMatch(0);
        throw;
    }
}

void kxSerializeLex::finishMatch(std::uint32_t position)
{
    machine_.trim();
    input_.finish(position);
}

kxLexResult kxSerializeLex::matchAndDeliver(const kxRuleProgram& program)
{
    machine_.setTracer(traces_ ? &trace_ : nullptr);
    const kxLexResult result = machine_.run(program);
    if (result == KX_LEX_OK) return deliver(program) ? KX_LEX_OK : KX_LEX_ERROR;
    if (result == KX_LEX_NO_MATCH) {
        if (machine_.wasShortOfData()) error_ = kxTranslate("Adapter out of Data");
        return result;
    }
    const kxInstruction& instruction = program.code[machine_.instruction()];
    if (instruction.operation == KX_OP_UNKNOWN)
        fail(kxErrorText("Unknow parse function '%s'",
                         kxShortName(std::string_view(program.names[instruction.a]))));
    else
        setFault(program, kxTranslate(machine_.fault()), machine_.instruction(), machine_.position());
    return result;
}

bool kxSerializeLex::deliver(const kxRuleProgram& program)
{
    kxMatchDelivery delivery(input_, log_, program, decimalSeparator_);
    if (!delivery.run()) {
        setFault(program, delivery.fault(), delivery.instruction(), delivery.position());
        return false;
    }
    for (kxDynamicType& value : delivery.values()) values_.push(std::move(value));
    return true;
}

// The place is that of the input, the rest that of the rule.
void kxSerializeLex::setFault(const kxRuleProgram& program, const kxString& fault, std::uint32_t instruction,
                              std::uint32_t position)
{
    const kxRuleInfo& rule = program.ruleOf(instruction);
    const kxTextPlace place = input_.placeOf(position);
    const std::string_view rest = std::string_view(rule.text()).substr(program.code[instruction].offset);
    fail(kxErrorText("Parse Error:'%s' in rule '%s' at (Line:%d,Col:%d) -> %s", fault,
                     kxShortName(std::string_view(rule.name())), place.line, place.column,
                     kxShortName(rest)));
}
