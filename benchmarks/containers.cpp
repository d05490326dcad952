// Appending to arrays and reading them beside std::vector and std::deque, and printing beside plain loops over a
// standard stream, which write the same text. The size is the number of elements; of a matrix, its order.

#include <deque>
#include <sstream>

#include "benchmarks/race.h"
#include "maths/maths.h"

namespace {

/// Appends n copies of the element to the array and returns its size. Not inlined, as if the array came from elsewhere.
template <class Array, class Element> [[gnu::noinline]] double append_to(Array & array, int n, Element element) {
    for (int i = 0; i < n; ++i)
        array[i] = element;
    return array.size();
}
template <class Element> [[gnu::noinline]] double append_to(std::vector<Element> & array, int n, Element element) {
    for (int i = 0; i < n; ++i)
        array.push_back(element);
    return static_cast<double>(array.size());
}

template <class Array, class Element> auto append(Race & race, Element element) {
    int const n = race.size();
    Values own(1), peer(1);
    auto const own_run = [=, &own] {
        Array array(0, 64);
        own[0] = append_to(array, n, element);
    };
    auto const peer_run = [=, &peer] {
        std::vector<Element> array;
        peer[0] = append_to(array, n, element);
    };
    race.add("maths", own, own_run, n);
    race.add("vector", peer, peer_run, n);
    return race.run();
}

/// Races two ways to print, compared by their texts' characters.
template <class Print, class PeerPrint> auto print(Race & race, double numbers, Print print, PeerPrint peer_print) {
    std::ostringstream own, peer;
    print(own);
    peer_print(peer);
    std::string const own_text = own.str(), peer_text = peer.str();
    Values const own_characters(own_text.begin(), own_text.end()), peer_characters(peer_text.begin(), peer_text.end());
    auto const repeat = [](std::ostringstream & stream, auto write) {
        stream.seekp(0);
        write(stream);
    };
    race.add(
        "maths", own_characters, [&, print] { repeat(own, print); }, numbers);
    race.add(
        "ostream", peer_characters, [&, peer_print] { repeat(peer, peer_print); }, numbers);
    return race.run();
}

auto print_vector(Race & race) {
    mlRandom random(race.size());
    mlVector v(mlVectorZero, race.size());
    for (double & x : v)
        x = random.uniform(-100.0, 100.0);
    return print(
        race, race.size(), [&](std::ostream & stream) { stream << v; },
        [&](std::ostream & stream) {
            stream << std::fixed << "< ";
            for (double const x : v)
                stream << x << " ";
            stream << "> " << std::endl;
        });
}

auto print_matrix(Race & race) {
    int const n = race.size();
    mlMatrix const m(mlMatrixHilbert, n);
    return print(
        race, n * n, [&](std::ostream & stream) { stream << m; },
        [&, n](std::ostream & stream) {
            stream << std::fixed;
            for (int r = 0; r < n; ++r) {
                stream << "| ";
                for (int c = 0; c < n; ++c)
                    stream << m(r, c) << " ";
                stream << "| " << std::endl;
            }
        });
}

auto append_double(Race & race) { return append<doublecoDynArr>(race, 1.5); }
auto append_point(Race & race) {
    mlTinyVector3 point;
    point[0] = point[1] = point[2] = 1.5;
    return append<mlTinyVector3coDynArr>(race, point);
}

template <class Array> [[gnu::noinline]] double sum_by_index(Array const & array, int n) {
    double sum = 0.0;
    for (int i = 0; i < n; ++i)
        sum += array[i];
    return sum;
}

auto append_paged(Race & race) {
    int const n = race.size();
    Values own(1), peer(1);
    auto const own_run = [n, &own] {
        doublecoPageArr array;
        own[0] = append_to(array, n, 1.5);
    };
    auto const peer_run = [n, &peer] {
        std::deque<double> array;
        for (int i = 0; i < n; ++i)
            array.push_back(1.5);
        peer[0] = static_cast<double>(array.size());
    };
    race.add("maths", own, own_run, n);
    race.add("deque", peer, peer_run, n);
    return race.run();
}

/// Races a sum over the elements of both: by index, or from the first to the last.
template <class Sum, class PeerSum> auto read_paged(Race & race, Sum sum, PeerSum peer_sum) {
    int const n = race.size();
    doublecoPageArr array;
    std::deque<double> peer_array;
    for (int i = 0; i < n; ++i) {
        array[i] = i;
        peer_array.push_back(i);
    }
    Values own(1), peer(1);
    auto const own_run = [&] { own[0] = sum(array); };
    auto const peer_run = [&] { peer[0] = peer_sum(peer_array); };
    own_run();
    peer_run();
    race.add("maths", own, own_run, n);
    race.add("deque", peer, peer_run, n);
    return race.run();
}

auto index_paged(Race & race) {
    int const n = race.size();
    return read_paged(
        race, [n](auto const & array) { return sum_by_index(array, n); },
        [n](auto const & array) { return sum_by_index(array, n); });
}

auto walk_paged(Race & race) {
    return read_paged(
        race,
        [](auto const & array) {
            double sum = 0.0;
            doublecoPageArr::coIterator it(&array);
            for (double const * x = it.first(); x != nullptr; x = it.next())
                sum += *x;
            return sum;
        },
        [](auto const & array) {
            double sum = 0.0;
            for (double const x : array)
                sum += x;
            return sum;
        });
}

bool const entered = enter("append_double", {10, 100, 1000, 10000, 100000}, append_double) &&
                     enter("append_point", {10, 100, 1000, 10000, 100000}, append_point) &&
                     enter("append_paged", {10, 100, 1000, 10000, 100000}, append_paged) &&
                     enter("index_paged", {100, 10000}, index_paged) && enter("walk_paged", {100, 10000}, walk_paged) &&
                     enter("print_vector", {3, 100, 10000}, print_vector) &&
                     enter("print_matrix", {3, 100}, print_matrix);

} // namespace
