#include "kxbase/containers/kxDList.h"
#include "kxbase/containers/kxRefList.h"
#include "kxbase/object/kxReference.h"
#include "tests/support/kxTestRandom.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <list>
#include <string>

namespace {

template <typename List> void expectSame(const List& list, const std::list<std::string>& twin)
{
    ASSERT_EQ(list.count(), twin.size());
    ASSERT_TRUE(std::equal(list.begin(), list.end(), twin.begin(), twin.end()));
    ASSERT_EQ(list.first() != nullptr, !twin.empty());
    if (twin.empty()) return;
    ASSERT_EQ(*list.first(), twin.front());
    ASSERT_EQ(*list.last(), twin.back());
}

void singleStep(kxList<std::string>& list, std::list<std::string>& twin, kxTestRandom& random)
{
    const std::string item = std::to_string(random() % 30);
    const auto place = twin.empty() ? 0 : static_cast<std::ptrdiff_t>(random() % twin.size());
    switch (random() % 8) {
    case 0:
    case 1:
        list.append(item);
        twin.push_back(item);
        break;
    case 2:
        list.prepend(item);
        twin.push_front(item);
        break;
    case 3:
        if (twin.empty()) break;
        list.insertAfter(std::next(list.begin(), place), item);
        twin.insert(std::next(twin.begin(), place + 1), item);
        break;
    case 4:
        if (place + 1 >= static_cast<std::ptrdiff_t>(twin.size())) break;
        ASSERT_EQ(list.takeAfter(std::next(list.begin(), place)), *std::next(twin.begin(), place + 1));
        twin.erase(std::next(twin.begin(), place + 1));
        break;
    case 5:
        ASSERT_TRUE(twin.empty() ||
                    *list.at(static_cast<std::uint32_t>(place)) == *std::next(twin.begin(), place));
        break;
    case 6: {
        const auto found = std::find(twin.begin(), twin.end(), item);
        ASSERT_EQ(list.remove(item), found != twin.end());
        if (found != twin.end()) twin.erase(found);
        break;
    }
    default:
        list.setReuse(random() % 2 == 0);
        if (random() % 50 != 0) break;
        list.clear();
        twin.clear();
    }
}

TEST(kxList, BehavesAsTheStandardList)
{
    kxTestRandom random(1);
    kxList<std::string> list;
    std::list<std::string> twin;
    for (int turn = 0; turn < 10000; ++turn) {
        singleStep(list, twin, random);
        ASSERT_NO_FATAL_FAILURE(expectSame(list, twin));
    }
    EXPECT_EQ(list.at(list.count()), nullptr);
}

TEST(kxList, KeepsNodesOnlyWhileReuseIsOn)
{
    kxList<int> list;
    list.append(1);
    list.takeFirst();
    EXPECT_EQ(list.spareCount(), 0U);
    list.setReuse(true);
    for (int item = 0; item < 4; ++item) list.append(item);
    const int* const place = list.first();
    list.takeFirst();
    EXPECT_EQ(list.spareCount(), 1U);
    EXPECT_EQ(&list.append(9), place);
    list.clear();
    EXPECT_EQ(list.spareCount(), 4U);
    list.setReuse(false);
    EXPECT_EQ(list.spareCount(), 0U);
}

TEST(kxDList, BehavesAsTheStandardList)
{
    kxTestRandom random(2);
    kxDList<std::string> list;
    std::list<std::string> twin;
    for (int turn = 0; turn < 10000; ++turn) {
        const std::string item = std::to_string(turn);
        const auto place = static_cast<std::ptrdiff_t>(random() % (twin.size() + 1));
        const auto position = std::next(list.begin(), place);
        const auto twinPosition = std::next(twin.begin(), place);
        if (random() % 40 == 0) {
            list.clear();
            twin.clear();
        } else if (random() % 2 == 0 || position == list.end()) {
            ASSERT_EQ(*list.insertBefore(position, item), *twin.insert(twinPosition, item));
        } else if (random() % 2 == 0) {
            list.insertAfter(position, item);
            twin.insert(std::next(twinPosition), item);
        } else {
            const auto behind = list.remove(position);
            const auto twinBehind = twin.erase(twinPosition);
            ASSERT_EQ(std::distance(behind, list.end()), std::distance(twinBehind, twin.end()));
        }
        ASSERT_NO_FATAL_FAILURE(expectSame(list, twin));
        const auto turned = [](const auto& container) {
            return std::vector<std::string>(std::make_reverse_iterator(container.end()),
                                            std::make_reverse_iterator(container.begin()));
        };
        ASSERT_TRUE(turn % 100 != 0 || turned(list) == turned(twin));
    }
}

struct Watched : kxReference {
    explicit Watched(kxRefList<Watched>* owner = nullptr, std::uint32_t* seen = nullptr)
        : list(owner), countSeen(seen)
    {}
    ~Watched() override
    {
        if (list != nullptr) *countSeen = list->count();
    }
    kxRefList<Watched>* list;
    std::uint32_t* countSeen;
};

TEST(kxRefList, HoldsOneReferenceForEachPlace)
{
    const kxRefPointer<Watched> object = kxMakeRef<Watched>();
    kxRefList<Watched> list;
    EXPECT_FALSE(list.append(nullptr));
    EXPECT_FALSE(list.prepend(nullptr));
    list.append(object);
    list.prepend(object.get());
    EXPECT_EQ(object->getReferenceCount(), 3U);
    EXPECT_EQ(std::count(list.begin(), list.end(), object.get()), 2);
    EXPECT_TRUE(list.remove(object.get()));
    EXPECT_EQ(object->getReferenceCount(), 2U);
    EXPECT_EQ(list.takeFirst()->getReferenceCount(), 2U);
    EXPECT_EQ(list.takeFirst(), nullptr);
    EXPECT_FALSE(list.remove(object.get()));
    list.append(object);
    list.clear();
    EXPECT_EQ(object->getReferenceCount(), 1U);
    EXPECT_EQ(list.at(0), nullptr);
}

TEST(kxRefList, AnObjectIsOutOfTheListWhenItGoes)
{
    kxRefList<Watched> list;
    std::uint32_t countSeen = 99;
    list.append(new Watched(&list, &countSeen));
    list.append(new Watched(&list, &countSeen));
    list.remove(list.first());
    EXPECT_EQ(countSeen, 1U);
    list.clear();
    EXPECT_EQ(countSeen, 0U);
}

}  // namespace
