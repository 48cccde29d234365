#include "kxbase/lex/kxRulePrograms.h"

#include "kxbase/core/kxMessage.h"
#include "kxbase/serialize/kxErrorText.h"
#include "kxbase/serialize/kxShortName.h"

#include <iterator>

const kxRuleProgram* kxRulePrograms::get(const kxLexNames& names, kxRuleInfo& start, bool isWide,
                                         kxRuleCode kind)
{
    for (const Entry& entry : entries_) {
        if (entry.start.get() == &start && entry.version == names.version() && entry.isWide == isWide &&
            entry.kind == kind)
            return &entry.program;
    }
    const kxRuleSet set(names, start, isWide);
    fault_ = faultOf(set);
    if (!fault_.isEmpty()) return nullptr;
    Entry& entry = entries_[next_++ % std::size(entries_)];
    entry = {&start, names.version(), isWide, kind, kxCompileRules(set, kind)};
    return &entry.program;
}

kxString kxRulePrograms::faultOf(const kxRuleSet& set)
{
    if (set.hasFaultyText()) return kxTranslate("Utf lex encoding on faulty data set");
    const kxRuleSet::Place* const place = set.leftRecursion();
    if (place == nullptr) return {};
    const kxRuleTree& tree = set.rules()[place->rule].info->tree();
    const std::uint32_t offset = tree.nodes()[place->node].offset;
    const kxTextPlace at = tree.placeOf(offset);
    return kxErrorText("Parse Error:'%s' in rule '%s' at (Line:%d,Col:%d) -> %s",
                       kxTranslate("Left recursion"), kxShortName(std::string_view(tree.name())), at.line,
                       at.column, kxShortName(std::string_view(tree.text()).substr(offset)));
}
