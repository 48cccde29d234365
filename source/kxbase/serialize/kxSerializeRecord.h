// Base of values that are composed of serializers: the parts one after the other.
//
//   class Reading : public kxSerializeRecord<Reading> {
//   public:
//       kxSerializeBinary<unsigned int> station;
//       kxVarUInt64 count;
//       kxSerializeString unit;
//
//       static auto parts(auto& self) { return std::tie(self.station, self.count, self.unit); }
//   };
//
// A part is anything derived from kxSerializeData, another record included. Parts of a type that is final are
// called directly.
//
// Threads, errors: those of the parts.
// Units:           a size beyond 4294967295 is given as 4294967295.
#pragma once

#include "kxbase/core/kxSerializeData.h"

#include <algorithm>
#include <tuple>
#include <utility>

template <typename Record> class kxSerializeRecord : public kxSerializeData {
public:
    void write(kxSerializeAdapter& adapter) const override
    {
        std::apply([&](const auto&... part) { (part.write(adapter), ...); }, Record::parts(self()));
    }
    void read(kxSerializeAdapter& adapter) override
    {
        std::apply([&](auto&... part) { (part.read(adapter), ...); },
                   Record::parts(static_cast<Record&>(*this)));
    }
    // The last part first, so that the first one is read first.
    void pushBack(kxSerializeAdapter& adapter) const override
    {
        const auto all = Record::parts(self());
        pushBackReversed(adapter, all, std::make_index_sequence<std::tuple_size_v<decltype(all)>>());
    }
    std::uint32_t getDataSize() const override
    {
        const std::uint64_t sum =
            std::apply([](const auto&... part) { return (std::uint64_t{0} + ... + part.getDataSize()); },
                       Record::parts(self()));
        return static_cast<std::uint32_t>(std::min<std::uint64_t>(sum, 0xFFFFFFFFU));
    }

private:
    friend Record;
    constexpr kxSerializeRecord() noexcept = default;

    const Record& self() const { return static_cast<const Record&>(*this); }
    template <typename Parts, std::size_t... Index>
    static void pushBackReversed(kxSerializeAdapter& adapter, const Parts& parts,
                                 std::index_sequence<Index...>)
    {
        (std::get<sizeof...(Index) - 1 - Index>(parts).pushBack(adapter), ...);
    }
};
