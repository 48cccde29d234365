// Translates texts with a language file, which is read when the first text is asked for: the URL in the environment
// variable KORVEX_LANGUAGE_FILE, or "file:korvexsdk.lng". Its form is that of kxLanguageFileParser, the language is
// kxCurrentLanguage.
//
// The file is read once, to its end where its adapter has one, so that it may come from a pipe or a connection; but
// not through rand:, which copies what its parent has when it is opened, of these often nothing. A file that is
// missing or cannot be read leaves every text untranslated, is not tried again, and nothing is said about it: the
// library's adapters are silent about it. All other messages that come up while it is read, also those of other
// threads and of a program's own adapters, are sent untranslated.
//
// At most KX_LANGUAGE_FILE_MAX_BYTES are read, and no more bytes are asked for after KX_LANGUAGE_FILE_MAX_SECONDS. How
// long the adapter itself waits is its own affair: opening a pipe waits for the writer, an http: URL up to 30 seconds
// for the connection and again for the reply. So "korvexsdk.lng" in the current directory is left alone when it is a
// pipe or a device and the environment does not name it.
//
// Ownership: owns the translations.
// Threads:   any, and a forked child. No lock is held while the file is read. Other threads wait for that up to a
//            second, and go on with the English text if it takes longer; so the file's adapter may depend on them.
//            The thread that reads gets the English text. Once the file has been read, a lookup locks nothing but
//            the language, and not even that when there are no translations.
// Errors:    none of the file; a translation that finds no memory throws std::bad_alloc.
#pragma once

#include "kxbase/core/kxProcessOnce.h"
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
    void read();
    void publish(std::unique_ptr<const kxTranslations> translations);

    kxProcessOnce reading_;
    std::atomic<const kxTranslations*> translations_{nullptr};  // null when there are none
};
