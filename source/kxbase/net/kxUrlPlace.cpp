#include "kxbase/net/kxUrlPlace.h"

#include <algorithm>

kxUrlPlace::kxUrlPlace(std::string_view url) noexcept
{
    if (const std::size_t question = url.rfind('?'); question != std::string_view::npos) {
        options = url.substr(question + 1);
        url = url.substr(0, question);
    }
    constexpr std::string_view kSlashes = "//";
    if (url.starts_with(kSlashes)) url.remove_prefix(kSlashes.size());
    hostPart = url.substr(0, url.find_first_of("/\\"));
    rest = url.substr(std::min(hostPart.size() + 1, url.size()));
}
