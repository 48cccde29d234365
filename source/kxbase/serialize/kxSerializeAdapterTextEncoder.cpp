#include "kxbase/serialize/kxSerializeAdapterTextEncoder.h"

#include "kxbase/serialize/kxWideText.h"

#include <algorithm>

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
    return parent_->hasError() || (tailWasSeen_ && hasErrorBehindTail());
}

kxString kxSerializeAdapterTextEncoder::getError()
{
    return kxSerializeAdapter::hasError() ? kxSerializeAdapter::getError() : parent_->getError();
}

// A parent has not ended while text is left, be it a last line feed that gives no byte.
bool kxSerializeAdapterTextEncoder::hasErrorBehindTail()
{
    std::uint8_t tail[kMostTailBytes];
    const std::uint32_t taken = parent_->read(tail, std::min(parent_->length(), kMostTailBytes));
    const bool hasEnded = parent_->length() == 0 && parent_->hasError();
    parent_->pushBack(tail, taken);
    return hasEnded;
}

std::uint32_t kxSerializeAdapterTextEncoder::textLength(std::uint32_t least)
{
    const std::uint32_t length = parent_->length();
    tailWasSeen_ = length != 0 && length < least;
    return length < least ? 0 : length;
}

void kxSerializeAdapterTextEncoder::writeText(const std::uint8_t* text, std::uint32_t count)
{
    if (!isWide()) return parent_->write(text, count);
    std::uint8_t wide[kTextBytes * 2];
    kxWideText::widen(text, count, wide);
    parent_->write(wide, 2 * count);
}
