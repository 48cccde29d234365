#include "kxbase/thread/kxPerformanceThreadData.h"

#include "kxbase/containers/kxDict.h"
#include "kxbase/core/kxBodyGuard.h"
#include "kxbase/core/kxClock.h"
#include "kxbase/core/kxProcessMutex.h"
#include "kxbase/core/kxQuietGuard.h"

namespace {

using Records = kxDict<std::uint32_t, kxPerformanceThreadData, kxUInt32CompareInterface, kxUntrackedStorage>;

// Never destroyed, since threads may run on after main.
Records& records()
{
    static Records& records = *new Records;
    return records;
}

kxMutex& recordsMutex()
{
    return kxProcessMutex<struct kxPerformanceRecords>();
}

}  // namespace

bool kxPerformanceThreadData::get(std::uint32_t threadId, kxPerformanceThreadData& copy)
{
    const kxBodyGuard guard(recordsMutex());
    const kxPerformanceThreadData* const record = records().find(threadId);
    if (record != nullptr) copy = *record;
    return record != nullptr;
}

std::uint32_t kxPerformanceThreadData::count()
{
    const kxBodyGuard guard(recordsMutex());
    return records().count();
}

void kxPerformanceThreadData::enrol(std::uint32_t threadId)
{
    const kxQuietGuard guard(recordsMutex());
    // A thread that was killed but goes on for a while has not withdrawn.
    withdraw();
    records().insert(threadId, this);
    threadId_ = threadId;
    startSeconds_ = kxClock::seconds();
}

void kxPerformanceThreadData::withdraw()
{
    const kxBodyGuard guard(recordsMutex());
    if (threadId_ != 0) records().remove(threadId_, this);
    threadId_ = 0;
}
