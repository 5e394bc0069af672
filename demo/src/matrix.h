#pragma once

#include <cstddef>
#include <vector>

// A small dense row-major matrix: the models here have a handful of predictors, so plain loops
// beat any cleverness, and keeping the arithmetic in our own code keeps results reproducible.
class Matrix
{
public:
    Matrix() = default;
    Matrix(std::size_t rows, std::size_t cols, double value = 0.0);

    std::size_t rows() const { return nRows; }
    std::size_t cols() const { return nCols; }
    double &operator()(std::size_t r, std::size_t c) { return cells[r * nCols + c]; }
    double operator()(std::size_t r, std::size_t c) const { return cells[r * nCols + c]; }

    // Lower-triangular L with L L' equal to this symmetric matrix; false when it is not
    // positive definite (to working precision).
    bool cholesky(Matrix &lower) const;
    // Inverse of a lower-triangular matrix.
    Matrix lowerInverse() const;
    Matrix transposed() const;
    Matrix operator*(const Matrix &other) const;
    // A times A' (a symmetric result).
    Matrix timesOwnTranspose() const;

    // For lower-triangular L: solve L x = b, and L' x = b.
    std::vector<double> solveLower(std::vector<double> b) const;
    std::vector<double> solveLowerTransposed(std::vector<double> b) const;
    std::vector<double> times(const std::vector<double> &v) const;

private:
    std::size_t nRows = 0;
    std::size_t nCols = 0;
    std::vector<double> cells;
};
