#include "kxbase/serialize/kxSerializeString.h"

#include "kxbase/containers/kxArray.h"
#include "kxbase/serialize/kxSerializeAdapter.h"

namespace {

// The bytes of one read as its 16-bit count sees them.
class CollectedText {
public:
    void add(char byte)
    {
        if (count_ == bytes_.size())
            bytes_.append(byte);
        else
            bytes_[count_] = byte;
        ++count_;
    }
    std::string_view view() const { return {bytes_.data(), count_}; }

private:
    kxArray<char> bytes_;  // at most 65536, since the count wraps
    std::uint16_t count_ = 0;
};

}  // namespace

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
    CollectedText collected;
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
