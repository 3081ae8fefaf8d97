// Multiple-comparison distributions (studentized range, Dunnett, Hsu): the R,
// SciPy and mvtnorm reference tables, the identities between the exports, the
// equal-bracket shortcut and the error contract.
#include <cerrno>
#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <new>
#include <sstream>
#include <stdexcept>
#include <string>
#include <typeinfo>
#include <vector>

#include <gtest/gtest.h>

#include <boost/math/distributions/normal.hpp>
#include <boost/math/distributions/students_t.hpp>

#include "korvane/core_math.h"
#include "support/numeric.hpp"
#include "support/reference_table.hpp"

namespace {

using namespace kcm::test;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();
const double kHalf = std::sqrt(0.5);

using Export = double (*)(double, int32_t, double, const double*, unsigned char);

std::vector<double> equal_lambda(int k, double value = kHalf)
{
    return std::vector<double>(std::max(k, 1), value);
}

std::vector<double> parse_lambda(const std::string& cell, int k)
{
    std::vector<double> lambda;
    std::stringstream in(cell);
    std::string item;
    while (std::getline(in, item, ';'))
        if (!item.empty()) lambda.push_back(std::stod(item));
    // Lambda[K-1] is never read: a NaN there would show if it were.
    lambda.push_back(kNaN);
    EXPECT_EQ(static_cast<int>(lambda.size()), k);
    return lambda;
}

Export export_named(const std::string& name)
{
    if (name == "MCaCDF") return MCaCDF;
    if (name == "MCaICDF") return MCaICDF;
    if (name == "MCbCDF") return MCbCDF;
    if (name == "MCbICDF") return MCbICDF;
    if (name == "MCcCDF") return MCcCDF;
    if (name == "MCcICDF") return MCcICDF;
    ADD_FAILURE() << "unknown export " << name;
    return nullptr;
}

bool is_quantile(const std::string& name) { return name.find("ICDF") != std::string::npos; }

// ---- Studentized range against R ------------------------------------------------

// Tolerances measured against R 4.2 ptukey (good to about 1e-9 from df = 3
// on; at df = 2 it is itself off by up to 2e-5). The fixed 48 x 48 rule is the
// limit: its chi range, cut at the 5e-8 quantiles, loses about 1e-7; at two
// and three degrees of freedom the heavy scale tail puts only a few Legendre
// nodes where the conditional probability changes (errors up to 3e-3); and
// for k beyond 10 the 48 Hermite nodes cannot follow [Phi(z) - Phi(z - d)]^(k-1)
// (1e-3 at k = 100). Each cell is about twice the largest error measured in
// it. A wrong node, weight or the scale sqrt(2) misses the k <= 5 cells by
// orders of magnitude.
int k_class(int k) { return k <= 5 ? 0 : k <= 10 ? 1 : k <= 30 ? 2 : 3; }
int df_class(double df) { return df < 3 ? 0 : df < 5 ? 1 : df < 1000 ? 2 : 3; }

// Absolute error of MCaCDF; columns df = 2, 3-4, 5-999, >= 1000.
constexpr double kTukeyCdfTolerance[4][4] = {
    {3e-3, 3e-4, 1e-6, 1e-10},  // k = 2..5
    {4e-3, 1e-3, 1e-5, 5e-7},   // k = 6..10
    {5e-3, 1e-3, 1e-4, 1e-5},   // k = 11..30
    {6e-3, 2e-3, 2e-3, 3e-3},   // k = 31..100
};
// Relative error of MCaICDF (no column for df = 2, where R's root is not
// accurate enough to judge). Beyond the CDF error over the density, the
// 24-bit search adds 1.2e-7; at k = 2 and df = 1e6 R's ptukey switches to the
// known variance while the bracket keeps the t quantile (2e-6).
constexpr double kTukeyIcdfTolerance[4][4] = {
    {0, 5e-4, 5e-6, 4e-6},
    {0, 3e-3, 5e-6, 5e-7},
    {0, 3e-2, 1e-4, 5e-5},
    {0, 1e-1, 1e-2, 5e-3},
};

TEST(MultcompTukeyReference, AgreesWithRPtukey)
{
    const ReferenceTable table("multcomp_tukey.csv");
    for (const auto& row : table.rows()) {
        if (row.str("function") != "MCaCDF") continue;
        SCOPED_TRACE(row.where());
        const int k = static_cast<int>(row.num("k"));
        const std::vector<double> lambda = equal_lambda(k);
        const double df = row.num("df");
        const double v = MCaCDF(row.num("x"), k, df, lambda.data(), 0);
        EXPECT_NEAR(v, row.num("expected"), kTukeyCdfTolerance[k_class(k)][df_class(df)]);
    }
}

TEST(MultcompTukeyReference, QuantileAgreesWithRootOfPtukeyAndQtukey)
{
    const ReferenceTable table("multcomp_tukey.csv");
    for (const auto& row : table.rows()) {
        if (row.str("function") != "MCaICDF") continue;
        SCOPED_TRACE(row.where());
        const int k = static_cast<int>(row.num("k"));
        const std::vector<double> lambda = equal_lambda(k);
        const double p = row.num("x"), df = row.num("df");
        const double v = MCaICDF(p, k, df, lambda.data(), 0);
        // The upper-tail form of the same quantile is the same call.
        EXPECT_EQ(MCaICDF(1 - p, k, df, lambda.data(), 1), v);
        const double tolerance = kTukeyIcdfTolerance[k_class(k)][df_class(df)];
        if (tolerance == 0) continue;
        EXPECT_REL_NEAR(v, row.num("expected"), tolerance);
        // qtukey's secant search stops at an absolute step of 1e-4.
        if (!std::isnan(row.num("qtukey"))) {
            EXPECT_REL_NEAR(v, row.num("qtukey"), std::max(tolerance, 2e-4));
        }
    }
}

// ---- Dunnett and Hsu against SciPy quad and mvtnorm ---------------------------------

// Against adaptive quadrature (accurate to ~1e-12), measured: the library
// integrates the chi scale only between its 5e-8 and 0.99999995 quantiles,
// which loses up to 1e-7 of probability below 1000 degrees of freedom; the
// 48-point Hermite rule adds up to 2e-8 for K <= 10 and 1.1e-6 at K = 20 with
// lambda up to 0.9. Quantiles: the 24-bit search (1.2e-7) plus the CDF error
// over the density (4e-7 at 10 df, 1.2e-7 with the variance known).
double quad_cdf_tolerance(int k, double df)
{
    if (k > 10) return 3e-6;
    return df < 1000 ? 2e-7 : 5e-8;
}

TEST(MultcompDunnettHsuReference, AgreesWithAdaptiveQuadrature)
{
    const ReferenceTable table("multcomp_quad.csv");
    for (const auto& row : table.rows()) {
        SCOPED_TRACE(row.where());
        const std::string& fn = row.str("function");
        const int k = static_cast<int>(row.num("k"));
        const std::vector<double> lambda = parse_lambda(row.str("lambda"), k);
        const double x = row.num("x"), df = row.num("df");
        const double v = export_named(fn)(x, k, df, lambda.data(), 0);
        if (is_quantile(fn)) {
            // 2^-23 relative from the search, plus the CDF error over the density.
            EXPECT_REL_NEAR(v, row.num("expected"), df < 1000 ? 1e-6 : 3e-7);
        } else {
            EXPECT_NEAR(v, row.num("expected"), quad_cdf_tolerance(k, df));
        }
    }
}

TEST(MultcompDunnettHsuReference, AgreesWithMvtnorm)
{
    const ReferenceTable table("multcomp_mvtnorm.csv");
    for (const auto& row : table.rows()) {
        SCOPED_TRACE(row.where());
        const std::string& fn = row.str("function");
        const int k = static_cast<int>(row.num("k"));
        const std::vector<double> lambda = parse_lambda(row.str("lambda"), k);
        const double x = row.num("x"), df = row.num("df");
        const double v = export_named(fn)(x, k, df, lambda.data(), 0);
        // Three of mvtnorm's own error estimates on top of the library's error.
        const double tolerance = 3 * row.num("error") + (is_quantile(fn) ? 1e-6 * v : 2e-7);
        EXPECT_NEAR(v, row.num("expected"), tolerance);
    }
}

// ---- Identities --------------------------------------------------------------------

double student_t_cdf(double q, double df)
{
    return boost::math::cdf(boost::math::students_t_distribution<double>(df), q);
}

double Phi(double x) { return boost::math::cdf(boost::math::normal_distribution<double>(), x); }

TEST(MultcompIdentities, OneComparisonIsStudentT)
{
    // K = 2: Dunnett with lambda_0 = 0 is P(|T| <= q), Hsu is P(T <= q), and
    // Tukey with lambda = sqrt(1/2) is P(|T| <= q) on the t scale, up to the
    // error of the rule (measured below 2e-7 at 3 df).
    const double zero[] = {0.0, kNaN};
    const double half[] = {kHalf, kNaN};
    for (double df : {3.0, 10.0, 57.5, 999.0}) {
        for (double q : {0.3, 1.0, 2.2, 4.0}) {
            SCOPED_TRACE(testing::Message() << "df " << df << " q " << q);
            const double two_sided = student_t_cdf(q, df) - student_t_cdf(-q, df);
            EXPECT_NEAR(MCcCDF(q, 2, df, zero, 0), two_sided, 2e-7);
            EXPECT_NEAR(MCbCDF(q, 2, df, zero, 0), student_t_cdf(q, df), 2e-7);
            EXPECT_NEAR(MCaCDF(q, 2, df, half, 0), two_sided, 2e-7);
        }
    }
}

TEST(MultcompIdentities, IndependentComparisonsFactorise)
{
    // All lambda_j = 0: (2 Phi(d) - 1)^(K-1) for Dunnett, Phi(d)^(K-1) for Hsu.
    // Df = 1e6 evaluates the conditional probability at s = 1 directly; the
    // 48-point Hermite rule integrates the constant to rounding.
    for (int k : {2, 3, 6, 15}) {
        const std::vector<double> lambda = equal_lambda(k, 0.0);
        for (double q : {0.0, 0.4, 1.5, 3.0}) {
            SCOPED_TRACE(testing::Message() << "k " << k << " q " << q);
            EXPECT_REL_NEAR(MCcCDF(q, k, 1e6, lambda.data(), 0), std::pow(2 * Phi(q) - 1, k - 1), kTol2);
            EXPECT_REL_NEAR(MCbCDF(q, k, 1e6, lambda.data(), 0), std::pow(Phi(q), k - 1), kTol2);
        }
        // At q = 0 Hsu is 2^-(K-1) whatever the degrees of freedom.
        EXPECT_REL_NEAR(MCbCDF(0.0, k, 7, lambda.data(), 0), std::ldexp(1.0, 1 - k), 1e-7);
    }
}

TEST(MultcompIdentities, ZeroBelowTheOriginAndUpperTailBySubtraction)
{
    const std::vector<double> lambda = equal_lambda(6);
    const Export cdfs[] = {MCaCDF, MCcCDF};
    for (Export f : cdfs) {
        EXPECT_EQ(f(0.0, 4, 12, lambda.data(), 0), 0.0);  // every D_i is 0
        EXPECT_EQ(f(0.0, 4, 5000, lambda.data(), 0), 0.0);
    }
    const Export all[] = {MCaCDF, MCbCDF, MCcCDF};
    for (Export f : all) {
        for (double q : {0.5, 2.0, 4.5}) {
            SCOPED_TRACE(q);
            const double lower = f(q, 5, 17, lambda.data(), 0);
            // The upper tail is exactly 1 - CDF, for any nonzero flag byte.
            for (unsigned char flag : {1, 2, 255}) EXPECT_EQ(f(q, 5, 17, lambda.data(), flag), 1 - lower);
        }
    }
}

TEST(MultcompIdentities, KnownVarianceFromOneThousandDegreesOfFreedom)
{
    const std::vector<double> lambda = {0.6, 0.5, 0.4, 0.7, 0.2};
    const Export all[] = {MCaCDF, MCbCDF, MCcCDF};
    for (Export f : all) {
        const double known = f(2.1, 5, 1e6, lambda.data(), 0);
        EXPECT_EQ(f(2.1, 5, 1000, lambda.data(), 0), known);
        EXPECT_EQ(f(2.1, 5, kInf, lambda.data(), 0), known);
        // 999.9 integrates: close to the known-variance value, not equal.
        const double integrated = f(2.1, 5, 999.9, lambda.data(), 0);
        EXPECT_NE(integrated, known);
        EXPECT_NEAR(integrated, known, 1e-3);
    }
}

TEST(MultcompIdentities, QuantileInvertsDistribution)
{
    const std::vector<double> lambda = {0.3, 0.8, 0.6, 0.5, 0.45, kNaN};
    struct Pair { Export cdf, icdf; std::vector<double> lambda; };
    const Pair pairs[] = {{MCaCDF, MCaICDF, equal_lambda(6)},
                          {MCbCDF, MCbICDF, lambda},
                          {MCcCDF, MCcICDF, lambda}};
    for (const auto& pr : pairs) {
        for (double df : {6.0, 45.0, 2000.0}) {
            for (double p : {0.8, 0.95, 0.999}) {
                SCOPED_TRACE(testing::Message() << "df " << df << " p " << p);
                const double x = pr.icdf(p, 6, df, pr.lambda.data(), 0);
                // 24 bits in x: the CDF is met to x * 2^-23 times the density.
                EXPECT_NEAR(pr.cdf(x, 6, df, pr.lambda.data(), 0), p, 4e-7);
                EXPECT_EQ(pr.icdf(1 - p, 6, df, pr.lambda.data(), 1), x);
                EXPECT_EQ(pr.icdf(1 - p, 6, df, pr.lambda.data(), 7), x);
            }
        }
    }
}

TEST(MultcompIdentities, UnreadParametersDoNotMatter)
{
    // The studentized range reads Lambda[0] only; Dunnett and Hsu never read
    // Lambda[K-1].
    std::vector<double> a = {kHalf, 0.1, 0.2, 0.3}, b = {kHalf, -0.9, kNaN, 5.0};
    EXPECT_EQ(MCaCDF(2.5, 4, 9, a.data(), 0), MCaCDF(2.5, 4, 9, b.data(), 0));
    EXPECT_EQ(MCaICDF(0.9, 4, 9, a.data(), 0), MCaICDF(0.9, 4, 9, b.data(), 0));
    std::vector<double> c = {0.4, 0.5, 0.6, 0.0}, d = {0.4, 0.5, 0.6, kNaN};
    EXPECT_EQ(MCbCDF(1.5, 4, 9, c.data(), 0), MCbCDF(1.5, 4, 9, d.data(), 0));
    EXPECT_EQ(MCcCDF(1.5, 4, 9, c.data(), 0), MCcCDF(1.5, 4, 9, d.data(), 0));
    EXPECT_EQ(MCcICDF(0.9, 4, 9, c.data(), 0), MCcICDF(0.9, 4, 9, d.data(), 0));
}

TEST(MultcompIdentities, SquaringAndPowerPathsAgreeWithADirectPower)
{
    // With lambda = 0 every node sees D = Phi(d) - 1/2, so the studentized
    // range's conditional probability is K (Phi(d) - 1/2)^(K-1): K = 3 takes
    // the squaring, K = 4 and 5 the power function.
    const double zero[5] = {};  // one lambda per group
    for (int k : {3, 4, 5}) {
        for (double q : {0.5, 1.5, 2.5, 3.5}) {
            SCOPED_TRACE(testing::Message() << "k " << k << " q " << q);
            EXPECT_REL_NEAR(MCaCDF(q, k, 1e6, zero, 0), k * std::pow(Phi(q) - 0.5, k - 1), kTol2);
        }
    }
}

TEST(MultcompIdentities, EqualBracketEndsAreReturnedWithoutEvaluation)
{
    // K = 2: both ends are the same t quantile. A NaN lambda would make any
    // CDF evaluation raise, so a plain value shows none took place.
    const double nan_lambda[] = {kNaN, kNaN};
    const boost::math::students_t_distribution<double> t(14);
    const double alpha = 1 - 0.95;  // 0.050000000000000044, as the export forms it
    const double two_sided = -boost::math::quantile(t, alpha / 2);
    const double one_sided = -boost::math::quantile(t, alpha);
    EXPECT_EQ(MCaICDF(0.95, 2, 14, nan_lambda, 0), two_sided);
    EXPECT_EQ(MCcICDF(0.95, 2, 14, nan_lambda, 0), two_sided);
    EXPECT_EQ(MCbICDF(0.95, 2, 14, nan_lambda, 0), one_sided);
    EXPECT_EQ(MCaICDF(0.05, 2, 14, nan_lambda, 1), two_sided);
    // p = 0.5 for Hsu gives 0 at both ends.
    EXPECT_EQ(MCbICDF(0.5, 2, 14, nan_lambda, 0), 0.0);
}

TEST(MultcompIdentities, OneGroup)
{
    // K = 1: the studentized range's power is D^0 = 1, so the CDF is the
    // Hermite weights' sum over sqrt(pi), 1 to rounding, for every q.
    const double lambda[] = {kHalf};
    EXPECT_NEAR(MCaCDF(-3, 1, 1e6, lambda, 0), 1.0, kTol1);
    EXPECT_NEAR(MCaCDF(0.7, 1, 20, lambda, 0), 1.0, 2e-7);
    EXPECT_NEAR(MCbCDF(0.7, 1, 1e6, lambda, 0), 1.0, kTol1);
    EXPECT_NEAR(MCcCDF(0.7, 1, 1e6, lambda, 0), 1.0, kTol1);
}

TEST(MultcompIdentities, ErrnoIsLeftAlone)
{
    const std::vector<double> lambda = equal_lambda(4);
    const auto [v, err] = with_errno([&] { return MCaICDF(0.05, 4, 20, lambda.data(), 1); }, 12345);
    EXPECT_EQ(err, 12345);
    EXPECT_GT(v, 0.0);
}

// ---- Error contract ---------------------------------------------------------------

// Each row is a call that must raise: the exception type and two fragments of
// its message (the Boost function and the text).
struct ThrowRow {
    const char* call;
    std::function<double()> f;
    enum Kind { Domain, Overflow, BadAlloc } kind;
    const char* where;
    const char* what;
};

TEST(MultcompContract, BadInputRaises)
{
    static const std::vector<double> lam = equal_lambda(6);
    static const double narrow[] = {0.3, 0.3, 0.3, 0.3};
    const double* L = lam.data();
    const char* chi2 = "chi_squared_distribution";
    const char* student = "students_t_distribution";
    const char* df_text = "Degrees of freedom argument is";
    const ThrowRow rows[] = {
        {"MCaCDF df 0", [=] { return MCaCDF(1, 4, 0, L, 0); }, ThrowRow::Domain, chi2, df_text},
        {"MCbCDF df -2", [=] { return MCbCDF(1, 4, -2, L, 0); }, ThrowRow::Domain, chi2, df_text},
        {"MCcCDF df NaN", [=] { return MCcCDF(1, 4, kNaN, L, 0); }, ThrowRow::Domain, chi2, df_text},
        {"MCaICDF df 0", [=] { return MCaICDF(0.9, 4, 0, L, 0); }, ThrowRow::Domain, student, df_text},
        {"MCbICDF df -1", [=] { return MCbICDF(0.9, 4, -1, L, 0); }, ThrowRow::Domain, student, df_text},
        {"MCcICDF df NaN", [=] { return MCcICDF(0.9, 4, kNaN, L, 0); }, ThrowRow::Domain, student, df_text},
        // The bracket forms the t distribution even where CDF would not.
        {"MCaICDF df inf", [=] { return MCaICDF(0.9, 4, kInf, L, 0); }, ThrowRow::Domain, student, df_text},
        {"MCcICDF df inf", [=] { return MCcICDF(0.9, 4, kInf, L, 0); }, ThrowRow::Domain, student, df_text},
        // K = 1: the Bonferroni probability alpha/0 is infinite.
        {"MCaICDF K 1", [=] { return MCaICDF(0.9, 1, 10, L, 0); }, ThrowRow::Domain, "quantile", "Probability argument"},
        {"MCbICDF K 1", [=] { return MCbICDF(0.9, 1, 10, L, 0); }, ThrowRow::Domain, "quantile", "Probability argument"},
        {"MCcICDF K 1", [=] { return MCcICDF(0.9, 1, 10, L, 0); }, ThrowRow::Domain, "quantile", "Probability argument"},
        // p = 1: the t quantile of probability 0 overflows.
        {"MCaICDF p 1", [=] { return MCaICDF(1, 4, 10, L, 0); }, ThrowRow::Overflow, "quantile", "Overflow"},
        {"MCcICDF upper p 0", [=] { return MCcICDF(0, 4, 10, L, 1); }, ThrowRow::Overflow, "quantile", "Overflow"},
        // Hsu at p = 0: the lower end is the quantile of probability 1.
        {"MCbICDF p 0", [=] { return MCbICDF(0, 4, 10, L, 0); }, ThrowRow::Overflow, "quantile", "Overflow"},
        {"MCaICDF p -1", [=] { return MCaICDF(-1, 4, 10, L, 0); }, ThrowRow::Overflow, "quantile", "Overflow"},
        // A lambda far from sqrt(1/2) leaves the root outside the t bracket.
        {"MCaICDF lambda 0.3", [=] { return MCaICDF(0.95, 4, 10, narrow, 0); }, ThrowRow::Domain, "toms748_solve", "do not bracket the root"},
        {"MCaCDF q NaN", [=] { return MCaCDF(kNaN, 4, 10, L, 0); }, ThrowRow::Domain, "cdf", "Random variate x is nan"},
        {"MCcCDF q NaN", [=] { return MCcCDF(kNaN, 4, 1e6, L, 0); }, ThrowRow::Domain, "cdf", "Random variate x is nan"},
        {"MCaCDF K -1", [=] { return MCaCDF(1, -1, 10, L, 0); }, ThrowRow::BadAlloc, "", ""},
        {"MCbICDF K -5", [=] { return MCbICDF(0.5, -5, 10, L, 0); }, ThrowRow::BadAlloc, "", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.call);
        try {
            const double v = row.f();
            ADD_FAILURE() << "returned " << v << " instead of raising";
        } catch (const std::bad_alloc& e) {
            EXPECT_EQ(row.kind, ThrowRow::BadAlloc);
            // The allocator's own exception, not a subclass such as a
            // new-expression's std::bad_array_new_length.
            EXPECT_TRUE(typeid(e) == typeid(std::bad_alloc)) << typeid(e).name();
        } catch (const std::overflow_error& e) {
            EXPECT_EQ(row.kind, ThrowRow::Overflow) << e.what();
            EXPECT_NE(std::string(e.what()).find(row.where), std::string::npos) << e.what();
            EXPECT_NE(std::string(e.what()).find(row.what), std::string::npos) << e.what();
        } catch (const std::domain_error& e) {
            EXPECT_EQ(row.kind, ThrowRow::Domain) << e.what();
            EXPECT_NE(std::string(e.what()).find(row.where), std::string::npos) << e.what();
            EXPECT_NE(std::string(e.what()).find(row.what), std::string::npos) << e.what();
        }
    }
}

TEST(MultcompContract, EdgeValuesThatDoNotRaise)
{
    const std::vector<double> lambda = equal_lambda(4);
    // p = 0 for the two-sided brackets: the lower end is -0 without a t
    // quantile, CDF there is 0, so the search stops at once.
    EXPECT_EQ(MCaICDF(0, 4, 10, lambda.data(), 0), 0.0);
    EXPECT_EQ(MCcICDF(1, 4, 10, lambda.data(), 1), 0.0);
    // An infinite Df in CDF is the known-variance case, not an error.
    EXPECT_EQ(MCaCDF(2, 4, kInf, lambda.data(), 0), MCaCDF(2, 4, 1e6, lambda.data(), 0));
    // K = 0 leaves an empty Scale array and still evaluates.
    EXPECT_NO_THROW(MCbCDF(1, 0, 10, lambda.data(), 0));
    EXPECT_NO_THROW(MCcCDF(1, 0, 10, lambda.data(), 0));
    // Infinite q: the conditional probabilities are exactly 1.
    EXPECT_NEAR(MCcCDF(kInf, 4, 1e6, lambda.data(), 0), 1.0, kTol1);
    EXPECT_NEAR(MCaCDF(kInf, 4, 1e6, lambda.data(), 0), 1.0, kTol1);
}

}  // namespace
