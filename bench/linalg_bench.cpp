// Dense linear algebra: each export against the raw MKL call it wraps, and the
// ordered-QR solver OLS against MKL's DGEQP3 + DORMQR + DTRSM and DGELSY.
//
// Every iteration copies the input into the work matrix for both sides (the
// routines work in place), so the copy is common to both. The raw calls get
// the optimal workspace from a query, which shows what the fixed LWORK of
// 10000 costs on larger problems. MKL runs on one thread (the machines that
// run this are shared), set before any benchmark by a static initialiser: the
// library carries its own MKL, so both its copy (DisableMKLThreading) and the
// one the raw calls use are set. KCM_BENCH_THREADED=1 leaves both threaded.
// Keep runs short: --benchmark_min_time=0.05.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

#include <benchmark/benchmark.h>
#include <mkl.h>

#include "korvane/core_math.h"

namespace {

const int kSingleThreaded = [] {
    if (const char* threaded = std::getenv("KCM_BENCH_THREADED"); threaded && *threaded == '1')
        return 0;
    DisableMKLThreading();
    mkl_set_num_threads(1);
    mkl_set_dynamic(0);
    return 1;
}();

std::vector<double> random_values(size_t n, unsigned seed)
{
    std::vector<double> v(n);
    uint64_t s = seed * 0x9E3779B97F4A7C15ull + 1;
    for (double& x : v) {
        s ^= s << 13, s ^= s >> 7, s ^= s << 17;
        x = (s >> 11) * 0x1.0p-53 - 0.5;
    }
    return v;
}

std::vector<double> spd(int n)
{
    const auto b = random_values(size_t(n) * n, 1);
    std::vector<double> a(size_t(n) * n);
    cblas_dgemm(CblasColMajor, CblasTrans, CblasNoTrans, n, n, n, 1.0, b.data(), n, b.data(), n, 0.0, a.data(), n);
    for (int i = 0; i < n; ++i) a[size_t(i) * n + i] += n;
    return a;
}

std::vector<double> query_work(double size) { return std::vector<double>(std::max<size_t>(1, size_t(size))); }

void label(benchmark::State& s, int m, int n) { s.SetLabel(std::to_string(m) + "x" + std::to_string(n)); }

// ---- Cholesky and triangular solves -----------------------------------------

void Cholesky_Export(benchmark::State& s)
{
    const int n = s.range(0);
    const auto a0 = spd(n);
    auto a = a0;
    const MatrixDescriptor d{0, n, n, n};
    for (auto _ : s) {
        std::copy(a0.begin(), a0.end(), a.begin());
        benchmark::DoNotOptimize(Cholesky(0, a.data(), &d));
    }
    label(s, n, n);
}
void Cholesky_MKL(benchmark::State& s)
{
    const int n = s.range(0);
    const auto a0 = spd(n);
    auto a = a0;
    int info;
    for (auto _ : s) {
        std::copy(a0.begin(), a0.end(), a.begin());
        dpotrf("L", &n, a.data(), &n, &info);
        benchmark::DoNotOptimize(info);
    }
    label(s, n, n);
}

void CholeskySolve_Export(benchmark::State& s)
{
    const int n = s.range(0), nrhs = 20;
    auto l = spd(n);
    int info;
    dpotrf("L", &n, l.data(), &n, &info);
    const auto b0 = random_values(size_t(n) * nrhs, 2);
    auto b = b0;
    const MatrixDescriptor dl{0, n, n, n}, db{0, n, n, nrhs};
    for (auto _ : s) {
        std::copy(b0.begin(), b0.end(), b.begin());
        benchmark::DoNotOptimize(CholeskySolve(0, l.data(), &dl, b.data(), &db));
    }
    label(s, n, nrhs);
}
void CholeskySolve_MKL(benchmark::State& s)
{
    const int n = s.range(0), nrhs = 20;
    auto l = spd(n);
    int info;
    dpotrf("L", &n, l.data(), &n, &info);
    const auto b0 = random_values(size_t(n) * nrhs, 2);
    auto b = b0;
    for (auto _ : s) {
        std::copy(b0.begin(), b0.end(), b.begin());
        dpotrs("L", &n, &nrhs, l.data(), &n, b.data(), &n, &info);
        benchmark::DoNotOptimize(info);
    }
    label(s, n, nrhs);
}

void SolveTriangularSystem_Export(benchmark::State& s)
{
    const int n = s.range(0), nrhs = 20;
    auto l = spd(n);
    int info;
    dpotrf("L", &n, l.data(), &n, &info);
    const auto b0 = random_values(size_t(n) * nrhs, 3);
    auto b = b0;
    const MatrixDescriptor dl{0, n, n, n}, db{0, n, n, nrhs};
    for (auto _ : s) {
        std::copy(b0.begin(), b0.end(), b.begin());
        benchmark::DoNotOptimize(SolveTriangularSystem(l.data(), &dl, 0, 1, b.data(), &db));
    }
    label(s, n, nrhs);
}
void SolveTriangularSystem_MKL(benchmark::State& s)
{
    const int n = s.range(0), nrhs = 20;
    auto l = spd(n);
    int info;
    dpotrf("L", &n, l.data(), &n, &info);
    const auto b0 = random_values(size_t(n) * nrhs, 3);
    auto b = b0;
    for (auto _ : s) {
        std::copy(b0.begin(), b0.end(), b.begin());
        dtrtrs("L", "T", "N", &n, &nrhs, l.data(), &n, b.data(), &n, &info);
        benchmark::DoNotOptimize(info);
    }
    label(s, n, nrhs);
}

// ---- QR ---------------------------------------------------------------------

void QR_Export(benchmark::State& s)
{
    const int m = s.range(0), n = s.range(1);
    const auto a0 = random_values(size_t(m) * n, 4);
    auto a = a0;
    std::vector<double> tau(n);
    const MatrixDescriptor d{0, m, m, n};
    for (auto _ : s) {
        std::copy(a0.begin(), a0.end(), a.begin());
        benchmark::DoNotOptimize(QR(a.data(), &d, tau.data()));
    }
    label(s, m, n);
}
void QR_MKL(benchmark::State& s)
{
    const int m = s.range(0), n = s.range(1), query = -1;
    const auto a0 = random_values(size_t(m) * n, 4);
    auto a = a0;
    std::vector<double> tau(n);
    double size;
    int info;
    dgeqrf(&m, &n, a.data(), &m, tau.data(), &size, &query, &info);
    auto work = query_work(size);
    const int lwork = int(work.size());
    for (auto _ : s) {
        std::copy(a0.begin(), a0.end(), a.begin());
        dgeqrf(&m, &n, a.data(), &m, tau.data(), work.data(), &lwork, &info);
        benchmark::DoNotOptimize(info);
    }
    label(s, m, n);
}

void QRP_Export(benchmark::State& s)
{
    const int m = s.range(0), n = s.range(1);
    const auto a0 = random_values(size_t(m) * n, 5);
    auto a = a0;
    std::vector<double> tau(n);
    std::vector<int> jpvt(n);
    const MatrixDescriptor d{0, m, m, n};
    for (auto _ : s) {
        std::copy(a0.begin(), a0.end(), a.begin());
        std::fill(jpvt.begin(), jpvt.end(), 0);
        benchmark::DoNotOptimize(QRP(a.data(), &d, tau.data(), jpvt.data()));
    }
    label(s, m, n);
}
void QRP_MKL(benchmark::State& s)
{
    const int m = s.range(0), n = s.range(1), query = -1;
    const auto a0 = random_values(size_t(m) * n, 5);
    auto a = a0;
    std::vector<double> tau(n);
    std::vector<int> jpvt(n);
    double size;
    int info;
    dgeqp3(&m, &n, a.data(), &m, jpvt.data(), tau.data(), &size, &query, &info);
    auto work = query_work(size);
    const int lwork = int(work.size());
    for (auto _ : s) {
        std::copy(a0.begin(), a0.end(), a.begin());
        std::fill(jpvt.begin(), jpvt.end(), 0);
        dgeqp3(&m, &n, a.data(), &m, jpvt.data(), tau.data(), work.data(), &lwork, &info);
        benchmark::DoNotOptimize(info);
    }
    label(s, m, n);
}

// Shared set-up of QR_Q and QR_Qy: a factored m x n matrix.
struct Factored {
    int m, n;
    std::vector<double> f, tau;
    Factored(int m_, int n_) : m(m_), n(n_), f(random_values(size_t(m_) * n_, 6)), tau(n_)
    {
        const MatrixDescriptor d{0, m, m, n};
        QR(f.data(), &d, tau.data());
    }
};

void QR_Q_Export(benchmark::State& s)
{
    const Factored q(s.range(0), s.range(1));
    auto a = q.f;
    const MatrixDescriptor d{0, q.m, q.m, q.n};
    for (auto _ : s) {
        std::copy(q.f.begin(), q.f.end(), a.begin());
        benchmark::DoNotOptimize(QR_Q(a.data(), &d, const_cast<double*>(q.tau.data())));
    }
    label(s, q.m, q.n);
}
void QR_Q_MKL(benchmark::State& s)
{
    const Factored q(s.range(0), s.range(1));
    auto a = q.f;
    const int query = -1;
    double size;
    int info;
    dorgqr(&q.m, &q.n, &q.n, a.data(), &q.m, q.tau.data(), &size, &query, &info);
    auto work = query_work(size);
    const int lwork = int(work.size());
    for (auto _ : s) {
        std::copy(q.f.begin(), q.f.end(), a.begin());
        dorgqr(&q.m, &q.n, &q.n, a.data(), &q.m, q.tau.data(), work.data(), &lwork, &info);
        benchmark::DoNotOptimize(info);
    }
    label(s, q.m, q.n);
}

void QR_Qy_Export(benchmark::State& s)
{
    Factored q(s.range(0), s.range(1));
    const int nrhs = 20;
    const auto c0 = random_values(size_t(q.m) * nrhs, 7);
    auto c = c0;
    const MatrixDescriptor d{0, q.m, q.m, q.n}, dc{0, q.m, q.m, nrhs};
    for (auto _ : s) {
        std::copy(c0.begin(), c0.end(), c.begin());
        benchmark::DoNotOptimize(QR_Qy(q.f.data(), &d, 1, q.tau.data(), c.data(), &dc));
    }
    label(s, q.m, q.n);
}
void QR_Qy_MKL(benchmark::State& s)
{
    Factored q(s.range(0), s.range(1));
    const int nrhs = 20, query = -1;
    const auto c0 = random_values(size_t(q.m) * nrhs, 7);
    auto c = c0;
    double size;
    int info;
    dormqr("L", "T", &q.m, &nrhs, &q.n, q.f.data(), &q.m, q.tau.data(), c.data(), &q.m, &size, &query, &info);
    auto work = query_work(size);
    const int lwork = int(work.size());
    for (auto _ : s) {
        std::copy(c0.begin(), c0.end(), c.begin());
        dormqr("L", "T", &q.m, &nrhs, &q.n, q.f.data(), &q.m, q.tau.data(), c.data(), &q.m, work.data(), &lwork, &info);
        benchmark::DoNotOptimize(info);
    }
    label(s, q.m, q.n);
}

// ---- Least squares ----------------------------------------------------------

struct Regression {
    int m, n;
    std::vector<double> x, y;
    Regression(int m_, int n_) : m(m_), n(n_), x(random_values(size_t(m_) * n_, 8)), y(random_values(m_, 9)) {}
};

void LS_Export(benchmark::State& s)
{
    const Regression r(s.range(0), s.range(1));
    auto a = r.x, b = r.y;
    const MatrixDescriptor da{0, r.m, r.m, r.n}, db{0, r.m, r.m, 1};
    for (auto _ : s) {
        std::copy(r.x.begin(), r.x.end(), a.begin());
        std::copy(r.y.begin(), r.y.end(), b.begin());
        benchmark::DoNotOptimize(LS(a.data(), &da, b.data(), &db));
    }
    label(s, r.m, r.n);
}
void LS_MKL(benchmark::State& s)
{
    const Regression r(s.range(0), s.range(1));
    auto a = r.x, b = r.y;
    const int one = 1, query = -1;
    double size;
    int info;
    dgels("N", &r.m, &r.n, &one, a.data(), &r.m, b.data(), &r.m, &size, &query, &info);
    auto work = query_work(size);
    const int lwork = int(work.size());
    for (auto _ : s) {
        std::copy(r.x.begin(), r.x.end(), a.begin());
        std::copy(r.y.begin(), r.y.end(), b.begin());
        dgels("N", &r.m, &r.n, &one, a.data(), &r.m, b.data(), &r.m, work.data(), &lwork, &info);
        benchmark::DoNotOptimize(info);
    }
    label(s, r.m, r.n);
}

void OLS_Export(benchmark::State& s)
{
    const Regression r(s.range(0), s.range(1));
    auto a = r.x, b = r.y;
    std::vector<double> c(r.n), tau(r.n);
    const MatrixDescriptor da{0, r.m, r.m, r.n}, db{0, r.m, r.m, 1}, dc{0, r.n, r.n, 1};
    for (auto _ : s) {
        std::copy(r.x.begin(), r.x.end(), a.begin());
        std::copy(r.y.begin(), r.y.end(), b.begin());
        benchmark::DoNotOptimize(OLS(a.data(), &da, b.data(), &db, c.data(), &dc, tau.data(), 1e-7));
    }
    label(s, r.m, r.n);
}

// The pivoted QR solve that OLS resembles: DGEQP3, DORMQR, DTRSM.
void OLS_MKL_Dgeqp3(benchmark::State& s)
{
    const Regression r(s.range(0), s.range(1));
    auto a = r.x, b = r.y;
    std::vector<double> tau(r.n);
    std::vector<int> jpvt(r.n);
    const int one = 1, query = -1;
    double s1, s2;
    int info;
    dgeqp3(&r.m, &r.n, a.data(), &r.m, jpvt.data(), tau.data(), &s1, &query, &info);
    dormqr("L", "T", &r.m, &one, &r.n, a.data(), &r.m, tau.data(), b.data(), &r.m, &s2, &query, &info);
    auto work = query_work(std::max(s1, s2));
    const int lwork = int(work.size());
    const double alpha = 1.0;
    for (auto _ : s) {
        std::copy(r.x.begin(), r.x.end(), a.begin());
        std::copy(r.y.begin(), r.y.end(), b.begin());
        std::fill(jpvt.begin(), jpvt.end(), 0);
        dgeqp3(&r.m, &r.n, a.data(), &r.m, jpvt.data(), tau.data(), work.data(), &lwork, &info);
        dormqr("L", "T", &r.m, &one, &r.n, a.data(), &r.m, tau.data(), b.data(), &r.m, work.data(), &lwork, &info);
        dtrsm("L", "U", "N", "N", &r.n, &one, &alpha, a.data(), &r.m, b.data(), &r.m);
        benchmark::DoNotOptimize(b.data());
    }
    label(s, r.m, r.n);
}

void OLS_MKL_Dgelsy(benchmark::State& s)
{
    const Regression r(s.range(0), s.range(1));
    auto a = r.x, b = r.y;
    std::vector<int> jpvt(r.n);
    const int one = 1, query = -1;
    const double rcond = 1e-7;
    double size;
    int rank, info;
    dgelsy(&r.m, &r.n, &one, a.data(), &r.m, b.data(), &r.m, jpvt.data(), &rcond, &rank, &size, &query, &info);
    auto work = query_work(size);
    const int lwork = int(work.size());
    for (auto _ : s) {
        std::copy(r.x.begin(), r.x.end(), a.begin());
        std::copy(r.y.begin(), r.y.end(), b.begin());
        std::fill(jpvt.begin(), jpvt.end(), 0);
        dgelsy(&r.m, &r.n, &one, a.data(), &r.m, b.data(), &r.m, jpvt.data(), &rcond, &rank, work.data(), &lwork, &info);
        benchmark::DoNotOptimize(info);
    }
    label(s, r.m, r.n);
}

void Xb_Export(benchmark::State& s)
{
    const Regression r(s.range(0), s.range(1));
    const auto beta = random_values(r.n, 10);
    const MatrixDescriptor d{0, r.m, r.m, r.n};
    for (auto _ : s) benchmark::DoNotOptimize(Xb(r.x.data(), &d, beta.data(), r.y.data()));
    label(s, r.m, r.n);
}
// The same quantity by DGEMV (a different summation order) and DDOT.
void Xb_MKL(benchmark::State& s)
{
    const Regression r(s.range(0), s.range(1));
    const auto beta = random_values(r.n, 10);
    std::vector<double> res(r.m);
    for (auto _ : s) {
        std::copy(r.y.begin(), r.y.end(), res.begin());
        cblas_dgemv(CblasColMajor, CblasNoTrans, r.m, r.n, -1.0, r.x.data(), r.m, beta.data(), 1, 1.0, res.data(), 1);
        benchmark::DoNotOptimize(cblas_ddot(r.m, res.data(), 1, res.data(), 1));
    }
    label(s, r.m, r.n);
}

// ---- Eigen-decomposition and SVD --------------------------------------------

void EigenSymmetric_Export(benchmark::State& s)
{
    const int n = s.range(0);
    const auto a0 = spd(n);
    auto a = a0;
    std::vector<double> w(n), z(size_t(n) * n);
    int m;
    const MatrixDescriptor d{0, n, n, n};
    for (auto _ : s) {
        std::copy(a0.begin(), a0.end(), a.begin());
        benchmark::DoNotOptimize(EigenSymmetric(a.data(), &d, w.data(), &m, z.data(), &d));
    }
    label(s, n, n);
}
// The raw call keeps its workspace between iterations; the export queries and
// allocates on every call, as it must.
void EigenSymmetric_MKL(benchmark::State& s)
{
    const int n = s.range(0), query = -1, zero = 0;
    const double vl = 0, vu = 0, abstol = 0;
    const auto a0 = spd(n);
    auto a = a0;
    std::vector<double> w(n), z(size_t(n) * n);
    std::vector<int> isuppz(2 * n);
    double size;
    int isize, m, info;
    dsyevr("V", "A", "L", &n, a.data(), &n, &vl, &vu, &zero, &zero, &abstol, &m, w.data(), z.data(), &n,
           isuppz.data(), &size, &query, &isize, &query, &info);
    auto work = query_work(size);
    std::vector<int> iwork(isize);
    const int lwork = int(work.size());
    for (auto _ : s) {
        std::copy(a0.begin(), a0.end(), a.begin());
        dsyevr("V", "A", "L", &n, a.data(), &n, &vl, &vu, &zero, &zero, &abstol, &m, w.data(), z.data(), &n,
               isuppz.data(), work.data(), &lwork, iwork.data(), &isize, &info);
        benchmark::DoNotOptimize(info);
    }
    label(s, n, n);
}

template <bool Full>
void SVD_Export(benchmark::State& s)
{
    const int m = s.range(0), n = s.range(1), k = std::min(m, n);
    const auto a0 = random_values(size_t(m) * n, 11);
    auto a = a0;
    std::vector<double> sv(k), u(size_t(m) * (Full ? m : k)), vt(size_t(Full ? n : k) * n);
    const MatrixDescriptor d{0, m, m, n}, du{0, m, m, Full ? m : k}, dvt{0, Full ? n : k, Full ? n : k, n};
    for (auto _ : s) {
        std::copy(a0.begin(), a0.end(), a.begin());
        benchmark::DoNotOptimize((Full ? FullSVD : ThinSVD)(a.data(), &d, sv.data(), u.data(), &du, vt.data(), &dvt));
    }
    label(s, m, n);
}
template <bool Full>
void SVD_MKL(benchmark::State& s)
{
    const int m = s.range(0), n = s.range(1), k = std::min(m, n), query = -1;
    const int ldvt = Full ? n : k;
    const char* jobz = Full ? "A" : "S";
    const auto a0 = random_values(size_t(m) * n, 11);
    auto a = a0;
    std::vector<double> sv(k), u(size_t(m) * (Full ? m : k)), vt(size_t(ldvt) * n);
    std::vector<int> iwork(8 * k);
    double size;
    int info;
    dgesdd(jobz, &m, &n, a.data(), &m, sv.data(), u.data(), &m, vt.data(), &ldvt, &size, &query, iwork.data(), &info);
    auto work = query_work(size);
    const int lwork = int(work.size());
    for (auto _ : s) {
        std::copy(a0.begin(), a0.end(), a.begin());
        dgesdd(jobz, &m, &n, a.data(), &m, sv.data(), u.data(), &m, vt.data(), &ldvt, work.data(), &lwork, iwork.data(), &info);
        benchmark::DoNotOptimize(info);
    }
    label(s, m, n);
}

}  // namespace

BENCHMARK(Cholesky_Export)->Arg(200)->Arg(500)->Unit(benchmark::kMicrosecond);
BENCHMARK(Cholesky_MKL)->Arg(200)->Arg(500)->Unit(benchmark::kMicrosecond);
BENCHMARK(CholeskySolve_Export)->Arg(200)->Arg(500)->Unit(benchmark::kMicrosecond);
BENCHMARK(CholeskySolve_MKL)->Arg(200)->Arg(500)->Unit(benchmark::kMicrosecond);
BENCHMARK(SolveTriangularSystem_Export)->Arg(200)->Arg(500)->Unit(benchmark::kMicrosecond);
BENCHMARK(SolveTriangularSystem_MKL)->Arg(200)->Arg(500)->Unit(benchmark::kMicrosecond);
BENCHMARK(QR_Export)->Args({200, 200})->Args({1000, 200})->Args({500, 500})->Unit(benchmark::kMicrosecond);
BENCHMARK(QR_MKL)->Args({200, 200})->Args({1000, 200})->Args({500, 500})->Unit(benchmark::kMicrosecond);
BENCHMARK(QRP_Export)->Args({200, 200})->Args({1000, 200})->Unit(benchmark::kMicrosecond);
BENCHMARK(QRP_MKL)->Args({200, 200})->Args({1000, 200})->Unit(benchmark::kMicrosecond);
BENCHMARK(QR_Q_Export)->Args({200, 200})->Args({1000, 200})->Unit(benchmark::kMicrosecond);
BENCHMARK(QR_Q_MKL)->Args({200, 200})->Args({1000, 200})->Unit(benchmark::kMicrosecond);
BENCHMARK(QR_Qy_Export)->Args({200, 200})->Args({1000, 200})->Unit(benchmark::kMicrosecond);
BENCHMARK(QR_Qy_MKL)->Args({200, 200})->Args({1000, 200})->Unit(benchmark::kMicrosecond);
BENCHMARK(LS_Export)->Args({200, 200})->Args({2000, 200})->Unit(benchmark::kMicrosecond);
BENCHMARK(LS_MKL)->Args({200, 200})->Args({2000, 200})->Unit(benchmark::kMicrosecond);
BENCHMARK(OLS_Export)->Args({10000, 50})->Args({2000, 200})->Args({20000, 50})->Args({2000, 100})->Unit(benchmark::kMillisecond);
BENCHMARK(OLS_MKL_Dgeqp3)->Args({10000, 50})->Args({2000, 200})->Args({20000, 50})->Args({2000, 100})->Unit(benchmark::kMillisecond);
BENCHMARK(OLS_MKL_Dgelsy)->Args({10000, 50})->Args({2000, 200})->Args({20000, 50})->Args({2000, 100})->Unit(benchmark::kMillisecond);
BENCHMARK(Xb_Export)->Args({10000, 50})->Unit(benchmark::kMicrosecond);
BENCHMARK(Xb_MKL)->Args({10000, 50})->Unit(benchmark::kMicrosecond);
BENCHMARK(EigenSymmetric_Export)->Arg(200)->Arg(400)->Unit(benchmark::kMillisecond);
BENCHMARK(EigenSymmetric_MKL)->Arg(200)->Arg(400)->Unit(benchmark::kMillisecond);
BENCHMARK(SVD_Export<false>)->Args({200, 200})->Args({1000, 200})->Unit(benchmark::kMillisecond);
BENCHMARK(SVD_MKL<false>)->Args({200, 200})->Args({1000, 200})->Unit(benchmark::kMillisecond);
BENCHMARK(SVD_Export<true>)->Args({50, 50})->Args({200, 40})->Unit(benchmark::kMicrosecond);
BENCHMARK(SVD_MKL<true>)->Args({50, 50})->Args({200, 40})->Unit(benchmark::kMicrosecond);
