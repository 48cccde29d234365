// What a match has recorded: marks, and what actions are to do when the whole match has succeeded. It is flat, so that
// an alternative that fails is undone by cutting it.
//
// Threads: a plain value.
// Units:   positions are in characters from the beginning of the match.
#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

constexpr std::uint32_t KX_MATCH_NO_MARK = std::numeric_limits<std::uint32_t>::max();

class kxMatchLog {
public:
    // A blank is a push directly behind fWS: white space as a value is the number 32, whichever character it was.
    enum class Kind : std::uint8_t { kMark, kPush, kBlank };
    struct Record {
        Kind kind;
        std::uint32_t instruction;  // that made it
        std::uint32_t mark;         // of a mark the one before it, of others the last one
        std::uint32_t position;
    };

    void clear() { records_.clear(); }
    // Forgets the records too when there is room for more than `most`.
    void trim(std::size_t most)
    {
        if (records_.capacity() > most) std::vector<Record>().swap(records_);
    }
    std::uint32_t count() const { return static_cast<std::uint32_t>(records_.size()); }
    void cutTo(std::uint32_t count) { records_.resize(count); }
    // Answers the index of the record.
    std::uint32_t add(const Record& record)
    {
        records_.push_back(record);
        return count() - 1;
    }
    const std::vector<Record>& records() const { return records_; }
    // Where the pieces of an action begin, in order, and where the last one ends: the marks that lead to it and its own
    // position. False when there are more than `most` pieces.
    bool bordersOf(const Record& action, std::size_t most, std::vector<std::uint32_t>& positions) const;

    // For people and tests: "mark 0, push 0-3, blank 3-4".
    std::string print() const;

private:
    std::vector<Record> records_;
};
