#pragma once

#include "platform/coSize.h"
#include "platform/coStorage.h"

/// `count` doubles for the length of a call, not initialised: on the stack when they are at most `stack_count`, else
/// from the library's storage. Never shared, since const queries run in parallel. For use inside the library.
template <int stack_count> class coScratch {
    static_assert(stack_count * sizeof(double) <= 64 * 1024);

public:
    /// Failure: std::bad_alloc.
    explicit coScratch(std::size_t count)
        : block_(count > stack_count
                     ? static_cast<double *>(coResizeStorage(nullptr, coByteCount(count, sizeof(double))))
                     : nullptr) {}
    coScratch(coScratch const &) = delete;
    coScratch & operator=(coScratch const &) = delete;
    ~coScratch() { coReleaseStorage(block_); }

    double * data() { return block_ != nullptr ? block_ : on_stack_; }

private:
    double * block_;
    alignas(64) double on_stack_[stack_count];
};
