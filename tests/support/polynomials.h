#pragma once

#include <vector>

/// The coefficients of leading * the product of (t - root), highest power first.
template <class Number> std::vector<Number> polynomial_of(std::vector<Number> const & roots, Number leading = 1) {
    std::vector<Number> p{leading};
    for (Number const root : roots) {
        p.push_back(0);
        for (std::size_t i = p.size() - 1; i > 0; --i)
            p[i] -= root * p[i - 1];
    }
    return p;
}
