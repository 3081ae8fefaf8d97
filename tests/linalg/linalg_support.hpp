// Shared helpers of the linear-algebra tests: seeded random matrices, products
// and norms computed in long double (independent of MKL), and LAPACK's scaled
// residual ||R|| / (||A|| * eps * max(m, n)), held below kResidualLimit as in
// LAPACK's own test programs (dqrt01.f, dqpt01.f, dpot01.f).
#pragma once

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include "korvane/core_math.h"

namespace kcm::test {

// LAPACK's test programs flag a scaled residual of 30 or more.
constexpr double kResidualLimit = 30.0;

// Column-major storage with its descriptor; element (i, j) at
// data[offset + j*ld + i].
struct Matrix {
    int32_t rows = 0, cols = 0, ld = 0, offset = 0;
    std::vector<double> data;

    Matrix() = default;
    Matrix(int32_t m, int32_t n, int32_t ld_ = 0, int32_t offset_ = 0, double fill = 0.0)
        : rows(m), cols(n), ld(ld_ > 0 ? ld_ : std::max(m, 1)), offset(offset_),
          data(static_cast<size_t>(offset_) + static_cast<size_t>(ld) * std::max(n, 1), fill)
    {
    }
    double& operator()(int i, int j) { return data[offset + j * ld + i]; }
    double operator()(int i, int j) const { return data[offset + j * ld + i]; }
    double* ptr() { return data.data(); }              // for exports that add the offset
    double* at00() { return data.data() + offset; }    // for exports that ignore it
    // The descriptor of the current fields, valid until the next call.
    const MatrixDescriptor* desc()
    {
        descriptor_ = {offset, ld, rows, cols};
        return &descriptor_;
    }

private:
    MatrixDescriptor descriptor_{};
};

// splitmix64: the same stream on every platform, unlike std distributions.
class Random {
public:
    explicit Random(uint64_t seed) : state_(seed) {}
    double uniform()  // in [-1, 1)
    {
        uint64_t z = (state_ += 0x9E3779B97F4A7C15ull);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        z ^= z >> 31;
        return (z >> 11) * 0x1.0p-52 - 1.0;
    }

private:
    uint64_t state_;
};

inline Matrix random_matrix(int32_t m, int32_t n, uint64_t seed, int32_t ld = 0, int32_t offset = 0)
{
    Matrix a(m, n, ld, offset, NAN);  // unused storage is NaN: reading it shows
    Random r(seed);
    for (int j = 0; j < n; ++j)
        for (int i = 0; i < m; ++i) a(i, j) = r.uniform();
    return a;
}

// A symmetric positive-definite matrix B^T B + n I.
inline Matrix random_spd(int32_t n, uint64_t seed)
{
    const Matrix b = random_matrix(n, n, seed);
    Matrix a(n, n);
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j) {
            long double s = (i == j) ? n : 0;
            for (int k = 0; k < n; ++k) s += (long double)b(k, i) * b(k, j);
            a(i, j) = static_cast<double>(s);
        }
    return a;
}

// Plain m x n result of op(A) * op(B) in long double.
inline Matrix multiply(const Matrix& a, bool ta, const Matrix& b, bool tb)
{
    const int m = ta ? a.cols : a.rows, k = ta ? a.rows : a.cols;
    const int n = tb ? b.rows : b.cols;
    Matrix c(m, n);
    for (int i = 0; i < m; ++i)
        for (int j = 0; j < n; ++j) {
            long double s = 0;
            for (int p = 0; p < k; ++p)
                s += (long double)(ta ? a(p, i) : a(i, p)) * (tb ? b(j, p) : b(p, j));
            c(i, j) = static_cast<double>(s);
        }
    return c;
}

// Frobenius norm of A - B over their common rows x cols.
inline double difference_norm(const Matrix& a, const Matrix& b)
{
    long double s = 0;
    for (int j = 0; j < a.cols; ++j)
        for (int i = 0; i < a.rows; ++i) {
            const long double d = (long double)a(i, j) - b(i, j);
            s += d * d;
        }
    return static_cast<double>(std::sqrt(s));
}

inline double frobenius(const Matrix& a) { return difference_norm(a, Matrix(a.rows, a.cols)); }

// ||residual|| / (||A|| * eps * max(m, n)).
inline double scaled_residual(double residual, double norm_a, int m, int n)
{
    return residual / (std::max(norm_a, DBL_MIN) * DBL_EPSILON * std::max({m, n, 1}));
}

// ||Q^T Q - I|| / (eps * k) for the k columns of Q.
inline double orthogonality(const Matrix& q)
{
    Matrix qtq = multiply(q, true, q, false);
    for (int i = 0; i < q.cols; ++i) qtq(i, i) -= 1.0;
    return frobenius(qtq) / (DBL_EPSILON * std::max({q.rows, q.cols, 1}));
}

// Copies the leading rows x cols of a into a fresh plain matrix.
inline Matrix block(const Matrix& a, int rows, int cols)
{
    Matrix b(rows, cols);
    for (int j = 0; j < cols; ++j)
        for (int i = 0; i < rows; ++i) b(i, j) = a(i, j);
    return b;
}

inline Matrix transpose(const Matrix& a)
{
    Matrix t(a.cols, a.rows);
    for (int j = 0; j < a.cols; ++j)
        for (int i = 0; i < a.rows; ++i) t(j, i) = a(i, j);
    return t;
}

inline std::vector<double> parse_list(const std::string& text)
{
    std::istringstream in(text);
    std::vector<double> v;
    for (double x; in >> x;) v.push_back(x);
    return v;
}

// Bitwise comparison of two buffers, NaNs included.
inline bool same_bits(const std::vector<double>& a, const std::vector<double>& b)
{
    return a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin(), [](double x, double y) {
               return std::memcmp(&x, &y, sizeof x) == 0;
           });
}

}  // namespace kcm::test
