#include "kxbase/program/kxDefaultMessageTranslator.h"

#include "kxbase/core/kxBodyGuard.h"
#include "kxbase/core/kxClock.h"
#include "kxbase/core/kxUndestroyed.h"
#include "kxbase/message/kxMessageManager.h"
#include "kxbase/platform/kxPlatformEnvironment.h"
#include "kxbase/platform/kxPlatformThread.h"
#include "kxbase/platform/kxPlatformWait.h"
#include "kxbase/program/kxCurrentLanguage.h"
#include "kxbase/program/kxLanguageFileParser.h"
#include "kxbase/serialize/kxSerializeAdapter.h"

#include <array>

#include <cxxabi.h>

namespace {

constexpr const char* kFileVariable = "KORVEX_LANGUAGE_FILE";
constexpr const char* kDefaultFile = "file:korvexsdk.lng";
constexpr std::uint32_t kBlockBytes = 4096;
constexpr std::uint32_t kLongestWaitMilliseconds = 1000;

thread_local bool isReading = false;  // the messages of this thread come from reading a language file

std::uint32_t forks = 0;  // that led to this process, since the first translation

kxMutex& beginMutex()
{
    static constinit kxUndestroyed<kxMutex> mutex;
    static constinit kxPlatformForkGuard guard{[] { mutex.value.lock(); }, [] { mutex.value.unlock(); },
                                               [] {
                                                   ++forks;
                                                   mutex.value.unlock();
                                               }};
    [[maybe_unused]] static const bool isGuarded = (kxPlatformAddForkGuard(guard), true);
    return mutex.value;
}

// Some adapters have no end that could be waited for, so the file ends where nothing is there any more.
void parse(kxSerializeAdapter& adapter, kxTranslations& translations)
{
    const double latest = kxClock::seconds() + KX_LANGUAGE_FILE_MAX_SECONDS;
    kxLanguageFileParser parser(translations);
    std::array<std::uint8_t, kBlockBytes> block;
    for (std::uint32_t left = KX_LANGUAGE_FILE_MAX_BYTES; left != 0 && kxClock::seconds() < latest;) {
        if (adapter.length() == 0 && !adapter.hasData()) break;
        const std::uint32_t count = adapter.read(block.data(), std::min(left, kBlockBytes));
        if (count == 0) break;
        parser.read(block.data(), count);
        left -= count;
    }
    parser.finish();
}

std::unique_ptr<const kxTranslations> readLanguageFile()
{
    const char* const setting = kxPlatformEnvironment(kFileVariable);
    const kxString url(setting != nullptr && *setting != '\0' ? setting : kDefaultFile);
    const auto adapter = kxSerializeAdapter::getAdapter(url, KX_SERIALIZE_INPUT, KX_SERIALIZE_SILENT);
    if (!adapter) return nullptr;
    auto translations = std::make_unique<kxTranslations>();
    parse(*adapter, *translations);
    return translations;
}

}  // namespace

// However the reading ends, it was the only one.
struct kxDefaultMessageTranslator::Reading {
    explicit Reading(kxDefaultMessageTranslator& owner) : translator(owner) { isReading = true; }
    ~Reading()
    {
        isReading = false;
        translator.progress_.store(READ);
        kxPlatformWakeAll(translator.progress_);
    }
    Reading(const Reading&) = delete;
    Reading& operator=(const Reading&) = delete;

    kxDefaultMessageTranslator& translator;
};

kxMessageTranslatorInterface& kxMessageManager::defaultTranslator()
{
    static constinit kxUndestroyed<kxDefaultMessageTranslator> translator;
    return translator.value;
}

kxDefaultMessageTranslator::~kxDefaultMessageTranslator() noexcept
{
    delete translations_.load();
}

kxString kxDefaultMessageTranslator::translate(std::string_view text, const kxString&, std::uint32_t)
{
    if (progress_.load(std::memory_order_acquire) != READ) readOnce();
    const kxTranslations* const translations = translations_.load(std::memory_order_acquire);
    if (translations == nullptr) return {};
    const std::string* const found = kxCurrentLanguage::read(
        [&](std::string_view language) { return translations->find(text, language); });
    return found != nullptr ? kxString(*found) : kxString();
}

void kxDefaultMessageTranslator::readOnce()
{
    if (isReading) return;
    if (!mayRead()) {
        const bool hasEnded =
            isSlow_.load() || kxPlatformWaitWhile(progress_, READING, kLongestWaitMilliseconds);
        if (!hasEnded) isSlow_.store(true);
        return;
    }
    const Reading reading(*this);
    try {
        publish(readLanguageFile());
    } catch (const abi::__forced_unwind&) {
        throw;
    } catch (...) {
        // Without memory or with a faulty adapter there are no translations.
    }
}

// Answers whether the caller is the one to read. What a thread of the parent of a forked child began, nobody ends
// there.
bool kxDefaultMessageTranslator::mayRead()
{
    const kxBodyGuard guard(beginMutex());
    const std::uint32_t progress = progress_.load();
    if (progress == READ || (progress == READING && forksBefore_ == forks)) return false;
    progress_.store(READING);
    forksBefore_ = forks;
    return true;
}

// A thread that forked while it was reading reads on in the child, where another one may have begun anew.
void kxDefaultMessageTranslator::publish(std::unique_ptr<const kxTranslations> translations)
{
    const kxTranslations* none = nullptr;
    if (translations && !translations->isEmpty() &&
        translations_.compare_exchange_strong(none, translations.get()))
        translations.release();
}
