#pragma once

#include "maths/core/mlMatrix.h"

/// The last few steps s of a search and the changes y of the gradient along them, as the matrix that limited-memory
/// BFGS makes of them: B = theta (I - W K^-1 W^T). For use inside the library.
///
/// W has n rows and two columns a pair, y / |y| and s |y| / s·y, which have no unit. With L the products s·y of those
/// columns where s is the newer one, and theta_k = y·y / s·y of each pair, theta that of the newest,
///     K = [ -diag(theta / theta_k)  L^T   ]
///         [  L                      S^T S ],
/// ordered as the columns are. Pairs keep their slots; the newest overwrites the oldest.
/// Source: Byrd, Nocedal & Schnabel, Representations of quasi-Newton matrices and their use in limited memory methods
/// (1994), equation 3.13, with columns rescaled.
class mlCurvaturePairs {
public:
    mlCurvaturePairs(int n, int memory);

    /// Columns of W.
    int width() const { return 2 * count_; }

    double theta() const { return theta_; }

    /// Row i of W.
    double const * row(int i) const { return rows_.data() + static_cast<std::ptrdiff_t>(i) * stride_; }

    /// K^-1.
    mlMatrix const & inverse() const { return inverse_; }

    /// No pairs: B becomes theta I, with the theta given, or as it is.
    void begin(double theta);
    void forget() { count_ = 0, newest_ = -1; }

    /// Takes a pair, unless its curvature is not positive beyond rounding, or what follows from it is not finite.
    void remember(mlVector const & step, mlVector const & change);

    /// out = W^T v, each sum in index order. Terms where v is 0.0 are left out.
    void products(mlVector const & v, mlVector & out) const;

    /// K - W_F^T W_F, where F are the rows whose element of `is_free` is not 0.
    void reduce(mlVector const & is_free, mlMatrix & out) const;

private:
    void store(mlVector const & step, mlVector const & change, double of_step, double of_change);
    void update_gram();
    void form_k();

    int const n_, memory_, stride_;
    int count_ = 0;
    int newest_ = -1;
    double theta_ = 1.0;
    mlVector rows_;   // of W, side by side
    mlVector ratios_; // y·y / s·y by slot
    mlMatrix gram_;   // W^T W
    mlMatrix k_, inverse_;
    mlVector of_change_, of_step_; // products of the newest columns with all
};
