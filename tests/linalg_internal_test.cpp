// The tolerance-driven QR behind OLS, checked against LAPACK's own
// unpivoted QR: with no column moved, both apply the same reflectors.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "linalg/lapack.hpp"
#include "linalg/tolerance_qr.hpp"

namespace {

using qcm::linalg::ToleranceQrFactor;

constexpr double kEps = std::numeric_limits<double>::epsilon();

std::vector<double> random_columns(int m, int n, unsigned seed) {
    std::mt19937 gen(seed);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    std::vector<double> a(static_cast<std::size_t>(m) * n);
    for (double& v : a) v = u(gen);
    return a;
}

// R of LAPACK's dgeqrf on a copy of a (m x n, ld m).
std::vector<double> lapack_r(std::vector<double> a, int m, int n) {
    std::vector<double> tau(std::min(m, n)), work(10000);
    int lwork = 10000, info = 0;
    dgeqrf_(&m, &n, a.data(), &m, tau.data(), work.data(), &lwork, &info);
    EXPECT_EQ(info, 0);
    return a;
}

TEST(ToleranceQr, FreeColumnsMatchUnpivotedQr) {
    // Same Householder convention (dlarfg) in the same order: R agrees to
    // rounding, a few tens of eps for entries of order one.
    struct Row {
        int m, n;
    };
    for (const Row& row : {Row{7, 4}, Row{5, 5}, Row{30, 12}, Row{3, 6}}) {
        std::vector<double> a = random_columns(row.m, row.n, 100 + row.m * row.n);
        const std::vector<double> want = lapack_r(a, row.m, row.n);
        std::vector<int> jpvt(row.n, 0);
        std::vector<double> tau(std::min(row.m, row.n)), work(10000);
        const int lwork = 10000;
        int info = -99;
        const double tol = 1e-12;
        ToleranceQrFactor(&row.m, &row.n, a.data(), &row.m, jpvt.data(), tau.data(), work.data(), &lwork, &info, &tol);
        ASSERT_EQ(info, 0);
        for (int j = 0; j < row.n; ++j) {
            EXPECT_EQ(jpvt[j], j + 1) << "free columns stay in place";
            for (int i = 0; i <= std::min(j, row.m - 1); ++i)
                EXPECT_NEAR(a[i + j * row.m], want[i + j * row.m], 64 * kEps) << row.m << "x" << row.n;
        }
    }
}

TEST(ToleranceQr, FixedColumnsMoveToTheFront) {
    // Marking column 3 swaps it with column 1: the result is the unpivoted QR
    // of [c3 c2 c1 c4], and the pivot vector records the swap.
    const int m = 6, n = 4;
    std::vector<double> a = random_columns(m, n, 7);
    std::vector<double> permuted = a;
    std::swap_ranges(permuted.begin(), permuted.begin() + m, permuted.begin() + 2 * m);
    const std::vector<double> want = lapack_r(permuted, m, n);
    std::vector<int> jpvt = {0, 0, 1, 0};
    std::vector<double> tau(n), work(10000);
    const int lwork = 10000;
    int info = -99;
    const double tol = 1e-12;
    ToleranceQrFactor(&m, &n, a.data(), &m, jpvt.data(), tau.data(), work.data(), &lwork, &info, &tol);
    ASSERT_EQ(info, 0);
    EXPECT_EQ(jpvt, (std::vector<int>{3, 2, 1, 4}));
    for (int j = 0; j < n; ++j)
        for (int i = 0; i <= j; ++i) EXPECT_NEAR(a[i + j * m], want[i + j * m], 64 * kEps);
}

TEST(ToleranceQr, WorkspaceQueryOnlyReportsSizes) {
    // LWORK = -1: the optimum lands in WORK[0], nothing else happens.
    const int m = 50, n = 10, nrhs = 1, query = -1;
    std::vector<double> a(m * n, 1.0), b(m, 2.0), x(n, 3.0), tau(n, 4.0), work(4, 0.0);
    std::vector<int> jpvt(n, 0);
    int info = -99;
    const double tol = 1e-7;
    qcm::linalg::ToleranceLeastSquares(&m, &n, &nrhs, a.data(), &m, b.data(), &m, jpvt.data(), tau.data(), &tol,
                                       x.data(), &n, work.data(), &query, &info);
    EXPECT_EQ(info, 0);
    const int nb = qcm::linalg::ilaenv(1, "DGEQRF", " ", m, n, -1, -1);
    EXPECT_GE(work[0], n + 2.0 * n + nb * (n + 1.0));
    EXPECT_EQ(a, std::vector<double>(m * n, 1.0));
    EXPECT_EQ(x, std::vector<double>(n, 3.0));
}

}  // namespace
