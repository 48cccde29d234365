// Matching text against rules that are given as text, beside std::regex, PCRE2 (interpreted, and with /1 made into
// machine code) and loops written by hand.
//
// A rule is a program of small instructions, so that it stays behind code that was written and compiled for one
// format; it is ahead of regular expressions that are made at run time in the same way.

#include "kxbase/lex/kxConsoleCommandParser.h"
#include "kxbase/lex/kxDynamicTypeArgumentParser.h"
#include "kxbase/lex/kxSerializeLex.h"
#include "kxbase/serialize/kxSerializeAdapterMemory.h"

#include <benchmark/benchmark.h>

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <cstdlib>
#include <regex>
#include <string>

namespace {

constexpr std::size_t kBytes = 1024 * 1024;

const std::string& settingsText()
{
    static const std::string text = [] {
        std::string lines;
        for (int line = 0; lines.size() < kBytes; ++line) {
            lines += "some_setting_" + std::to_string(line) + " = a value that is a few words long " +
                     std::to_string(line * 7919) + "\n";
        }
        return lines;
    }();
    return text;
}

const std::string& jsonText()
{
    static const std::string text = [] {
        std::string items = "[";
        for (int item = 0; items.size() < kBytes; ++item) {
            items += "{\"id\": " + std::to_string(item) + ", \"name\": \"item number " +
                     std::to_string(item) + "\", \"price\": " + std::to_string(item) +
                     ".25e1, \"tags\": [\"red\", \"green\", null], \"stock\": {\"here\": true, \"there\": "
                     "false}},\n";
        }
        return items + "[]]";
    }();
    return text;
}

const char* const kSettingsRules =
    "word ::= [^= \t\n]+; gap ::= [ \t]*;"
    "line ::= word gap '=' gap [^\n]* '\n'; main ::= line*;"
    "store ::= $ word fString gap '=' gap $ [^\n]* fString '\n'; all ::= store*;";
const char* const kJsonRules =
    "ws ::= [ \t\r\n]*; string ::= '\"' ([^\"\\] | '\\' [^])* '\"';"
    "number ::= '-'? digit+ ('.' digit+)? ([eE] [+-]? digit+)?;"
    "member ::= ws string ws ':' value;"
    "object ::= '{' (member (',' member)* | ws) '}'; array ::= '[' (value (',' value)* | ws) ']';"
    "value ::= ws (string | number | object | array | 'true' | 'false' | 'null') ws; main ::= value;";

// Matches all of a text that lies in memory.
void matchRule(benchmark::State& state, const std::string& text, const char* rules, const char* rule)
{
    kxSerializeLex lex;
    lex.addRules(rules);
    for (auto _ : state) {
        lex.setAdapter(kxMakeRef<kxSerializeAdapterMemory>(const_cast<char*>(text.data()),
                                                           static_cast<std::uint32_t>(text.size())));
        if (lex.runWhole(rule) != KX_LEX_OK || !lex.getError().isEmpty()) state.SkipWithError("no match");
        lex.clearValues();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}

void matchLoop(benchmark::State& state, const std::string& text, bool (*match)(const std::string& text))
{
    for (auto _ : state) {
        if (!match(text)) state.SkipWithError("no match");
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}

class Pcre2 {
public:
    Pcre2(const char* pattern, bool isCompiled)
    {
        int error = 0;
        PCRE2_SIZE offset = 0;
        code_ = pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern), PCRE2_ZERO_TERMINATED,
                              PCRE2_ANCHORED | PCRE2_DOTALL, &error, &offset, nullptr);
        if (isCompiled) pcre2_jit_compile(code_, PCRE2_JIT_COMPLETE);
        data_ = pcre2_match_data_create_from_pattern(code_, nullptr);
    }
    Pcre2(const Pcre2&) = delete;
    Pcre2& operator=(const Pcre2&) = delete;
    ~Pcre2()
    {
        pcre2_match_data_free(data_);
        pcre2_code_free(code_);
    }

    // Whether all of a text matches.
    bool matches(std::string_view text)
    {
        const int result =
            pcre2_match(code_, reinterpret_cast<PCRE2_SPTR>(text.data()), text.size(), 0, 0, data_, nullptr);
        return result > 0 && pcre2_get_ovector_pointer(data_)[1] == text.size();
    }
    std::size_t start(std::size_t group) const { return pcre2_get_ovector_pointer(data_)[2 * group]; }

private:
    pcre2_code* code_;
    pcre2_match_data* data_;
};

void matchPcre2(benchmark::State& state, const std::string& text, const char* pattern)
{
    Pcre2 expression(pattern, state.range(0) != 0);
    for (auto _ : state) {
        if (!expression.matches(text)) state.SkipWithError("no match");
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}

// ---- key=value

void settingsRules(benchmark::State& state)
{
    matchRule(state, settingsText(), kSettingsRules, "main");
}
BENCHMARK(settingsRules);

void settingsRulesWithValues(benchmark::State& state)
{
    matchRule(state, settingsText(), kSettingsRules, "all");
}
BENCHMARK(settingsRulesWithValues);

// Line by line, since the expression for a whole file overflows the stack.
bool matchSettingsRegex(const std::string& text)
{
    static const std::regex line("([^= \t\n]+)[ \t]*=[ \t]*([^\n]*)\n", std::regex::optimize);
    auto at = text.begin();
    std::smatch match;
    while (at != text.end() &&
           std::regex_search(at, text.end(), match, line, std::regex_constants::match_continuous))
        at = match[0].second;
    return at == text.end();
}
void settingsRegex(benchmark::State& state)
{
    matchLoop(state, settingsText(), matchSettingsRegex);
}
BENCHMARK(settingsRegex);

// Like rules, it gives nothing back.
void settingsPcre2(benchmark::State& state)
{
    matchPcre2(state, settingsText(), "(?:[^= \\t\\n]++[ \\t]*+=[ \\t]*+[^\\n]*+\\n)*+");
}
BENCHMARK(settingsPcre2)->Arg(0)->Arg(1);

bool matchSettingsByHand(const std::string& text)
{
    const char* at = text.data();
    const char* const end = at + text.size();
    const auto skip = [&](auto isWanted) {
        const char* const start = at;
        while (at != end && isWanted(*at)) ++at;
        return at != start;
    };
    const auto isGap = [](char c) { return c == ' ' || c == '\t'; };
    while (at != end) {
        if (!skip([](char c) { return c != '=' && c != ' ' && c != '\t' && c != '\n'; })) return false;
        skip(isGap);
        if (at == end || *at++ != '=') return false;
        skip(isGap);
        skip([](char c) { return c != '\n'; });
        if (at == end || *at++ != '\n') return false;
    }
    return true;
}
void settingsByHand(benchmark::State& state)
{
    matchLoop(state, settingsText(), matchSettingsByHand);
}
BENCHMARK(settingsByHand);

// ---- a run of one class

void classRunRule(benchmark::State& state)
{
    static const std::string text(kBytes, 'x');
    matchRule(state, text, "main ::= [a-zxyz]*;", "main");
}
BENCHMARK(classRunRule);

void classRunPcre2(benchmark::State& state)
{
    static const std::string text(kBytes, 'x');
    matchPcre2(state, text, "[-azxyz]*+");
}
BENCHMARK(classRunPcre2)->Arg(0)->Arg(1);

// ---- JSON

void jsonRules(benchmark::State& state)
{
    matchRule(state, jsonText(), kJsonRules, "main");
}
BENCHMARK(jsonRules);

class JsonByHand {
public:
    explicit JsonByHand(const std::string& text) : at_(text.data()), end_(at_ + text.size()) {}
    bool matches() { return value() && at_ == end_; }

private:
    bool value()
    {
        blanks();
        if (at_ == end_) return false;
        bool isMatch = false;
        switch (*at_) {
        case '"':
            isMatch = string();
            break;
        case '{':
            isMatch = list('}', &JsonByHand::member);
            break;
        case '[':
            isMatch = list(']', &JsonByHand::value);
            break;
        case 't':
            isMatch = word("true");
            break;
        case 'f':
            isMatch = word("false");
            break;
        case 'n':
            isMatch = word("null");
            break;
        default:
            isMatch = number();
            break;
        }
        blanks();
        return isMatch;
    }
    bool list(char closing, bool (JsonByHand::*item)())
    {
        ++at_;
        blanks();
        if (take(closing)) return true;
        do {
            if (!(this->*item)()) return false;
        } while (take(','));
        return take(closing);
    }
    bool member()
    {
        blanks();
        if (!string()) return false;
        blanks();
        return take(':') && value();
    }
    bool string()
    {
        if (!take('"')) return false;
        while (at_ != end_ && *at_ != '"') at_ += *at_ == '\\' && at_ + 1 != end_ ? 2 : 1;
        return take('"');
    }
    bool number()
    {
        take('-');
        if (!digits()) return false;
        if (take('.') && !digits()) return false;
        if (at_ == end_ || (*at_ != 'e' && *at_ != 'E')) return true;
        ++at_;
        if (at_ != end_ && (*at_ == '+' || *at_ == '-')) ++at_;
        return digits();
    }
    bool digits()
    {
        const char* const start = at_;
        while (at_ != end_ && *at_ >= '0' && *at_ <= '9') ++at_;
        return at_ != start;
    }
    bool word(std::string_view text)
    {
        if (!std::string_view(at_, static_cast<std::size_t>(end_ - at_)).starts_with(text)) return false;
        at_ += text.size();
        return true;
    }
    void blanks()
    {
        while (at_ != end_ && (*at_ == ' ' || *at_ == '\t' || *at_ == '\r' || *at_ == '\n')) ++at_;
    }
    bool take(char c)
    {
        if (at_ == end_ || *at_ != c) return false;
        ++at_;
        return true;
    }

    const char* at_;
    const char* end_;
};
void jsonByHand(benchmark::State& state)
{
    matchLoop(state, jsonText(), [](const std::string& text) { return JsonByHand(text).matches(); });
}
BENCHMARK(jsonByHand);

// ---- short lines

const char* const kLine = "{ 12.5 , -7 }";

void scanShortLine(benchmark::State& state)
{
    constexpr int kLineBytes = 13;
    const auto adapter = kxMakeRef<kxSerializeAdapterMemory>(const_cast<char*>(kLine), kLineBytes);
    kxSerializeLex lex(adapter);
    for (auto _ : state) {
        if (lex.scan("%w{%w%n%w,%w%n%w}") != KX_LEX_OK) state.SkipWithError("no match");
        benchmark::DoNotOptimize(lex.pop().toNumber() + lex.pop().toNumber());
        adapter->move(-kLineBytes);
    }
}
BENCHMARK(scanShortLine);

void regexShortLine(benchmark::State& state)
{
    const std::regex pattern("\\s*\\{\\s*([-+]?[0-9.]+)\\s*,\\s*([-+]?[0-9.]+)\\s*\\}", std::regex::optimize);
    for (auto _ : state) {
        std::cmatch match;
        if (!std::regex_match(kLine, match, pattern)) state.SkipWithError("no match");
        benchmark::DoNotOptimize(std::stod(match[1]) + std::stod(match[2]));
    }
}
BENCHMARK(regexShortLine);

void pcre2ShortLine(benchmark::State& state)
{
    Pcre2 pattern("\\s*\\{\\s*([-+]?[0-9.]+)\\s*,\\s*([-+]?[0-9.]+)\\s*\\}", state.range(0) != 0);
    for (auto _ : state) {
        if (!pattern.matches(kLine)) state.SkipWithError("no match");
        benchmark::DoNotOptimize(std::strtod(kLine + pattern.start(1), nullptr) +
                                 std::strtod(kLine + pattern.start(2), nullptr));
    }
}
BENCHMARK(pcre2ShortLine)->Arg(0)->Arg(1);

// ---- compiling

void makeLexer(benchmark::State& state)
{
    for (auto _ : state) benchmark::DoNotOptimize(std::make_unique<kxSerializeLex>());
}
BENCHMARK(makeLexer);

void makeArgumentGrammar(benchmark::State& state)
{
    for (auto _ : state) {
        kxDynamicTypeArgumentParser parser;
        benchmark::DoNotOptimize(parser.parse("1"));
    }
}
BENCHMARK(makeArgumentGrammar);

void makeJsonGrammar(benchmark::State& state)
{
    for (auto _ : state) {
        kxSerializeLex lex;
        lex.addRules(kJsonRules);
        benchmark::DoNotOptimize(lex.run("main"));
    }
}
BENCHMARK(makeJsonGrammar);

void makePcre2(benchmark::State& state)
{
    for (auto _ : state) {
        const Pcre2 expression("-?[0-9]+(\\.[0-9]+)?([eE][-+]?[0-9]+)?", state.range(0) != 0);
        benchmark::DoNotOptimize(&expression);
    }
}
BENCHMARK(makePcre2)->Arg(0)->Arg(1);

void makeRegex(benchmark::State& state)
{
    for (auto _ : state) {
        benchmark::DoNotOptimize(std::regex("-?[0-9]+(\\.[0-9]+)?([eE][-+]?[0-9]+)?", std::regex::optimize));
    }
}
BENCHMARK(makeRegex);

}  // namespace
