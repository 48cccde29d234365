#include "kxbase/lex/kxMatchMachine.h"

#include "kxbase/lex/kxRuleParser.h"
#include "lex/kxLexOutcome.h"

namespace {

// A slow matcher that follows the tree by the letter.
class Reference {
public:
    explicit Reference(std::string_view input) : input_(input) {}
    void add(std::string_view text)
    {
        kxRuleParser parser(text);
        if (!parser.parse()) throw std::runtime_error(parser.fault().text());
        kxRuleTree tree = parser.takeTree();
        const std::string name = tree.name();
        rules_.insert_or_assign(name, std::move(tree));
    }
    std::string outcome()
    {
        const bool matches = call("main");
        if (!matches) state_ = {};
        std::string text = matches ? "OK" : "No Match";
        for (const std::string& value : state_.values) text += " '" + value + "'";
        return text + " <" + std::string(input_.substr(state_.at)) + ">";
    }

private:
    struct State {
        std::size_t at = 0, mark = 0;  // the mark is that of the running rule, at first its start
        std::vector<std::string> values = {};
    };

    bool call(const std::string& name)
    {
        const std::size_t mark = std::exchange(state_.mark, state_.at);
        const kxRuleTree* const tree = std::exchange(tree_, &rules_.at(name));
        const bool matches = match(tree_->root());
        tree_ = tree;
        state_.mark = mark;
        return matches;
    }
    bool match(std::uint32_t node, bool isTried = false)
    {
        const State before = state_;
        const bool matches = matchNode(tree_->nodes()[node]);
        if (!matches || isTried) state_ = before;
        return matches;
    }
    bool matchNode(const kxRuleNode& node)
    {
        const std::string text(tree_->textOf(node));
        std::vector<std::uint32_t> children;
        for (auto child = node.firstChild; child != KX_RULE_NO_NODE; child = tree_->nodes()[child].next)
            children.push_back(child);
        const auto matches = [this](std::uint32_t child) { return match(child); };
        switch (node.kind) {
        case KX_RULE_LITERAL:
            if (!input_.substr(state_.at).starts_with(text)) return false;
            state_.at += text.size();
            return true;
        case KX_RULE_SET:
        case KX_RULE_SET_NOT:
            if (state_.at == input_.size()) return false;
            return (text.find(input_[state_.at++]) != std::string::npos) == (node.kind == KX_RULE_SET);
        case KX_RULE_MARK:
            state_.mark = state_.at;
            return true;
        case KX_RULE_NAME:
            if (text != "fString") return call(text);
            state_.values.emplace_back(input_.substr(state_.mark, state_.at - state_.mark));
            return true;
        case KX_RULE_SEQUENCE:
            return std::all_of(children.begin(), children.end(), matches);
        case KX_RULE_CHOICE:
            return std::any_of(children.begin(), children.end(), matches);
        case KX_RULE_DIFFERENCE:
            return std::none_of(children.begin(), children.end() - 1,
                                [this](std::uint32_t child) { return match(child, true); }) &&
                   match(children.back());
        case KX_RULE_REPEAT:
            break;
        }
        std::uint32_t round = 0;
        for (; round < node.maximum; ++round) {
            const std::size_t before = state_.at;
            if (!match(children[0])) break;
            if (state_.at == before) return true;
        }
        return round >= node.minimum;
    }

    std::string_view input_;
    std::map<std::string, kxRuleTree> rules_;
    const kxRuleTree* tree_ = nullptr;
    State state_;
};

// Capital letters stand for one of the forms in their list; N is a rule that comes later, M the rule itself.
const std::map<char, std::vector<std::string>> kForms = {
    {'L', {"C", "C", "C", "C", "C", "'a' T ('b' T M)?", "[ab] T ([bc] T M)?"}},
    {'C', {"Q", "Q", "Q | C"}},
    {'Q', {"T", "T Q"}},
    {'T', {"R", "R", "R", "R", "R", "R", "R - R", "(D - R)+", "(D - R)*", "(D - R){1,2}"}},
    {'D', {"[ab]", "[^a]", "[^]", "'b'"}},
    {'R', {"E", "E", "E", "E", "E", "E?", "E*", "E+", "E{0,2}", "E{2,3}", "E{1,1}", "E{0,0}", "E+?"}},
    {'E',
     {"(C)", "(C)", "(C)", "(C)0", "(C)2", "N", "N", "'a'", "'b'", "'ab'", "\"ca\"", "''", "[ab]", "[^a]",
      "[^]", "[]", "$", "$", "fString"}},
};

// Random rules over the letters a, b and c.
class RandomRules {
public:
    explicit RandomRules(std::uint32_t seed) : random_(seed) {}

    std::vector<std::string> rules()
    {
        std::vector<std::string> texts;
        for (rule_ = 0; rule_ < 4; ++rule_) texts.push_back(name(rule_) + " ::= " + expanded('L', 5));
        return texts;
    }
    std::string input()
    {
        std::string text;
        for (auto left = random_() % 12; left != 0; --left) text += "abc"[random_() % 3];
        return text;
    }

private:
    static std::string name(std::uint32_t rule) { return rule == 0 ? "main" : "r" + std::to_string(rule); }
    std::string expanded(char symbol, int depth)
    {
        const std::vector<std::string>& forms = kForms.at(symbol);
        std::string form, text;
        do form = forms[random_() % forms.size()];
        while (depth <= 0 && form.find('C') != std::string::npos);
        for (const char each : form) {
            if (each == 'N')
                text += rule_ < 3 ? name(rule_ + 1 + random_() % (3 - rule_)) : "'c'";
            else if (each == 'M')
                text += name(rule_);
            else
                text += kForms.contains(each) ? expanded(each, depth - (each == 'C')) : std::string(1, each);
        }
        return text;
    }

    kxTestRandom random_;
    std::uint32_t rule_ = 0;
};

}  // namespace

TEST(kxMatchMachine, DoesWhatTheSlowMatcherDoes)
{
    const kxMessageRecorder messages(KX_MESSAGE_WARNING);
    RandomRules random(20);
    std::uint32_t matched = 0;
    for (int round = 0; round < 400; ++round) {
        const std::vector<std::string> rules = random.rules();
        std::string set;
        for (const std::string& rule : rules) set += rule + ";\n";
        for (int run = 0; run < 4; ++run) {
            const std::string input = random.input();
            Reference reference(input);
            for (const std::string& rule : rules) reference.add(rule);
            const std::string expected = reference.outcome();
            kxString error, plainError;
            ASSERT_EQ(kxOutcomeOf(set, input, false, &error), expected) << set << input;
            ASSERT_EQ(kxOutcomeOf(set, input, true, &plainError), expected) << "plainly: " << set << input;
            ASSERT_EQ(error, plainError) << set << input;
            matched += expected.starts_with("OK") ? 1 : 0;
        }
    }
    EXPECT_GT(matched, 350U);
    EXPECT_TRUE(messages.entries().empty());
}
