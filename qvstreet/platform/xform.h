/// @file
/// Square matrices and affine transforms. A transform is named destination first: `clientFromImage` maps image
/// coordinates to client coordinates, and `clientFromImage * imageFromSample` maps sample coordinates to client ones.
#ifndef QVSTREET_PLATFORM_XFORM_H
#define QVSTREET_PLATFORM_XFORM_H

#include "qvstreet/platform/exceptions.h"
#include "qvstreet/platform/vector.h"

/// N by N doubles, N being 2 or 3, held row by row.
template <int N>
class qvMatrix {
    static_assert(N == 2 || N == 3, "matrices are 2 by 2 or 3 by 3");

 public:
    /// The identity.
    constexpr qvMatrix() {
        for (int i = 0; i < N; ++i) elements_[i][i] = 1.0;
    }

    /// Rows (a, b) and (c, d).
    constexpr qvMatrix(double a, double b, double c, double d) : elements_{{a, b}, {c, d}} {
        static_assert(N == 2, "four elements make a 2 by 2 matrix");
    }

    /// Rows (a, b, c), (d, e, f) and (g, h, i).
    constexpr qvMatrix(double a, double b, double c, double d, double e, double f, double g, double h, double i)
        : elements_{{a, b, c}, {d, e, f}, {g, h, i}} {
        static_assert(N == 3, "nine elements make a 3 by 3 matrix");
    }

    /// The element in `row` and `column`, both from 0 to N - 1; unchecked.
    constexpr double element(int row, int column) const { return elements_[row][column]; }
    constexpr void element(int row, int column, double value) { elements_[row][column] = value; }

    /// The mapped column vector.
    friend constexpr qvVector<N> operator*(const qvMatrix& m, const qvVector<N>& v) {
        qvVector<N> product;
        for (int row = 0; row < N; ++row) {
            double sum = m.elements_[row][0] * v[0];
            for (int column = 1; column < N; ++column) sum += m.elements_[row][column] * v[column];
            product[row] = sum;
        }
        return product;
    }

    /// Product; the right one is applied first.
    friend constexpr qvMatrix operator*(const qvMatrix& a, const qvMatrix& b) {
        qvMatrix product;
        for (int row = 0; row < N; ++row)
            for (int column = 0; column < N; ++column) {
                double sum = a.elements_[row][0] * b.elements_[0][column];
                for (int k = 1; k < N; ++k) sum += a.elements_[row][k] * b.elements_[k][column];
                product.elements_[row][column] = sum;
            }
        return product;
    }

    /// Whether all elements are equal; never with a NaN.
    friend constexpr bool operator==(const qvMatrix& a, const qvMatrix& b) {
        for (int row = 0; row < N; ++row)
            for (int column = 0; column < N; ++column)
                if (!(a.elements_[row][column] == b.elements_[row][column])) return false;
        return true;
    }
    friend constexpr bool operator!=(const qvMatrix& a, const qvMatrix& b) { return !(a == b); }

    /// The inverse, by elimination with row pivoting.
    /// @throws qvMatrixErr::Singular when a pivot is 0 or not finite, and only then: a limit relative to the elements
    ///         would refuse good matrices of sums over large client coordinates.
    qvMatrix inverse() const {
        // Of `work` nothing up to the column at hand is read again, so it is left as it is.
        qvMatrix work = *this;
        qvMatrix result;
        for (int column = 0; column < N; ++column) {
            const int pivotRow = work.largestAtOrBelow(column);
            const double pivot = work.elements_[pivotRow][column];
            if (!std::isfinite(pivot) || pivot == 0.0) throw qvMatrixErr::Singular(L"the matrix has no inverse");
            if (pivotRow != column) {
                work.swapRows(pivotRow, column);
                result.swapRows(pivotRow, column);
            }
            work.divideRow(column, pivot, column + 1);
            result.divideRow(column, pivot, 0);
            for (int row = 0; row < N; ++row) {
                const double factor = work.elements_[row][column];
                if (row == column || factor == 0.0) continue;
                work.subtractRow(row, column, factor, column + 1);
                result.subtractRow(row, column, factor, 0);
            }
        }
        return result;
    }

 private:
    int largestAtOrBelow(int column) const {
        int best = column;
        for (int row = column + 1; row < N; ++row)
            if (std::fabs(elements_[row][column]) > std::fabs(elements_[best][column])) best = row;
        return best;
    }
    void swapRows(int a, int b) {
        for (int column = 0; column < N; ++column) {
            const double kept = elements_[a][column];
            elements_[a][column] = elements_[b][column];
            elements_[b][column] = kept;
        }
    }
    void divideRow(int row, double divisor, int firstColumn) {
        for (int column = firstColumn; column < N; ++column) elements_[row][column] /= divisor;
    }
    void subtractRow(int row, int from, double factor, int firstColumn) {
        for (int column = firstColumn; column < N; ++column) elements_[row][column] -= factor * elements_[from][column];
    }

    double elements_[N][N] = {};
};

/// An affine transform: matrix times vector plus translation. Immutable but for assignment. It may scale x and y by
/// different factors, shear, and mirror, so lengths and angles change with the direction: use `mapVector` and
/// `mapAngle`.
template <int N>
class qvXform {
 public:
    /// The identity.
    qvXform() = default;
    /// The translation is in units of the destination frame; it is added last.
    qvXform(const qvMatrix<N>& matrix, const qvVector<N>& translation) : matrix_(matrix), translation_(translation) {}

    /// The linear part and the translation.
    const qvMatrix<N>& matrix() const { return matrix_; }
    const qvVector<N>& trans() const { return translation_; }

    /// Composition; the right one is applied first.
    friend qvXform operator*(const qvXform& a, const qvXform& b) {
        return qvXform(a.matrix_ * b.matrix_, a.matrix_ * b.translation_ + a.translation_);
    }
    /// Maps a point.
    friend qvVector<N> operator*(const qvXform& xform, const qvVector<N>& point) { return xform.mapPoint(point); }

    /// Maps a point.
    qvVector<N> mapPoint(const qvVector<N>& point) const { return matrix_ * point + translation_; }
    /// Maps a point the other way. @throws qvMatrixErr::Singular
    qvVector<N> invMapPoint(const qvVector<N>& point) const { return matrix_.inverse() * (point - translation_); }
    /// Maps a displacement; the translation plays no part.
    qvVector<N> mapVector(const qvVector<N>& displacement) const { return matrix_ * displacement; }
    /// The direction, in [-pi, pi], in which a displacement of direction `angle` points after the mapping; 0 for one
    /// that is mapped to nothing.
    qvRadian mapAngle(qvRadian angle) const { return mapVector(qvVector<N>(1.0, angle)).angle(); }
    /// The direction of the mapped x axis, in [-pi, pi]. A transform that mirrors x thus has a rotation of 180 degrees,
    /// one that mirrors y of 0.
    qvRadian rotation() const { return mapVector(qvVector<N>(1.0, 0.0)).angle(); }
    /// The transform the other way. @throws qvMatrixErr::Singular
    qvXform inverse() const {
        const qvMatrix<N> inverted = matrix_.inverse();
        return qvXform(inverted, -(inverted * translation_));
    }

    /// Whether all numbers are equal; never with a NaN.
    friend bool operator==(const qvXform& a, const qvXform& b) {
        return a.matrix_ == b.matrix_ && a.translation_ == b.translation_;
    }
    friend bool operator!=(const qvXform& a, const qvXform& b) { return !(a == b); }

 private:
    qvMatrix<N> matrix_;
    qvVector<N> translation_;
};

/// Builds a transform of the plane from its parts; converts to `qvXform<2>`.
class qv2XformLinear : public qvXform<2> {
 public:
    /// The identity.
    qv2XformLinear() = default;
    qv2XformLinear(const qvMatrix<2>& matrix, const qvVector<2>& translation) : qvXform<2>(matrix, translation) {}
    explicit qv2XformLinear(const qvXform<2>& xform) : qvXform<2>(xform) {}

    /// @throws qvMatrixErr::Singular
    qv2XformLinear inverse() const { return qv2XformLinear(qvXform<2>::inverse()); }
};

#endif
