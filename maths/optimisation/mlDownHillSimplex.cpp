#include "maths/optimisation/mlDownHillSimplex.h"

#include <atomic>
#include <cmath>

namespace {

double const tiny = 1e-20;

// One limit for all objects: the last `solve` to begin sets it, for the searches under way too.
std::atomic<int> call_limit{2000};

int call_limit_of(mlDownHillSimplexSpeed speed) {
    switch (speed) {
    case mlDownHillSimplexCoarse: return 100;
    case mlDownHillSimplexQuick: return 600;
    case mlDownHillSimplexNormal: return 2000;
    default: return 20000;
    }
}

} // namespace

mlDownHillSimplex::mlDownHillSimplex(int n)
    : function_(nullptr), initial_step_(0.1), dimension_(n), tolerance_(1e-10), calls_(0) {
    int const vertices = coSizeSum(n, 1);
    values_.expand(vertices);
    vertices_.become(vertices, n);
    vertex_sum_.expand(n);
    trial_point_.expand(n);
}

mlDownHillSimplex::~mlDownHillSimplex() = default;

double mlDownHillSimplex::solve(mlFunctionN1 & f, mlVector const & start, mlDownHillSimplexSpeed speed) {
    MATHS_CHECK(start.size() == dimension_, "simplex: a start of %d elements in %d dimensions", start.size(),
                dimension_);
    MATHS_CHECK(f.dimension == dimension_, "simplex: the function's `dimension` is %d, the simplex's %d", f.dimension,
                dimension_);
    function_ = &f;
    calls_ = 0;
    tolerance_ = speed == mlDownHillSimplexCoarse ? 1e-5 : 1e-10;
    call_limit = call_limit_of(speed);

    begin_observation();
    build_simplex(start);
    Extremes e = find_extremes();
    auto const diameter = [&] {
        return std::sqrt(distance_squared(vertices_.row(e.lowest), vertices_.row(e.highest)));
    };
    bool end = finished(e);
    while (!end) {
        improve(e);
        e = find_extremes();
        end = finished(e) || stops(values_[e.lowest], calls_, observed() ? diameter() : 0.0);
    }
    move_to_front(e.lowest);
    return values_[0];
}

void mlDownHillSimplex::result(mlVector & x) const {
    MATHS_CHECK(calls_ > 0, "simplex: there is no result before `solve`");
    if (x.size() != dimension_) {
        x.clear(0);
        x.expand(dimension_);
    }
    x = vertices_.row(0);
}

// One vertex a step away from the start along each axis, then the start itself (deliberate: last, not first).
void mlDownHillSimplex::build_simplex(mlVector const & start) {
    for (int i = 0; i <= dimension_; ++i) {
        vertices_.row(i) = start;
        if (i < dimension_) vertices_(i, i) += initial_step_;
    }
    for (int i = 0; i <= dimension_; ++i) {
        values_[i] = value_at(i);
        ++calls_;
    }
    update_simplex_sum();
}

// Of equal values the last is the lowest and the first the highest.
mlDownHillSimplex::Extremes mlDownHillSimplex::find_extremes() const {
    if (dimension_ < 1) return {0, 0, 0};
    Extremes e = values_[0] > values_[1] ? Extremes{0, 0, 1} : Extremes{0, 1, 0};
    for (int i = 0; i <= dimension_; ++i) {
        if (values_[i] <= values_[e.lowest]) e.lowest = i;
        if (values_[i] > values_[e.highest]) {
            e.second_highest = e.highest;
            e.highest = i;
        } else if (values_[i] > values_[e.second_highest] && i != e.highest) {
            e.second_highest = i;
        }
    }
    return e;
}

bool mlDownHillSimplex::finished(Extremes const & e) const {
    double const high = values_[e.highest];
    double const low = values_[e.lowest];
    double const spread = 2.0 * std::fabs(high - low) / (std::fabs(high) + std::fabs(low) + tiny);
    if (tolerance_ > spread || calls_ >= call_limit) return true;
    return std::fabs(high) < tiny || dimension_ <= 0 || extent(e) < tiny;
}

double mlDownHillSimplex::extent(Extremes const & e) const {
    return norm_diff(vertices_.row(e.lowest), vertices_.row(e.highest));
}

// Reflects the highest vertex; then expands, keeps the reflection, or contracts.
void mlDownHillSimplex::improve(Extremes const & e) {
    calls_ += 2;
    double const reflected = move_vertex(e.highest, -1.0);
    if (reflected <= values_[e.lowest]) {
        move_vertex(e.highest, 2.0);
    } else if (reflected < values_[e.second_highest]) {
        --calls_; // the second evaluation was not needed
    } else {
        double const highest = values_[e.highest]; // the reflection may have lowered it
        if (!(move_vertex(e.highest, 0.5) < highest)) shrink_towards(e.lowest);
    }
}

double mlDownHillSimplex::move_vertex(int vertex, double factor) {
    double const f1 = (1.0 - factor) / dimension_;
    double const f2 = f1 - factor;
    double * const v = vertices_.data() + vertex * dimension_;
    for (int j = 0; j < dimension_; ++j)
        trial_point_[j] = vertex_sum_[j] * f1 - v[j] * f2;
    double const value = function_->function(mlSlice(trial_point_.data(), 0, dimension_, 1));
    if (value < values_[vertex]) {
        values_[vertex] = value;
        for (int j = 0; j < dimension_; ++j) {
            vertex_sum_[j] += trial_point_[j] - v[j];
            v[j] = trial_point_[j];
        }
    }
    return value;
}

void mlDownHillSimplex::update_simplex_sum() {
    for (int j = 0; j < dimension_; ++j)
        vertex_sum_[j] = vertices_.col(j).sum();
}

void mlDownHillSimplex::shrink_towards(int lowest) {
    for (int i = 0; i <= dimension_; ++i) {
        if (i == lowest) continue;
        for (int j = 0; j < dimension_; ++j)
            vertices_(i, j) = 0.5 * (vertices_(i, j) + vertices_(lowest, j));
        values_[i] = value_at(i);
    }
    calls_ += dimension_;
    update_simplex_sum();
}

void mlDownHillSimplex::move_to_front(int vertex) {
    std::swap(values_[0], values_[vertex]);
    vertices_.swap_rows(0, vertex);
}
