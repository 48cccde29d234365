// The language into which texts are translated, for the whole process: the code that a program sets, else that of
// the environment variable KORVEX_LANGUAGE when it is first asked for, else "eng". Codes are the ones that the
// language file uses, and are compared as they stand.
//
// Threads: every operation may be called from any thread, also before main and after it, and in a forked child.
#pragma once

#include "kxbase/string/kxString.h"
#include "kxbase/thread/kxBodyReadGuard.h"

#include <string>

class kxCurrentLanguage {
public:
    kxCurrentLanguage() = delete;

    static kxString get();
    // The empty code lets the environment decide again.
    static void set(std::string_view language);

    // Hands the code, which is never empty, to a function and returns its answer. The function runs with the code
    // locked for reading: it must neither set the language nor send messages.
    template <typename Function> static auto read(const Function& function)
    {
        State& current = state();
        for (;; takeFromEnvironment(current)) {
            const kxBodyReadGuard guard(current.lock);
            if (!current.language.empty()) return function(std::string_view(current.language));
        }
    }

private:
    struct State {
        kxReadWriteMutex lock;
        std::string language;  // not tracked: it lives as long as the process
    };

    static State& state();
    static void takeFromEnvironment(State& current);
};
