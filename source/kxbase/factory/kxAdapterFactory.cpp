#include "kxbase/core/kxMessage.h"
#include "kxbase/core/kxThreadScope.h"
#include "kxbase/factory/kxForeignAdapter.h"
#include "kxbase/factory/kxUrlPieces.h"
#include "kxbase/net/kxSerializeAdapterTCP.h"
#include "kxbase/net/kxSerializeAdapterUDP.h"
#include "kxbase/platform/kxPlatformMemory.h"
#include "kxbase/protocol/kxSerializeAdapterHttp.h"
#include "kxbase/serialize/kxFailedAdapter.h"
#include "kxbase/serialize/kxLayeredAdapter.h"
#include "kxbase/serialize/kxLivingAdapters.h"
#include "kxbase/serialize/kxSerializeAdapter.h"
#include "kxbase/serialize/kxSerializeAdapterFile.h"
#include "kxbase/serialize/kxSerializeAdapterMemory.h"
#include "kxbase/serialize/kxSerializeAdapterRandomAccess.h"
#include "kxbase/serialize/kxSerializeAdapterStdIO.h"
#include "kxbase/serialize/kxShortName.h"
#include "kxbase/serialize/kxUrl.h"
#include "kxbase/serialize/kxUrlRegistry.h"

#include <charconv>
#include <limits>
#include <optional>
#include <string>

// Definition of kxSerializeAdapter::getAdapter: the one place that knows every adapter.

namespace {

using Adapter = kxRefPointer<kxSerializeAdapter>;

constexpr std::uint32_t kDeepestNesting = 16;
constexpr std::string_view kNoAdapter = "Could not create URL Adapter '%s'";

// One call of the factory.
struct Request {
    Request(const kxString& writtenUrl, std::uint32_t openMode, std::uint32_t factoryFlags,
            const kxString& callerContext, kxString* error)
        : written(writtenUrl), mode(openMode), flags(factoryFlags), context(callerContext), errorOut(error),
          url(writtenUrl), parts(writtenUrl)
    {}

    void setUrl(const kxString& meant)
    {
        url = meant;
        parts = kxUrl(meant);
    }

    template <typename... Arguments>
    void warn(std::uint32_t level, std::string_view format, const Arguments&... arguments) const
    {
        if ((flags & KX_SERIALIZE_SILENT) == 0) kxMessage(level, format, arguments...);
    }
    // Tells why there is no adapter, in a message and to the caller.
    template <typename... Arguments>
    void refuse(std::uint32_t level, std::string_view format, const Arguments&... arguments) const
    {
        warn(level, format, arguments...);
        if (errorOut != nullptr) *errorOut = kxString::format(kxTranslate(format), arguments...);
    }

    const kxString& written;  // as the caller wrote it, for texts
    const std::uint32_t mode;
    const std::uint32_t flags;
    const kxString& context;
    kxString* const errorOut;
    kxString url;  // what the written one means once its GUID has been looked up
    kxUrl parts;
};

// The answer of a scheme.
struct Made {
    Adapter adapter = nullptr;
    bool isNamed = false;    // keeps the name that it has
    bool isForeign = false;  // belongs to somebody else and stays as it is
    bool isTold = false;     // why there is none has been told
};

// ---- the built-in schemes

bool takeNumber(std::string_view& text, std::uint64_t& number)
{
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return error == std::errc();
}

Made wrongSyntax(const Request& request, std::string_view text)
{
    request.refuse(KX_MESSAGE_WARNING, text, kxShortName(request.written));
    return {.isTold = true};
}

Made makeFile(const Request& request)
{
    return {kxMakeRef<kxSerializeAdapterFile>(request.parts.path(), request.mode, false, request.flags)};
}

Made addressesAreOff()
{
    return {kxFailedAdapter(kxTranslate("URLs of memory addresses are switched off"))};
}

Made makeMemory(const Request& request)
{
    if (!kxUrlRegistry::instance().hasAddressUrls()) return addressesAreOff();
    const kxString path = request.parts.path();
    std::string_view text = path.view();
    std::uint64_t address = 0;
    std::uint64_t length = 0;
    bool isRight = takeNumber(text, address) && text.starts_with(',');
    if (isRight) text.remove_prefix(1);
    isRight = isRight && takeNumber(text, length) && text.empty() &&
              length <= std::numeric_limits<std::uint32_t>::max();
    if (!isRight) return wrongSyntax(request, "Wrong syntax in (mem:address,len) adapter arguments (%s)");
    if (!kxPlatformIsMapped(address, length))
        return {kxFailedAdapter(kxTranslate("No memory at this address"))};
    return {kxMakeRef<kxSerializeAdapterMemory>(reinterpret_cast<void*>(static_cast<std::uintptr_t>(address)),
                                                static_cast<std::uint32_t>(length))};
}

Made findAdapter(const Request& request)
{
    if (!kxUrlRegistry::instance().hasAddressUrls()) return addressesAreOff();
    const kxString path = request.parts.path();
    std::string_view text = path.view();
    std::uint64_t address = 0;
    if (!takeNumber(text, address) || !text.empty()) {
        return wrongSyntax(request, "Wrong syntax in (adapt:address) adapter arguments (%s)");
    }
    const Adapter adapter = kxLivingAdapters::find(address);
    if (!adapter) return {kxFailedAdapter(kxTranslate("No adapter at this address"))};
    return {.adapter = adapter, .isForeign = true};
}

Made makeArchive(const Request& request)
{
    kxUrlPieces pieces;
    if (!pieces.read(request.url, "zip:%\" $ '{' [^}]* '},' fPush $ [^?]+ fPush '?'? \"%e"))
        return wrongSyntax(request, "Wrong syntax in (zip:{archive url},file) adapter arguments (%s)");
    return {kxFailedAdapter(kxTranslate("ZIP archives are not supported"))};
}

Made makeConsole(const Request&)
{
    return {kxMakeRef<kxSerializeAdapterStdIO>()};
}

Made makeRandomAccess(const Request& request)
{
    return {kxLayeredAdapter<kxSerializeAdapterRandomAccess>(request.url, request.mode, request.flags,
                                                             request.context)};
}

// For adapters that read the text behind the scheme themselves.
template <typename Class> Made makeBehindScheme(const Request& request)
{
    return {kxMakeRef<Class>(kxString(request.url.view().substr(request.parts.scheme.length())))};
}

// In the order in which they are tried; beside each, the form of its address.
constexpr struct {
    std::string_view scheme;
    Made (*make)(const Request& request);
} kSchemes[] = {
    {"file:", makeFile},                                  // path
    {"mem:", makeMemory},                                 // address,length
    {"adapt:", findAdapter},                              // address
    {"zip:", makeArchive},                                // {URL of the archive},file in it
    {"con:", makeConsole},                                // none
    {"rand:", makeRandomAccess},                          // URL
    {"udp:", makeBehindScheme<kxSerializeAdapterUDP>},    // [host][:port]
    {"tcp:", makeBehindScheme<kxSerializeAdapterTCP>},    // host[:port]
    {"http:", makeBehindScheme<kxSerializeAdapterHttp>},  // [user@]host[:port][/path]
};

// ---- from the URL to the adapter

// The calls of the factory that are under way on a thread: those for URLs within URLs.
class Nesting : public kxThreadScope<Nesting> {
public:
    static bool isTooDeep() { return depth() > kDeepestNesting; }
};

std::optional<kxString> findUrl(const Request& request, std::string_view text)
{
    kxGUID guid;
    const char* const fault = kxGUID::read(text, guid);
    if (fault == nullptr) return kxUrlRegistry::instance().findUrl(guid);
    request.warn(KX_MESSAGE_WARNING, fault);
    return std::nullopt;
}

// Puts in what a GUID in braces stands for, which is not looked into again. False when it stands for nothing.
bool resolveGuid(Request& request)
{
    const std::string_view url = request.written.view();
    if (url.starts_with('{') && url.ends_with('}')) {
        const std::optional<kxString> found = findUrl(request, url);
        if (found)
            request.setUrl(*found);
        else
            request.refuse(KX_MESSAGE_INTERNAL_WARNING, "Unknown GUID URL in getAdapter");
        return found.has_value();
    }
    const kxString& address = request.parts.address;
    if (!request.parts.name.isEmpty() || !kxGUID::hasShape(address)) return true;
    const std::optional<kxString> found = findUrl(request, address);
    if (!found) {
        request.refuse(KX_MESSAGE_INTERNAL_WARNING, "Unknown GUID URLName in getAdapter");
        return false;
    }
    const std::size_t schemeBytes = request.parts.scheme.length();
    std::string meant(url.substr(0, schemeBytes));
    meant.append(found->view()).append(url.substr(schemeBytes + address.length()));
    if (meant.size() <= KX_STRING_MAX_LENGTH) {
        request.setUrl(kxString(meant));
        return true;
    }
    request.refuse(KX_MESSAGE_WARNING, kNoAdapter, kxShortName(request.written));
    return false;
}

// Asks the manager of the scheme, then the built-in schemes.
Made make(const Request& request)
{
    if (const auto manager = kxUrlRegistry::instance().findManager(request.parts.scheme)) {
        kxString reason;  // what the manager says of a failure, which the built-in scheme may make good
        kxForeignAdapter::note(nullptr);  // what stays here is of factory calls that the manager makes
        const Adapter adapter =
            manager->create(request.url, request.mode, request.flags, request.context, &reason);
        if (adapter) return {adapter, manager->namesAdapters(), kxForeignAdapter::is(*adapter)};
    }
    for (const auto& row : kSchemes) {
        if (request.parts.scheme == row.scheme) return row.make(request);
    }
    return {};
}

bool isInError(const Request& request, kxSerializeAdapter& adapter)
{
    if (!adapter.hasError()) return false;
    const kxString error = adapter.getError();
    request.warn(KX_MESSAGE_WARNING, "URL Adapter (%s) Error:%s", kxShortName(request.written), error);
    if (request.errorOut != nullptr) *request.errorOut = error;
    return true;
}

// Records on the adapter where it came from. An adapter that named itself keeps its name when the URL has no
// final component.
void record(kxSerializeAdapter& adapter, const Request& request, bool keepsName)
{
    adapter.setScheme(request.parts.scheme);
    adapter.setAddress(request.parts.address);
    if (!keepsName && !request.parts.name.isEmpty()) adapter.setName(request.parts.name);
    adapter.setContext(request.context);
    adapter.setOptions(request.parts.options);
    adapter.setFlags(request.flags & ~KX_SERIALIZE_SILENT);
}

}  // namespace

Adapter kxSerializeAdapter::getAdapter(const kxString& url, std::uint32_t mode, std::uint32_t flags,
                                       const kxString& context, kxString* errorOut)
{
    Request request(url, mode, flags, context, errorOut);
    const Nesting nesting;
    if (url.isEmpty()) {
        request.refuse(KX_MESSAGE_WARNING, "Empty URL name in getAdapter");
        return {};
    }
    if (nesting.isTooDeep()) {
        request.refuse(KX_MESSAGE_WARNING, "Too many URLs within one another in getAdapter");
        return {};
    }
    if (!resolveGuid(request)) return {};
    const Made made = make(request);
    if (!made.adapter) {
        if (!made.isTold) request.refuse(KX_MESSAGE_WARNING, kNoAdapter, kxShortName(request.written));
        return {};
    }
    if (isInError(request, *made.adapter)) return {};
    kxForeignAdapter::note(made.isForeign ? made.adapter.get() : nullptr);
    if (!made.isForeign) record(*made.adapter, request, made.isNamed);
    return made.adapter;
}
