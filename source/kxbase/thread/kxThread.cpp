#include "kxbase/thread/kxThread.h"

#include "kxbase/platform/kxPlatformThread.h"

void kxThread::sleep(std::uint32_t milliseconds)
{
    kxPlatformSleep(milliseconds);
}
