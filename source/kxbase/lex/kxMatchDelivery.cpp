#include "kxbase/lex/kxMatchDelivery.h"

#include "kxbase/core/kxMessage.h"
#include "kxbase/string/kxNumberScanner.h"

#include <charconv>
#include <cmath>

namespace {

// Above this not every integer is a double, so that a text may be read as its neighbour.
constexpr std::int64_t kLargestExact = std::int64_t{1} << 53;
constexpr double kFirstInexact = static_cast<double>(kLargestExact);

constexpr const char* kTooLong = "Too many characters in kxString";

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

// A number with another separator in the scanner's form; a separator may stand behind the last digit there.
std::string pointed(std::string_view text, char separator)
{
    std::string out(text);
    const std::size_t at = out.find(separator);
    if (at == std::string::npos) return out;
    if (at + 1 < out.size() && isDigit(out[at + 1]))
        out[at] = '.';
    else if (at != 0 && isDigit(out[at - 1]))
        out.erase(at, 1);
    return out;
}

}  // namespace

kxDynamicType kxMatchDelivery::valueOf(std::string_view text, char decimalSeparator)
{
    // What begins like no number is none.
    const std::string_view digits = text.substr(!text.empty() && (text[0] == '+' || text[0] == '-') ? 1 : 0);
    if (digits.empty() || !isDigit(digits[0])) return text;
    kxScannedNumber number = kxNumberScanner().scan(text);
    if (number.length != text.size() && decimalSeparator != '.') {
        const std::string written = pointed(text, decimalSeparator);
        number = kxNumberScanner().scan(written);
        if (number.length != written.size()) return text;
        return number.value;
    }
    if (number.length != text.size()) return text;
    if (!number.isWhole || std::fabs(number.value) < kFirstInexact) return number.value;
    std::int64_t integer = 0;
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data() + (text[0] == '+' ? 1 : 0), end, integer);
    if (result.ec != std::errc() || integer == kLargestExact || integer == -kLargestExact)
        return number.value;
    return integer;
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
    if (!copyPiece(from, record.position, text_)) return false;
    if (text_.size() > KX_STRING_MAX_LENGTH) return fail(kxTranslate(kTooLong));
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
    std::vector<std::uint32_t> borders;
    if (!log_.bordersOf(record, KX_LEX_MAX_PIECES, borders)) return fail(kxTranslate("Too many marks"));
    capture_.pieces_.resize(borders.size() - 1);
    for (std::size_t piece = 0; piece + 1 < borders.size(); ++piece) {
        if (!copyPiece(borders[piece], borders[piece + 1], capture_.pieces_[piece])) return false;
    }
    capture_.fault_ = kxString();
    capture_.hasLost_ = false;
    const kxLexResult result = function.action()(capture_);
    if (capture_.hasLost_) return fail(kxTranslate(kTooLong));
    if (result == KX_LEX_OK) return true;
    return fail(capture_.fault_.isEmpty() ? kxTranslate("Function failed") : capture_.fault_);
}

bool kxMatchDelivery::copyPiece(std::uint32_t from, std::uint32_t to, std::string& text)
{
    if (!input_.copyText(from, to, text)) return fail(kxTranslate("Utf lex encoding on faulty data set"));
    copiedBytes_ += text.size();
    return copiedBytes_ <= KX_LEX_MAX_VALUE_BYTES || fail(kxTranslate("Too many values"));
}

bool kxMatchDelivery::fail(const kxString& text)
{
    fault_ = text;
    return false;
}
