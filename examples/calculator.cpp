// Calculates what its arguments say, or a few examples: a grammar with actions that work on a stack.

#include "kxbase/kxlex.h"

#include <cstdio>
#include <vector>

namespace {

const char* const kGrammar = R"(
    main    ::= ws sum ;
    sum     ::= product ( '+' ws product fAdd | '-' ws product fSubtract )* ;
    product ::= factor ( '*' ws factor fMultiply | '/' ws factor fDivide )* ;
    factor  ::= ( '(' ws sum ')' | '-' ws factor fNegate | value ) ws ;
    value   ::= $ digit+ ('.' digit+)? fValue ;
    ws      ::= fWS* ;
)";

class Calculator {
public:
    Calculator()
    {
        lex_.addRules(kGrammar);
        lex_.addAction("fValue", [this](kxLexCapture& capture) { return push(capture.get(0).toDouble()); });
        lex_.addAction("fNegate", [this](kxLexCapture&) { return push(-pop()); });
        addOperator("fAdd", [](double left, double right) { return left + right; });
        addOperator("fSubtract", [](double left, double right) { return left - right; });
        addOperator("fMultiply", [](double left, double right) { return left * right; });
        lex_.addAction("fDivide", [this](kxLexCapture& capture) {
            const double right = pop();
            if (right != 0) return push(pop() / right);
            capture.setFault("Division by zero");
            return KX_LEX_ERROR;
        });
    }

    // Prints the result, or what is wrong.
    bool calculate(const char* text)
    {
        stack_.clear();
        const bool isRight = lex_.runText("main", text);
        if (isRight)
            std::printf("%s = %s\n", text, kxString::fromDouble(pop()).text());
        else
            std::printf("%s: %s\n", text, lex_.getError().text());
        return isRight;
    }

private:
    void addOperator(const char* name, double (*apply)(double left, double right))
    {
        lex_.addAction(name, [this, apply](kxLexCapture&) {
            const double right = pop();
            return push(apply(pop(), right));
        });
    }
    kxLexResult push(double value)
    {
        stack_.push_back(value);
        return KX_LEX_OK;
    }
    double pop()
    {
        const double value = stack_.back();
        stack_.pop_back();
        return value;
    }

    kxSerializeLex lex_;
    std::vector<double> stack_;
};

}  // namespace

int main(int argumentCount, char** arguments)
{
    Calculator calculator;
    bool isRight = true;
    for (int index = 1; index < argumentCount; ++index)
        isRight = calculator.calculate(arguments[index]) && isRight;
    if (argumentCount == 1) {
        isRight = calculator.calculate("1 + 2 * (3 - -4) / 4");
        isRight = calculator.calculate("2*3.5") && isRight;
        isRight = !calculator.calculate("1 / (2 - 2)") && isRight;
    }
    return isRight ? 0 : 1;
}
