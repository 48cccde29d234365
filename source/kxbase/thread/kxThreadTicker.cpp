#include "kxbase/thread/kxThreadTicker.h"

#include "kxbase/thread/kxThreadPoolTicker.h"

kxThreadTicker::~kxThreadTicker() noexcept(false)
{
    kxThreadPoolTicker::removeDestroyed(*this);
}
