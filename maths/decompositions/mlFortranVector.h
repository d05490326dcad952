#pragma once

#include "platform/coBlock.h"
#include "platform/utCheck.h"

/// Doubles with indices 1 .. size(), as the published routines of linear algebra count. For use inside the library.
///
/// Owns its block, or views a run of another's. Like a pointer, a constant one gives access to its elements.
/// Failure: an allocation that fails throws std::bad_alloc.
class mlFortranVector {
public:
    /// n zeros, owned.
    explicit mlFortranVector(int n) : data_(coBlock<double>(n).release()), size_(n), owned_(1) {
        for (int i = 0; i < n; ++i)
            data_[i] = 0.0;
    }

    /// View of the n doubles from `first` on.
    mlFortranVector(double * first, int n) : data_(first), size_(n), owned_(0) {}

    mlFortranVector(mlFortranVector const &) = delete;
    mlFortranVector & operator=(mlFortranVector const &) = delete;

    ~mlFortranVector() {
        if (owned_ == 1) coBlock<double> const block(data_, size_);
        data_ = nullptr;
    }

    int size() const { return size_; }

    double & operator()(int i) const {
        MATHS_CHECK(i >= 1 && i <= size_, "work vector: element %d of 1 to %d", i, size_);
        return data_[i - 1];
    }

    /// The address of element `first`, for loops that may be empty.
    double * from(int first) const {
        MATHS_CHECK(first >= 1 && first <= size_ + 1, "work vector: from element %d of 1 to %d", first, size_);
        return data_ + first - 1;
    }

    /// View of elements first .. last, which become 1 and on.
    mlFortranVector view(int first, int last) const {
        MATHS_CHECK(first >= 1 && last <= size_, "work vector: elements %d to %d of 1 to %d", first, last, size_);
        return mlFortranVector(data_ + first - 1, last - first + 1);
    }

private:
    double * data_;
    int size_;
    int owned_;
};
