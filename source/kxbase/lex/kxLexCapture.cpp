#include "kxbase/lex/kxLexCapture.h"

#include "kxbase/lex/kxMatchDelivery.h"

kxString kxLexCapture::get(std::uint32_t piece) const
{
    const std::string_view text = view(piece);
    return delivery_.canBeString(text) ? kxString(text) : kxString();
}

std::string_view kxLexCapture::view(std::uint32_t piece) const
{
    if (piece >= count()) return {};
    Piece& copy = pieces_[piece];
    if (!copy.isCopied) copy.isCopied = delivery_.copyText(borders_[piece], borders_[piece + 1], copy.text);
    return copy.isCopied ? std::string_view(copy.text) : std::string_view();
}

void kxLexCapture::push(kxDynamicType value)
{
    delivery_.values().push_back(std::move(value));
}

void kxLexCapture::begin()
{
    if (pieces_.size() < count()) pieces_.resize(count());
    for (std::uint32_t piece = 0; piece < count(); ++piece) pieces_[piece].isCopied = false;
    fault_ = kxString();
}
