#include "kxbase/platform/kxPlatformEnd.h"

#include <atomic>

namespace {

constinit std::atomic<void (*)()> atEnd{nullptr};

// The loader runs these functions when exit has gone through its handlers, to which the destructors belong, and the
// one of this number behind all that have a higher one or none.
[[gnu::destructor(101)]] void callAtEnd()
{
    if (void (*const last)() = atEnd.load()) last();
}

}  // namespace

void kxPlatformAtEnd(void (*last)())
{
    atEnd.store(last);
}
