// Which end of a queue the next item is taken from.
#pragma once

#include <cstdint>

enum kxQueueOrder : std::uint8_t {
    KX_QUEUE_LIFO,  // the item pushed last comes first
    KX_QUEUE_FIFO,  // items come in the order in which they were pushed
};

// What a queue does with the place of a trivially copyable item that has been taken.
enum kxQueueTaken : std::uint8_t {
    KX_QUEUE_KEEP_TAKEN,  // leaves it as it is
    KX_QUEUE_WIPE_TAKEN,  // overwrites it with zero bytes, for items that may be secrets
};
