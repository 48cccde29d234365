#include "kxbase/program/kxLanguageFileParser.h"

#include "kxbase/string/kxUtf.h"

namespace {

constexpr char16_t kMark = 0xFEFF;
constexpr char16_t kSwappedMark = 0xFFFE;
constexpr char16_t kReplacement = 0xFFFD;
// The mark is found inside when files are joined.
constexpr std::u16string_view kBlanks = u" \t\v\f\xFEFF";
constexpr std::u16string_view kCodeEnds = u" \t\v\f\xFEFF\"";

constexpr struct {
    char16_t letter;
    char16_t meaning;
} kEscapes[] = {
    {u'n', u'\n'}, {u'r', u'\r'}, {u't', u'\t'}, {u'\\', u'\\'}, {u'"', u'"'},
};

bool isBlank(char16_t unit)
{
    return kBlanks.find(unit) != kBlanks.npos;
}

std::u16string_view trimmed(std::u16string_view line)
{
    line.remove_prefix(std::min(line.find_first_not_of(kBlanks), line.size()));
    return line.substr(0, line.find_last_not_of(kBlanks) + 1);
}

// What stands for an escape at the start of the text, and 0 when there is none.
char16_t meaningOfEscape(std::u16string_view text)
{
    if (text.size() < 2 || text.front() != u'\\') return 0;
    for (const auto& row : kEscapes)
        if (row.letter == text[1]) return row.meaning;
    return 0;
}

void replaceLoneSurrogates(std::u16string& units)
{
    for (std::size_t index = 0; index < units.size(); ++index) {
        const bool isPair =
            kxIsHighSurrogate(units[index]) && index + 1 < units.size() && kxIsLowSurrogate(units[index + 1]);
        if (isPair)
            ++index;
        else if (kxIsHighSurrogate(units[index]) || kxIsLowSurrogate(units[index]))
            units[index] = kReplacement;
    }
}

std::string utf8(std::u16string_view units)
{
    std::string bytes(kxUtfLengthOfWide(units), '\0');
    kxUtfFromWide(units, bytes.data());
    return bytes;
}

// The text between the quotes; none when they are not the first and the last of it, or it is too long.
std::optional<std::string> unquoted(std::u16string_view quoted)
{
    std::u16string units;
    std::size_t index = 1;
    while (index < quoted.size() && quoted[index] != u'"') {
        const char16_t meaning = meaningOfEscape(quoted.substr(index));
        units += meaning != 0 ? meaning : quoted[index];
        index += meaning != 0 ? 2 : 1;
    }
    if (index + 1 != quoted.size()) return {};
    replaceLoneSurrogates(units);
    std::string text = utf8(units);
    if (text.size() > KX_STRING_MAX_LENGTH) return {};
    return text;
}

}  // namespace

void kxLanguageFileParser::feed(const std::uint8_t* bytes, std::size_t count)
{
    for (const std::uint8_t* const end = bytes + count; bytes != end; ++bytes) {
        if (!firstByte_) {
            firstByte_ = *bytes;
            continue;
        }
        const unsigned low = isSwapped_ ? *bytes : *firstByte_;
        const unsigned high = isSwapped_ ? *firstByte_ : *bytes;
        firstByte_.reset();
        takeUnit(static_cast<char16_t>(high << 8U | low));
    }
}

void kxLanguageFileParser::takeUnit(char16_t unit)
{
    const bool isFirst = std::exchange(isAtStart_, false);
    if (isFirst && (unit == kMark || unit == kSwappedMark))
        isSwapped_ = unit == kSwappedMark;
    else if (unit == u'\n' || unit == u'\r')
        takeLine();
    else if (line_.size() <= KX_MOST_LINE_UNITS && !(line_.empty() && isBlank(unit)))
        line_ += unit;
}

void kxLanguageFileParser::takeLine()
{
    const bool isWhole = line_.size() <= KX_MOST_LINE_UNITS;
    const std::u16string_view line = trimmed(line_);
    if (line.starts_with(u'"'))
        translations_.beginText(isWhole ? unquoted(line).value_or("") : "");
    else if (isWhole && !line.empty() && line.front() != u'#')
        takeTranslation(line);
    line_.clear();
}

void kxLanguageFileParser::takeTranslation(std::u16string_view line)
{
    const std::size_t codeEnd = line.find_first_of(kCodeEnds);
    const std::u16string_view quoted = trimmed(line.substr(std::min(codeEnd, line.size())));
    if (!quoted.starts_with(u'"')) return;
    if (const auto text = unquoted(quoted)) translations_.add(utf8(line.substr(0, codeEnd)), *text);
}
