#include "kxbase/core/kxMessage.h"
#include "kxbase/serialize/kxSerializeAdapter.h"
#include "kxbase/serialize/kxSerializeAdapterFile.h"
#include "kxbase/serialize/kxSerializeAdapterStdIO.h"
#include "kxbase/serialize/kxShortName.h"
#include "kxbase/serialize/kxUrl.h"

// Definition of kxSerializeAdapter::getAdapter: the one place that knows every adapter.

namespace {

using Adapter = kxRefPointer<kxSerializeAdapter>;

// What a scheme gets to make its adapter of.
struct Request {
    const kxString& url;
    kxUrl parts;
    std::uint32_t mode;
    std::uint32_t flags;
};

Adapter makeFile(const Request& request)
{
    return Adapter(new kxSerializeAdapterFile(request.parts.path(), request.mode, false, request.flags));
}

Adapter makeConsole(const Request&)
{
    return Adapter(new kxSerializeAdapterStdIO());
}

// The built-in schemes, in the order in which they are tried.
constexpr struct {
    std::string_view scheme;
    Adapter (*make)(const Request& request);
} kSchemes[] = {
    {"file:", makeFile},
    {"con:", makeConsole},
};

Adapter make(const Request& request)
{
    for (const auto& row : kSchemes) {
        if (request.parts.scheme == row.scheme) return row.make(request);
    }
    return {};
}

template <typename... Arguments>
void warn(const Request& request, std::string_view format, const Arguments&... arguments)
{
    if ((request.flags & KX_SERIALIZE_SILENT) == 0) kxMessage(KX_MESSAGE_WARNING, format, arguments...);
}

void giveReason(kxString* errorOut, const kxString& reason)
{
    if (errorOut != nullptr) *errorOut = reason;
}

// Records on the adapter where it came from. A file adapter named itself after its path, which stands when the
// URL has no final component of its own.
void record(kxSerializeAdapter& adapter, const Request& request, const kxString& context)
{
    adapter.setScheme(request.parts.scheme);
    adapter.setAddress(request.parts.address);
    if (!request.parts.name.isEmpty()) adapter.setName(request.parts.name);
    adapter.setContext(context);
    adapter.setOptions(request.parts.options);
    adapter.setFlags(request.flags & ~KX_SERIALIZE_SILENT);
}

}  // namespace

Adapter kxSerializeAdapter::getAdapter(const kxString& url, std::uint32_t mode, std::uint32_t flags,
                                       const kxString& context, kxString* errorOut)
{
    const Request request{url, kxUrl(url), mode, flags};
    if (url.isEmpty()) {
        constexpr std::string_view kEmptyUrl = "Empty URL name in getAdapter";
        warn(request, kEmptyUrl);
        giveReason(errorOut, kxTranslate(kEmptyUrl));
        return {};
    }
    Adapter adapter = make(request);
    if (!adapter) {
        constexpr std::string_view kNoAdapter = "Could not create URL Adapter '%s'";
        warn(request, kNoAdapter, kxShortName(url));
        giveReason(errorOut, kxString::format(kxTranslate(kNoAdapter), kxShortName(url)));
        return {};
    }
    if (adapter->hasError()) {
        warn(request, "URL Adapter (%s) Error:%s", kxShortName(url), adapter->getError());
        giveReason(errorOut, adapter->getError());
        return {};
    }
    record(*adapter, request, context);
    return adapter;
}
