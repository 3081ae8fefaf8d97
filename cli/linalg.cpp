// kcm commands: dense linear algebra.
//
// A matrix argument is either three words, `rows cols v1,v2,...` with the
// values in column-major order, or one word naming a CSV file with one matrix
// row per line ('#' lines are comments). Matrices are passed with offset 0 and
// ld = rows. The command records the INFO the export returned (a nonzero INFO
// makes the exit status 1) and every array it wrote. Flags are 0 or 1.
#include <fstream>
#include <sstream>

#include "command.hpp"
#include "korvane/core_math.h"

namespace kcm::cli {
namespace {

struct Dense {
    int32_t rows = 0, cols = 0;
    std::vector<double> data;  // column-major, ld = rows
    MatrixDescriptor desc{};

    Dense() = default;
    Dense(int32_t m, int32_t n) : rows(m), cols(n), data(std::size_t(std::max(m, 1)) * std::max(n, 1)) {}
    double* ptr() { return data.data(); }
    MatrixDescriptor* d()
    {
        desc = {0, std::max(rows, 1), rows, cols};
        return &desc;
    }
};

bool is_integer(const std::string& word)
{
    try {
        parse_int(word);
        return true;
    } catch (const UsageError&) {
        return false;
    }
}

Dense read_csv(const std::string& path)
{
    std::ifstream in(path);
    if (!in) throw UsageError("cannot read matrix file " + path);
    std::vector<std::vector<double>> rows;
    for (std::string line; std::getline(in, line);) {
        if (line.empty() || line[0] == '#') continue;
        rows.push_back(parse_doubles(line));
        if (rows.back().size() != rows.front().size())
            throw UsageError(path + ": rows of different lengths");
    }
    if (rows.empty()) throw UsageError(path + ": no matrix rows");
    Dense a(static_cast<int32_t>(rows.size()), static_cast<int32_t>(rows.front().size()));
    for (int32_t i = 0; i < a.rows; ++i)
        for (int32_t j = 0; j < a.cols; ++j) a.data[std::size_t(j) * a.rows + i] = rows[i][j];
    return a;
}

// Takes one matrix argument starting at words[pos] and advances pos.
Dense take_matrix(const std::vector<std::string>& words, std::size_t& pos)
{
    if (pos >= words.size()) throw UsageError("missing matrix argument");
    if (!is_integer(words[pos])) return read_csv(words[pos++]);
    if (pos + 2 >= words.size()) throw UsageError("a matrix is: rows cols v1,v2,...");
    const int32_t m = parse_int(words[pos]), n = parse_int(words[pos + 1]);
    if (m < 1 || n < 1) throw UsageError("matrix dimensions must be positive");
    Dense a(m, n);
    const std::vector<double> v = parse_doubles(words[pos + 2]);
    if (v.size() != std::size_t(m) * n)
        throw UsageError("expected " + std::to_string(m * n) + " matrix values");
    a.data = v;
    pos += 3;
    return a;
}

double take_double(const std::vector<std::string>& words, std::size_t& pos)
{
    if (pos >= words.size()) throw UsageError("missing number");
    return parse_double(words[pos++]);
}

void expect_end(const std::vector<std::string>& words, std::size_t pos)
{
    if (pos != words.size()) throw UsageError("unexpected argument: " + words[pos]);
}

bool take_flag(const std::vector<std::string>& words, std::size_t& pos, const char* name)
{
    if (pos >= words.size()) throw UsageError(std::string("missing flag ") + name);
    return parse_flag(words[pos++], name);
}

// LAPACK's INFO: 0 is success.
void record_info(Output& out, const char* label, int32_t info) { out.status(label, info, info == 0); }

void cholesky(const Words& w, Output& out)
{
    std::size_t p = 0;
    const int32_t upper = take_flag(w, p, "upper");
    Dense a = take_matrix(w, p);
    expect_end(w, p);
    record_info(out, "info", Cholesky(upper, a.ptr(), a.d()));
    out.matrix("A", a.ptr(), a.rows, a.rows, a.cols);
}

void cholesky_solve(const Words& w, Output& out)
{
    std::size_t p = 0;
    const int32_t upper = take_flag(w, p, "upper");
    Dense l = take_matrix(w, p), b = take_matrix(w, p);
    expect_end(w, p);
    record_info(out, "info", CholeskySolve(upper, l.ptr(), l.d(), b.ptr(), b.d()));
    out.matrix("X", b.ptr(), b.rows, b.rows, b.cols);
}

void triangular(const Words& w, Output& out)
{
    std::size_t p = 0;
    Dense a = take_matrix(w, p);
    const int32_t upper = take_flag(w, p, "upper"), transpose = take_flag(w, p, "transpose");
    Dense b = take_matrix(w, p);
    expect_end(w, p);
    record_info(out, "info", SolveTriangularSystem(a.ptr(), a.d(), upper, transpose, b.ptr(), b.d()));
    out.matrix("X", b.ptr(), b.rows, b.rows, b.cols);
}

void disable_threading(const Words& w, Output& out)
{
    expect_end(w, 0);
    DisableMKLThreading();
    out.note("DisableMKLThreading: MKL runs on one thread in this process");
}

// A: R on and above the diagonal, the reflectors below it.
void qr(const Words& w, Output& out, bool pivoting)
{
    std::size_t p = 0;
    Dense a = take_matrix(w, p);
    expect_end(w, p);
    std::vector<double> tau(std::min(a.rows, a.cols));
    std::vector<int32_t> jpvt(a.cols, 0);
    if (pivoting) {
        record_info(out, "info", QRP(a.ptr(), a.d(), tau.data(), jpvt.data()));
    } else {
        record_info(out, "info", QR(a.ptr(), a.d(), tau.data()));
    }
    out.matrix("A", a.ptr(), a.rows, a.rows, a.cols);
    out.numbers("tau", tau);
    if (pivoting) out.integers("jpvt", jpvt);
}

void qr_q(const Words& w, Output& out)
{
    std::size_t p = 0;
    Dense a = take_matrix(w, p);
    expect_end(w, p);
    std::vector<double> tau(std::min(a.rows, a.cols));
    record_info(out, "QR_info", QR(a.ptr(), a.d(), tau.data()));
    record_info(out, "info", QR_Q(a.ptr(), a.d(), tau.data()));
    out.matrix("Q", a.ptr(), a.rows, a.rows, a.cols);
}

// C: Q C, or Q^T C with transpose.
void qr_qy(const Words& w, Output& out)
{
    std::size_t p = 0;
    const int32_t transpose = take_flag(w, p, "transpose");
    Dense a = take_matrix(w, p), c = take_matrix(w, p);
    expect_end(w, p);
    std::vector<double> tau(std::min(a.rows, a.cols));
    record_info(out, "QR_info", QR(a.ptr(), a.d(), tau.data()));
    record_info(out, "info", QR_Qy(a.ptr(), a.d(), transpose, tau.data(), c.ptr(), c.d()));
    out.matrix("C", c.ptr(), c.rows, c.rows, c.cols);
}

void ls(const Words& w, Output& out)
{
    std::size_t p = 0;
    Dense a = take_matrix(w, p), b = take_matrix(w, p);
    expect_end(w, p);
    // B needs max(rows, cols) rows for the minimum-norm solution of a wide A.
    Dense x(std::max(a.rows, a.cols), b.cols);
    for (int32_t j = 0; j < b.cols; ++j)
        for (int32_t i = 0; i < b.rows; ++i) x.data[std::size_t(j) * x.rows + i] = b.data[std::size_t(j) * b.rows + i];
    record_info(out, "info", LS(a.ptr(), a.d(), x.ptr(), x.d()));
    out.matrix("X", x.ptr(), x.rows, a.cols, x.cols);
}

void ols(const Words& w, Output& out)
{
    std::size_t p = 0;
    Dense a = take_matrix(w, p), b = take_matrix(w, p);
    const double tol = take_double(w, p);
    expect_end(w, p);
    const Dense x = a, y = b;
    Dense c(a.cols, b.cols);
    std::vector<double> tau(std::min(a.rows, a.cols));
    const int32_t status = OLS(a.ptr(), a.d(), b.ptr(), b.d(), c.ptr(), c.d(), tau.data(), tol);
    record_info(out, "info", status);
    if (status != 0) return;  // a column number or an argument error: nothing solved
    out.matrix("coefficients", c.ptr(), c.rows, c.rows, c.cols);
    out.matrix("QtB", b.ptr(), b.rows, b.rows, b.cols);
    // The residual sum of squares of the first response, from the rotated
    // residuals and from Xb on the original data.
    double rss = 0;
    for (int32_t i = a.cols; i < b.rows; ++i) rss += b.data[i] * b.data[i];
    out.number("rss", rss);
    Dense x0 = x;
    out.number("Xb", Xb(x0.ptr(), x0.d(), c.ptr(), y.data.data()));
}

void xb(const Words& w, Output& out)
{
    std::size_t p = 0;
    Dense x = take_matrix(w, p);
    if (p + 2 != w.size()) throw UsageError("expected beta and y as lists");
    const std::vector<double> beta = parse_doubles(w[p]), y = parse_doubles(w[p + 1]);
    if (beta.size() != std::size_t(x.cols) || y.size() != std::size_t(x.rows))
        throw UsageError("beta needs cols values and y rows values");
    out.result(Xb(x.ptr(), x.d(), beta.data(), y.data()));
}

void eigen(const Words& w, Output& out)
{
    std::size_t p = 0;
    Dense a = take_matrix(w, p);
    expect_end(w, p);
    const int32_t n = a.cols;
    std::vector<double> values(n);
    Dense z(n, n);
    int32_t found = 0;
    record_info(out, "info", EigenSymmetric(a.ptr(), a.d(), values.data(), &found, z.ptr(), z.d()));
    out.integer("m", found);
    out.numbers("w", values);
    out.matrix("Z", z.ptr(), n, n, n);
}

void svd(const Words& w, Output& out, bool full)
{
    std::size_t p = 0;
    Dense a = take_matrix(w, p);
    expect_end(w, p);
    const int32_t m = a.rows, n = a.cols, k = std::min(m, n);
    std::vector<double> s(k);
    Dense u(m, full ? m : k), vt(full ? n : k, n);
    const int32_t info = full ? FullSVD(a.ptr(), a.d(), s.data(), u.ptr(), u.d(), vt.ptr(), vt.d())
                              : ThinSVD(a.ptr(), a.d(), s.data(), u.ptr(), u.d(), vt.ptr(), vt.d());
    record_info(out, "info", info);
    out.numbers("s", s);
    out.matrix("U", u.ptr(), u.rows, u.rows, u.cols);
    out.matrix("VT", vt.ptr(), vt.rows, vt.rows, vt.cols);
}

}  // namespace

const Runner run::Cholesky{"upper A   (a matrix: rows cols v1,v2,... column-major, or a CSV file)",
                           cholesky};
const Runner run::CholeskySolve{"upper L B   (L: the factor from Cholesky)", cholesky_solve};
const Runner run::SolveTriangularSystem{"A upper transpose B", triangular};
const Runner run::DisableMKLThreading{"", disable_threading};
const Runner run::QR{"A", [](const Words& w, Output& out) { qr(w, out, false); }};
const Runner run::QRP{"A   (all columns free)", [](const Words& w, Output& out) { qr(w, out, true); }};
const Runner run::QR_Q{"A   (factored by QR first)", qr_q};
const Runner run::QR_Qy{"transpose A C   (A factored by QR first)", qr_qy};
const Runner run::LS{"A B", ls};
const Runner run::OLS{"A B tol", ols};
const Runner run::Xb{"X beta y   (beta, y: comma-separated lists)", xb};
const Runner run::EigenSymmetric{"A   (lower triangle read)", eigen};
const Runner run::FullSVD{"A", [](const Words& w, Output& out) { svd(w, out, true); }};
const Runner run::ThinSVD{"A", [](const Words& w, Output& out) { svd(w, out, false); }};

}  // namespace kcm::cli
