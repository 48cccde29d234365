#include "kxbase/serialize/kxSerializeAdapterTextEncoder.h"

#include "kxbase/serialize/kxWideText.h"

#include <algorithm>
#include <limits>

kxSerializeAdapterTextEncoder::kxSerializeAdapterTextEncoder(const kxRefPointer<kxSerializeAdapter>& parent)
    : kxSerializeAdapter(parent), parent_(parent)
{}

bool kxSerializeAdapterTextEncoder::isActive()
{
    return parent_->isActive();
}

bool kxSerializeAdapterTextEncoder::hasError()
{
    if (kxSerializeAdapter::hasError()) return true;
    if (hasPushBack() || holdsDecodedBytes()) return false;
    if (tailBytes_ > mostTailBytes_) return false;  // it still gives a byte
    return parent_->hasError() || (mostTailBytes_ != 0 && hasErrorBehindTail());
}

kxString kxSerializeAdapterTextEncoder::getError()
{
    return kxSerializeAdapter::hasError() ? kxSerializeAdapter::getError() : parent_->getError();
}

// A parent has not ended while text is left, be it a last line feed that gives no byte.
bool kxSerializeAdapterTextEncoder::hasErrorBehindTail()
{
    const std::uint32_t room = mostTailBytes_ - std::min(tailBytes_, mostTailBytes_);
    tailBytes_ += parent_->read(tail_ + tailBytes_, std::min(parent_->length(), room));
    return parent_->length() == 0 && parent_->hasError();
}

std::uint32_t kxSerializeAdapterTextEncoder::textLength(std::uint32_t least)
{
    const std::uint64_t sum = std::uint64_t{parent_->length()} + tailBytes_;
    const auto length =
        static_cast<std::uint32_t>(std::min<std::uint64_t>(sum, std::numeric_limits<std::uint32_t>::max()));
    mostTailBytes_ = length != 0 && length < least ? least - 1 : 0;
    return length < least ? 0 : length;
}

std::uint32_t kxSerializeAdapterTextEncoder::readText(std::uint8_t* text, std::uint32_t count)
{
    if (tailBytes_ == 0) return parent_->read(text, count);
    const std::uint32_t taken = std::min(count, tailBytes_);
    std::copy_n(tail_, taken, text);
    std::copy(tail_ + taken, tail_ + tailBytes_, tail_);
    tailBytes_ -= taken;
    return taken == count ? taken : taken + parent_->read(text + taken, count - taken);
}

void kxSerializeAdapterTextEncoder::unreadText(const std::uint8_t* characters, std::uint32_t count)
{
    if (isWide())
        kxWideText::widen(characters, count, tail_);
    else
        std::copy_n(characters, count, tail_);
    tailBytes_ = isWide() ? 2 * count : count;
}

void kxSerializeAdapterTextEncoder::writeText(const std::uint8_t* text, std::uint32_t count)
{
    if (!isWide()) return parent_->write(text, count);
    std::uint8_t wide[kTextBytes * 2];
    kxWideText::widen(text, count, wide);
    parent_->write(wide, 2 * count);
}
