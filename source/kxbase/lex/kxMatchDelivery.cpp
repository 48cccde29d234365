#include "kxbase/lex/kxMatchDelivery.h"

#include "kxbase/core/kxMessage.h"
#include "kxbase/string/kxNumberScanner.h"

#include <charconv>
#include <cmath>

namespace {

// Above this not every integer is a double, so that a text may be read as its neighbour.
constexpr std::int64_t kLargestExact = std::int64_t{1} << 53;
constexpr double kFirstInexact = static_cast<double>(kLargestExact);

std::string_view unquoted(std::string_view text)
{
    const bool isQuoted =
        text.size() >= 2 && text.front() == text.back() && (text.front() == '"' || text.front() == '\'');
    return isQuoted ? text.substr(1, text.size() - 2) : text;
}

bool isDigit(char character)
{
    return character >= '0' && character <= '9';
}

bool isExponentLetter(char character)
{
    return character == 'e' || character == 'E';
}

// The value of a text that is a number as a whole.
kxDynamicType numberOf(std::string_view text, const kxScannedNumber& number)
{
    if (!number.isWhole || std::fabs(number.value) < kFirstInexact) return number.value;
    std::int64_t integer = 0;
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data() + (text[0] == '+' ? 1 : 0), end, integer);
    if (result.ec != std::errc() || integer == kLargestExact || integer == -kLargestExact)
        return number.value;
    return integer;
}

}  // namespace

kxDynamicType kxMatchDelivery::valueOf(std::string_view text, char decimalSeparator)
{
    // What begins like no number is none.
    const std::string_view digits = text.substr(!text.empty() && (text[0] == '+' || text[0] == '-') ? 1 : 0);
    if (digits.empty() || !isDigit(digits[0])) return text;
    kxScannedNumber number = kxNumberScanner().scan(text);
    if (number.length == text.size()) return numberOf(text, number);
    if (decimalSeparator == '.') return text;
    number = kxNumberScanner(decimalSeparator).scan(text);
    if (number.length == text.size()) return number.value;
    // fCNum lets the separator also stand behind the last digit.
    if (!number.isWhole || text[number.length] != decimalSeparator) return text;
    const std::string_view exponent = text.substr(number.length + 1);
    if (!exponent.empty() && !isExponentLetter(exponent[0])) return text;
    const std::string joined = std::string(text.substr(0, number.length)).append(exponent);
    number = kxNumberScanner().scan(joined);
    return number.length == joined.size() ? numberOf(joined, number) : text;
}

bool kxMatchDelivery::run()
{
    for (const kxMatchLog::Record& record : log_.records()) {
        if (record.kind != kxMatchLog::Kind::kMark && !deliver(record)) return false;
    }
    return true;
}

bool kxMatchDelivery::deliver(const kxMatchLog::Record& record)
{
    instruction_ = record.instruction;
    position_ = record.position;
    const kxFuncInfo& function = *program_.functions[program_.code[record.instruction].a];
    if (function.kind() == KX_FUNC_ACTION) return act(function, record);
    const std::uint32_t from = log_.records()[record.mark].position;
    if (!copyText(from, record.position, text_) || !canBeString(text_)) return false;
    push(function, record.kind == kxMatchLog::Kind::kBlank && record.position - from == 1);
    return true;
}

void kxMatchDelivery::push(const kxFuncInfo& function, bool isBlank)
{
    if (function.kind() == KX_FUNC_PUSH_QUOTED)
        values_.emplace_back(unquoted(text_));
    else if (function.kind() == KX_FUNC_PUSH_TEXT)
        values_.emplace_back(std::string_view(text_));
    else if (isBlank)
        values_.emplace_back(static_cast<int>(' '));
    else
        values_.push_back(valueOf(text_, separator_));
}

bool kxMatchDelivery::act(const kxFuncInfo& function, const kxMatchLog::Record& record)
{
    if (!log_.bordersOf(record, KX_LEX_MAX_PIECES, capture_.borders_))
        return fail(kxTranslate("Too many marks"));
    capture_.begin();
    const kxLexResult result = function.action()(capture_);
    if (!fault_.isEmpty()) return false;
    if (result == KX_LEX_OK) return true;
    return fail(capture_.fault_.isEmpty() ? kxTranslate("Function failed") : capture_.fault_);
}

bool kxMatchDelivery::copyText(std::uint32_t from, std::uint32_t to, std::string& text)
{
    if (!input_.copyText(from, to, text)) return fail(kxTranslate("Utf lex encoding on faulty data set"));
    copiedBytes_ += text.size();
    return copiedBytes_ <= KX_LEX_MAX_VALUE_BYTES || fail(kxTranslate("Too many values"));
}

bool kxMatchDelivery::failTooLong()
{
    return fail(kxTranslate("Too many characters in kxString"));
}

bool kxMatchDelivery::fail(const kxString& text)
{
    if (fault_.isEmpty()) fault_ = text;
    return false;
}
