#include "kxbase/containers/kxDictList.h"
#include "kxbase/containers/kxInstanceTable.h"
#include "kxbase/containers/kxRefInstanceDictionary.h"
#include "tests/support/kxTestRandom.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <vector>

namespace {

// Keys of which several share a hash and some the fingerprint too, and hashes that share a bucket.
struct Clashing {
    static std::uint32_t hash(std::uint32_t key) noexcept { return key / 3 * 1000003U; }
    static std::uint16_t fingerprint(std::uint32_t key) noexcept { return key % 2; }
    static bool isEqual(std::uint32_t left, std::uint32_t right) noexcept { return left == right; }
};
using Dict = kxDict<std::uint32_t, const int, Clashing>;
using DictList = kxDictList<std::uint32_t, const int, Clashing>;

const std::vector<int> kValues(16);

// Twin that knows of no hash: the values of a key in the order of their insertion.
using Twin = std::map<std::uint32_t, std::vector<const int*>>;

const int* expectedNext(const std::vector<const int*>& values, const int* previous)
{
    const auto last = std::find(values.rbegin(), values.rend(), previous);
    return last == values.rend() || last == values.rbegin() ? nullptr : *std::prev(last);
}

template <typename Any> void expectSame(const Any& dict, const Twin& twin, std::uint32_t key)
{
    const auto found = twin.find(key);
    if (found == twin.end()) {
        ASSERT_EQ(dict.find(key), nullptr);
        ASSERT_EQ(dict.find(key, &kValues[0]), nullptr);
        return;
    }
    ASSERT_EQ(dict.find(key), found->second.front());
    for (const int& value : kValues) ASSERT_EQ(dict.find(key, &value), expectedNext(found->second, &value));
}

template <typename Any> void step(Any& dict, Twin& twin, kxTestRandom& random)
{
    const std::uint32_t key = random() % 90;
    const int* const value = &kValues[random() % kValues.size()];
    auto& values = twin[key];
    switch (random() % 8) {
    case 0:
        ASSERT_EQ(dict.remove(key), values.empty() ? nullptr : values.front());
        if (!values.empty()) values.erase(values.begin());
        break;
    case 1: {
        const auto found = std::find(values.begin(), values.end(), value);
        ASSERT_EQ(dict.remove(key, value), found != values.end() ? value : nullptr);
        if (found != values.end()) values.erase(found);
        break;
    }
    case 2:
        dict.setReuse(random() % 2 == 0);
        dict.setNoCache(random() % 2 == 0);
        break;
    case 3:
        if (random() % 100 != 0) break;
        dict.clear();
        twin.clear();
        return;
    default:
        if (values.size() > 6) break;
        ASSERT_TRUE(dict.insert(key, value));
        values.push_back(value);
    }
    if (values.empty()) twin.erase(key);
}

template <typename Any> void runBesideTwin(std::uint32_t buckets, bool autoGrow)
{
    SCOPED_TRACE(buckets);
    kxTestRandom random(buckets + 7);
    Any dict(buckets, autoGrow);
    Twin twin;
    for (int turn = 0; turn < 8000; ++turn) {
        ASSERT_NO_FATAL_FAILURE(step(dict, twin, random));
        ASSERT_NO_FATAL_FAILURE(expectSame(dict, twin, random() % 90));
        std::size_t count = 0;
        for (const auto& [key, values] : twin) count += values.size();
        ASSERT_EQ(dict.count(), count);
    }
    std::size_t walked = 0;
    for (const auto& entry : dict) {
        const auto& values = twin.at(entry.key());
        walked += static_cast<std::size_t>(std::count(values.begin(), values.end(), entry.value()) != 0);
    }
    ASSERT_EQ(walked, dict.count());
}

TEST(kxDict, BehavesAsATwinWithoutHashes)
{
    for (const std::uint32_t buckets : {0U, 1U, 10U, 1000U}) {
        runBesideTwin<Dict>(buckets, true);
        runBesideTwin<Dict>(buckets, false);
        runBesideTwin<DictList>(buckets, true);
    }
}

TEST(kxDict, GrowsToFourTimesPlusThree)
{
    const struct {
        const char* why;
        std::uint32_t buckets;
        bool autoGrow;
        std::vector<std::pair<std::uint32_t, std::uint32_t>> bucketsAtInsertion;
    } cases[] = {
        {"two entries a bucket", 1, true, {{2, 1}, {3, 7}, {14, 7}, {15, 31}, {62, 31}, {63, 127}}},
        {"none at first", 0, true, {{1, 3}, {6, 3}, {7, 15}}},
        {"none and no growth", 0, false, {{1, 1}, {50, 1}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        kxDict<std::uint32_t, const int, kxUInt32CompareInterface> dict(c.buckets, c.autoGrow);
        std::uint32_t inserted = 0;
        for (const auto& [insertion, buckets] : c.bucketsAtInsertion) {
            while (inserted < insertion) dict.insert(inserted++, &kValues[0]);
            EXPECT_EQ(dict.bucketCount(), buckets) << insertion;
        }
    }
}

TEST(kxDict, WalksEqualKeysWithoutCircles)
{
    Dict dict;
    for (const int value : {0, 1, 0, 2}) dict.insert(5, &kValues[static_cast<std::size_t>(value)]);
    dict.insert(4, &kValues[9]);  // another key of the same hash
    EXPECT_EQ(dict.find(5), &kValues[0]);
    EXPECT_EQ(dict.find(5, &kValues[0]), &kValues[2]);
    EXPECT_EQ(dict.find(5, &kValues[2]), nullptr);
    EXPECT_EQ(dict.find(5, &kValues[8]), nullptr) << "a value that is not stored";
    EXPECT_FALSE(dict.insert(5, nullptr));
    EXPECT_EQ(dict.count(), 5U);
}

TEST(kxDict, RemovedRecordsAreKeptWhileReuseIsOn)
{
    Dict dict;
    dict.setReuse(true);
    for (std::uint32_t key = 0; key < 40; ++key) dict.insert(key, &kValues[0]);
    const std::uint32_t spare = dict.spareCount();
    dict.clear();
    EXPECT_EQ(dict.spareCount(), spare + 40);
    for (std::uint32_t key = 0; key < 40; ++key) dict.insert(key, &kValues[0]);
    EXPECT_EQ(dict.spareCount(), spare);
    Dict freeing;
    freeing.insert(1, &kValues[0]);
    freeing.remove(1);
    EXPECT_EQ(freeing.spareCount(), 0U);
}

TEST(kxBucketIndex, IsTheRemainder)
{
    kxTestRandom random(9);
    const auto expectRemainder = [](std::uint32_t divisor, std::uint32_t hash) {
        ASSERT_EQ(kxBucketIndex(divisor)(hash), hash % divisor) << hash << " % " << divisor;
    };
    for (const std::uint32_t divisor : {1U, 2U, 3U, 7U, 31U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU})
        for (const std::uint32_t hash : {0U, 1U, divisor - 1, divisor, divisor + 1, 0xFFFFFFFEU, 0xFFFFFFFFU})
            expectRemainder(divisor, hash);
    for (int turn = 0; turn < 100000; ++turn) expectRemainder(random() >> random() % 31 | 1U, random());
}

TEST(kxDictList, WalksInOrderOfInsertion)
{
    DictList dict(1);
    for (const std::uint32_t key : {30U, 10U, 20U, 40U, 50U}) dict.insert(key, &kValues[0]);
    for (const std::uint32_t key : {30U, 20U, 50U}) dict.remove(key);  // first, middle, last
    dict.insert(5, &kValues[1]);
    std::vector<std::uint32_t> keys;
    for (const auto& entry : dict) keys.push_back(entry.key());
    EXPECT_EQ(keys, (std::vector<std::uint32_t>{10, 40, 5}));
    EXPECT_EQ(dict.first()->key(), 10U);
    EXPECT_EQ(dict.last()->value(), &kValues[1]);
    dict.clear();
    EXPECT_EQ(dict.begin(), dict.end());
}

TEST(kxRefDict, HoldsOneReferenceForEachEntry)
{
    const kxRefPointer<kxReference> object = kxMakeRef<kxReference>();
    {
        kxRefDict<std::uint32_t, kxReference, kxUInt32CompareInterface> dict;
        EXPECT_FALSE(dict.insert(1, nullptr));
        for (const std::uint32_t key : {1U, 1U, 2U, 3U}) dict.insert(key, object);
        EXPECT_EQ(object->getReferenceCount(), 5U);
        EXPECT_TRUE(dict.remove(1));
        EXPECT_TRUE(dict.remove(1, object.get()));
        EXPECT_FALSE(dict.remove(1));
        EXPECT_EQ(object->getReferenceCount(), 3U);
        dict.clear();
        EXPECT_EQ(object->getReferenceCount(), 1U);
        dict.insert(4, object);
    }
    EXPECT_EQ(object->getReferenceCount(), 1U);
}

TEST(kxRefInstanceDictionary, FindsIdsByObjectAndObjectsById)
{
    kxRefInstanceDictionary ids(100);
    kxInstanceTable objects(100);
    std::vector<kxRefPointer<kxReference>> all(300);
    std::uint32_t next = 0;
    for (auto& object : all) {
        object = kxMakeRef<kxReference>();
        EXPECT_TRUE(ids.add(object.get(), ++next) && objects.add(next, object.get()));
    }
    EXPECT_FALSE(ids.add(all[0].get(), 999) || objects.add(1, all[5].get())) << "taken";
    EXPECT_FALSE(ids.add(nullptr, 1000) || objects.add(1000, nullptr));
    std::uint32_t id = 0;
    EXPECT_TRUE(ids.find(all[299].get(), id));
    EXPECT_EQ(id, 300U);
    EXPECT_EQ(objects.find(300), all[299].get());
    EXPECT_EQ(all[0]->getReferenceCount(), 3U);
    EXPECT_EQ(ids.count() + objects.count(), 600U);
    ids.clear();
    objects.clear();
    EXPECT_FALSE(ids.find(all[0].get(), id));
    EXPECT_EQ(all[0]->getReferenceCount(), 1U);
}

}  // namespace
