#include "kxbase/lex/kxMatchMachine.h"

#include "kxbase/lex/kxRuleParser.h"
#include "lex/kxLexOutcome.h"
#include "support/kxMessageRecorder.h"
#include "support/kxTestRandom.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <optional>
#include <stdexcept>
#include <tuple>

namespace {

// ---- a slow matcher that follows the tree by the letter

class Reference {
public:
    struct Value {
        std::size_t from, to;
        bool operator==(const Value&) const = default;
    };
    struct Scope {  // of a running rule
        std::size_t start;
        std::optional<std::size_t> mark;
    };

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
        std::string text = matches ? "OK" : "No Match";
        if (!matches) at_ = 0, values_.clear();
        for (const Value& value : values_)
            text += " '" + std::string(input_.substr(value.from, value.to - value.from)) + "'";
        return text + " <" + std::string(input_.substr(at_)) + ">";
    }

private:
    bool call(const std::string& name)
    {
        const Scope outer = std::exchange(scope_, Scope{at_, std::nullopt});
        const kxRuleTree* const tree = std::exchange(tree_, &rules_.at(name));
        const bool matches = match(tree_->root());
        tree_ = tree;
        scope_ = outer;
        return matches;
    }
    std::vector<std::uint32_t> childrenOf(std::uint32_t node) const
    {
        std::vector<std::uint32_t> children;
        for (std::uint32_t child = tree_->nodes()[node].firstChild; child != KX_RULE_NO_NODE;
             child = tree_->nodes()[child].next)
            children.push_back(child);
        return children;
    }
    bool match(std::uint32_t node)
    {
        const auto at = at_;
        const auto values = values_;
        const auto scope = scope_;
        if (matchNode(node)) return true;
        at_ = at;
        values_ = values;
        scope_ = scope;
        return false;
    }
    bool matchNode(std::uint32_t index)
    {
        const kxRuleNode& node = tree_->nodes()[index];
        const std::string text(tree_->textOf(node));
        const std::vector<std::uint32_t> children = childrenOf(index);
        switch (node.kind) {
        case KX_RULE_LITERAL:
            if (!input_.substr(at_).starts_with(text)) return false;
            at_ += text.size();
            return true;
        case KX_RULE_SET:
        case KX_RULE_SET_NOT:
            if (at_ == input_.size()) return false;
            return (text.find(input_[at_++]) != std::string::npos) == (node.kind == KX_RULE_SET);
        case KX_RULE_MARK:
            scope_.mark = at_;
            return true;
        case KX_RULE_NAME:
            if (text != "fString") return call(text);
            values_.push_back({scope_.mark.value_or(scope_.start), at_});
            return true;
        case KX_RULE_SEQUENCE:
            return std::all_of(children.begin(), children.end(), [&](std::uint32_t c) { return match(c); });
        case KX_RULE_CHOICE:
            return std::any_of(children.begin(), children.end(), [&](std::uint32_t c) { return match(c); });
        case KX_RULE_DIFFERENCE:
            for (std::size_t child = 0; child + 1 < children.size(); ++child) {
                const auto saved = std::tuple(at_, values_, scope_);
                const bool matches = match(children[child]);
                std::tie(at_, values_, scope_) = saved;
                if (matches) return false;
            }
            return match(children.back());
        case KX_RULE_REPEAT:
            break;
        }
        std::uint32_t round = 0;
        for (; round < node.maximum; ++round) {
            const std::size_t before = at_;
            if (!match(children[0])) break;
            if (at_ == before) return true;
        }
        return round >= node.minimum;
    }

    std::string_view input_;
    std::map<std::string, kxRuleTree> rules_;
    const kxRuleTree* tree_ = nullptr;
    std::size_t at_ = 0;
    std::vector<Value> values_;
    Scope scope_{};
};

// ---- random rules over the letters a, b and c

class RandomRules {
public:
    explicit RandomRules(std::uint32_t seed) : random_(seed) {}

    std::vector<std::string> rules()
    {
        std::vector<std::string> texts;
        const char* const names[] = {"main", "r1", "r2", "r3"};
        for (callable_ = 3; callable_ >= 0; --callable_)
            texts.push_back(std::string(names[3 - callable_]) +
                            " ::= " + (random_() % 6 == 0 ? list(names[3 - callable_]) : choice(4)));
        return texts;
    }
    std::string input()
    {
        std::string text;
        for (auto left = random_() % 12; left != 0; --left) text += "abc"[random_() % 3];
        return text;
    }

private:
    std::string pick(std::initializer_list<const char*> texts)
    {
        return texts.begin()[random_() % texts.size()];
    }
    std::string list(const char* self)
    {
        return pick({"'a' ", "[ab] "}) + term(2) + " (" + pick({"'b' ", "[bc] "}) + term(2) + " " + self +
               ")?";
    }
    std::string choice(int depth)
    {
        std::string text = sequence(depth);
        while (random_() % 3 == 0) text += " | " + sequence(depth);
        return text;
    }
    std::string sequence(int depth)
    {
        std::string text = term(depth);
        while (random_() % 2 == 0) text += " " + term(depth);
        return text;
    }
    std::string term(int depth)
    {
        if (random_() % 12 == 0)
            return "(" + pick({"[ab]", "[^a]", "[^]", "'b'"}) + " - " + repeated(depth) + ")" +
                   pick({"+", "*", "{1,2}"});
        return repeated(depth) + (random_() % 8 == 0 ? " - " + repeated(depth) : "");
    }
    std::string repeated(int depth)
    {
        std::string text = element(depth);
        if (text.back() == ')' && random_() % 8 == 0) text += pick({"0", "1", "2", "3"});
        if (random_() % 3 == 0) text += pick({"?", "*", "+", "{0,2}", "{2,3}", "{1,1}", "{0,0}", "+?"});
        return text;
    }
    std::string element(int depth)
    {
        const auto kind = random_() % 12;
        if (kind < 3 && depth > 0) return "(" + choice(depth - 1) + ")";
        if (kind < 5 && callable_ > 0)
            return std::string("r") +
                   static_cast<char>('4' - callable_ +
                                     static_cast<int>(random_() % static_cast<std::uint32_t>(callable_)));
        return pick({"'a'", "'b'", "'ab'", "\"ca\"", "''", "[ab]", "[^a]", "[^]", "[]", "$", "$", "fString"});
    }

    kxTestRandom random_;
    int callable_ = 0;
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
            ASSERT_EQ(kxOutcomeOf(set, input), expected) << set << input;
            ASSERT_EQ(kxOutcomeOf(set, input, true), expected) << "plainly: " << set << input;
            matched += expected.starts_with("OK") ? 1 : 0;
        }
    }
    EXPECT_GT(matched, 350U);
    EXPECT_TRUE(messages.entries().empty());
}
