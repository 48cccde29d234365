#include "kxbase/serialize/kxSerializeString.h"

#include "kxbase/serialize/kxCollectedText.h"
#include "kxbase/serialize/kxSerializeAdapter.h"

kxSerializeString::kxSerializeString(const kxString& text, bool usesTerminator, char terminator)
    : text_(text), terminator_(terminator), usesTerminator_(usesTerminator)
{}

void kxSerializeString::write(kxSerializeAdapter& adapter) const
{
    adapter.write(text_.text(), text_.length());
    if (usesTerminator_) adapter.writeByte(static_cast<std::uint8_t>(terminator_));
}

void kxSerializeString::read(kxSerializeAdapter& adapter)
{
    kxCollectedText<char> collected;
    while (adapter.length() != 0 || adapter.hasData()) {
        const char byte = static_cast<char>(adapter.readChar());
        if (usesTerminator_ && byte == terminator_) break;
        collected.add(byte);
    }
    text_ = kxString(collected.view());
}

void kxSerializeString::pushBack(kxSerializeAdapter& adapter) const
{
    if (usesTerminator_) adapter.pushBack(static_cast<std::uint8_t>(terminator_));
    adapter.pushBack(text_.text(), text_.length());
}

std::uint32_t kxSerializeString::getDataSize() const
{
    return text_.length() + (usesTerminator_ ? 1U : 0U);
}

// A string by itself is stored with a zero byte behind it.

void kxString::write(kxSerializeAdapter& adapter) const
{
    adapter.write(text(), length_);
    adapter.writeByte(0);
}

void kxString::read(kxSerializeAdapter& adapter)
{
    kxSerializeString stored;
    stored.read(adapter);
    *this = stored.getText();
}

void kxString::pushBack(kxSerializeAdapter& adapter) const
{
    adapter.pushBack(std::uint8_t{0});
    adapter.pushBack(text(), length_);
}

std::uint32_t kxString::getDataSize() const
{
    return length_ + 1U;
}
