#pragma once

#include "platform/coBlock.h"
#include "platform/utCheck.h"

/// A one-based vector, as the published routines count: elements 1 .. size(). The singular value decomposition works on
/// the transpose of the caller's matrix, so what is a row there is a column here. For use inside the library.
///
/// Owns its block, or views a part of another's, which must outlive it.
/// Failure: an allocation that fails throws std::bad_alloc.
class mlFortranVector {
public:
    /// n zeros, owned.
    explicit mlFortranVector(int n) : data_(coBlock<double>(n).release()), size_(n), owned_(1) {
        for (int i = 0; i < n; ++i)
            data_[i] = 0.0;
    }

    /// View of n doubles.
    mlFortranVector(double * data, int n) : data_(data), size_(n), owned_(0) {}

    mlFortranVector(mlFortranVector const &) = delete;
    mlFortranVector & operator=(mlFortranVector const &) = delete;

    ~mlFortranVector() {
        if (owned_ == 1) coReleaseStorage(data_);
        data_ = nullptr;
    }

    [[nodiscard]] int size() const { return size_; }

    double & operator()(int i) {
        check(i);
        return data_[i - 1];
    }
    double operator()(int i) const {
        check(i);
        return data_[i - 1];
    }

    /// The address of element i, 1 <= i <= size() + 1: the last for loops that are empty.
    [[nodiscard]] double * from(int i) {
        check_from(i);
        return data_ + i - 1;
    }
    [[nodiscard]] double const * from(int i) const {
        check_from(i);
        return data_ + i - 1;
    }

    /// View of elements first .. last, which become 1 and on.
    [[nodiscard]] mlFortranVector view(int first, int last) {
        MATHS_CHECK(first >= 1 && last <= size_, "work vector: elements %d to %d of 1 to %d", first, last, size_);
        return mlFortranVector(data_ + first - 1, last - first + 1);
    }

private:
    void check([[maybe_unused]] int i) const {
        MATHS_CHECK(i >= 1 && i <= size_, "work vector: element %d of 1 to %d", i, size_);
    }
    void check_from([[maybe_unused]] int i) const {
        MATHS_CHECK(i >= 1 && i <= size_ + 1, "work vector: from element %d of 1 to %d", i, size_);
    }

    double * data_;
    int size_;
    int owned_;
};
