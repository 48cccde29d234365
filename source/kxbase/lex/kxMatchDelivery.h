// Makes values of what a match has recorded, when it has succeeded.
//
// Ownership: refers to input, log and program.
// Threads:   takes no lock; one thread at a time.
// Errors:    false; fault(), instruction() and position() say why and where. A text that is too long for a kxString
//            is an error: nothing is cut.
#pragma once

#include "kxbase/lex/kxLexCapture.h"
#include "kxbase/lex/kxMatchLog.h"
#include "kxbase/lex/kxRuleProgram.h"

// Pieces that one action can get.
constexpr std::size_t KX_LEX_MAX_PIECES = 100;

// Bytes of all texts that the actions of one match take: that are pushed, or asked for.
constexpr std::uint64_t KX_LEX_MAX_VALUE_BYTES = 256 * 1024 * 1024;

class kxMatchDelivery {
public:
    kxMatchDelivery(const kxLexInput& input, const kxMatchLog& log, const kxRuleProgram& program,
                    char separator)
        : input_(input), log_(log), program_(program), separator_(separator), capture_(*this)
    {}

    // Runs the actions in order.
    bool run();
    std::vector<kxDynamicType>& values() { return values_; }
    const kxString& fault() const { return fault_; }
    std::uint32_t instruction() const { return instruction_; }
    std::uint32_t position() const { return position_; }

    // A number when the text is one as a whole, by kxNumberScanner or by the rule fCNum; else the text.
    static kxDynamicType valueOf(std::string_view text, char decimalSeparator);

    // ---- for the capture; false is a fault of the match

    // A part of the input, which counts towards the texts of the match.
    bool copyText(std::uint32_t from, std::uint32_t to, std::string& text);
    bool canBeString(std::string_view text) { return text.size() <= KX_STRING_MAX_LENGTH || failTooLong(); }

private:
    bool deliver(const kxMatchLog::Record& record);
    void push(const kxFuncInfo& function, bool isBlank);
    bool act(const kxFuncInfo& function, const kxMatchLog::Record& record);
    bool failTooLong();
    bool fail(const kxString& text);

    const kxLexInput& input_;
    const kxMatchLog& log_;
    const kxRuleProgram& program_;
    const char separator_;
    std::vector<kxDynamicType> values_;
    kxLexCapture capture_;
    std::string text_;
    std::uint64_t copiedBytes_ = 0;
    kxString fault_;
    std::uint32_t instruction_ = 0;
    std::uint32_t position_ = 0;
};
