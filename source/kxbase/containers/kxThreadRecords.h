// One record for each thread that asks; the part of kxThreadData that does not depend on the item type.
//
// Ownership: owns the records; a thread's record goes when the thread ends, or with this object.
// Threads:   record() may be called from any thread. Records are destroyed while no lock is held.
// Errors:    a failed allocation is reported, under no lock, and throws std::bad_alloc. What a record's destructor
//            throws is a Fatal message when the thread ends, where nobody could catch it.
//
// A record asked for while the thread's own objects are being destroyed stays until this object goes or
// another thread gets the same id; so do in a forked child those of the parent's threads.
#pragma once

#include "kxbase/containers/kxDict.h"
#include "kxbase/core/kxMutex.h"

class kxThreadRecords {
public:
    class Record {
    public:
        virtual ~Record() noexcept(false) = default;

    private:
        friend class kxThreadRecords;
        Record* nextEnded_ = nullptr;
    };
    using MakeRecord = Record* (*)();

    kxThreadRecords();
    ~kxThreadRecords() noexcept(false);
    kxThreadRecords(const kxThreadRecords&) = delete;
    kxThreadRecords& operator=(const kxThreadRecords&) = delete;

    // The calling thread's record, made by `make` when it has none yet.
    Record& record(MakeRecord make);
    // Threads that have a record now.
    std::uint32_t count() const;

    // All locks of all objects of this class, for a fork.
    static void lockAll();
    static void unlockAll();

private:
    friend class kxThreadEnd;

    void insert(std::uint32_t thread, Record* record);
    Record* find(std::uint32_t thread);
    Record* take(std::uint32_t thread);
    static void dropEverywhere(std::uint32_t thread);

    mutable kxMutex mutex_;
    // Outside the memory check, since most objects of this class live as long as the process.
    kxDict<std::uint32_t, Record, kxUInt32CompareInterface, kxQuietStorage> records_;
    std::uint32_t lastThread_ = 0;
    Record* lastRecord_ = nullptr;
    // All living objects of this class, under a lock that is taken before mutex_.
    kxThreadRecords* previousLiving_ = nullptr;
    kxThreadRecords* nextLiving_ = nullptr;
};
