#include <algorithm>
#include <limits>
#include <vector>

#include "fuzz/support/bytes.h"
#include "maths/maths.h"

// Scripts of edits on the library's arrays and on std::vector, which must have equal results.

namespace {

using Model = std::vector<int>;

template <class Array> void require_equal(Array const & array, Model const & model) {
    require(array.size() == static_cast<int>(model.size()), "array size");
    for (int i = 0; i < array.size(); ++i)
        require(array[i] == model[i], "array element");
}

/// Both get `size` elements; new ones are numbered, since growth leaves them uninitialised.
template <class Array> void number_new_elements(Array & array, Model & model, int & counter) {
    for (int i = static_cast<int>(model.size()); i < array.size(); ++i) {
        model.push_back(++counter);
        array[i] = counter;
    }
}

/// The iterator was made before the last edit. Where that has left it valid it goes on with the array's elements; from
/// the start it meets all of them.
template <class Array>
void require_iterates(typename Array::coIterator & it, Array const & array, Model const & model) {
    auto const goes_on = [&](int const * p) {
        for (int i = it.index(); i < array.size(); ++i, p = it.next())
            require(it.invariant() != 0 && it.index() == i && p != nullptr && *p == model[i], "iterator");
        require(p == nullptr && it.next() == nullptr && it.index() == array.size(), "end of the iterator");
    };
    if (it.invariant() != 0) goes_on(it.index() < array.size() ? &array[it.index()] : nullptr);
    goes_on(it.first());
    it.reset();
    require(it.index() == 0 && it.invariant() != 0, "reset of the iterator");
}

/// An iterator some way into the array.
template <class Array> typename Array::coIterator iterator_at(int place, Array const & array) {
    typename Array::coIterator it(&array);
    while (place-- > 0)
        it.next();
    return it;
}

/// A size to shrink to, negative ones among them.
int wanted_size(int n) { return n == 0 ? std::numeric_limits<int>::min() : n - 10; }

/// The capacity after growth by whole increments until `index` is valid.
int grown(int capacity, int increment, int index) {
    while (capacity <= index)
        capacity += std::max(increment, 1);
    return capacity;
}

void edit_dynamic_array(Bytes & script) {
    int const first_capacity = script.below(9), increment = script.below(7);
    intcoDynArr array(first_capacity, increment), other{7, 8, 9};
    Model model, other_model{7, 8, 9};
    int counter = 0;
    while (!script.empty()) {
        int const n = script.below(70), capacity = array.capacity(), step = array.increment();
        auto it = iterator_at(n, array);
        switch (script.below(9)) {
        case 0:
            array[n] = ++counter;
            if (n < static_cast<int>(model.size())) model[n] = counter;
            require(array.capacity() == grown(capacity, step, n), "capacity after access");
            break;
        case 1:
            array.expand(n);
            require(array.capacity() == grown(capacity, step, n - 1), "capacity after expand");
            break;
        case 2: array.reserve(n); break;
        case 3: {
            int const release = script.below(2), size = wanted_size(n);
            array.shrink(size, release);
            if (size >= 0 && size < static_cast<int>(model.size())) model.resize(size);
            require(array.capacity() == (release != 0 && size >= 0 ? std::min(size, capacity) : capacity),
                    "capacity after shrink");
            break;
        }
        case 4:
            array.clear(script.below(2));
            model.clear();
            break;
        case 5:
            array.become(utCopy, other);
            model = other_model;
            break;
        case 6:
            array.swap(other);
            model.swap(other_model);
            break;
        case 7: {
            intcoDynArr copied(utCopy, array);
            require(copied.capacity() == array.capacity() && copied.increment() == array.increment(), "copy");
            require_equal(copied, model);
            break;
        }
        case 8: {
            int const count = std::min(n, array.size());
            mlQuickSortDynArrInt().sort(&array, count);
            std::sort(model.begin(), model.begin() + count);
            break;
        }
        }
        number_new_elements(array, model, counter);
        require_equal(array, model);
        require_equal(other, other_model);
        require_iterates(it, array, model);
    }
}

void edit_paged_array(Bytes & script) {
    intcoPageArr array(script.below(5), script.below(4), script.below(4)), other(2, 1, 1);
    Model model, other_model;
    int counter = 0;
    while (!script.empty()) {
        int const n = script.below(70), m = script.below(70), old_size = array.size();
        int const * const first = old_size > 0 ? &array[0] : nullptr;
        auto it = iterator_at(m, array);
        switch (script.below(10)) {
        case 0:
            array[n] = ++counter;
            if (n < old_size) model[n] = counter;
            require(first == nullptr || first == &array[0], "address while the array grows");
            break;
        case 1: {
            Model values(m + 1);
            for (int & value : values)
                value = ++counter;
            int const count = script.below(m + 1);
            array[n]; // no gap before what is copied in
            number_new_elements(array, model, counter);
            array.copyin(values.data(), count, n, 1);
            model.resize(std::max<std::size_t>(model.size(), n + count));
            std::copy(values.begin() + 1, values.begin() + 1 + count, model.begin() + n);
            break;
        }
        case 2: {
            int const start = std::min(n, old_size), count = std::min(m, old_size - start);
            Model values(count + 2, -1);
            array.copyout(values.data(), count, start, 1);
            require(std::equal(values.begin() + 1, values.end() - 1, model.begin() + start), "copyout");
            require(values.front() == -1 && values.back() == -1, "what copyout leaves alone");
            break;
        }
        case 3: { // within the array, with overlap
            if (old_size == 0) break;
            int const from = n % old_size, count = m % (old_size - from) + 1, to = script.below(old_size + 1);
            Model const values(model.begin() + from, model.begin() + from + count);
            array.copy(array, count, to, from);
            model.resize(std::max<std::size_t>(model.size(), to + count));
            std::copy(values.begin(), values.end(), model.begin() + to);
            break;
        }
        case 4:
            array.reverse();
            std::reverse(model.begin(), model.end());
            break;
        case 5:
            array.shrink(wanted_size(n), script.below(2));
            model.resize(std::min(old_size, std::max(wanted_size(n), 0)));
            break;
        case 6:
            array.clear(script.below(2));
            model.clear();
            break;
        case 7: {
            int const slots = array.blocks() * array.page_size(), saved = array.repaginate();
            require(saved == slots - array.blocks() * array.page_size(), "slots saved by repaginate");
            break;
        }
        case 8:
            other.become(utCopy, array);
            other_model = model;
            break;
        case 9:
            array.become(utCopy, other);
            model = other_model;
            break;
        }
        number_new_elements(array, model, counter);
        require_equal(array, model);
        require_equal(other, other_model);
        require_iterates(it, array, model);
        require(array.blocks() * array.page_size() >= array.size(), "room");
    }
}

void edit_table(Bytes & script) {
    doublecoDynArr2D table(script.below(4), script.below(4), script.below(4), script.below(4));
    std::vector<Model> model;
    int counter = 0;
    while (!script.empty()) {
        int const row = script.below(12), col = script.below(12);
        int const rows = table.rows(), cols = table.cols();
        bool const expands = script.below(2) == 0;
        if (expands)
            table.expand(row, col);
        else
            table(row, col) = ++counter;
        int const reached = expands ? 0 : 1; // an index reaches one further than a size
        int const new_rows = std::max(rows, row + reached), new_cols = std::max(cols, col + reached);
        require(table.rows() == new_rows && table.cols() == new_cols, "shape of the table");
        model.resize(new_rows);
        for (int r = 0; r < new_rows; ++r) {
            for (int c = static_cast<int>(model[r].size()); c < new_cols; ++c) {
                model[r].push_back(++counter);
                table(r, c) = counter;
            }
        }
        if (!expands) table(row, col) = model[row][col] = ++counter;
        for (int r = 0; r < new_rows; ++r) {
            for (int c = 0; c < new_cols; ++c)
                require(table(r, c) == model[r][c], "element of the table");
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    Bytes script(data, size);
    switch (script.below(3)) {
    case 0: edit_dynamic_array(script); break;
    case 1: edit_paged_array(script); break;
    case 2: edit_table(script); break;
    }
    return 0;
}
