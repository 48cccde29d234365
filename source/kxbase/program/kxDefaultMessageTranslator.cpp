#include "kxbase/program/kxDefaultMessageTranslator.h"

#include "kxbase/core/kxClock.h"
#include "kxbase/core/kxDropExceptions.h"
#include "kxbase/core/kxUndestroyed.h"
#include "kxbase/message/kxMessageManager.h"
#include "kxbase/platform/kxPlatformEnvironment.h"
#include "kxbase/platform/kxPlatformFile.h"
#include "kxbase/platform/kxPlatformWait.h"
#include "kxbase/program/kxCurrentLanguage.h"
#include "kxbase/program/kxLanguageFileParser.h"
#include "kxbase/serialize/kxAdapterMessage.h"
#include "kxbase/serialize/kxSerializeAdapter.h"

#include <algorithm>
#include <array>

namespace {

constexpr const char* kFileVariable = "KORVEX_LANGUAGE_FILE";
constexpr const char* kDefaultScheme = "file:";
constexpr const char* kDefaultFile = "korvexsdk.lng";
constexpr std::uint32_t kBlockBytes = 4096;
constexpr std::uint32_t kPauseMilliseconds = 5;

// A last line counts without a line end, but only if the file has ended there and was not left.
void parse(kxSerializeAdapter& adapter, kxTranslations& translations)
{
    const double latest = kxClock::seconds() + KX_LANGUAGE_FILE_MAX_SECONDS;
    kxLanguageFileParser parser(translations);
    std::array<std::uint8_t, kBlockBytes> block;
    for (std::uint32_t left = KX_LANGUAGE_FILE_MAX_BYTES; left != 0 && kxClock::seconds() < latest;) {
        const bool wasActive = adapter.isActive();  // before the look, which finds what came until then
        // A connection would wait for more than there is.
        const std::uint32_t wanted = std::min({left, kBlockBytes, adapter.length()});
        const std::uint32_t count = wanted != 0 ? adapter.read(block.data(), wanted) : 0;
        parser.feed(block.data(), count);
        left -= count;
        if (count != 0) continue;
        if (!wasActive || !adapter.hasEnd() || adapter.hasError()) return parser.finish();
        kxPlatformSleep(kPauseMilliseconds);
    }
}

// Nobody asked for the file that just lies there, so it must not be one that waits.
kxString fileUrl()
{
    const char* const setting = kxPlatformEnvironment(kFileVariable);
    if (setting != nullptr && *setting != '\0') return setting;
    return kxPlatformFileIsSpecial(kDefaultFile) ? kxString() : kxString(kDefaultScheme) + kDefaultFile;
}

// Null when there is no file.
std::unique_ptr<const kxTranslations> readLanguageFile()
{
    const kxString url = fileUrl();
    if (url.isEmpty()) return nullptr;
    const kxAdapterSilence silence;
    const auto adapter = kxSerializeAdapter::getAdapter(url, KX_SERIALIZE_INPUT, KX_SERIALIZE_SILENT);
    if (!adapter) return nullptr;
    auto translations = std::make_unique<kxTranslations>();
    parse(*adapter, *translations);
    return translations;
}

}  // namespace

kxDefaultMessageTranslator::~kxDefaultMessageTranslator() noexcept
{
    delete translations_.load();
}

kxString kxDefaultMessageTranslator::translate(std::string_view text, const kxString&, std::uint32_t)
{
    reading_.run([this] { read(); });
    const kxTranslations* const translations = translations_.load(std::memory_order_acquire);
    if (translations == nullptr) return {};
    const std::string* const found = kxCurrentLanguage::read(
        [&](std::string_view language) { return translations->find(text, language); });
    return found != nullptr ? kxString(*found) : kxString();
}

void kxDefaultMessageTranslator::read()
{
    // Without memory or with a faulty adapter there are no translations.
    kxDropExceptions([this] { publish(readLanguageFile()); });
}

// A thread that forked while it was reading reads on in the child, where another one may have begun anew.
void kxDefaultMessageTranslator::publish(std::unique_ptr<const kxTranslations> translations)
{
    const kxTranslations* none = nullptr;
    if (translations && !translations->isEmpty() &&
        translations_.compare_exchange_strong(none, translations.get()))
        translations.release();
}

// Here, since the translator rests on adapters.
kxMessageTranslatorInterface& kxMessageManager::defaultTranslator()
{
    static constinit kxUndestroyed<kxDefaultMessageTranslator> translator;
    return translator.value;
}
