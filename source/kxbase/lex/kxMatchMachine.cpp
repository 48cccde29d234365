#include "kxbase/lex/kxMatchMachine.h"

#include <algorithm>

namespace {

// Bounds what rounds and choices of rules within rules can pile up.
constexpr std::size_t kMaxFrames = 1'000'000;
// A stack beyond this is not kept for the next match.
constexpr std::size_t kKeptFrames = 10'000;
// Giving back this many characters counts as much as a failure.
constexpr std::uint32_t kCharactersOfStep = 16;

constexpr const char* kTooDeep = "Too many nested rules";
constexpr const char* kTooLong = "Too much input";
constexpr const char* kTooManyRecords = "Too many values";
constexpr const char* kTooManySteps = "Too many steps";

}  // namespace

void kxMatchMachine::start(const kxRuleProgram& program)
{
    program_ = &program;
    if (frames_.capacity() > kKeptFrames) frames_ = {};
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

kxLexResult kxMatchMachine::run(const kxRuleProgram& program)
{
    start(program);
    const kxInstruction* const code = program.code.data();
    // Copies of members, for the loop.
    std::uint32_t at = 0;
    std::uint32_t position = 0;
    const char16_t* units = units_;
    std::uint32_t end = end_;

    const auto store = [&] {
        at_ = at;
        position_ = position;
    };
    const auto load = [&] {
        at = at_;
        position = position_;
        units = units_;
        end = end_;
    };
    const auto hasUnit = [&] {
        if (position != end) [[likely]]
            return true;
        store();
        const bool hasMore = more();
        load();
        return hasMore;
    };

    for (;;) {
        const kxInstruction& instruction = code[at];
        bool matches = true;
        switch (instruction.operation) {
        case KX_OP_UNIT:
            matches = hasUnit() && units[position] == instruction.a;
            position += matches;
            ++at;
            break;
        case KX_OP_SET:
            matches = hasUnit() && program.sets[instruction.a].contains(units[position]);
            position += matches;
            ++at;
            break;
        case KX_OP_TEST:
            at = hasUnit() && program.sets[instruction.a].contains(units[position]) ? at + 1 : instruction.b;
            matches = fault_ == nullptr;
            break;
        case KX_OP_TEXT:
            store();
            matches = takeText(instruction);
            load();
            ++at;
            break;
        case KX_OP_RUN:
            store();
            matches = takeRun(instruction);
            load();
            ++at;
            break;
        case KX_OP_CHOICE:
            store();
            matches = pushChoice(FrameKind::kChoice, instruction.b);
            ++at;
            break;
        case KX_OP_COMMIT:
            frames_.pop_back();
            at = instruction.b;
            break;
        case KX_OP_REFUSE:
            frames_.pop_back();
            matches = false;
            break;
        case KX_OP_JUMP:
            at = instruction.b;
            break;
        case KX_OP_REPEAT:
            store();
            matches = pushChoice(FrameKind::kRounds, instruction.b);
            ++at;
            break;
        case KX_OP_AGAIN:
            store();
            endRound(instruction);
            at = at_;
            break;
        case KX_OP_CALL:
            store();
            matches = enterRule(instruction);
            at = instruction.b;
            break;
        case KX_OP_RETURN:
            store();
            leaveRule();
            at = at_;
            break;
        case KX_OP_NATIVE:
            store();
            matches = runFunction(*program.functions[instruction.a]);
            load();
            ++at;
            break;
        case KX_OP_MARK:
            store();
            matches = mark();
            ++at;
            break;
        case KX_OP_PUSH:
        case KX_OP_BLANK:
            store();
            matches = record(instruction);
            ++at;
            break;
        case KX_OP_UNKNOWN:
            store();
            return KX_LEX_ERROR;
        default:
            store();
            return KX_LEX_OK;
        }
        if (matches) [[likely]]
            continue;
        if (fault_ != nullptr) return KX_LEX_ERROR;
        store();
        if (!comeBack()) return fault_ != nullptr ? KX_LEX_ERROR : KX_LEX_NO_MATCH;
        at = at_;
        position = position_;
    }
}

bool kxMatchMachine::stop(const char* fault)
{
    if (fault_ == nullptr) fault_ = fault;
    return false;
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
    isShort_ = isShort_ || !hasMore;
    return hasMore;
}

// Looks at what is there first: a text that differs already must not wait for more.
bool kxMatchMachine::takeText(const kxInstruction& instruction)
{
    const char16_t* const text = program_->texts.data() + instruction.a;
    std::uint32_t taken = 0;
    while (taken < instruction.b) {
        if (position_ + taken == end_ && !more()) return false;
        const std::uint32_t there = std::min(instruction.b - taken, end_ - position_ - taken);
        if (!std::equal(text + taken, text + taken + there, units_ + position_ + taken)) return false;
        taken += there;
    }
    position_ += taken;
    return true;
}

bool kxMatchMachine::takeRun(const kxInstruction& instruction)
{
    const kxProgramSet& set = program_->sets[instruction.a];
    const kxProgramBounds& bounds = program_->bounds[instruction.b];
    std::uint32_t position = position_;
    std::uint32_t left = bounds.maximum;
    while (left != 0) {
        const char16_t* const first = units_ + position;
        const char16_t* const last = first + std::min(left, end_ - position);
        const char16_t* unit = first;
        while (unit != last && set.contains(*unit)) ++unit;
        const auto taken = static_cast<std::uint32_t>(unit - first);
        position += taken;
        left -= taken;
        if (unit != last || left == 0) break;
        const bool wasShort = isShort_;
        if (more()) continue;
        if (fault_ != nullptr) return false;
        // A run that is long enough has not failed.
        isShort_ = wasShort || position - position_ < bounds.minimum;
        break;
    }
    const bool matches = position - position_ >= bounds.minimum;
    if (matches) position_ = position;
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
    if (result == KX_LEX_OK) position_ = input_.position();
    const auto end = static_cast<std::uint32_t>(input_.units().size());
    stepsLeft_ += (end - end_) * KX_LEX_STEPS_PER_CHARACTER;
    units_ = input_.units().data();
    end_ = end;
    if (tracer_ != nullptr) tracer_->leaveFunction(function, depth_, input_.placeOf(position_), result);
    if (input_.isFull()) return stop(kTooLong);
    if (result != KX_LEX_OK && result != KX_LEX_NO_MATCH) return stop("Function failed");
    return result == KX_LEX_OK;
}

// ---- rules, choices and rounds

bool kxMatchMachine::push(const Frame& frame)
{
    if (frames_.size() == kMaxFrames) return stop(kTooDeep);
    frames_.push_back(frame);
    return true;
}

bool kxMatchMachine::pushChoice(FrameKind kind, std::uint32_t otherWay)
{
    return push({kind, isSpent_, otherWay, position_, log_.count(), mark_, 0});
}

bool kxMatchMachine::enterRule(const kxInstruction& instruction)
{
    if (depth_ == KX_LEX_MAX_DEPTH) return stop(kTooDeep);
    if (--stepsLeft_ < 0) return stop(kTooManySteps);
    if (tracer_ != nullptr)
        tracer_->enterRule(*program_->rules[instruction.a], depth_, input_.placeOf(position_));
    if (!push({FrameKind::kCall, isSpent_, at_ + 1, ruleStart_, 0, mark_, instruction.a})) return false;
    ++depth_;
    ruleStart_ = position_;
    mark_ = KX_MATCH_NO_MARK;
    isSpent_ = false;
    return true;
}

void kxMatchMachine::leaveRule()
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

// Rounds stand in the frame of their repetition, whose choice is the end of the repetition.
void kxMatchMachine::endRound(const kxInstruction& instruction)
{
    Frame& frame = frames_.back();
    const kxProgramBounds& bounds = program_->bounds[instruction.a];
    if (position_ == frame.position || ++frame.count == bounds.maximum) {
        frames_.pop_back();
        ++at_;
        return;
    }
    frame.position = position_;
    frame.records = log_.count();
    frame.mark = mark_;
    frame.wasSpent = isSpent_;
    at_ = instruction.b;
}

// Goes back to the last choice that is left; false when there is none.
bool kxMatchMachine::comeBack()
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
        stepsLeft_ -= (from - frame.position) / kCharactersOfStep;
        position_ = frame.position;
        log_.cutTo(frame.records);
        mark_ = frame.mark;
        isSpent_ = frame.wasSpent;
        at_ = frame.at;
        frames_.pop_back();
        return true;
    }
    return false;
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
bool kxMatchMachine::record(const kxInstruction& instruction)
{
    const kxFuncInfo& function = *program_->functions[instruction.a];
    if (tracer_ != nullptr) tracer_->enterFunction(function, depth_, input_.placeOf(position_));
    if (mark_ == KX_MATCH_NO_MARK) {
        const std::uint32_t here = std::exchange(position_, ruleStart_);
        const bool isAdded = add(kxMatchLog::Kind::kMark);
        position_ = here;
        if (!isAdded) return false;
    }
    const bool isBlank = instruction.operation == KX_OP_BLANK;
    if (!add(isBlank ? kxMatchLog::Kind::kBlank : kxMatchLog::Kind::kPush)) return false;
    isSpent_ = true;
    if (tracer_ != nullptr) tracer_->leaveFunction(function, depth_, input_.placeOf(position_), KX_LEX_OK);
    return true;
}
