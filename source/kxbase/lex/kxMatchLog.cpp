#include "kxbase/lex/kxMatchLog.h"

#include <algorithm>

bool kxMatchLog::bordersOf(const Record& action, std::size_t most,
                           std::vector<std::uint32_t>& positions) const
{
    positions.assign(1, action.position);
    for (std::uint32_t mark = action.mark; mark != KX_MATCH_NO_MARK; mark = records_[mark].mark) {
        if (positions.size() > most) return false;
        positions.push_back(records_[mark].position);
    }
    std::reverse(positions.begin(), positions.end());
    return true;
}

std::string kxMatchLog::print() const
{
    std::string out;
    for (const Record& record : records_) {
        if (!out.empty()) out += ", ";
        out += record.kind == Kind::kMark ? "mark " : record.kind == Kind::kPush ? "push " : "blank ";
        if (record.kind != Kind::kMark) out += std::to_string(records_[record.mark].position) + "-";
        out += std::to_string(record.position);
    }
    return out;
}
