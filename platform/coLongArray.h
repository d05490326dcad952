#pragma once

#include <cstddef>
#include <type_traits>
#include <utility>

#include "platform/coSize.h"
#include "platform/coStorage.h"

/// Elements of a simple type, more of them than an int can count where need be; not initialised when they are made.
/// Their number changes by `resize` only. Movable, not copyable. Failure: std::bad_alloc. For use inside the library.
template <class T> class coLongArray {
    static_assert(std::is_trivially_copyable_v<T>);

public:
    coLongArray() noexcept = default;

    explicit coLongArray(std::ptrdiff_t size)
        : data_(static_cast<T *>(coResizeStorage(nullptr, coByteCount(static_cast<std::size_t>(size), sizeof(T))))),
          size_(size) {}
    coLongArray(std::ptrdiff_t size, T value) : coLongArray(size) {
        for (T & element : *this)
            element = value;
    }
    coLongArray(coLongArray && other) noexcept
        : data_(std::exchange(other.data_, nullptr)), size_(std::exchange(other.size_, 0)) {}
    coLongArray & operator=(coLongArray && other) noexcept {
        coLongArray taken(std::move(other));
        std::swap(data_, taken.data_);
        std::swap(size_, taken.size_);
        return *this;
    }
    ~coLongArray() { coReleaseStorage(data_); }

    /// Keeps the first elements. Growth by small steps copies each only once or twice.
    void resize(std::ptrdiff_t size) {
        data_ = static_cast<T *>(coResizeStorage(data_, coByteCount(static_cast<std::size_t>(size), sizeof(T))));
        size_ = size;
    }

    [[nodiscard]] std::ptrdiff_t size() const { return size_; }
    [[nodiscard]] T * data() { return data_; }
    [[nodiscard]] T const * data() const { return data_; }
    [[nodiscard]] T * begin() { return data_; }
    [[nodiscard]] T * end() { return data_ + size_; }
    [[nodiscard]] T const * begin() const { return data_; }
    [[nodiscard]] T const * end() const { return data_ + size_; }
    T & operator[](std::ptrdiff_t i) { return data_[i]; }
    T const & operator[](std::ptrdiff_t i) const { return data_[i]; }

private:
    T * data_ = nullptr;
    std::ptrdiff_t size_ = 0;
};
