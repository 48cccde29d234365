#include "kxbase/protocol/kxHttpMessage.h"

#include "kxbase/core/kxAsciiCase.h"

kxHttpHeader kxHttpMessage::header(std::uint32_t index) const
{
    const Header& header = headers_.get(index);
    return {view(header.name), view(header.value), header.isUnderstood};
}

bool kxHttpMessage::hasHeader(std::string_view name) const noexcept
{
    return find(name) != nullptr;
}

std::string_view kxHttpMessage::headerValue(std::string_view name, std::string_view absent) const noexcept
{
    const Header* const header = find(name);
    return header != nullptr ? view(header->value) : absent;
}

bool kxHttpMessage::keepsAlive() const noexcept
{
    const bool isByDefault = isRtsp() || majorVersion() > 1 || (majorVersion() == 1 && minorVersion() >= 1);
    return !facts_.asksToClose && (isByDefault || facts_.asksToKeepAlive);
}

const kxHttpMessage::Header* kxHttpMessage::find(std::string_view name) const noexcept
{
    for (const Header& header : headers_) {
        if (kxEqualsIgnoreCase(view(header.name), name)) return &header;
    }
    return nullptr;
}

void kxHttpMessage::clear() noexcept
{
    block_.clear();
    headers_.clear();
    first_ = {};
    facts_ = {};
}
