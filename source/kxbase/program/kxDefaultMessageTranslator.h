// Translates texts with a language file, which is read when the first text is asked for: the URL in the environment
// variable KORVEX_LANGUAGE_FILE, or "file:korvexsdk.lng". Its form is that of kxLanguageFileParser, the language is
// kxCurrentLanguage.
//
// The file is read once. One that is missing or cannot be read leaves every text untranslated and is not tried
// again, nor does it send anything by itself; what its adapter sends while it works is not translated. At most
// KX_LANGUAGE_FILE_MAX_BYTES are read, for at most KX_LANGUAGE_FILE_MAX_SECONDS, as far as the adapter does not
// wait for longer by itself.
//
// Ownership: owns the translations.
// Threads:   any, and a forked child. No lock is held while the file is read. Other threads wait for that up to a
//            second, and go on with the English text if it takes longer; so the file's adapter may depend on them.
//            The thread that reads gets the English text. Once the file has been read, a lookup locks nothing but
//            the language, and not even that when there are no translations.
// Errors:    none of the file; a translation that finds no memory throws std::bad_alloc.
#pragma once

#include "kxbase/core/kxMutex.h"
#include "kxbase/message/kxMessageTranslatorInterface.h"

#include <atomic>
#include <memory>

class kxTranslations;

constexpr std::uint32_t KX_LANGUAGE_FILE_MAX_BYTES = 8 * 1024 * 1024;
constexpr std::uint32_t KX_LANGUAGE_FILE_MAX_SECONDS = 10;

class kxDefaultMessageTranslator : public kxMessageTranslatorInterface {
public:
    constexpr kxDefaultMessageTranslator() noexcept {}
    // To be taken from the manager before.
    ~kxDefaultMessageTranslator() noexcept override;
    kxDefaultMessageTranslator(const kxDefaultMessageTranslator&) = delete;
    kxDefaultMessageTranslator& operator=(const kxDefaultMessageTranslator&) = delete;

    // Neither the module nor the level matters.
    kxString translate(std::string_view text, const kxString& module, std::uint32_t level) override;

private:
    enum Progress : std::uint32_t { NOT_READ, READING, READ };
    struct Reading;

    void readOnce();
    bool mayRead();
    void publish(std::unique_ptr<const kxTranslations> translations);

    std::atomic<std::uint32_t> progress_{NOT_READ};
    std::atomic<const kxTranslations*> translations_{nullptr};  // null when there are none
    std::atomic<bool> isSlow_{false};                           // others do not wait any more
    std::uint32_t forksBefore_ = 0;  // forks that led to the process that reads; under a mutex of the process
};
