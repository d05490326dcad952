#include "platform/coStorage.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <new>

namespace {

// Requests that still succeed; negative: no limit.
std::atomic<long> remaining_successes{-1};

bool must_fail() {
    long const left = remaining_successes.load(std::memory_order_relaxed);
    if (left > 0) remaining_successes.store(left - 1, std::memory_order_relaxed);
    return left == 0;
}

// Precedes every block, and is as aligned as what malloc returns, so that the block is too.
struct alignas(std::max_align_t) Header {
    std::size_t room; // bytes of the block after it
};

// A block that grows doubles its room, so that growth by small steps copies each element only once or twice, but gets
// at most this much more than it needs: the C runtime moves large blocks page by page, without copying.
std::size_t const most_in_reserve = 16 * 1024 * 1024;

Header * header_of(void * block) { return block == nullptr ? nullptr : static_cast<Header *>(block) - 1; }

Header * reallocate(Header * old, std::size_t room) {
    if (room > std::numeric_limits<std::size_t>::max() - sizeof(Header)) return nullptr;
    void * const block = must_fail() ? nullptr : std::realloc(old, sizeof(Header) + room);
    return block == nullptr ? nullptr : new (block) Header{room};
}

} // namespace

void * coResizeStorage(void * block, std::size_t bytes) {
    if (bytes == 0) {
        coReleaseStorage(block);
        return nullptr;
    }
    Header * const old = header_of(block);
    std::size_t const room = old == nullptr ? 0 : old->room;
    if (bytes <= room && room - bytes <= std::min(bytes, most_in_reserve)) return block;

    std::size_t const generous = room + std::min(room, most_in_reserve);
    Header * header = bytes > room && bytes < generous ? reallocate(old, generous) : nullptr;
    if (header == nullptr) header = reallocate(old, bytes);
    if (header == nullptr) coOutOfStorage();
    return header + 1;
}

void coReleaseStorage(void * block) noexcept { std::free(header_of(block)); }

void coOutOfStorage() { throw std::bad_alloc(); }

void coFailStorageAfter(long successes) noexcept { remaining_successes.store(successes); }
