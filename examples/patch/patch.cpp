// Compares measured points with a surface patch, as a coordinate measuring machine does: the foot of each point, the
// nearest point of the patch, is the minimum of the squared distance over the patch's two parameters.
//
// patch DATA [FOLDER]: DATA has the 16 control points of a bicubic Bézier patch. The measurements are simulated: points
// of the patch, moved along its normal by known amounts, so that foot and distance are known; and points beside it,
// whose feet lie on its border. FOLDER gets the patch and the feet for drawing.

#include <array>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

#include "examples/support/column_table.h"
#include "examples/support/figure_file.h"
#include "maths/maths.h"

namespace {

using Point = std::array<double, 3>;

Point operator+(Point const & a, Point const & b) { return {a[0] + b[0], a[1] + b[1], a[2] + b[2]}; }
Point operator*(double s, Point const & a) { return {s * a[0], s * a[1], s * a[2]}; }

/// The polynomials of Bernstein of degree 3 at t, or their first or second derivatives.
void bernstein(double t, int order, double b[4]) {
    double const s = 1.0 - t;
    if (order == 0) {
        b[0] = s * s * s, b[1] = 3.0 * s * s * t, b[2] = 3.0 * s * t * t, b[3] = t * t * t;
    } else if (order == 1) {
        b[0] = -3.0 * s * s, b[1] = 3.0 * s * (s - 2.0 * t), b[2] = 3.0 * t * (2.0 * s - t), b[3] = 3.0 * t * t;
    } else {
        b[0] = 6.0 * s, b[1] = 6.0 * t - 12.0 * s, b[2] = 6.0 * s - 12.0 * t, b[3] = 6.0 * t;
    }
}

class Patch {
public:
    explicit Patch(ColumnTable const & points) {
        for (int k = 0; k < 16; ++k)
            for (int c = 0; c < 3; ++c)
                control_[k][c] = points.column(c)[k];
    }

    /// The point of the patch at (u, v) in [0, 1] x [0, 1], or its partial derivative of orders i and j.
    Point at(double u, double v, int i = 0, int j = 0) const {
        double along[4], down[4];
        bernstein(u, i, along);
        bernstein(v, j, down);
        Point sum = {0.0, 0.0, 0.0};
        for (int k = 0; k < 16; ++k)
            sum = sum + along[k % 4] * down[k / 4] * control_[k];
        return sum;
    }

    /// The unit normal, which points away from the axis.
    Point normal(double u, double v) const {
        Point const a = at(u, v, 0, 1), b = at(u, v, 1, 0);
        Point const n = {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
        return 1.0 / std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]) * n;
    }

private:
    Point control_[16];
};

/// From a measured point to the patch: the vector whose length is to be least.
class ToPatch : public mlFunctionN {
public:
    ToPatch(Patch const & patch, Point const & point) : patch_(patch), point_(point) {
        input_dimension = 2;
        output_dimension = 3;
    }
    void function(mlSlice const & x, mlVector & y) const override { store(patch_.at(x[0], x[1]) + -1.0 * point_, y); }
    void function_gradient(mlSlice const & x, mlMatrix & jacobian) const override {
        Point const u = patch_.at(x[0], x[1], 1, 0), v = patch_.at(x[0], x[1], 0, 1);
        for (int i = 0; i < 3; ++i) {
            jacobian(i, 0) = u[i];
            jacobian(i, 1) = v[i];
        }
    }
    void function_derivative(mlSlice const & x, int * const orders, mlVector & y) const override {
        Point const d = patch_.at(x[0], x[1], orders[0], orders[1]);
        store(orders[0] + orders[1] == 0 ? d + -1.0 * point_ : d, y);
    }

private:
    static void store(Point const & d, mlVector & y) {
        for (int i = 0; i < 3; ++i)
            y[i] = d[i];
    }

    Patch const & patch_;
    Point point_;
};

struct Measurement {
    Point point;
    double deviation; ///< from the patch, where the foot lies inside
    bool beside;      ///< the patch
};

/// Points over the whole patch and around it, whose deviations from it are some hundredths of its size.
std::vector<Measurement> measure(Patch const & patch) {
    std::vector<Measurement> measurements;
    mlRandom random(1975);
    for (int k = 0; k < 200; ++k) {
        double const u = 1.2 * random.uniform() - 0.1, v = 1.2 * random.uniform() - 0.1;
        double const deviation = 0.2 * random.uniform() - 0.1;
        bool const beside = u < 0.0 || u > 1.0 || v < 0.0 || v > 1.0; // the polynomials go on there
        measurements.push_back({patch.at(u, v) + deviation * patch.normal(u, v), deviation, beside});
    }
    return measurements;
}

struct Foot {
    double u, v, distance;
    int state;
};

/// Finds the feet of all points, each from the middle of the patch, and prints what that took.
std::vector<Foot> find_feet(Patch const & patch, std::vector<Measurement> const & measurements, int order) {
    std::vector<Foot> feet;
    int states[6] = {}, calls = 0;
    double error = 0.0;
    for (Measurement const & m : measurements) {
        ToPatch const f(patch, m.point);
        mlVectorMinimiser2 minimiser(f, 0.5, 0.5, 1e-9, order);
        minimiser.set_window(0.0, 1.0, 0.0, 1.0);
        Foot foot;
        int found, u_end, v_end, not_converged;
        foot.distance = std::sqrt(minimiser.minimise(foot.u, foot.v, found, u_end, v_end, not_converged));
        foot.state = minimiser.state();
        ++states[foot.state];
        calls += minimiser.number_of_calls();
        if (!m.beside) error = std::max(error, std::fabs(foot.distance - std::fabs(m.deviation)));
        feet.push_back(foot);
    }
    std::printf("  %5d   %6d   %7d   %9d   %6d   %14.1f   %13.1e\n", order, states[mlMinimiser2Converged],
                states[mlMinimiser2AtUEnd] + states[mlMinimiser2AtVEnd], states[mlMinimiser2AtCorner],
                states[mlMinimiser2Failed], calls / static_cast<double>(measurements.size()), error);
    return feet;
}

void print_worst(std::vector<Measurement> const & measurements, std::vector<Foot> const & feet) {
    auto const inside = [&](std::size_t k) { return feet[k].state == mlMinimiser2Converged ? feet[k].distance : 0.0; };
    std::size_t worst = 0;
    for (std::size_t k = 0; k < feet.size(); ++k)
        if (inside(k) > inside(worst)) worst = k;
    Point const & p = measurements[worst].point;
    std::printf("\nOf the points above the patch, (%.4f, %.4f, %.4f) deviates most: by %.4f at u = %.4f, v = %.4f\n",
                p[0], p[1], p[2], feet[worst].distance, feet[worst].u, feet[worst].v);
}

void write(std::ostream & file, Point const & p) { file << p[0] << ' ' << p[1] << ' ' << p[2]; }

void write_patch(Patch const & patch, std::string const & path) {
    FigureFile file(path, 8);
    file << "# A grid of points of the patch, row by row: x y z\n";
    int const lines = 16;
    for (int j = 0; j <= lines; ++j, file << '\n')
        for (int i = 0; i <= lines; ++i, file << '\n')
            write(file, patch.at(i / static_cast<double>(lines), j / static_cast<double>(lines)));
    file.finish();
}

void write_feet(Patch const & patch, std::vector<Measurement> const & measurements, std::vector<Foot> const & feet,
                std::string const & path) {
    FigureFile file(path, 8);
    file << "# Each point and its foot: x y z, from there to the foot, 1 where it lies on the border\n";
    for (std::size_t k = 0; k < feet.size(); ++k) {
        write(file, measurements[k].point);
        file << ' ';
        write(file, patch.at(feet[k].u, feet[k].v) + -1.0 * measurements[k].point);
        file << ' ' << (feet[k].state != mlMinimiser2Converged) << '\n';
    }
    file.finish();
}

} // namespace

int main(int argc, char ** argv) {
    ColumnTable const control_points(argc > 1 ? argv[1] : MATHS_EXAMPLE_DATA "teapot_body.txt", 3);
    if (control_points.rows() != 16) {
        std::cerr << (argc > 1 ? argv[1] : "") << ":0: 16 control points expected\n";
        return 2;
    }
    Patch const patch(control_points);
    std::vector<Measurement> const measurements = measure(patch);
    std::printf("%s\n\nThe feet of %zu points\n\n  order   inside   at edge   at corner   failed   calls a point   "
                "largest error\n",
                control_points.source().c_str(), measurements.size());
    std::vector<Foot> feet;
    for (int order : {0, 1, 2})
        feet = find_feet(patch, measurements, order);
    print_worst(measurements, feet);
    if (argc > 2) {
        write_patch(patch, std::string(argv[2]) + "/patch_grid.txt");
        write_feet(patch, measurements, feet, std::string(argv[2]) + "/patch_feet.txt");
    }
}
