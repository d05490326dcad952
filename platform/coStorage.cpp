#include "platform/coStorage.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

// Requests that still succeed; negative: no limit.
std::atomic<long> remaining_successes{-1};

bool must_fail() {
    long const left = remaining_successes.load(std::memory_order_relaxed);
    if (left > 0) remaining_successes.store(left - 1, std::memory_order_relaxed);
    return left == 0;
}

} // namespace

void * coResizeStorage(void * block, std::size_t bytes) {
    if (bytes == 0) {
        coReleaseStorage(block);
        return nullptr;
    }
    void * const resized = must_fail() ? nullptr : std::realloc(block, bytes);
    if (resized == nullptr) throw std::bad_alloc();
    return resized;
}

void coReleaseStorage(void * block) noexcept { std::free(block); }

int coTableSize(int rows, int cols) {
    long long const size = static_cast<long long>(rows) * cols;
    if (size != static_cast<int>(size)) throw std::bad_alloc();
    return static_cast<int>(size);
}

void coFailStorageAfter(long successes) noexcept { remaining_successes.store(successes); }
