#include "maths/sparse/mlMinimumDegree.h"

#include <algorithm>
#include <cstdint>

namespace {

// The graph of what is left to eliminate. A node is a variable, a row still to come, or an element, a row that was
// eliminated. Instead of the edges that an elimination adds, the element p keeps the list L_p of the variables that it
// coupled with one another. A variable i keeps the lists E_i of elements and A_i of variables that it is coupled with;
// a coupling that some element says is left out of A_i. No list ever needs more room than its node, or the nodes that
// it replaces, had before.
//
// Variables that have become indistinguishable are merged into one of a larger weight; a weight is a number of rows.
class QuotientGraph {
public:
    QuotientGraph(int n, mlSparsePattern const & pattern);
    void eliminate(int * order);

private:
    static constexpr std::int64_t absorbed = 0; // of an element: its list is part of another's

    void enter(int i);
    void leave(int i);
    int smallest_degree();
    void compact();
    void collect(std::ptrdiff_t begin, int length);
    void gather_variables(int p);
    void count_outside();
    void update(int i, int p);
    void merge_indistinguishable();
    void merge_within(int bucket);
    bool same_lists(int i, int j) const;
    void finish(int p);
    void number_rows(int * order);

    int n_, left_;           // rows, and how many of them are neither eliminated nor dense
    std::ptrdiff_t end_ = 0; // of the lists in the pool
    coLongArray<int> pool_;  // all lists: of a variable E_i, then A_i; of an element L_e
    coLongArray<std::ptrdiff_t> begin_;
    coLongArray<int> length_;   // of the list; 0 when the node has none any more
    coLongArray<int> elements_; // the length of E_i alone
    coLongArray<int> weight_;   // of a variable; negative while it is in the new element, 0 when it is one no more
    coLongArray<int> degree_;   // of a variable: the bound; of an element: the weight of L_e
    coLongArray<std::int64_t> mark_;
    std::int64_t stamp_ = 1;                   // marks below it are old
    coLongArray<int> first_, next_, previous_; // the variables of each degree, doubly linked; -1 where none
    int smallest_ = 0;                         // no degree below it has any
    coLongArray<int> bucket_;                  // variables that may be indistinguishable, linked by next_
    coLongArray<int> taken_by_;                // the variable, or element, that a variable was merged into; else -1
    coLongArray<int> turn_;                    // of an element: as the how manieth it was made
    int turns_ = 0;

    // of the element that is being made: L_p, its weight, and that of the rows that are eliminated by it
    std::ptrdiff_t front_ = 0;
    int front_weight_ = 0, pivot_weight_ = 0;
};

bool is_dense(std::int64_t length, std::int64_t n) { return length > 16 && length * length > 100 * n; }

QuotientGraph::QuotientGraph(int n, mlSparsePattern const & pattern)
    : n_(n), left_(n), pool_(pattern.columns.size() + pattern.columns.size() / 5 + n), begin_(n), length_(n, 0),
      elements_(n, 0), weight_(n, 1), degree_(n, 0), mark_(n, 0), first_(n, -1), next_(n), previous_(n), bucket_(n, -1),
      taken_by_(n, -1), turn_(n, -1) {
    auto const & starts = pattern.starts;
    for (int i = 0; i < n; ++i) {
        if (!is_dense(starts[i + 1] - starts[i], n)) continue;
        weight_[i] = 0;
        --left_;
    }
    for (int i = 0; i < n; ++i) {
        begin_[i] = end_;
        if (weight_[i] == 0) continue;
        for (std::ptrdiff_t at = starts[i]; at < starts[i + 1]; ++at) {
            int const j = pattern.columns[at];
            if (weight_[j] > 0) pool_[end_++] = j;
        }
        degree_[i] = length_[i] = static_cast<int>(end_ - begin_[i]);
    }
    for (int i = 0; i < n; ++i) {
        if (weight_[i] > 0) enter(i);
    }
}

void QuotientGraph::enter(int i) {
    int const degree = degree_[i], next = first_[degree];
    if (next >= 0) previous_[next] = i;
    next_[i] = next;
    previous_[i] = -1;
    first_[degree] = i;
    smallest_ = std::min(smallest_, degree);
}

void QuotientGraph::leave(int i) {
    int const next = next_[i], previous = previous_[i];
    if (next >= 0) previous_[next] = previous;
    (previous >= 0 ? next_[previous] : first_[degree_[i]]) = next;
}

int QuotientGraph::smallest_degree() {
    while (first_[smallest_] < 0)
        ++smallest_;
    return first_[smallest_];
}

// Moves the lists together. Each list's first entry gives way to its node's number, in a form that no entry has, and
// stays in begin_ meanwhile.
void QuotientGraph::compact() {
    for (int i = 0; i < n_; ++i) {
        if (length_[i] == 0) continue;
        int & first = pool_[begin_[i]];
        begin_[i] = first;
        first = ~i;
    }
    std::ptrdiff_t to = 0;
    for (std::ptrdiff_t at = 0; at < end_;) {
        int const i = ~pool_[at++];
        if (i < 0) continue; // left over from a list that is no more
        pool_[to] = static_cast<int>(begin_[i]);
        begin_[i] = to++;
        for (int k = 1; k < length_[i]; ++k)
            pool_[to++] = pool_[at++];
    }
    end_ = to;
}

// Adds the variables of a list that are not there yet to the new element.
void QuotientGraph::collect(std::ptrdiff_t begin, int length) {
    for (std::ptrdiff_t at = begin; at < begin + length; ++at) {
        int const i = pool_[at], weight = weight_[i];
        if (weight <= 0) continue;
        front_weight_ += weight;
        weight_[i] = -weight;
        pool_[end_++] = i;
        leave(i);
    }
}

// L_p = A_p and the L_e of all e in E_p, without p. These elements are absorbed.
void QuotientGraph::gather_variables(int p) {
    if (end_ + n_ > pool_.size()) compact();
    pivot_weight_ = weight_[p];
    weight_[p] = -pivot_weight_;
    front_ = end_;
    front_weight_ = 0;
    std::ptrdiff_t const begin = begin_[p];
    for (int k = 0; k < elements_[p]; ++k) {
        int const e = pool_[begin + k];
        collect(begin_[e], length_[e]);
        mark_[e] = absorbed;
        length_[e] = 0;
    }
    collect(begin + elements_[p], length_[p] - elements_[p]);
    begin_[p] = front_;
    length_[p] = static_cast<int>(end_ - front_);
    elements_[p] = 0;
}

// For each element e that meets L_p, mark_[e] - stamp_ becomes the weight of the variables of L_e outside of L_p.
void QuotientGraph::count_outside() {
    for (std::ptrdiff_t at = front_; at < end_; ++at) {
        int const i = pool_[at];
        for (int k = 0; k < elements_[i]; ++k) {
            int const e = pool_[begin_[i] + k];
            if (mark_[e] == absorbed) continue;
            if (mark_[e] < stamp_) mark_[e] = stamp_ + degree_[e];
            mark_[e] += weight_[i]; // which is negative
        }
    }
}

// Drops from the lists of the variable i of L_p what p now says, and adds p; gives i a new bound of its degree, still
// without what is in L_p. A variable that is coupled with nothing else is eliminated together with p. An element all
// of whose variables are in L_p is absorbed, too.
void QuotientGraph::update(int i, int p) {
    std::ptrdiff_t const begin = begin_[i], variables = begin + elements_[i], end = begin + length_[i];
    std::ptrdiff_t to = begin;
    std::int64_t degree = 0;
    std::uint64_t hash = 0;
    for (std::ptrdiff_t at = begin; at < variables; ++at) {
        int const e = pool_[at];
        if (mark_[e] == absorbed) continue;
        if (mark_[e] == stamp_) {
            mark_[e] = absorbed;
            length_[e] = 0;
            continue;
        }
        degree += mark_[e] - stamp_;
        hash += static_cast<std::uint64_t>(e);
        pool_[to++] = e;
    }
    std::ptrdiff_t const kept = to;
    for (std::ptrdiff_t at = variables; at < end; ++at) {
        int const j = pool_[at];
        if (weight_[j] <= 0) continue;
        degree += weight_[j];
        hash += static_cast<std::uint64_t>(j);
        pool_[to++] = j;
    }
    if (to == begin) {
        pivot_weight_ -= weight_[i];
        front_weight_ += weight_[i];
        weight_[i] = length_[i] = elements_[i] = 0;
        taken_by_[i] = p;
        return;
    }
    degree_[i] = static_cast<int>(std::min<std::int64_t>(degree_[i], degree));
    pool_[to] = pool_[kept]; // there is room: p, or an element of E_p, was dropped
    pool_[kept] = pool_[begin];
    pool_[begin] = p;
    elements_[i] = static_cast<int>(kept - begin) + 1;
    length_[i] = static_cast<int>(to - begin) + 1;
    int const bucket = static_cast<int>(hash % static_cast<std::uint64_t>(n_));
    next_[i] = bucket_[bucket];
    previous_[i] = bucket;
    bucket_[bucket] = i;
}

// Of variables of L_p, whose lists both begin with p. The entries of i's lists bear the stamp.
bool QuotientGraph::same_lists(int i, int j) const {
    if (length_[i] != length_[j] || elements_[i] != elements_[j]) return false;
    int const * const list = pool_.data() + begin_[j];
    return std::all_of(list + 1, list + length_[j], [&](int entry) { return mark_[entry] == stamp_; });
}

void QuotientGraph::merge_within(int bucket) {
    for (int i = std::exchange(bucket_[bucket], -1); i >= 0 && next_[i] >= 0; i = next_[i]) {
        ++stamp_;
        for (int k = 1; k < length_[i]; ++k)
            mark_[pool_[begin_[i] + k]] = stamp_;
        for (int before = i, j = next_[i]; j >= 0; j = next_[j]) {
            if (!same_lists(i, j)) {
                before = j;
                continue;
            }
            weight_[i] += weight_[j];
            weight_[j] = length_[j] = elements_[j] = 0;
            taken_by_[j] = i;
            next_[before] = next_[j];
        }
    }
}

void QuotientGraph::merge_indistinguishable() {
    stamp_ += std::int64_t{n_} + 1; // past all that count_outside left
    for (std::ptrdiff_t at = front_; at < end_; ++at) {
        int const i = pool_[at];
        if (weight_[i] < 0) merge_within(previous_[i]);
    }
    ++stamp_;
}

// The variables of L_p that are left go back to the lists of their degrees.
void QuotientGraph::finish(int p) {
    left_ -= pivot_weight_;
    std::ptrdiff_t to = front_;
    for (std::ptrdiff_t at = front_; at < end_; ++at) {
        int const i = pool_[at], weight = -weight_[i];
        if (weight == 0) continue;
        weight_[i] = weight;
        std::int64_t const bound = static_cast<std::int64_t>(degree_[i]) + front_weight_ - weight;
        degree_[i] = static_cast<int>(std::min<std::int64_t>(bound, left_ - weight));
        enter(i);
        pool_[to++] = i;
    }
    end_ = to;
    weight_[p] = 0;
    length_[p] = static_cast<int>(to - front_);
    degree_[p] = front_weight_;
    mark_[p] = 1; // alive
    turn_[p] = turns_++;
}

// Rows in the order of the elements that they were eliminated by, by index where there are several, then the dense.
void QuotientGraph::number_rows(int * order) {
    coLongArray<int> place(turns_ + 2, 0);
    for (int i = 0; i < n_; ++i) {
        int p = i;
        while (taken_by_[p] >= 0)
            p = taken_by_[p];
        for (int j = i; taken_by_[j] >= 0;) // the next one that asks has a shorter way
            j = std::exchange(taken_by_[j], p);
        turn_[i] = turn_[p] >= 0 ? turn_[p] : turns_;
        ++place[turn_[i] + 1];
    }
    for (int t = 1; t <= turns_; ++t)
        place[t] += place[t - 1];
    for (int i = 0; i < n_; ++i)
        order[place[turn_[i]]++] = i;
}

void QuotientGraph::eliminate(int * order) {
    while (left_ > 0) {
        int const p = smallest_degree();
        leave(p);
        gather_variables(p);
        count_outside();
        for (std::ptrdiff_t at = front_; at < end_; ++at)
            update(pool_[at], p);
        merge_indistinguishable();
        finish(p);
    }
    number_rows(order);
}

} // namespace

void ml_minimum_degree(int n, mlSparsePattern const & pattern, int * order) {
    QuotientGraph(n, pattern).eliminate(order);
}
