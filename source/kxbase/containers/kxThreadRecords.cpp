#include "kxbase/containers/kxThreadRecords.h"

#include "kxbase/core/kxBodyGuard.h"
#include "kxbase/core/kxForkGuard.h"
#include "kxbase/core/kxMessage.h"
#include "kxbase/core/kxUndestroyed.h"
#include "kxbase/object/kxReleaseAll.h"
#include "kxbase/platform/kxPlatformThread.h"

#include <exception>
#include <memory>
#include <new>

namespace {

kxThreadRecords* firstLiving = nullptr;

// Threads may end and records be asked for after main.
kxMutex& livingMutex()
{
    static constinit kxUndestroyed<kxMutex> mutex;
    static const kxForkGuard guard({kxThreadRecords::lockAll, kxThreadRecords::unlockAll});
    return mutex.value;
}

// Plain data, which is there until the thread's very end.
thread_local bool hasEnded = false;

void destroyAtThreadEnd(kxThreadRecords::Record* record) noexcept
{
    try {
        delete record;
    } catch (const std::exception& error) {
        kxMessage(KX_MESSAGE_FATAL, "%s", error.what());
    }
}

}  // namespace

// Notices the end of a thread that has a record.
class kxThreadEnd {
public:
    kxThreadEnd() noexcept = default;
    ~kxThreadEnd()
    {
        hasEnded = true;
        kxThreadRecords::dropEverywhere(kxPlatformThreadId());
    }
    kxThreadEnd(const kxThreadEnd&) = delete;
    kxThreadEnd& operator=(const kxThreadEnd&) = delete;

    static void watch()
    {
        if (hasEnded) return;
        static thread_local const kxThreadEnd end;
        static_cast<void>(end);
    }
};

kxThreadRecords::kxThreadRecords()
{
    const kxBodyGuard guard(livingMutex());
    nextLiving_ = firstLiving;
    if (nextLiving_ != nullptr) nextLiving_->previousLiving_ = this;
    firstLiving = this;
}

kxThreadRecords::~kxThreadRecords() noexcept(false)
{
    {
        const kxBodyGuard guard(livingMutex());
        (previousLiving_ != nullptr ? previousLiving_->nextLiving_ : firstLiving) = nextLiving_;
        if (nextLiving_ != nullptr) nextLiving_->previousLiving_ = previousLiving_;
    }
    kxReleaseAll([this, bucket = std::uint32_t{0}]() mutable {
        Record* const record = records_.takeAny(bucket);
        delete record;
        return record != nullptr;
    });
}

kxThreadRecords::Record& kxThreadRecords::record(MakeRecord make)
{
    const std::uint32_t thread = kxPlatformThreadId();
    if (Record* const known = find(thread)) return *known;
    kxThreadEnd::watch();
    std::unique_ptr<Record> fresh(make());
    try {
        insert(thread, fresh.get());
    } catch (const std::bad_alloc&) {
        kxThrowBadAlloc(__FILE__, __LINE__);
    }
    return *fresh.release();
}

void kxThreadRecords::insert(std::uint32_t thread, Record* record)
{
    const kxBodyGuard guard(mutex_);
    records_.insert(thread, record);
    lastThread_ = thread;
    lastRecord_ = record;
}

void kxThreadRecords::lockAll()
{
    livingMutex().lock();
    for (kxThreadRecords* living = firstLiving; living != nullptr; living = living->nextLiving_)
        living->mutex_.lock();
}

void kxThreadRecords::unlockAll()
{
    for (kxThreadRecords* living = firstLiving; living != nullptr; living = living->nextLiving_)
        living->mutex_.unlock();
    livingMutex().unlock();
}

std::uint32_t kxThreadRecords::count() const
{
    const kxBodyGuard guard(mutex_);
    return records_.count();
}

kxThreadRecords::Record* kxThreadRecords::find(std::uint32_t thread)
{
    const kxBodyGuard guard(mutex_);
    if (lastThread_ == thread) return lastRecord_;
    Record* const record = records_.find(thread);
    if (record == nullptr) return nullptr;
    lastThread_ = thread;
    lastRecord_ = record;
    return record;
}

kxThreadRecords::Record* kxThreadRecords::take(std::uint32_t thread)
{
    const kxBodyGuard guard(mutex_);
    if (lastThread_ == thread) lastThread_ = 0;
    return records_.remove(thread);
}

void kxThreadRecords::dropEverywhere(std::uint32_t thread)
{
    Record* ended = nullptr;
    {
        const kxBodyGuard guard(livingMutex());
        for (kxThreadRecords* living = firstLiving; living != nullptr; living = living->nextLiving_) {
            Record* const record = living->take(thread);
            if (record == nullptr) continue;
            record->nextEnded_ = ended;
            ended = record;
        }
    }
    while (ended != nullptr) destroyAtThreadEnd(std::exchange(ended, ended->nextEnded_));
}
