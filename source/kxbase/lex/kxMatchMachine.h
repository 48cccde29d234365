// Runs a program over an input.
//
// Alternatives are tried in order and the first that matches is final; repetitions take as much as matches and never
// give some of it up; a round that takes nothing ends a repetition. What fails gives back its input and what it has
// recorded.
//
// Calls, choices and rounds stand on a stack of the machine's own. It is limited, and so is the work: what comes back
// and is tried again is counted, so that no rules keep the machine busy for ever.
//
// Ownership: refers to the input and the log, which must outlive it.
// Threads:   takes no lock; one thread at a time.
// Errors:    KX_LEX_ERROR with fault() and the instruction at which it happened.
#pragma once

#include "kxbase/lex/kxMatchLog.h"
#include "kxbase/lex/kxMatchTracer.h"
#include "kxbase/lex/kxRuleProgram.h"

// Rules that have been entered and not left.
constexpr std::uint32_t KX_LEX_MAX_DEPTH = 10000;
// Records of one match.
constexpr std::uint32_t KX_LEX_MAX_RECORDS = 4 * 1024 * 1024;
// Steps of one match, and how many more each character read allows. A call and a failure are one each; so are every few
// instructions, and every few characters given back or compared in vain.
constexpr std::int64_t KX_LEX_STEPS = 200'000'000;
constexpr std::int64_t KX_LEX_STEPS_PER_CHARACTER = 20;

class kxMatchMachine {
public:
    kxMatchMachine(kxLexInput& input, kxMatchLog& log) : input_(input), log_(log) {}

    // Without a tracer nothing is told. Steps are what may be used beyond those of the characters.
    void setTracer(kxMatchTracer* tracer) { tracer_ = tracer; }
    void setSteps(std::int64_t steps) { steps_ = steps; }

    kxLexResult run(const kxRuleProgram& program);
    // Drops what a large match has left.
    void trim();

    // Behind the match; where the machine stopped after an error.
    std::uint32_t position() const { return position_; }
    // Whether something failed because the data had ended. What must not match does not count, nor do options and
    // rounds that end with the data.
    bool wasShortOfData() const { return isShort_; }
    // Why the machine stopped, in English; null when it was a name that stands for nothing.
    const char* fault() const { return fault_; }
    std::uint32_t instruction() const { return at_; }

private:
    enum class FrameKind : std::uint8_t { kCall, kChoice, kOption, kUnwanted, kRounds };
    // A call, an alternative, what may be left out, what must not match, or a repetition whose rounds run. All but a
    // call are choices; the other way is the next alternative, what is wanted, or what lies behind.
    struct Frame {
        FrameKind kind;
        bool wasSpent;  // members as they were
        bool wasShort;
        std::uint32_t at;        // call: the instruction behind it; else the other way
        std::uint32_t position;  // call: ruleStart_ of the caller; else where the choice or the round began
        std::uint32_t records;   // call: unused; else the length of the log
        std::uint32_t mark;
        std::uint32_t count;  // call: the rule; rounds: those done
    };

    void start(const kxRuleProgram& program);
    kxLexResult execute(const kxRuleProgram& program);
    bool more();
    bool takeText(const kxInstruction& instruction);
    bool takeRun(const kxProgramSet& set, const kxProgramBounds& bounds, std::uint32_t taken);
    bool enterRule(const kxInstruction& instruction);
    void leaveRule();
    bool push(const Frame& frame);
    bool pushChoice(FrameKind kind, std::uint32_t otherWay);
    bool endRound(const kxInstruction& instruction);
    bool canGoOn(const kxProgramBounds& bounds, std::uint32_t rounds) const;
    bool comeBack();
    void leaveFailedRule(const Frame& frame);
    void leaveAllRules();
    bool runFunction(const kxFuncInfo& function);
    bool record(const kxInstruction& instruction);
    bool mark();
    bool markRule();
    bool add(kxMatchLog::Kind kind);
    bool stop(const char* fault);

    kxLexInput& input_;
    kxMatchLog& log_;
    kxMatchTracer* tracer_ = nullptr;
    const kxRuleProgram* program_ = nullptr;
    std::vector<Frame> frames_;
    const char16_t* units_ = nullptr;  // of the input
    std::uint32_t end_ = 0;            // units there are
    std::uint32_t position_ = 0;
    std::uint32_t at_ = 0;  // the instruction
    std::uint32_t depth_ = 0;
    std::uint32_t ruleStart_ = 0;            // where the running rule began
    std::uint32_t mark_ = KX_MATCH_NO_MARK;  // the running rule's last mark
    bool isSpent_ = false;  // an action has taken the marks up to mark_: a next mark begins anew
    bool isShort_ = false;
    std::int64_t steps_ = KX_LEX_STEPS;
    std::int64_t stepsLeft_ = 0;
    const char* fault_ = nullptr;
};
