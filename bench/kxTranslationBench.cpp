// Looking up translations, beside std::unordered_map.
//
// The plain lookup finds a text of the language file in its language. A translated message needs more: the language,
// which is read under its lock, and the answer as a kxString, which is allocated and hashed; its twin reads the
// language under a std::shared_mutex and answers a std::string. Without a language file there is nothing to look up
// and no lock.
#include "kxbase/program/kxCurrentLanguage.h"
#include "kxbase/program/kxDefaultMessageTranslator.h"
#include "kxbase/program/kxLanguageFileParser.h"
#include "kxbase/serialize/kxSerializeAdapterQueue.h"
#include "kxbase/serialize/kxUrlRegistry.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <unordered_map>
#include <vector>

namespace {

constexpr std::size_t kTexts = 256;  // about as many as the library has

const std::vector<std::string>& texts()
{
    static const std::vector<std::string> all = [] {
        std::vector<std::string> made;
        for (std::size_t index = 0; index < kTexts; ++index)
            made.push_back("Failed to set option " + std::to_string(index) + " on socket '%s'");
        return made;
    }();
    return all;
}

const std::string& translationOf(const std::string& text)
{
    static const std::string translation("Option an Socket '%s' kann nicht gesetzt werden");
    (void)text;
    return translation;
}

struct Hash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
};
using Map = std::unordered_map<std::string, std::string, Hash, std::equal_to<>>;

Map mapOfTexts()
{
    Map map;
    for (const std::string& text : texts()) map.emplace(text, translationOf(text));
    return map;
}

template <typename Lookup> void walk(benchmark::State& state, const Lookup& lookup)
{
    std::size_t index = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(lookup(std::string_view(texts()[index])));
        index = (index + 97) % kTexts;
    }
}

void lookup(benchmark::State& state)
{
    kxTranslations translations;
    for (const std::string& text : texts()) {
        translations.beginText(text);
        translations.add("deu", translationOf(text));
    }
    walk(state, [&](std::string_view text) { return translations.find(text, "deu"); });
}
void lookupTwin(benchmark::State& state)
{
    const Map map = mapOfTexts();
    walk(state, [&](std::string_view text) { return &map.find(text)->second; });
}
BENCHMARK(lookup);
BENCHMARK(lookupTwin);

// Serves the language file.
class Texts : public kxSerializeURLManagerInterface {
public:
    kxRefPointer<kxSerializeAdapter> create(const kxString&, std::uint32_t, std::uint32_t, const kxString&,
                                            kxString*) override
    {
        auto adapter = kxMakeRef<kxSerializeAdapterQueue>(KX_QUEUE_FIFO, 65536U);
        for (const std::string& text : texts()) {
            for (const char byte : '"' + text + "\"\ndeu \"" + translationOf(text) + "\"\n") {
                const char unit[] = {byte, 0};
                adapter->write(unit, sizeof unit);
            }
        }
        return adapter;
    }
};

void translate(benchmark::State& state, const char* url)
{
    kxUrlRegistry::instance().addManager("bench:", kxMakeRef<Texts>());
    ::setenv("KORVEX_LANGUAGE_FILE", url, 1);
    kxCurrentLanguage::set("deu");
    kxDefaultMessageTranslator translator;
    const kxString module("KorvexSDK");
    walk(state, [&](std::string_view text) { return translator.translate(text, module, KX_MESSAGE_NOTICE); });
    kxUrlRegistry::instance().removeManager("bench:");
    ::unsetenv("KORVEX_LANGUAGE_FILE");
}
void translate(benchmark::State& state)
{
    translate(state, "bench:");
}
void translateWithoutFile(benchmark::State& state)
{
    translate(state, "file:/dev/null");
}
void translateTwin(benchmark::State& state)
{
    const std::unordered_map<std::string, Map> languages{{"deu", mapOfTexts()}};
    std::shared_mutex lock;
    const std::string language("deu");
    walk(state, [&](std::string_view text) {
        const std::shared_lock guard(lock);
        return std::string(languages.find(language)->second.find(text)->second);
    });
}
BENCHMARK(translate);
BENCHMARK(translateTwin);
BENCHMARK(translateWithoutFile);

}  // namespace
