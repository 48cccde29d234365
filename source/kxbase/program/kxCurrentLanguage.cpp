#include "kxbase/program/kxCurrentLanguage.h"

#include "kxbase/core/kxForkGuard.h"
#include "kxbase/core/kxUndestroyed.h"
#include "kxbase/platform/kxPlatformEnvironment.h"
#include "kxbase/thread/kxBodyWriteGuard.h"

#include <memory>

namespace {

constexpr const char* kLanguageVariable = "KORVEX_LANGUAGE";
constexpr const char* kDefaultLanguage = "eng";

}  // namespace

// A fork happens while nobody changes the language; in the child a new lock takes the place of the old one, which
// threads that are not there may hold.
kxCurrentLanguage::State& kxCurrentLanguage::state()
{
    static kxUndestroyed<State> current;
    static const kxForkGuard guard({[] { state().lock.readLock(); }, [] { state().lock.unlock(); },
                                    [] { std::construct_at(&state().lock); }});
    return current.value;
}

void kxCurrentLanguage::takeFromEnvironment(State& current)
{
    const char* const setting = kxPlatformEnvironment(kLanguageVariable);
    std::string language(setting != nullptr && *setting != '\0' ? setting : kDefaultLanguage);
    const kxBodyWriteGuard guard(current.lock);
    if (current.language.empty()) current.language.swap(language);
}

kxString kxCurrentLanguage::get()
{
    const std::string language = read([](std::string_view code) { return std::string(code); });
    return kxString(language);
}

void kxCurrentLanguage::set(std::string_view language)
{
    std::string next(language);
    State& current = state();
    const kxBodyWriteGuard guard(current.lock);
    current.language.swap(next);
}
