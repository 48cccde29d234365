// The containers that keep their items in a row: arrays and lists.
#include "kxbase/containers/kxDList.h"
#include "kxbase/containers/kxDynamicArray.h"
#include "kxbase/containers/kxRefList.h"
#include "kxbase/object/kxReference.h"
#include "support/kxTest.h"

#include <deque>

namespace {

// Shared items show each copy that is lost or destroyed twice.
using Item = std::shared_ptr<int>;
using Twin = std::deque<Item>;

// Each step does the same to a container and to its twin, which is not empty; answers whether they agreed.
template <typename Array> bool stepOfArray(Array& array, Twin& twin, std::uint32_t kind, std::uint32_t at)
{
    if (kind == 1) array.resize(at), twin.resize(at);
    if (kind != 2) return true;
    const Array other(array);
    array.appendBlock(other.data(), at);
    for (std::uint32_t i = 0; i < at; ++i) twin.push_back(Item(twin[i]));
    array = Array(array);
    return true;
}

template <typename List> bool stepOfList(List& list, Twin& twin, std::uint32_t kind, std::uint32_t at)
{
    bool same = *list.first() == twin.front() && *list.last() == twin.back();
    const Item item = std::make_shared<int>(8);
    const auto place = std::next(list.begin(), at);
    const auto its = twin.begin() + at;
    if (kind == 1) list.prepend(item), twin.push_front(item);
    if (kind == 2) list.insertAfter(place, item), twin.insert(its + 1, item);
    if (kind == 3) same = list.takeFirst() == twin.front(), twin.pop_front();
    if constexpr (requires { list.takeLast(); }) {
        if (kind == 4) list.insertBefore(place, item), twin.insert(its, item);
        if (kind == 5) same = list.takeLast() == twin.back(), twin.pop_back();
        if (kind == 6)
            same = std::distance(list.remove(place), list.end()) == twin.end() - its - 1, twin.erase(its);
        return same && std::equal(twin.rbegin(), twin.rend(), std::make_reverse_iterator(list.end()));
    } else {
        const std::uint32_t spare = list.spareCount();
        if (kind == 4) list.setReuse(false), same = list.spareCount() == 0;
        if (kind == 5 && at + 1 < twin.size()) same = list.takeAfter(place) == its[1], twin.erase(its + 1);
        if (kind == 6) {
            list.setReuse(true);
            same = list.remove(*list.at(at)) && !list.remove(item) && list.spareCount() == spare + 1;
            twin.erase(its);
        }
        if (kind == 7) {
            List other;
            other.setReuse(true);
            other.append(item), other.splice(list), list.splice(other), twin.push_front(item);
            same = other.isEmpty() && other.last() == nullptr && list.spareCount() == spare;
        }
        return same;
    }
}

template <typename Container> void runBesideTwin()
{
    kxTestRandom random(3);
    Container container;
    Twin twin;
    for (int turn = 0; turn < 4000; ++turn) {
        const auto kind = twin.empty() ? 0 : random() % 8;
        const auto at = twin.empty() ? 0 : random() % static_cast<std::uint32_t>(twin.size());
        if (kind == 0) container.append(twin.emplace_back(std::make_shared<int>(turn)));
        if constexpr (requires { container.resize(at); })
            ASSERT_TRUE(stepOfArray(container, twin, kind, at));
        else
            ASSERT_TRUE(kind == 0 || stepOfList(container, twin, kind, at)) << kind;
        if (twin.size() > 60) container.clear(), twin.clear();
        ASSERT_TRUE(std::equal(container.begin(), container.end(), twin.begin(), twin.end())) << kind;
    }
    container.clear();
    for (const Item& item : twin) EXPECT_EQ(item.use_count(), std::count(twin.begin(), twin.end(), item));
}

TEST(kxSequences, BehaveAsTheStandardDeque)
{
    runBesideTwin<kxArray<Item>>();
    runBesideTwin<kxDynamicArray<Item>>();
    runBesideTwin<kxList<Item>>();
    runBesideTwin<kxDList<Item>>();
}

TEST(kxArray, EndsAtItsSizes)
{
    kxArray<int> array(3);
    for (const std::uint64_t index : {3ULL, 0xFFFFFFFFULL, 1ULL << 32}) {
        EXPECT_EQ(kxFatalText([&] { array[index] = 1; }), "Template-kxArray [] index out of bounds");
        EXPECT_EQ(kxFatalText([&] { array.get(index); }), "kxArray get() index out of bounds");
    }
    array[2] = 7;
    array.resize(2);
    array.resize(3);
    EXPECT_EQ(array[2], 0) << "new items have their initial value";
    const volatile std::uint32_t most = 0xFFFFFFFFU;
    EXPECT_THROW(array.appendBlock(array.data(), most), std::bad_alloc);
    kxDynamicArray<char16_t> stepwise(100);
    for (const std::uint32_t size : {101U, 5U, 300U}) stepwise.resize(size);
    EXPECT_EQ(stepwise.capacity(), 300U);
    kxDynamicArray<int> smallest(0);
    smallest.resize(3);
    EXPECT_EQ(smallest.growthStep() + smallest.capacity(), 4U) << "a step of 0 is 1";
}

TEST(kxSequences, EmptyListsHaveNothingToTake)
{
    kxList<int> list;
    kxDList<int> linked;
    EXPECT_EQ(kxFatalText([&] { list.takeFirst(); }), "No item to take in kxList");
    list.append(1);
    EXPECT_EQ(kxFatalText([&] { list.takeAfter(list.begin()); }), "No item to take in kxList");
    EXPECT_EQ(kxFatalText([&] { linked.takeLast(); }), "No item to take in kxDList");
    EXPECT_EQ(kxFatalText([&] { linked.remove(linked.end()); }), "No item to take in kxDList");
}

struct Watched : kxReference {
    ~Watched() override { *isOutFirst = list->isEmpty(); }
    kxRefList<Watched>* list = nullptr;
    bool* isOutFirst = nullptr;
};

TEST(kxRefList, HoldsOneReferenceForEachPlace)
{
    bool isOutFirst = false;
    kxRefList<Watched> list;
    kxRefPointer<Watched> object = kxMakeRef<Watched>();
    object->list = &list;
    object->isOutFirst = &isOutFirst;
    EXPECT_TRUE(!list.append(nullptr) && list.append(object) && list.prepend(object.get()));
    EXPECT_TRUE(list.remove(object.get()));
    EXPECT_EQ(list.takeFirst()->getReferenceCount(), 2U);
    EXPECT_EQ(list.takeFirst(), nullptr);
    list.append(object);
    object = nullptr;
    list.clear();
    EXPECT_TRUE(isOutFirst);
}

}  // namespace
