#include "kxbase/string/kxFormatter.h"

#include "kxbase/core/kxMessage.h"
#include "kxbase/string/kxString.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace {

enum State : std::uint8_t {
    TEXT,
    PERCENT,
    START,
    STAR,
    NUMBER,
    FLAGS,
    WIDTH,
    WIDTH_DIGITS,
    DOT,
    PRECISION,
    PRECISION_DIGITS,
    SIZE,
    SIZE2,
    CONVERSION,
    STATE_COUNT
};

enum Action : std::uint8_t {
    NOTHING,
    RESET,
    APPEND,
    READ_STAR,
    CLEAR_NUMBER,
    ADD_DIGIT,
    POSITION_FROM_STAR,
    WIDTH_FROM_STAR,
    POSITION_FROM_NUMBER,
    POSITION_ZERO,
    WIDTH_FROM_NUMBER,
    SET_LEFT,
    SET_PLUS,
    SET_ZERO,
    SET_SPACE,
    SET_ALTERNATE,
    WIDTH_FROM_ARGUMENT,
    PRECISION_FROM_ARGUMENT,
    PRECISION_FROM_NUMBER,
    SIZE_2,
    SIZE_4,
    SIZE_8,
    CONVERT
};

// Whether the next state gets the character again.
enum Take : std::uint8_t { TAKE, UNGET };

constexpr const char* kOther = nullptr;
constexpr const char* kDigits = "0123456789";
constexpr std::size_t kAsciiCount = 128;

}  // namespace

struct kxFormatter::Rule {
    State state;
    const char* characters;
    Action action;
    Take take;
    State next;
};

// The first rule of a state that fits the character applies; every state ends with one for all others.
constexpr kxFormatter::Rule kxFormatter::kRules[] = {
    {TEXT, "%", RESET, TAKE, PERCENT},
    {TEXT, kOther, APPEND, TAKE, TEXT},
    {PERCENT, "%", APPEND, TAKE, TEXT},
    {PERCENT, kOther, NOTHING, UNGET, START},
    {START, "*", READ_STAR, TAKE, STAR},
    {START, "123456789", CLEAR_NUMBER, UNGET, NUMBER},
    {START, "0", POSITION_ZERO, UNGET, FLAGS},
    {START, kOther, NOTHING, UNGET, FLAGS},
    {STAR, "$", POSITION_FROM_STAR, TAKE, FLAGS},
    {STAR, kOther, WIDTH_FROM_STAR, UNGET, DOT},
    {NUMBER, kDigits, ADD_DIGIT, TAKE, NUMBER},
    {NUMBER, "$", POSITION_FROM_NUMBER, TAKE, FLAGS},
    {NUMBER, kOther, WIDTH_FROM_NUMBER, UNGET, DOT},
    {FLAGS, "-", SET_LEFT, TAKE, FLAGS},
    {FLAGS, "+", SET_PLUS, TAKE, FLAGS},
    {FLAGS, "0", SET_ZERO, TAKE, FLAGS},
    {FLAGS, " ", SET_SPACE, TAKE, FLAGS},
    {FLAGS, "#", SET_ALTERNATE, TAKE, FLAGS},
    {FLAGS, kOther, NOTHING, UNGET, WIDTH},
    {WIDTH, "*", WIDTH_FROM_ARGUMENT, TAKE, DOT},
    {WIDTH, kOther, CLEAR_NUMBER, UNGET, WIDTH_DIGITS},
    {WIDTH_DIGITS, kDigits, ADD_DIGIT, TAKE, WIDTH_DIGITS},
    {WIDTH_DIGITS, kOther, WIDTH_FROM_NUMBER, UNGET, DOT},
    {DOT, ".", NOTHING, TAKE, PRECISION},
    {DOT, kOther, NOTHING, UNGET, SIZE},
    {PRECISION, "*", PRECISION_FROM_ARGUMENT, TAKE, SIZE},
    {PRECISION, kDigits, CLEAR_NUMBER, UNGET, PRECISION_DIGITS},
    {PRECISION, kOther, NOTHING, UNGET, SIZE},
    {PRECISION_DIGITS, kDigits, ADD_DIGIT, TAKE, PRECISION_DIGITS},
    {PRECISION_DIGITS, kOther, PRECISION_FROM_NUMBER, UNGET, SIZE},
    {SIZE, "lL", SIZE_4, TAKE, SIZE2},
    {SIZE, "hH", SIZE_2, TAKE, CONVERSION},
    {SIZE, kOther, NOTHING, UNGET, CONVERSION},
    {SIZE2, "lL", SIZE_8, TAKE, CONVERSION},
    {SIZE2, kOther, NOTHING, UNGET, CONVERSION},
    {CONVERSION, kOther, CONVERT, TAKE, TEXT},
};

// The number of the rule for each state and character; characters beyond ASCII are like the zero, "other".
std::uint8_t kxFormatter::ruleFor(std::uint8_t state, char32_t character) noexcept
{
    static constexpr auto kNumbers = [] {
        std::array<std::array<std::uint8_t, kAsciiCount>, STATE_COUNT> numbers{};
        for (std::size_t i = std::size(kRules); i-- != 0;) {
            const Rule& rule = kRules[i];
            auto& row = numbers[rule.state];
            if (rule.characters == kOther)
                row.fill(static_cast<std::uint8_t>(i));
            else
                for (const char* c = rule.characters; *c != 0; ++c)
                    row[static_cast<std::size_t>(*c)] = static_cast<std::uint8_t>(i);
        }
        return numbers;
    }();
    return kNumbers[state][character < kAsciiCount ? character : 0];
}

std::string_view kxFormatter::run()
{
    State state = TEXT;
    while (!cursor_.atEnd()) {
        const char32_t character = cursor_.next();
        const Rule& rule = kRules[ruleFor(state, character)];
        if (rule.take == UNGET) cursor_.unget();
        perform(rule, character);
        state = rule.next;
    }
    if (state != TEXT) warnUnknown();
    return output_.stringText();
}

void kxFormatter::perform(const Rule& rule, char32_t character)
{
    switch (rule.action) {
    case NOTHING:
        break;
    case RESET:
        spec_ = {};
        break;
    case APPEND:
        copyText();
        break;
    case READ_STAR:
        starValue_ = nextArgument().toSigned();
        break;
    case CLEAR_NUMBER:
        number_ = 0;
        break;
    case ADD_DIGIT:
        number_ = std::min(number_ * 10 + (character - U'0'), KX_FORMAT_MAX_WIDTH);
        break;
    case POSITION_FROM_STAR:
        setPosition(starValue_);
        break;
    case WIDTH_FROM_STAR:
        setWidth(starValue_);
        break;
    case POSITION_FROM_NUMBER:
        setPosition(number_);
        if (spec_.position < 0) warnPosition();
        break;
    case POSITION_ZERO:
        // Only "0$" is a number here; any other '0' is left to be a flag.
        if (cursor_.skip("0$")) warnPosition();
        break;
    case WIDTH_FROM_NUMBER:
        setWidth(number_);
        break;
    case SET_LEFT:
        spec_.leftJustify = true;
        spec_.zeroPad = false;
        break;
    case SET_PLUS:
        spec_.plus = true;
        spec_.space = false;
        break;
    case SET_ZERO:
        spec_.zeroPad = !spec_.leftJustify;
        break;
    case SET_SPACE:
        spec_.space = !spec_.plus;
        break;
    case SET_ALTERNATE:
        spec_.alternate = true;
        break;
    case WIDTH_FROM_ARGUMENT:
        setWidth(nextArgument().toSigned());
        break;
    case PRECISION_FROM_ARGUMENT:
        setPrecision(nextArgument().toSigned());
        break;
    case PRECISION_FROM_NUMBER:
        setPrecision(number_);
        break;
    case SIZE_2:
        spec_.sizeBytes = 2;
        break;
    case SIZE_4:
        spec_.sizeBytes = 4;
        break;
    case SIZE_8:
        spec_.sizeBytes = 8;
        break;
    case CONVERT:
        convert(character);
        break;
    }
}

// The character just taken and all that follow up to the next percent sign, in one piece.
void kxFormatter::copyText()
{
    cursor_.unget();
    output_.append(cursor_.takeText());
}

void kxFormatter::setPosition(std::int64_t number) noexcept
{
    if (number >= 1 && number <= KX_ARGUMENT_SLOTS) spec_.position = static_cast<std::int32_t>(number - 1);
}

void kxFormatter::setWidth(std::int64_t width) noexcept
{
    constexpr std::int64_t kMaximum = KX_FORMAT_MAX_WIDTH;
    if (width < 0) spec_.leftJustify = true;
    // Clamped before the sign is dropped: the smallest number has no positive counterpart.
    width = std::clamp(width, -kMaximum, kMaximum);
    spec_.width = static_cast<std::uint32_t>(width < 0 ? -width : width);
}

void kxFormatter::setPrecision(std::int64_t precision) noexcept
{
    constexpr std::int64_t kMaximum = KX_FORMAT_MAX_WIDTH;
    spec_.precision = static_cast<std::int32_t>(std::clamp<std::int64_t>(precision, -1, kMaximum));
}

void kxFormatter::convert(char32_t letter)
{
    const kxFormatConversion* const conversion = kxFindFormatConversion(letter);
    if (conversion == nullptr) return warnUnknown();
    const kxArgument& argument =
        spec_.position >= 0 ? arguments_[static_cast<std::uint32_t>(spec_.position)] : nextArgument();
    conversion->write(*conversion, spec_, argument, output_);
}

const kxArgument& kxFormatter::nextArgument() noexcept
{
    return arguments_[std::min(nextSlot_++, KX_ARGUMENT_SLOTS)];
}

void kxFormatter::warnPosition() const
{
    // Raw, since the text would otherwise be taken for the very fault that it describes.
    kxMessage(KX_MESSAGE_WARNING | KX_MESSAGE_RAW, "Using kxString::format(\"%n$\") where n<1 or n>16");
}

void kxFormatter::warnUnknown() const
{
    kxMessage(KX_MESSAGE_WARNING, "Unknown format option in string '%s'", format_);
}

kxString kxString::formatArguments(std::string_view text, kxArgumentView arguments)
{
    return kxString(kxFormatter(text, arguments).run());
}
