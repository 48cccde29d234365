#include "kxbase/object/kxTypeTable.h"

#include <utility>

namespace kxTypeTree {

namespace {

// Every parent stands above its children, so that no row can be its own ancestor.
template <std::size_t Index> consteval const kxType* parentOf()
{
    constexpr std::string_view parent = kRows[Index].parent;
    if constexpr (parent.empty()) {
        return nullptr;
    } else {
        static_assert(kxTypeTable::indexOf(parent) < Index, "a parent must stand above its children");
        return &kxTypeTable::find(parent);
    }
}

template <std::size_t... Indices> consteval Descriptors build(std::index_sequence<Indices...>)
{
    return {{kxType::ofLiteral(parentOf<Indices>(), kRows[Indices].name)...}};
}

}  // namespace

constexpr Descriptors descriptors = build(std::make_index_sequence<kCount>());

}  // namespace kxTypeTree
