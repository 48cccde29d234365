#include "kxbase/string/kxFormatter.h"

#include "kxbase/string/kxFormatTable.h"
#include "kxbase/string/kxString.h"

#include <algorithm>

using namespace kxFormatTable;

std::string_view kxFormatter::run()
{
    State state = kText;
    while (!cursor_.atEnd()) {
        const unsigned char character = cursor_.next();
        const Step step = stepFor(state, character);
        if (step.take == kUnget) cursor_.unget();
        // The three that most formats are made of are tested first.
        if (step.action == kAppend)
            copyText();
        else if (step.action == kReset)
            spec_ = {};
        else if (step.action == kConvert)
            convert(character);
        else
            perform(step.action, character);
        state = step.next;
    }
    if (state != kText) faults_.tell(KX_FORMAT_FAULT_UNKNOWN, format_);
    return output_.stringText();
}

void kxFormatter::perform(Action action, unsigned char character)
{
    switch (action) {
    case kReadStar:
        starValue_ = nextArgument().toSigned();
        break;
    case kClearNumber:
        number_ = 0;
        break;
    case kAddDigit:
        number_ = std::min(number_ * 10 + static_cast<std::uint32_t>(character - '0'), KX_FORMAT_MAX_WIDTH);
        break;
    case kPositionFromStar:
        setPosition(starValue_);
        break;
    case kWidthFromStar:
        setWidth(starValue_);
        break;
    case kPositionFromNumber:
        setPosition(number_);
        if (spec_.position < 0) faults_.tell(KX_FORMAT_FAULT_POSITION);
        break;
    case kPositionZero:
        if (cursor_.skip("0$")) faults_.tell(KX_FORMAT_FAULT_POSITION);
        break;
    case kWidthFromNumber:
        setWidth(number_);
        break;
    case kSetLeft:
        spec_.leftJustify = true;
        spec_.zeroPad = false;
        break;
    case kSetPlus:
        spec_.plus = true;
        spec_.space = false;
        break;
    case kSetZero:
        spec_.zeroPad = !spec_.leftJustify;
        break;
    case kSetSpace:
        spec_.space = !spec_.plus;
        break;
    case kSetAlternate:
        spec_.alternate = true;
        break;
    case kWidthFromArgument:
        setWidth(nextArgument().toSigned());
        break;
    case kPrecisionFromArgument:
        setPrecision(nextArgument().toSigned());
        break;
    case kPrecisionFromNumber:
        setPrecision(number_);
        break;
    case kSize2Bytes:
        spec_.sizeBytes = 2;
        break;
    case kSize4Bytes:
        spec_.sizeBytes = 4;
        break;
    case kSize8Bytes:
        spec_.sizeBytes = 8;
        break;
    case kNothing:
        break;
    case kReset:
    case kAppend:
    case kConvert:
        break;  // done by run()
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

void kxFormatter::convert(unsigned char letter)
{
    const kxFormatConversion* const conversion = kxFindFormatConversion(letter);
    if (conversion == nullptr) return faults_.tell(KX_FORMAT_FAULT_UNKNOWN, format_);
    const kxArgument& argument =
        spec_.position >= 0 ? arguments_[static_cast<std::uint32_t>(spec_.position)] : nextArgument();
    auto* write = conversion->write;
    if (conversion->accepts != nullptr && !conversion->accepts(argument)) {
        faults_.tell(conversion->fault);
        write = conversion->writeRefused;
    }
    if (write != nullptr) write(*conversion, spec_, argument, output_);
}

const kxArgument& kxFormatter::nextArgument() noexcept
{
    return arguments_[std::min(nextSlot_++, KX_ARGUMENT_SLOTS)];
}

kxString kxString::formatArguments(std::string_view text, kxArgumentView arguments)
{
    return kxString(kxFormatter(text, arguments).run());
}
