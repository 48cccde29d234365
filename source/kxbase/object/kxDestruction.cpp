#include "kxbase/object/kxDestruction.h"

#include "kxbase/object/kxReference.h"
#include "kxbase/object/kxReleaseAll.h"

#include <cstddef>
#include <cstdlib>
#include <utility>

namespace {

struct PutAside {
    const kxReference* object;
    void (*letGo)(const kxReference* object);
};

// Plain data, so that it needs no destructor of the thread and works until the thread's very end; the outermost
// call gives the block back. It comes from the bare allocator, whose failure is no error here.
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

// The outermost call of the thread.
class Outermost {
public:
    explicit Outermost(std::uintptr_t here) noexcept { state.outermost = here; }
    ~Outermost()
    {
        std::free(state.waiting);
        state = {};
    }
    Outermost(const Outermost&) = delete;
    Outermost& operator=(const Outermost&) = delete;
};

// Stacks grow up or down.
bool isDeep(std::uintptr_t here) noexcept
{
    const std::uintptr_t start = state.outermost;
    return (here > start ? here - start : start - here) > KX_DESTRUCTION_STACK_BYTES;
}

void letGoOfNext()
{
    if (state.count == 0) return;
    const PutAside next = state.waiting[--state.count];
    next.letGo(next.object);
}

}  // namespace

void kxDestruction::run(const kxReference* object, const Steps& steps)
{
    // Not the address of a local, which a sanitizer may keep elsewhere.
    const auto here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
    if (state.outermost != 0) {
        if (isDeep(here) && putAside({object, steps.letGo}))
            steps.hold(object);
        else
            delete object;
        return;
    }
    const Outermost outermost(here);
    kxReleaseAll([&object] {
        if (object != nullptr)
            delete std::exchange(object, nullptr);
        else
            letGoOfNext();
        return state.count != 0;
    });
}
