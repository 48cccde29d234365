// URLs: the parts hold what the URL holds, options are found as a plain split finds them, and the factory ends with
// an adapter or a reason.

#include "kxbase/net/kxNetUrl.h"
#include "kxbase/serialize/DummyURLManagerInterface.h"
#include "kxbase/serialize/kxEncoderURLManager.h"
#include "kxbase/serialize/kxSerializeAdapterBCDEncoder.h"
#include "kxbase/serialize/kxUrl.h"
#include "kxbase/serialize/kxUrlOptions.h"
#include "kxbase/serialize/kxUrlRegistry.h"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <string>

namespace {

void require(bool condition)
{
    if (!condition) std::abort();
}

void takeApart(const kxString& url)
{
    const kxUrl parts(url);
    std::string expected(url.view());
    std::replace(expected.begin() + parts.scheme.length(), expected.end(), '\\', '/');
    std::string joined(parts.scheme.view());
    joined.append(parts.path().view());
    if (joined.size() != expected.size()) joined.append("?").append(parts.options.view());
    require(joined == expected);
}

// The slow way.
std::optional<std::string> findOption(const kxString& options, const kxString& key)
{
    for (const kxString& item : kxString(options).replaced("&amp;", "&").split("&")) {
        if (item == key && !key.isEmpty()) return "true";
        if (item.startsWith((key + "=").view())) return std::string(item.view().substr(key.length() + 1U));
    }
    return std::nullopt;
}

void lookOptionsUp(const kxString& text)
{
    // The key is what stands before the first line feed.
    const std::uint32_t end = text.find('\n');
    if (end == KX_STRING_NOT_FOUND || text.view().find('&') < end) return;
    const kxString key = text.substring(0, end);
    const kxString items(text.view().substr(end + 1U));
    const kxUrlOptions options(items);
    const std::optional<std::string> expected = findOption(items, key);
    require(options.has(key) == expected.has_value());
    require(options.getText(key, "none") == expected.value_or("none"));
    require(options.getBool(key, true) || !options.getBool(key, false));
    options.getInteger(key, 0);
}

void takeHostApart(const kxString& url)
{
    const kxNetUrl parts(url);
    require(parts.host.view().find_first_of(":/\\") == std::string_view::npos);
    require(url.contains(parts.host.view()) && url.endsWith(parts.options.view()));
}

// Nothing outside this process is touched: files and hosts are stood in for, and addresses are off.
void makeSafe()
{
    kxUrlRegistry& registry = kxUrlRegistry::instance();
    registry.setAddressUrls(false);
    for (const char* const scheme : {"file:", "udp:", "tcp:"}) {
        registry.addManager(scheme, kxMakeRef<DummyURLManagerInterface>());
    }
    registry.addManager("hex:", kxMakeRef<kxEncoderURLManager<kxSerializeAdapterBCDEncoder>>());
    registry.addUrl(kxGUID("{0123ABCD-45EF-6789-FEDC-BA9876543210}"), "hex:file:x");
}

void open(const kxString& url)
{
    kxString reason;
    const auto adapter =
        kxSerializeAdapter::getAdapter(url, KX_SERIALIZE_INPUT, KX_SERIALIZE_SILENT, "", &reason);
    require(reason.isEmpty() == (adapter != nullptr));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const bool isSafe = (makeSafe(), true);
    const kxString text(reinterpret_cast<const char*>(data), size);
    takeApart(text);
    takeHostApart(text);
    lookOptionsUp(text);
    if (isSafe && !text.contains("con:")) open(text);
    return 0;
}
