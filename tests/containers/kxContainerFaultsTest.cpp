#include "kxbase/containers/kxDList.h"
#include "kxbase/containers/kxDictList.h"
#include "kxbase/containers/kxDynamicArray.h"
#include "kxbase/containers/kxQueue.h"
#include "kxbase/containers/kxRefDict.h"
#include "kxbase/containers/kxRefList.h"
#include "kxbase/containers/kxThreadData.h"
#include "kxbase/object/kxReference.h"
#include "support/kxTest.h"

namespace {

// Adds others to its container as it goes, while there are some left to add. Only copied, so that what stays behind
// of an item that is taken does so too.
struct Adding {
    Adding() = default;
    Adding(const Adding&) = default;
    ~Adding()
    {
        while (left > 0) --left, add();
    }
    static inline int left = 0;
    static inline std::function<void()> add;
    std::string text = std::string(50, 'l');
};

// Adds three items and then five while `remove` works, which leaves `kept` of the old ones.
template <typename Container, typename Remove>
void expectThatAddedItemsStay(Container& container, std::uint32_t kept, Remove remove)
{
    for (int count = 0; count < 3; ++count) Adding::add();
    Adding::left = 5;
    remove(container);
    const auto isWhole = [](const Adding& item) { return item.text == std::string(50, 'l'); };
    EXPECT_EQ(std::count_if(container.begin(), container.end(), isWhole), kept + 5);
    Adding::left = 0;
    container.clear();
}

TEST(kxContainerFaults, ItemsMayAddOthersWhenTheyGo)
{
    for (const auto order : {KX_QUEUE_LIFO, KX_QUEUE_FIFO}) {
        kxQueue<Adding> queue(order, 1);
        Adding::add = [&queue] { queue.push(Adding()); };
        expectThatAddedItemsStay(queue, 2, [](auto& any) { any.pop(); });
        expectThatAddedItemsStay(queue, 0, [](auto& any) { any.clear(); });
        Adding::add();
        Adding::left = 5;  // for the destructor
    }
    kxArray<Adding> array;
    Adding::add = [&array] { array.append(Adding()); };
    expectThatAddedItemsStay(array, 1, [](auto& any) { any.resize(1); });
    expectThatAddedItemsStay(array, 0, [](auto& any) { any.clear(); });
    kxThreadData<kxRefPointer<kxReference>, 2>().next() = kxMakeRef<kxReference>();
}

// Throws when it goes; a moved-from one does not.
struct Throwing {
    explicit Throwing(int itsNumber) : number(itsNumber) { ++alive; }
    Throwing(Throwing&& other) noexcept : number(std::exchange(other.number, 0)) {}
    ~Throwing() noexcept(false)
    {
        if (number == 0) return;
        --alive;
        throw std::runtime_error(std::to_string(number));
    }
    static inline int alive = 0;
    int number;
};
struct ThrowingObject : kxReference {
    ~ThrowingObject() override { const Throwing last(Throwing::alive + 1); }
};
// Fills a container with five items, clears it, fills it again and destroys it.
template <typename Container, typename Add> void expectThatAllGo(Add add)
{
    const kxMessageRecorder messages;
    const auto fillAnd = [&add](auto end) {
        auto container = std::make_unique<Container>();
        for (int number = 1; number <= 5; ++number) add(*container, number);
        EXPECT_THROW(end(container), std::runtime_error);
        EXPECT_EQ(Throwing::alive, 0);
    };
    fillAnd([](auto& container) { container->clear(); });
    fillAnd([](auto& container) { delete container.release(); });
    EXPECT_EQ(messages.texts().size(), 8U) << "the first of five is thrown, the others are told";
}

TEST(kxContainerFaults, ItemsThatThrowWhenTheyGoAllGo)
{
    const auto append = [](auto& container, int number) { container.append(Throwing(number)); };
    const auto push = [](auto& container, int number) { container.push(Throwing(number)); };
    expectThatAllGo<kxArray<Throwing>>(append);
    expectThatAllGo<kxList<Throwing>>(append);
    expectThatAllGo<kxDList<Throwing>>(append);
    expectThatAllGo<kxQueue<Throwing>>(push);
    expectThatAllGo<kxRefDict<std::uint32_t, ThrowingObject, kxUInt32CompareInterface>>(
        [](auto& dict, int) { dict.insert(dict.count(), new ThrowingObject); });
    expectThatAllGo<kxRefList<ThrowingObject>>([](auto& list, int) { list.append(new ThrowingObject); });
}

// Memory that runs out after a number of allocations.
struct ShortStorage : kxUntrackedStorage {
    static void* allocate(std::size_t sizeBytes)
    {
        if (left-- == 0) throw std::bad_alloc();
        return kxUntrackedStorage::allocate(sizeBytes);
    }
    static inline int left = 0;
};

TEST(kxContainerFaults, ADictionaryThatFindsNoMemoryIsAsBefore)
{
    const int value = 0;
    for (int available = 0; available < 12; ++available) {
        kxDictList<std::uint32_t, const int, kxUInt32CompareInterface, ShortStorage> dict(1);
        dict.setReuse(available % 2 != 0);
        ShortStorage::left = available;
        std::uint32_t count = 0;
        std::uint32_t buckets = dict.bucketCount();
        const auto fill = [&] {
            for (;; ++count, buckets = dict.bucketCount()) dict.insert(count, &value);
        };
        EXPECT_THROW(fill(), std::bad_alloc);
        EXPECT_TRUE(dict.count() == count && dict.bucketCount() == buckets && dict.find(count) == nullptr);
        EXPECT_EQ(std::distance(dict.begin(), dict.end()), count);
        ShortStorage::left = 100;
        EXPECT_TRUE(dict.insert(count, &value) && dict.last()->key() == count);
    }
}

}  // namespace
