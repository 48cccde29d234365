#include "kxbase/lex/kxMatchMachine.h"

#include <algorithm>

namespace {

// Bounds what rounds and choices of rules within rules can pile up.
constexpr std::size_t kMaxFrames = 1'000'000;
// A stack and a log beyond these are not kept for the next match.
constexpr std::size_t kKeptFrames = 10'000;
constexpr std::size_t kKeptRecords = 256 * 1024;

// So many characters given back or compared in vain count as a failure, and so many instructions.
constexpr std::uint32_t kCharactersOfStep = 16;
constexpr std::uint32_t kInstructionsOfStep = 4;

constexpr const char* kTooDeep = "Too many nested rules";
constexpr const char* kTooLong = "Too much input";
constexpr const char* kTooManyRecords = "Too many values";
constexpr const char* kTooManySteps = "Too many steps";

}  // namespace

void kxMatchMachine::start(const kxRuleProgram& program)
{
    program_ = &program;
    frames_.clear();
    log_.clear();
    units_ = input_.units().data();
    end_ = static_cast<std::uint32_t>(input_.units().size());
    position_ = ruleStart_ = at_ = depth_ = 0;
    mark_ = KX_MATCH_NO_MARK;
    isSpent_ = isShort_ = false;
    stepsLeft_ = steps_;
    fault_ = nullptr;
}

void kxMatchMachine::trim()
{
    if (frames_.capacity() > kKeptFrames) std::vector<Frame>().swap(frames_);
    log_.trim(kKeptRecords);
}

bool kxMatchMachine::stop(const char* fault)
{
    if (fault_ == nullptr) fault_ = fault;
    return false;
}

// ---- rules, choices and rounds

inline bool kxMatchMachine::push(const Frame& frame)
{
    if (frames_.size() == kMaxFrames) return stop(kTooDeep);
    frames_.push_back(frame);
    return true;
}

inline bool kxMatchMachine::pushChoice(FrameKind kind, std::uint32_t otherWay)
{
    return push({kind, isSpent_, isShort_, otherWay, position_, log_.count(), mark_, 0});
}

inline bool kxMatchMachine::enterRule(const kxInstruction& instruction)
{
    if (depth_ == KX_LEX_MAX_DEPTH) return stop(kTooDeep);
    if (--stepsLeft_ < 0) return stop(kTooManySteps);
    if (!push({FrameKind::kCall, isSpent_, isShort_, at_ + 1, ruleStart_, 0, mark_, instruction.a}))
        return false;
    if (tracer_ != nullptr)
        tracer_->enterRule(*program_->rules[instruction.a], depth_, input_.placeOf(position_));
    ++depth_;
    ruleStart_ = position_;
    mark_ = KX_MATCH_NO_MARK;
    isSpent_ = false;
    return true;
}

inline void kxMatchMachine::leaveRule()
{
    const Frame& frame = frames_.back();
    --depth_;
    if (tracer_ != nullptr)
        tracer_->leaveRule(*program_->rules[frame.count], depth_, input_.placeOf(position_), KX_LEX_OK);
    at_ = frame.at;
    ruleStart_ = frame.position;
    mark_ = frame.mark;
    isSpent_ = frame.wasSpent;
    frames_.pop_back();
}

void kxMatchMachine::leaveFailedRule(const Frame& frame)
{
    --depth_;
    if (tracer_ != nullptr)
        tracer_->leaveRule(*program_->rules[frame.count], depth_, input_.placeOf(ruleStart_),
                           KX_LEX_NO_MATCH);
    ruleStart_ = frame.position;
}

// Tells of the rules that were open when the machine stopped.
void kxMatchMachine::leaveAllRules()
{
    for (; !frames_.empty(); frames_.pop_back()) {
        const Frame& frame = frames_.back();
        if (frame.kind != FrameKind::kCall) continue;
        tracer_->leaveRule(*program_->rules[frame.count], --depth_, input_.placeOf(position_), KX_LEX_ERROR);
    }
}

// Whether the next round can match; when the data has to be waited for, it is tried.
inline bool kxMatchMachine::canGoOn(const kxProgramBounds& bounds, std::uint32_t rounds) const
{
    if (bounds.first == kxProgramBounds::kAnySet || rounds < bounds.minimum || position_ == end_) return true;
    return program_->sets[bounds.first].contains(units_[position_]);
}

// At the end of a round, whose repetition is the last frame. Answers whether the repetition has ended; else the frame
// becomes that of the next round.
inline bool kxMatchMachine::endRound(const kxInstruction& instruction)
{
    Frame& frame = frames_.back();
    const kxProgramBounds& bounds = program_->bounds[instruction.a];
    if (position_ == frame.position || ++frame.count == bounds.maximum || !canGoOn(bounds, frame.count)) {
        frames_.pop_back();
        return true;
    }
    frame.position = position_;
    frame.records = log_.count();
    frame.mark = mark_;
    frame.wasSpent = isSpent_;
    frame.wasShort = isShort_;
    return false;
}

// Goes back to the last choice that is left; false when there is none.
inline bool kxMatchMachine::comeBack()
{
    const std::uint32_t from = position_;
    for (; !frames_.empty(); frames_.pop_back()) {
        const Frame& frame = frames_.back();
        if (--stepsLeft_ < 0) return stop(kTooManySteps);
        if (frame.kind == FrameKind::kCall) {
            leaveFailedRule(frame);
            continue;
        }
        // The end of a repetition is no way out before there were enough rounds.
        if (frame.kind == FrameKind::kRounds &&
            frame.count < program_->bounds[program_->code[frame.at - 1].a].minimum)
            continue;
        if (from > frame.position) stepsLeft_ -= (from - frame.position) / kCharactersOfStep;
        position_ = frame.position;
        // What must not match has not failed then, nor has what ends with the data.
        if (frame.kind != FrameKind::kChoice && (frame.kind == FrameKind::kUnwanted || position_ == end_))
            isShort_ = frame.wasShort;
        log_.cutTo(frame.records);
        mark_ = frame.mark;
        isSpent_ = frame.wasSpent;
        at_ = frame.at;
        frames_.pop_back();
        return true;
    }
    return false;
}

kxLexResult kxMatchMachine::run(const kxRuleProgram& program)
{
    start(program);
    const kxLexResult result = execute(program);
    if (result == KX_LEX_ERROR && tracer_ != nullptr) leaveAllRules();
    return result;
}

kxLexResult kxMatchMachine::execute(const kxRuleProgram& program)
{
    // Copies of members, for the loop. A case that calls a function of the machine puts into the members what that one
    // reads: position_ alone, or by store() also the instruction; loadInput() follows where it may have read more.
    const kxInstruction* const code = program.code.data();
    const kxProgramSet* const sets = program.sets.data();
    const kxInstruction* at = code;
    std::uint32_t position = 0;
    std::uint32_t executed = 0;  // instructions that have not been counted as steps
    const char16_t* units = units_;
    std::uint32_t end = end_;

    const auto store = [&] {
        at_ = static_cast<std::uint32_t>(at - code);
        position_ = position;
    };
    const auto countSteps = [&] {
        stepsLeft_ -= executed / kInstructionsOfStep;
        executed %= kInstructionsOfStep;
    };
    const auto loadInput = [&] {
        position = position_;
        units = units_;
        end = end_;
    };
    const auto hasUnit = [&] {
        if (position != end) [[likely]]
            return true;
        store();
        const bool hasMore = more();
        loadInput();
        return hasMore;
    };
    const auto needsUnit = [&] {
        if (hasUnit()) [[likely]]
            return true;
        isShort_ = true;
        return false;
    };

    // What matches goes on with the loop, what fails leaves the switch.
    for (;;) {
        ++executed;
        switch (at->operation) {
        case KX_OP_UNIT:
            if (!needsUnit() || units[position] != at->a) break;
            ++position;
            ++at;
            continue;
        case KX_OP_SET:
            if (!needsUnit() || !sets[at->a].contains(units[position])) break;
            ++position;
            ++at;
            continue;
        case KX_OP_TEST:
        case KX_OP_PEEK:
            if (hasUnit()) [[likely]] {
                at = sets[at->a].contains(units[position]) ? at + 1 : code + at->b;
                continue;
            }
            if (fault_ != nullptr) break;
            isShort_ = isShort_ || at->operation == KX_OP_TEST;
            at = code + at->b;
            continue;
        case KX_OP_SWITCH:
            if (hasUnit()) {
                at = code + program.tables[at->a][std::min(units[position], kxUnitSet::kHigh)];
            } else if (fault_ != nullptr) {
                break;
            } else {
                ++at;
            }
            continue;
        case KX_OP_TEXT: {
            store();
            const bool matches = takeText(*at);
            loadInput();
            if (!matches) break;
            ++at;
            continue;
        }
        case KX_OP_SPAN: {
            const kxProgramSet& set = sets[at->a];
            const char16_t* const stop = units + end;
            const char16_t* const first = units + position;
            const char16_t* unit = first;
            // Most runs are blanks, of which there are none or one: these end by branches of their own.
            if (unit != stop && set.contains(*unit) && ++unit != stop && set.contains(*unit)) {
                do ++unit;
                while (unit != stop && set.contains(*unit));
            }
            const auto taken = static_cast<std::uint32_t>(unit - first);
            if (unit == stop) [[unlikely]] {
                store();
                const bool matches = takeRun(set, {at->b, KX_RULE_UNLIMITED}, taken);
                loadInput();
                if (!matches) break;
            } else if (taken < at->b) {
                stepsLeft_ -= taken / kCharactersOfStep;
                break;
            } else {
                position += taken;
            }
            ++at;
            continue;
        }
        case KX_OP_RUN: {
            const kxProgramSet& set = sets[at->a];
            const kxProgramBounds& bounds = program.bounds[at->b];
            const std::uint32_t most = std::min(bounds.maximum, end - position);
            const char16_t* const first = units + position;
            std::uint32_t taken = 0;
            while (taken != most && set.contains(first[taken])) ++taken;
            if (position + taken == end && taken != bounds.maximum) [[unlikely]] {
                store();
                const bool matches = takeRun(set, bounds, taken);
                loadInput();
                if (!matches) break;
            } else {
                if (taken < bounds.minimum) {
                    stepsLeft_ -= taken / kCharactersOfStep;
                    break;
                }
                position += taken;
            }
            ++at;
            continue;
        }
        case KX_OP_CHOICE:
            position_ = position;
            if (!pushChoice(FrameKind::kChoice, at->b)) break;
            ++at;
            continue;
        case KX_OP_OPTION:
            position_ = position;
            if (!pushChoice(FrameKind::kOption, at->b)) break;
            ++at;
            continue;
        case KX_OP_UNLESS:
            position_ = position;
            if (!pushChoice(FrameKind::kUnwanted, at->b)) break;
            ++at;
            continue;
        case KX_OP_COMMIT:
            frames_.pop_back();
            [[fallthrough]];
        case KX_OP_JUMP:
            at = code + at->b;
            continue;
        case KX_OP_REFUSE:
            // Where the unwanted matches, more data would not help.
            isShort_ = frames_.back().wasShort;
            frames_.pop_back();
            break;
        case KX_OP_REPEAT:
            position_ = position;
            if (!pushChoice(FrameKind::kRounds, at->b)) break;
            ++at;
            continue;
        case KX_OP_AGAIN:
            position_ = position;
            countSteps();
            if (stepsLeft_ < 0) [[unlikely]] {
                stop(kTooManySteps);
                break;
            }
            at = endRound(*at) ? at + 1 : code + at->b;
            continue;
        case KX_OP_CALL:
            store();
            countSteps();
            if (!enterRule(*at)) break;
            at = code + at->b;
            continue;
        case KX_OP_RETURN:
            position_ = position;
            leaveRule();
            at = code + at_;
            continue;
        case KX_OP_NATIVE: {
            store();
            const bool matches = runFunction(*program.functions[at->a]);
            loadInput();
            if (!matches) break;
            ++at;
            continue;
        }
        case KX_OP_MARK:
            store();
            if (!mark()) break;
            ++at;
            continue;
        case KX_OP_PUSH:
        case KX_OP_BLANK:
            store();
            if (!record(*at)) break;
            ++at;
            continue;
        case KX_OP_UNKNOWN:
            store();
            return KX_LEX_ERROR;
        case KX_OP_DONE:
            store();
            return KX_LEX_OK;
        default:
            __builtin_unreachable();
        }
        store();
        if (fault_ != nullptr) return KX_LEX_ERROR;
        countSteps();
        if (!comeBack()) return fault_ != nullptr ? KX_LEX_ERROR : KX_LEX_NO_MATCH;
        at = code + at_;
        position = position_;
    }
}

// ---- input

bool kxMatchMachine::more()
{
    const bool hasMore = input_.more();
    units_ = input_.units().data();
    const auto end = static_cast<std::uint32_t>(input_.units().size());
    stepsLeft_ += (end - end_) * KX_LEX_STEPS_PER_CHARACTER;
    end_ = end;
    if (input_.isFull()) return stop(kTooLong);
    return hasMore;
}

// Looks at what is there first: a text that differs already must not wait for more.
bool kxMatchMachine::takeText(const kxInstruction& instruction)
{
    const char16_t* const text = program_->texts.data() + instruction.a;
    std::uint32_t taken = 0;
    while (taken < instruction.b) {
        if (position_ + taken == end_ && !more()) {
            isShort_ = true;
            break;
        }
        const std::uint32_t there = std::min(instruction.b - taken, end_ - position_ - taken);
        const char16_t* const from = text + taken;
        const char16_t* const differs = std::mismatch(from, from + there, units_ + position_ + taken).first;
        taken += static_cast<std::uint32_t>(differs - from);
        if (differs != from + there) break;
    }
    const bool matches = taken == instruction.b;
    if (matches)
        position_ += taken;
    else
        stepsLeft_ -= taken / kCharactersOfStep;
    return matches;
}

// Goes on with a run that has come to the end of what was read.
bool kxMatchMachine::takeRun(const kxProgramSet& set, const kxProgramBounds& bounds, std::uint32_t taken)
{
    while (taken != bounds.maximum) {
        if (position_ + taken == end_ && !more()) {
            if (fault_ != nullptr) return false;
            isShort_ = isShort_ || taken < bounds.minimum;
            break;
        }
        if (!set.contains(units_[position_ + taken])) break;
        ++taken;
    }
    const bool matches = taken >= bounds.minimum;
    if (matches)
        position_ += taken;
    else
        stepsLeft_ -= taken / kCharactersOfStep;
    return matches;
}

bool kxMatchMachine::runFunction(const kxFuncInfo& function)
{
    if (tracer_ != nullptr) tracer_->enterFunction(function, depth_, input_.placeOf(position_));
    kxLexResult result = KX_LEX_NO_MATCH;
    input_.setPosition(position_);
    if (function.kind() == KX_FUNC_CHARACTER) {
        const std::int32_t unit = input_.next();
        if (unit != KX_LEX_END && function.first().contains(static_cast<char16_t>(unit))) result = KX_LEX_OK;
        isShort_ = isShort_ || unit == KX_LEX_END;
    } else {
        result = function.function()(input_);
        isShort_ = isShort_ || (result == KX_LEX_NO_MATCH && input_.hasTouchedEnd());
    }
    const bool isIdle = result == KX_LEX_OK && input_.position() <= position_;
    if (result == KX_LEX_OK) position_ = input_.position();
    const auto end = static_cast<std::uint32_t>(input_.units().size());
    stepsLeft_ += (end - end_) * KX_LEX_STEPS_PER_CHARACTER;
    units_ = input_.units().data();
    end_ = end;
    if (tracer_ != nullptr) tracer_->leaveFunction(function, depth_, input_.placeOf(position_), result);
    if (input_.isFull()) return stop(kTooLong);
    if (result != KX_LEX_OK && result != KX_LEX_NO_MATCH) return stop("Function failed");
    if (isIdle && --stepsLeft_ < 0) return stop(kTooManySteps);
    return result == KX_LEX_OK;
}

// ---- records

bool kxMatchMachine::add(kxMatchLog::Kind kind)
{
    if (log_.count() >= KX_LEX_MAX_RECORDS) return stop(kTooManyRecords);
    const std::uint32_t index = log_.add({kind, at_, mark_, position_});
    if (kind == kxMatchLog::Kind::kMark) mark_ = index;
    return true;
}

bool kxMatchMachine::mark()
{
    if (isSpent_) mark_ = KX_MATCH_NO_MARK;
    isSpent_ = false;
    return add(kxMatchLog::Kind::kMark);
}

// Without a mark the beginning of the rule is one.
bool kxMatchMachine::markRule()
{
    if (mark_ != KX_MATCH_NO_MARK) return true;
    const std::uint32_t here = std::exchange(position_, ruleStart_);
    const bool isAdded = add(kxMatchLog::Kind::kMark);
    position_ = here;
    return isAdded;
}

bool kxMatchMachine::record(const kxInstruction& instruction)
{
    const kxFuncInfo& function = *program_->functions[instruction.a];
    if (tracer_ != nullptr) tracer_->enterFunction(function, depth_, input_.placeOf(position_));
    const bool isBlank = instruction.operation == KX_OP_BLANK;
    const bool isAdded = markRule() && add(isBlank ? kxMatchLog::Kind::kBlank : kxMatchLog::Kind::kPush);
    isSpent_ = true;
    if (tracer_ != nullptr)
        tracer_->leaveFunction(function, depth_, input_.placeOf(position_),
                               isAdded ? KX_LEX_OK : KX_LEX_ERROR);
    return isAdded;
}
