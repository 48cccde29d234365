#include "kxbase/factory/PurlURLManagerInterface.h"

#include "kxbase/factory/kxForeignAdapter.h"
#include "kxbase/factory/kxUrlPieces.h"
#include "kxbase/serialize/kxErrorText.h"
#include "kxbase/serialize/kxFailedAdapter.h"
#include "kxbase/serialize/kxShortName.h"

namespace {

constexpr std::string_view kPattern = "purl:%\" $ [^,]* ',' fPush $ [^?]+ fPush '?'? \"%e";

}  // namespace

kxRefPointer<kxSerializeAdapter> PurlURLManagerInterface::create(const kxString& url, std::uint32_t mode,
                                                                 std::uint32_t flags, const kxString& context,
                                                                 kxString* /*errorOut*/)
{
    kxUrlPieces pieces;
    if (!pieces.read(url, kPattern)) {
        return kxFailedAdapter(
            kxErrorText("Wrong syntax in (purl:name,url) adapter arguments (%s)", kxShortName(url)));
    }
    kxString reason;
    const auto adapter =
        kxSerializeAdapter::getAdapter(pieces.second, mode, flags | KX_SERIALIZE_SILENT, context, &reason);
    if (!adapter) return reason.isEmpty() ? nullptr : kxFailedAdapter(reason);
    if (!kxForeignAdapter::is(*adapter))
        adapter->setName(kxString(pieces.first.view().substr(0, pieces.first.length() - 1)));
    return adapter;
}
