#include "kxbase/object/kxDestruction.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace {

struct PutAside {
    const void* object;
    kxDestruction::Destroy destroy;
};

// Plain data, so that it needs no destructor of the thread and works until the thread's very end; the block
// is given back as soon as it is empty. It comes from the bare allocator, whose failure is no error here.
struct ThreadState {
    std::uintptr_t outermost;  // where the stack of the outermost call is; 0 outside
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
    explicit Nesting(std::uintptr_t here) noexcept : before_(state.outermost)
    {
        if (before_ == 0) state.outermost = here;
    }
    ~Nesting() { state.outermost = before_; }
    Nesting(const Nesting&) = delete;
    Nesting& operator=(const Nesting&) = delete;

private:
    std::uintptr_t before_;
};

// Stacks grow up or down.
bool isDeep(std::uintptr_t here) noexcept
{
    const std::uintptr_t start = state.outermost;
    return start != 0 && (here > start ? here - start : start - here) > KX_DESTRUCTION_STACK_BYTES;
}

void destroyWaiting(std::uintptr_t here)
{
    const Nesting nesting(here);
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
    // Not the address of a local, which a sanitizer may keep elsewhere.
    const auto here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
    if (isDeep(here) && putAside({object, destroy})) return;
    {
        const Nesting nesting(here);
        destroy(object);
    }
    if (state.outermost == 0 && state.count != 0) destroyWaiting(here);
}
