#include "kxbase/containers/kxDynamicArray.h"

#include "tests/support/kxFatalText.h"
#include "tests/support/kxTestRandom.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <new>
#include <vector>

namespace {

TEST(kxArray, BadIndicesAreFatalWithTheirTexts)
{
    kxArray<int> array(3);
    const kxArray<int>& constant = array;
    for (const std::uint32_t index : {3U, 0xFFFFFFFFU}) {
        EXPECT_EQ(kxFatalText([&] { array[index] = 1; }), "Template-kxArray [] index out of bounds");
        EXPECT_EQ(kxFatalText([&] { static_cast<void>(constant[index]); }),
                  "Template-kxArray [] index out of bounds");
        EXPECT_EQ(kxFatalText([&] { array.get(index); }), "kxArray get() index out of bounds");
    }
    EXPECT_EQ(array[2] + array.get(2), 0);
}

// Shared items show each copy that is lost or destroyed twice.
template <typename Array> void runBesideVector(std::uint32_t seed)
{
    using Item = std::shared_ptr<int>;
    kxTestRandom random(seed);
    Array array;
    std::vector<Item> twin;
    for (int turn = 0; turn < 3000; ++turn) {
        const auto size = random() % 60;
        switch (random() % 8) {
        case 0:
            array.resize(size);
            twin.resize(size);
            break;
        case 1: {
            const Array copy(array);
            array.appendBlock(copy.data(), std::min(size, copy.size()));
            const auto before = twin;
            twin.insert(twin.end(), before.begin(), before.begin() + std::min(size, copy.size()));
            break;
        }
        case 2: {
            Array other(array);
            other.append(nullptr);
            array = std::move(other);
            twin.push_back(nullptr);
            break;
        }
        default:
            twin.push_back(std::make_shared<int>(turn));
            array.append(twin.back());
        }
        ASSERT_EQ(array.size(), twin.size());
        ASSERT_TRUE(std::equal(array.begin(), array.end(), twin.begin(), twin.end()));
    }
    array.append(array[0]);
    array.clear();
    const Item first = twin.empty() ? nullptr : twin[0];
    EXPECT_EQ(first.use_count(), 1 + std::count(twin.begin(), twin.end(), first));
}

TEST(kxArray, BehavesAsTheStandardVector)
{
    runBesideVector<kxArray<std::shared_ptr<int>>>(3);
    runBesideVector<kxDynamicArray<std::shared_ptr<int>>>(4);
}

TEST(kxArray, NewItemsHaveTheirInitialValue)
{
    kxArray<int> array(2);
    array[1] = 7;
    array.resize(1);
    array.resize(2);
    EXPECT_EQ(array[1], 0);
}

TEST(kxDynamicArray, RoomIsAMultipleOfTheStepAndStays)
{
    kxDynamicArray<char16_t> array(100);
    array.resize(101);
    EXPECT_EQ(array.capacity(), 200U);
    array.resize(5);
    EXPECT_EQ(array.capacity(), 200U);
    array.resize(199);
    array.append(u'a');
    array.append(u'b');
    EXPECT_EQ(array.capacity() % 100, 0U);
    EXPECT_EQ(kxDynamicArray<int>(0).growthStep(), 1U);
    EXPECT_EQ(kxDynamicArray<char16_t>(array).growthStep(), 100U);
}

TEST(kxArray, SizesDoNotWrap)
{
    kxArray<std::uint8_t> array(1);
    const std::uint8_t item = 0;
    const volatile std::uint32_t most = 0xFFFFFFFFU;
    EXPECT_THROW(array.appendBlock(&item, most), std::bad_alloc);
    EXPECT_EQ(array.size(), 1U);
}

}  // namespace
