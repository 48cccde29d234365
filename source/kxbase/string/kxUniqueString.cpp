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

kxUniqueString::kxUniqueString(std::string_view text, std::uint16_t id)
{
    text = text.substr(0, KX_STRING_MAX_LENGTH);
    if (text.empty())
        make(*this, id);
    else
        adoptText(*this, text, hashOf(text), id);
}

kxUniqueString::kxUniqueString(const char* text, std::uint16_t id) : kxUniqueString(viewOf(text), id) {}

kxUniqueString::kxUniqueString(kxUniqueId id)
{
    if (kxUniqueStringTable::isOwn(id))
        adoptSlot(*this, kxUniqueStringTable::instance().slotOfOwn(id), id);
    else
        make(*this, id);
}

bool kxUniqueString::make(kxString& string, std::uint16_t id)
{
    if (string.uniqueId_ != 0) return true;
    if (!string.isEmpty())
        adoptText(string, string.view(), string.hash(), id);
    else if (id != 0)
        adoptId(string, id);
    return string.uniqueId_ != 0;
}

std::uint32_t kxUniqueString::count()
{
    return kxUniqueStringTable::instance().count();
}

void kxUniqueString::adoptText(kxString& string, std::string_view text, std::uint32_t hash, std::uint16_t id)
{
    kxUniqueStringTable& table = kxUniqueStringTable::instance();
    const auto answer = table.enter(text, hash, id);
    if (answer.outcome != Outcome::kAdopt) raise(answer, text, id);
    adoptSlot(string, *answer.slot, table.idOf(*answer.slot));
}

void kxUniqueString::adoptId(kxString& string, std::uint16_t id)
{
    kxUniqueStringTable& table = kxUniqueStringTable::instance();
    const kxUniqueStringData* const slot = table.slotInUse(id);
    if (slot != nullptr) return adoptSlot(string, *slot, id);
    const kxString text = format("Unique(%d)", id);
    const auto answer = table.enter(text.view(), text.hash(), id);
    // Whoever registered the id in the meantime has given it its text.
    const bool hasText = answer.outcome == Outcome::kAdopt || answer.outcome == Outcome::kIdTaken;
    if (!hasText) raise(answer, text.view(), id);
    adoptSlot(string, *answer.slot, id);
}

void kxUniqueString::adoptSlot(kxString& string, const kxUniqueStringData& slot, std::uint16_t id) noexcept
{
    string.adopt(slot.text, static_cast<std::uint16_t>(slot.lengthPlusOne - 1), slot.hash, id);
}
