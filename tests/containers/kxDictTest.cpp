#include "kxbase/containers/kxDictList.h"
#include "kxbase/containers/kxRefDict.h"
#include "kxbase/object/kxReference.h"
#include "support/kxTest.h"

namespace {

// Keys of which several share a hash and some the fingerprint too, and hashes that share a bucket.
struct Clashing {
    static std::uint32_t hash(std::uint32_t key) noexcept { return key / 3 * 1000003U; }
    static std::uint16_t fingerprint(std::uint32_t key) noexcept { return key % 2; }
    static bool isEqual(std::uint32_t left, std::uint32_t right) noexcept { return left == right; }
};
using Dict = kxDict<std::uint32_t, const int, Clashing>;
using DictList = kxDictList<std::uint32_t, const int, Clashing>;
const int kValues[6] = {};

// Twin that knows of no hash: keys and values in the order of their insertion.
using Twin = std::vector<std::pair<std::uint32_t, const int*>>;

// The value behind the last entry of the key that holds `previous`; the first one without.
const int* expectedNext(const Twin& twin, std::uint32_t key, const int* previous)
{
    const int* next = nullptr;
    bool isBehind = previous == nullptr;
    for (const auto& [itsKey, value] : twin) {
        if (itsKey != key) continue;
        if (isBehind && next == nullptr) next = value;
        if (value == previous) isBehind = true, next = nullptr;
    }
    return next;
}

template <typename Any> void step(Any& dict, Twin& twin, std::uint32_t key, kxTestRandom& random)
{
    const int* const value = random() % 2 ? &kValues[random() % std::size(kValues)] : nullptr;
    const auto kind = random() % 400;
    if (kind == 0) dict.clear(), twin.clear();
    if (kind % 8 == 1) dict.setReuse(kind % 3 == 0), dict.setNoCache(kind % 5 == 0);
    if (kind % 8 == 2) {
        const auto found = std::find_if(twin.begin(), twin.end(), [&](const auto& entry) {
            return entry.first == key && (value == nullptr || entry.second == value);
        });
        const int* const removed = value != nullptr ? dict.remove(key, value) : dict.remove(key);
        ASSERT_EQ(removed, found != twin.end() ? found->second : nullptr);
        if (removed != nullptr) twin.erase(found);
    }
    if (kind % 8 > 2 && twin.size() < 200) {
        ASSERT_EQ(dict.insert(key, value), value != nullptr);
        if (value != nullptr) twin.emplace_back(key, value);
    }
}

template <typename Any> void runBesideTwin(std::uint32_t buckets, bool autoGrow)
{
    SCOPED_TRACE(buckets);
    kxTestRandom random(buckets + 7);
    Any dict(buckets, autoGrow);
    Twin twin;
    for (int turn = 0; turn < 3000; ++turn) {
        const std::uint32_t key = random() % 90;
        dict.find(key);  // is remembered, and must be forgotten with the entry
        ASSERT_NO_FATAL_FAILURE(step(dict, twin, key, random));
        ASSERT_EQ(dict.find(key), expectedNext(twin, key, nullptr));
        for (const int& value : kValues) ASSERT_EQ(dict.find(key, &value), expectedNext(twin, key, &value));
        ASSERT_EQ(dict.count(), twin.size());
    }
    Twin walked;
    for (const auto& entry : dict) walked.emplace_back(entry.key(), entry.value());
    // Only the one keeps the order of insertion.
    if (!std::is_same_v<Any, DictList>)
        std::sort(walked.begin(), walked.end()), std::sort(twin.begin(), twin.end());
    ASSERT_EQ(walked, twin);
}

TEST(kxDict, BehavesAsATwinWithoutHashes)
{
    for (const std::uint32_t buckets : {0U, 10U, 1000U}) {
        runBesideTwin<Dict>(buckets, buckets != 10);
        runBesideTwin<DictList>(buckets, buckets != 0);
    }
}

TEST(kxBucketIndex, IsTheRemainder)
{
    kxTestRandom random(9);
    for (int turn = 0; turn < 100000; ++turn) {
        const std::uint32_t ends[] = {0xFFFFFFFFU, 0x80000000U, random()};
        const std::uint32_t divisor = ends[random() % 3] >> random() % 32 | 1U;
        for (const std::uint32_t hash : {divisor - 1, divisor, random(), 0xFFFFFFFFU})
            ASSERT_EQ(kxBucketIndex(divisor)(hash), hash % divisor) << hash << " % " << divisor;
    }
}

TEST(kxRefDict, HoldsOneReferenceForEachEntry)
{
    const kxRefPointer<kxReference> object = kxMakeRef<kxReference>();
    {
        kxRefDict<std::uint32_t, kxReference, kxUInt32CompareInterface> dict;
        for (const std::uint32_t key : {1U, 1U, 2U, 3U}) dict.insert(key, object);
        EXPECT_TRUE(dict.remove(1) && dict.remove(1, object.get()) && !dict.remove(1) &&
                    !dict.insert(1, nullptr));
        EXPECT_EQ(object->getReferenceCount(), 3U);
        dict.insert(4, object);
    }
    EXPECT_EQ(object->getReferenceCount(), 1U);
}

}  // namespace
