// Text with a process-wide 16-bit id: the same text always has the same id, and the same id always the same
// text, which is stored once. Copies share it, and two such strings compare by id.
//
// Changing the text makes it an ordinary string, whose uniqueId() is 0.
//
// Ownership: the text belongs to a process-wide table and is never freed.
// Threads:   strings may be made unique from any thread, also before main and after it; the text is read
//            without a lock.
// Errors:    the same text under two ids, or two texts under one id, is fatal; so is a table that has no free
//            id left. A string that could not be made unique is as it was.
#pragma once

#include "kxbase/string/kxString.h"
#include "kxbase/string/kxUniqueId.h"

struct kxUniqueStringData;

class kxUniqueString : public kxString {
public:
    // The text under the id, or under the first free one when the id is 0; a known text costs no allocation. An
    // empty text gets what `make` gives it.
    explicit kxUniqueString(std::string_view text, std::uint16_t id = 0);
    // Null is the empty text.
    explicit kxUniqueString(const char* text, std::uint16_t id = 0);
    // What `make` gives an empty string; takes no lock for a text of the library itself.
    explicit kxUniqueString(kxUniqueId id);

    // Makes a string unique in place; one that has an id already stays as it is. The empty string asks for
    // the text of the id, which is "Unique(id)" when nobody has registered one; without an id it stays empty
    // and the answer is false, else true.
    static bool make(kxString& string, std::uint16_t id = 0);

    // Texts in the table.
    static std::uint32_t count();

private:
    static void adoptText(kxString& string, std::string_view text, std::uint32_t hash, std::uint16_t id);
    static void adoptId(kxString& string, std::uint16_t id);
    static void adoptSlot(kxString& string, const kxUniqueStringData& slot, std::uint16_t id) noexcept;
};
