// Appending to dynamic arrays beside std::vector, and printing beside plain loops over a standard stream, which write
// the same text. The size is the number of elements; of a matrix, its order.

#include <sstream>

#include "benchmarks/race.h"
#include "maths/maths.h"

namespace {

template <class Array, class Peer> auto append(Race & race, typename Peer::value_type const & element) {
    int const n = race.size();
    Values counts(2, n);
    race.add(
        "maths", counts,
        [&, n] {
            Array array(0, 64);
            for (int i = 0; i < n; ++i)
                array[i] = element;
            counts[0] = array.size();
        },
        n);
    race.add(
        "vector", counts,
        [&, n] {
            Peer array;
            for (int i = 0; i < n; ++i)
                array.push_back(element);
            counts[1] = static_cast<double>(array.size());
        },
        n);
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

using Point = mlTinyVector3;

auto append_double(Race & race) { return append<doublecoDynArr, std::vector<double>>(race, 1.5); }
auto append_point(Race & race) {
    Point point;
    point[0] = point[1] = point[2] = 1.5;
    return append<mlTinyVector3coDynArr, std::vector<Point>>(race, point);
}

bool const entered = enter("append_double", {100, 1000, 10000, 100000}, append_double) &&
                     enter("append_point", {100, 1000, 10000, 100000}, append_point) &&
                     enter("print_vector", {3, 100, 10000}, print_vector) &&
                     enter("print_matrix", {3, 100}, print_matrix);

} // namespace
