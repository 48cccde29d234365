// An endpoint that plays a script and keeps a journal of what is asked of it.
#pragma once

#include "kxbase/serialize/kxSerializeAdapter.h"

#include <algorithm>
#include <string>
#include <vector>

class kxScriptedAdapter : public kxSerializeAdapter {
public:
    using Journal = std::vector<std::string>;

    kxScriptedAdapter(std::string name, Journal& journal) : name_(std::move(name)), journal_(journal) {}

    // Bytes that can be read now.
    std::string ready;
    // Bytes that become ready when everything before has been read.
    std::string later;
    // The most that one block read delivers.
    std::size_t shortRead = std::string::npos;
    // What it says to have at least, true or not.
    std::uint32_t claimed = 0;
    // All that was written.
    std::string written;

    std::uint32_t flush() override
    {
        note("flush");
        return 0;
    }
    void writeBlock(const void* bytes, std::uint32_t count) override
    {
        const std::string block(static_cast<const char*>(bytes), count);
        note("write " + block);
        written += block;
    }
    void writeByte(std::uint8_t byte) override { written += static_cast<char>(byte); }
    std::uint32_t readBlock(void* bytes, std::uint32_t count) override
    {
        const std::size_t taken = std::min({std::size_t{count}, ready.size(), shortRead});
        std::copy_n(ready.begin(), taken, static_cast<char*>(bytes));
        ready.erase(0, taken);
        note("read " + std::to_string(count));
        return static_cast<std::uint32_t>(taken);
    }
    std::uint8_t readByte() override
    {
        hasData();
        const char byte = ready.empty() ? '\0' : ready.front();
        ready.erase(0, 1);
        return static_cast<std::uint8_t>(byte);
    }
    std::uint32_t getDataLength() override
    {
        return std::max(claimed, static_cast<std::uint32_t>(ready.size()));
    }
    bool hasData() override
    {
        if (ready.empty()) ready.swap(later);
        return !ready.empty();
    }

private:
    void note(const std::string& what) { journal_.push_back(name_ + "." + what); }

    std::string name_;
    Journal& journal_;
};
