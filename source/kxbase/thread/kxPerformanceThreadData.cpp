#include "kxbase/thread/kxPerformanceThreadData.h"

#include "kxbase/containers/kxDict.h"
#include "kxbase/core/kxBodyGuard.h"
#include "kxbase/core/kxClock.h"

namespace {

struct Registry {
    kxMutex mutex;
    kxDict<std::uint32_t, kxPerformanceThreadData, kxUInt32CompareInterface, kxUntrackedStorage> records;
};

// Never destroyed, since threads may run on after main.
Registry& registry()
{
    static Registry& records = *new Registry;
    return records;
}

}  // namespace

bool kxPerformanceThreadData::get(std::uint32_t threadId, kxPerformanceThreadData& copy)
{
    const kxBodyGuard guard(registry().mutex);
    const kxPerformanceThreadData* const record = registry().records.find(threadId);
    if (record != nullptr) copy = *record;
    return record != nullptr;
}

std::uint32_t kxPerformanceThreadData::count()
{
    const kxBodyGuard guard(registry().mutex);
    return registry().records.count();
}

void kxPerformanceThreadData::enrol(std::uint32_t threadId)
{
    const kxBodyGuard guard(registry().mutex);
    registry().records.insert(threadId, this);
    threadId_ = threadId;
    startSeconds_ = kxClock::seconds();
}

void kxPerformanceThreadData::withdraw()
{
    const kxBodyGuard guard(registry().mutex);
    if (threadId_ != 0) registry().records.remove(threadId_, this);
    threadId_ = 0;
}
