#include "kxbase/notify/kxNotifyInterface.h"

#include "kxbase/core/kxBodyGuard.h"
#include "kxbase/notify/kxNotifyManager.h"

kxNotifyInterface::~kxNotifyInterface()
{
    unsubscribeFromAll();
}

void kxNotifyInterface::unsubscribeFromAll()
{
    while (!tryUnsubscribeFromAll()) kxNotifyManager::waitBeforeRetry();
}

// Answers false while one of the managers delivers on another thread.
bool kxNotifyInterface::tryUnsubscribeFromAll()
{
    const kxBodyGuard links(kxNotifyManager::linksLock());
    while (!managers_.empty())
        if (!managers_.back()->tryDrop(*this, kxNotifyManager::kAnyFilter)) return false;
    return true;
}
