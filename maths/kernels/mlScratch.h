#pragma once

#include "platform/coSize.h"
#include "platform/coStorage.h"

/// `count` doubles for the length of a call, not initialised: on the stack when they are few, else from the library's
/// storage. Never shared, since const queries run in parallel. For use inside the library.
template <int few = 1024> class mlScratch {
    static_assert(few * sizeof(double) <= 64 * 1024);

public:
    /// Failure: std::bad_alloc.
    explicit mlScratch(std::size_t count)
        : many_(count > few ? static_cast<double *>(coResizeStorage(nullptr, coByteCount(count, sizeof(double))))
                            : nullptr) {}
    mlScratch(mlScratch const &) = delete;
    mlScratch & operator=(mlScratch const &) = delete;
    ~mlScratch() { coReleaseStorage(many_); }

    double * data() { return many_ != nullptr ? many_ : few_; }

private:
    double * many_;
    alignas(64) double few_[few];
};
