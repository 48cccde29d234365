#include "kxbase/net/kxUrlPlace.h"

#include <algorithm>

kxUrlPlace::kxUrlPlace(std::string_view url) noexcept
{
    if (const std::size_t question = url.rfind('?'); question != std::string_view::npos) {
        options = url.substr(question + 1);
        url = url.substr(0, question);
    }
    constexpr const char* kSlashes = "/\\";
    if (std::min(url.find_first_not_of(kSlashes), url.size()) >= 2) url.remove_prefix(2);
    hostPart = url.substr(0, url.find_first_of(kSlashes));
    rest = url.substr(std::min(hostPart.size() + 1, url.size()));
}
