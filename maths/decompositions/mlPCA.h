#pragma once

#include "maths/core/mlMatrix.h"
#include "platform/coDynArr2D.h"

enum mlPCAStatus : int {
    mlPCANotComputed = 0,
    mlPCAComputed = 1,      ///< there are axes to be asked for
    mlPCANotEnoughData = 2, ///< fewer points than dimensions, or fewer than two dimensions
    mlPCAAxisOutOfRange = 3 ///< returned by `axis` and `least_axis`, never stored
};

/// Principal components of N points in d dimensions: the orthogonal axes along which they vary most, and by how much.
///
/// Row i of the points is point i. There must be at least two dimensions and as many points as dimensions; otherwise
/// the status is `mlPCANotEnoughData` and nothing else is set.
/// The eigenvalues are the variances along the axes (divisor N - 1), non-increasing, and column i of the axes, of unit
/// length, belongs to eigenvalue i. They are found from the centred points without forming the covariance matrix.
/// Lifetime: the points are needed by the constructor only. Bad input: queries that return a slice check nothing.
/// Failure: std::bad_alloc. Threads: const queries may run in parallel.
class MATHS_API mlPCA {
public:
    explicit mlPCA(doublecoDynArr2D const & points);
    explicit mlPCA(mlMatrix const & points);
    mlPCA(mlPCA const &) = delete;
    mlPCA & operator=(mlPCA const &) = delete;
    ~mlPCA();

    /// Axis i, 0 for that of the largest variance. Writes out, which is sized here, only when it returns
    /// `mlPCAComputed`. Deliberate: a wrong index is reported before any other status, so after `mlPCANotEnoughData`
    /// this returns `mlPCAAxisOutOfRange`.
    mlPCAStatus axis(int i, mlVector & out) const;
    [[nodiscard]] mlSlice const axis(int i) const {
        MATHS_CHECK(i >= 0 && i < eigenvalues_.size(), "principal components: axis %d of %d", i, eigenvalues_.size());
        return axes_.col(i);
    }

    /// The axis of the largest variance; returns the status when there is none.
    mlPCAStatus principal_axis(mlVector & out) const;
    mlSlice const principal_axis() const { return axis(0); }

    /// The axis of the smallest variance; returns `mlPCAAxisOutOfRange` when there is none.
    mlPCAStatus least_axis(mlVector & out) const;
    mlSlice const least_axis() const { return axis(eigenvalues_.size() - 1); }

    /// The variance along axis i, or the largest double when there are no axes.
    [[nodiscard]] double eigenvalue(int i) const;

    /// Writes out, which is sized here, only when it returns `mlPCAComputed`.
    mlPCAStatus eigenvalues(mlVector & out) const;
    mlVector const & eigenvalues() const { return eigenvalues_; }

    /// The scores of the points: element (i, k) of out is the coordinate of point i along axis k, measured from the
    /// mean; \f$\sum_j (p_{ij} - m_j) a_{jk}\f$ with the points p, their mean m and the axes a, a sum from 0.0 in
    /// increasing j. The points are those that the object was made from, or others of as many dimensions. Writes out,
    /// which is sized here, only when it returns `mlPCAComputed`; out may be the points.
    mlPCAStatus scores(mlMatrix const & points, mlMatrix & out) const;
    mlPCAStatus scores(doublecoDynArr2D const & points, mlMatrix & out) const;

    /// The mean of the points.
    [[nodiscard]] doublecoDynArr const & mass_centre() const { return mass_centre_; }

    [[nodiscard]] mlPCAStatus status() const { return status_; }

private:
    mlVector eigenvalues_;
    mlMatrix axes_;
    doublecoDynArr mass_centre_;
    mlPCAStatus status_;
};
