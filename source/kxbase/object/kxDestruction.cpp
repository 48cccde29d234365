#include "kxbase/object/kxDestruction.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace {

constexpr std::uint32_t kDeepest = 64;

struct PutAside {
    const void* object;
    kxDestruction::Destroy destroy;
};

// Plain data, so that it needs no destructor of the thread and works until the thread's very end; the block
// is given back as soon as it is empty. It comes from the bare allocator, whose failure is no error here.
struct ThreadState {
    std::uint32_t depth;
    std::size_t count;
    std::size_t capacity;
    PutAside* waiting;
};
thread_local ThreadState state = {};

bool putAside(const PutAside& entry)
{
    if (state.count == state.capacity) {
        const std::size_t capacity = state.capacity * 2 + 16;
        void* const grown = std::realloc(state.waiting, capacity * sizeof(PutAside));
        if (grown == nullptr) return false;
        state.waiting = static_cast<PutAside*>(grown);
        state.capacity = capacity;
    }
    state.waiting[state.count++] = entry;
    return true;
}

class Nesting {
public:
    Nesting() noexcept { ++state.depth; }
    ~Nesting() { --state.depth; }
    Nesting(const Nesting&) = delete;
    Nesting& operator=(const Nesting&) = delete;
};

void destroyWaiting()
{
    const Nesting nesting;
    while (state.count != 0) {
        const PutAside next = state.waiting[--state.count];
        next.destroy(next.object);
    }
    std::free(state.waiting);
    state.waiting = nullptr;
    state.capacity = 0;
}

}  // namespace

void kxDestruction::run(const void* object, Destroy destroy)
{
    if (state.depth >= kDeepest && putAside({object, destroy})) return;
    {
        const Nesting nesting;
        destroy(object);
    }
    if (state.depth == 0 && state.count != 0) destroyWaiting();
}
