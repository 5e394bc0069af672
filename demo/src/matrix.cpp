#include "matrix.h"

#include <cmath>

Matrix::Matrix(std::size_t rows, std::size_t cols, double value)
    : nRows(rows)
    , nCols(cols)
    , cells(rows * cols, value)
{ }

bool Matrix::cholesky(Matrix &lower) const
{
    const std::size_t n = nRows;
    lower = Matrix(n, n);
    double largestDiagonal = 0.0;
    for (std::size_t i = 0; i < n; ++i)
        largestDiagonal = std::fmax(largestDiagonal, std::fabs((*this)(i, i)));
    // Pivots below this are rounding noise: the matrix is singular for our purposes.
    const double tiny = largestDiagonal * 1e-13;
    for (std::size_t j = 0; j < n; ++j) {
        double d = (*this)(j, j);
        for (std::size_t k = 0; k < j; ++k)
            d -= lower(j, k) * lower(j, k);
        if (!(d > tiny))
            return false;
        const double root = std::sqrt(d);
        lower(j, j) = root;
        for (std::size_t i = j + 1; i < n; ++i) {
            double s = (*this)(i, j);
            for (std::size_t k = 0; k < j; ++k)
                s -= lower(i, k) * lower(j, k);
            lower(i, j) = s / root;
        }
    }
    return true;
}

Matrix Matrix::lowerInverse() const
{
    const std::size_t n = nRows;
    Matrix inverse(n, n);
    for (std::size_t j = 0; j < n; ++j) {
        inverse(j, j) = 1.0 / (*this)(j, j);
        for (std::size_t i = j + 1; i < n; ++i) {
            double s = 0.0;
            for (std::size_t k = j; k < i; ++k)
                s -= (*this)(i, k) * inverse(k, j);
            inverse(i, j) = s / (*this)(i, i);
        }
    }
    return inverse;
}

Matrix Matrix::transposed() const
{
    Matrix t(nCols, nRows);
    for (std::size_t r = 0; r < nRows; ++r)
        for (std::size_t c = 0; c < nCols; ++c)
            t(c, r) = (*this)(r, c);
    return t;
}

Matrix Matrix::operator*(const Matrix &other) const
{
    Matrix product(nRows, other.nCols);
    for (std::size_t r = 0; r < nRows; ++r)
        for (std::size_t k = 0; k < nCols; ++k) {
            const double a = (*this)(r, k);
            for (std::size_t c = 0; c < other.nCols; ++c)
                product(r, c) += a * other(k, c);
        }
    return product;
}

Matrix Matrix::timesOwnTranspose() const
{
    Matrix product(nRows, nRows);
    for (std::size_t i = 0; i < nRows; ++i)
        for (std::size_t j = 0; j <= i; ++j) {
            double s = 0.0;
            for (std::size_t k = 0; k < nCols; ++k)
                s += (*this)(i, k) * (*this)(j, k);
            product(i, j) = s;
            product(j, i) = s;
        }
    return product;
}

std::vector<double> Matrix::solveLower(std::vector<double> b) const
{
    for (std::size_t i = 0; i < nRows; ++i) {
        double s = b[i];
        for (std::size_t k = 0; k < i; ++k)
            s -= (*this)(i, k) * b[k];
        b[i] = s / (*this)(i, i);
    }
    return b;
}

std::vector<double> Matrix::solveLowerTransposed(std::vector<double> b) const
{
    for (std::size_t i = nRows; i-- > 0;) {
        double s = b[i];
        for (std::size_t k = i + 1; k < nRows; ++k)
            s -= (*this)(k, i) * b[k];
        b[i] = s / (*this)(i, i);
    }
    return b;
}

std::vector<double> Matrix::times(const std::vector<double> &v) const
{
    std::vector<double> result(nRows, 0.0);
    for (std::size_t r = 0; r < nRows; ++r) {
        double s = 0.0;
        for (std::size_t c = 0; c < nCols; ++c)
            s += (*this)(r, c) * v[c];
        result[r] = s;
    }
    return result;
}
