#include "kxbase/serialize/kxUrl.h"

#include <algorithm>
#include <string>

kxUrl::kxUrl(const kxString& url)
{
    const std::string_view whole = url.view();
    const std::size_t colon = whole.find(':');
    const std::size_t schemeBytes = colon == std::string_view::npos ? 0 : colon + 1;
    scheme = kxString(whole.substr(0, schemeBytes));

    std::string rest(whole.substr(schemeBytes));
    std::replace(rest.begin(), rest.end(), '\\', '/');
    std::string_view place = rest;
    if (const std::size_t question = place.rfind('?'); question != std::string_view::npos) {
        options = kxString(place.substr(question + 1));
        place = place.substr(0, question);
    }
    const std::size_t slash = place.rfind('/');
    const std::size_t addressBytes = slash == std::string_view::npos ? place.size() : slash + 1;
    address = kxString(place.substr(0, addressBytes));
    name = kxString(place.substr(addressBytes));
}
