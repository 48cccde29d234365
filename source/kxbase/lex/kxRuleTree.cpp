#include "kxbase/lex/kxRuleTree.h"

#include "kxbase/lex/kxRuleWalk.h"

namespace {

class Printer {
public:
    using Step = kxRuleStep;

    explicit Printer(const kxRuleTree& tree) : tree_(tree) {}

    bool enter(const Step& step, const Step*)
    {
        const kxRuleNode& node = tree_.nodes()[step.node];
        const std::string_view text = tree_.textOf(node);
        switch (node.kind) {
        case KX_RULE_LITERAL:
            return leaf(quoteOf(text), text, quoteOf(text));
        case KX_RULE_SET:
            return leaf("[", text, "]");
        case KX_RULE_SET_NOT:
            return leaf("[^", text, "]");
        case KX_RULE_NAME:
            return leaf("", text, "");
        case KX_RULE_MARK:
            return leaf("", "mark", "");
        case KX_RULE_SEQUENCE:
            return open("sequence");
        case KX_RULE_CHOICE:
            return open("choice");
        case KX_RULE_DIFFERENCE:
            return open("unless");
        case KX_RULE_REPEAT:
            break;
        }
        const std::string most = node.maximum == KX_RULE_UNLIMITED ? "*" : std::to_string(node.maximum);
        return open("repeat{" + std::to_string(node.minimum) + "," + most + "}");
    }
    void child(const Step& step)
    {
        if (step.child != 0) out_ += ", ";
    }
    void leave(const Step&) { out_ += ')'; }

    std::string take() { return std::move(out_); }

private:
    static std::string_view quoteOf(std::string_view text)
    {
        return text.find('\'') == std::string_view::npos ? "'" : "\"";
    }
    bool leaf(std::string_view before, std::string_view text, std::string_view behind)
    {
        out_.append(before).append(text).append(behind);
        return false;
    }
    bool open(std::string_view what)
    {
        out_.append(what).append("(");
        return true;
    }

    const kxRuleTree& tree_;
    std::string out_;
};

}  // namespace

kxTextPlace kxRuleTree::placeOf(std::size_t offset) const
{
    kxTextPlace place = start_;
    place.pass(std::string_view(text_).substr(0, offset));
    return place;
}

std::string kxRuleTree::print() const
{
    Printer printer(*this);
    kxRuleWalk(*this, root(), printer);
    return name_ + " ::= " + printer.take();
}
