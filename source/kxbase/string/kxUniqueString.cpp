#include "kxbase/string/kxUniqueString.h"

#include "kxbase/core/kxMessage.h"
#include "kxbase/string/kxUniqueStringTable.h"

namespace {

using Outcome = kxUniqueStringTable::Outcome;

[[noreturn]] void raise(kxUniqueStringTable::Answer answer, std::string_view text, std::uint16_t id)
{
    switch (answer.outcome) {
    case Outcome::kOtherId:
        kxRaiseFatal("Bad unique string (\"%s\":%d). String already used with ID (\"%s\":%d)", text, id, text,
                     kxUniqueStringTable::instance().idOf(*answer.slot));
    case Outcome::kIdTaken:
        kxRaiseFatal("Bad unique string (\"%s\":%d). ID already used with string (\"%s\":%d)", text, id,
                     answer.slot->view(), id);
    case Outcome::kFull:
        kxRaiseFatal("Bad unique string (\"%s\":%d). No more IDs", text, id);
    default:
        kxThrowBadAlloc(__FILE__, __LINE__);
    }
}

}  // namespace

kxUniqueString::kxUniqueString(kxUniqueId id)
{
    if (id == KX_UNIQUE_NONE) return;
    kxUniqueStringTable& table = kxUniqueStringTable::instance();
    const kxUniqueStringData& slot = table.slotOfOwn(id);
    adopt(slot.text, static_cast<std::uint16_t>(slot.lengthPlusOne - 1), slot.hash, id);
}

bool kxUniqueString::make(kxString& string, std::uint16_t id)
{
    if (string.uniqueId_ != 0) return true;
    if (string.isEmpty() && id == 0) return false;
    kxUniqueStringTable& table = kxUniqueStringTable::instance();
    const auto adoptSlot = [&](const kxUniqueStringData& slot) {
        string.adopt(slot.text, static_cast<std::uint16_t>(slot.lengthPlusOne - 1), slot.hash,
                     table.idOf(slot));
        return true;
    };
    const bool asksForText = string.isEmpty();
    if (asksForText) {
        const kxUniqueStringData* const slot = table.slotInUse(id);
        if (slot != nullptr) return adoptSlot(*slot);
        string = kxString::format("Unique(%d)", id);
    }
    const auto answer = table.enter(string.view(), string.hash(), id);
    // Whoever registered the id in the meantime has given it its text.
    const bool isFilledMeanwhile = asksForText && answer.outcome == Outcome::kIdTaken;
    if (answer.outcome != Outcome::kAdopt && !isFilledMeanwhile) raise(answer, string.view(), id);
    return adoptSlot(*answer.slot);
}

std::uint32_t kxUniqueString::count()
{
    return kxUniqueStringTable::instance().count();
}
