// Linear-algebra exports: the matrix descriptor and LAPACK calling frame, the
// QR and SVD exports, LS, OLS and Xb, as the host sees them through the shared
// library.
#if !defined(_WIN32)
#include <dlfcn.h>
#endif
#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "support/qcm_test.hpp"

namespace {

using qcm_test::capture;
using qcm_test::load_reference;

constexpr double kEps = std::numeric_limits<double>::epsilon();
constexpr double kSentinel = 777.25;

// A column-major matrix inside a buffer, described the way the host does it.
struct Mat {
    std::vector<double> buf;
    MatrixDescriptor d;

    Mat(int rows, int cols, int ld = -1, int offset = 0, double fill = kSentinel) {
        if (ld < 0) ld = std::max(rows, 1);
        d = {offset, ld, rows, cols};
        buf.assign(static_cast<std::size_t>(offset) + static_cast<std::size_t>(ld) * std::max(cols, 1), fill);
    }
    double& operator()(int i, int j) { return buf[d.offset + i + static_cast<std::size_t>(j) * d.leadingDimension]; }
    double* data() { return buf.data(); }
};

Mat from_columns(int rows, int cols, const std::vector<double>& colmajor, int ld = -1, int offset = 0) {
    Mat m(rows, cols, ld, offset);
    for (int j = 0; j < cols; ++j)
        for (int i = 0; i < rows; ++i) m(i, j) = colmajor[i + static_cast<std::size_t>(j) * rows];
    return m;
}

Mat random_matrix(int rows, int cols, unsigned seed, int ld = -1, int offset = 0) {
    std::mt19937 gen(seed);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    Mat m(rows, cols, ld, offset);
    for (int j = 0; j < cols; ++j)
        for (int i = 0; i < rows; ++i) m(i, j) = u(gen);
    return m;
}

bool same_bits(const std::vector<double>& a, const std::vector<double>& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(double)) == 0;
}

// Buffers sized for a descriptor's claimed shape, zero pages obtained lazily,
// so the many-column cases that are rejected before any computation stay cheap.
struct LazyZeros {
    std::unique_ptr<double, decltype(&std::free)> p;
    explicit LazyZeros(std::size_t n) : p(static_cast<double*>(std::calloc(n, sizeof(double))), &std::free) {}
    double* get() { return p.get(); }
};

// ---------------------------------------------------------------------------
// Calling frame

TEST(LinalgFrame, QrHonoursOffsetAndLeadingDimension) {
    // A 4 x 3 matrix at element 5 of its buffer, columns 10 apart; the rest of
    // the buffer holds a sentinel that must survive.
    const std::vector<double> a = {2, -1, 0, 3, 1, 4, -2, 0, 0, 1, 5, -3};
    Mat m = from_columns(4, 3, a, 10, 5);
    const MatrixDescriptor d = {5, 10, 4, 3};
    std::vector<double> tau(3, kSentinel);
    auto r = capture([&] { return QR(m.data(), &d, tau.data()); });
    ASSERT_EQ(r.value, 0);
    EXPECT_EQ(r.err, 0);
    for (std::size_t k = 0; k < m.buf.size(); ++k) {
        const long rel = static_cast<long>(k) - 5;
        const bool inside = rel >= 0 && rel % 10 < 4 && rel / 10 < 3;
        if (!inside) {
            EXPECT_EQ(m.buf[k], kSentinel) << "element " << k << " outside the matrix was written";
        }
    }
    // R' R = A' A (exact integers on the right; tolerance a few ulps of the
    // largest entry of A'A, which is 30).
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) {
            double rtr = 0, ata = 0;
            for (int k = 0; k <= std::min(i, j); ++k) rtr += m(k, i) * m(k, j);
            for (int k = 0; k < 4; ++k) ata += a[k + 4 * i] * a[k + 4 * j];
            EXPECT_NEAR(rtr, ata, 30 * 8 * kEps) << i << "," << j;
        }
}

TEST(LinalgFrame, TriangularSolveIgnoresOffset) {
    // The same descriptor {offset 5, ld 10}: the triangle is read from element
    // 0. NaNs where an offset-shifted triangle would lie poison a wrong read.
    Mat t(10, 3, 10, 0, std::nan(""));
    const double upper[3][3] = {{2, 1, -1}, {0, 4, 2}, {0, 0, 5}};
    for (int i = 0; i < 3; ++i)
        for (int j = i; j < 3; ++j) t(i, j) = upper[i][j];
    const MatrixDescriptor da = {5, 10, 4, 3};
    std::vector<double> b(10, std::nan(""));
    b[0] = 1, b[1] = 14, b[2] = 15;  // T (1, 2, 3)'
    const MatrixDescriptor db = {5, 10, 4, 1};
    EXPECT_EQ(SolveTriangularSystem(t.data(), &da, 1, 0, b.data(), &db), 0);
    EXPECT_EQ(b[0], 1.0);
    EXPECT_EQ(b[1], 2.0);
    EXPECT_EQ(b[2], 3.0);
}

struct BadCall {
    const char* name;
    int expected;  // LAPACK's parameter number of the offending argument, negated
    std::function<int32_t(std::vector<double>&)> call;
};

TEST(LinalgFrame, LeadingDimensionBelowRowsNamesTheLdaParameter) {
    // Each row: the export's LAPACK routine and the position of its LDA (or LDB).
    static const MatrixDescriptor bad = {0, 3, 4, 2};  // ld 3 < 4 rows
    static const MatrixDescriptor good = {0, 4, 4, 2};
    static const MatrixDescriptor sq_bad = {0, 1, 2, 2};  // triangular: ld 1 < n 2
    static const MatrixDescriptor sq_good = {0, 2, 2, 2};
    static const MatrixDescriptor empty = {0, 0, 0, 2};  // ld 0 < max(1, 0)
    std::vector<double> tau(8, kSentinel), s(8), u(16), vt(16), y(16, 1.0), beta(8, kSentinel);
    std::vector<int32_t> jpvt(2, 0);
    const std::vector<BadCall> rows = {
        {"QR dgeqrf LDA=4", -4, [&](std::vector<double>& a) { return QR(a.data(), &bad, tau.data()); }},
        {"QR dgeqrf empty LDA", -4, [&](std::vector<double>& a) { return QR(a.data(), &empty, tau.data()); }},
        {"QRP dgeqp3 LDA=4", -4, [&](std::vector<double>& a) { return QRP(a.data(), &bad, tau.data(), jpvt.data()); }},
        {"QR_Q dorgqr LDA=5", -5, [&](std::vector<double>& a) { return QR_Q(a.data(), &bad, tau.data()); }},
        {"QR_Qy dormqr LDA=7", -7,
         [&](std::vector<double>& a) { return QR_Qy(a.data(), &bad, 1, tau.data(), y.data(), &good); }},
        {"QR_Qy dormqr LDC=10", -10,
         [&](std::vector<double>& a) { return QR_Qy(a.data(), &good, 0, tau.data(), a.data(), &bad); }},
        {"SolveTriangularSystem dtrtrs LDA=7", -7,
         [&](std::vector<double>& a) { return SolveTriangularSystem(a.data(), &sq_bad, 1, 0, y.data(), &sq_good); }},
        {"SolveTriangularSystem dtrtrs LDB=9", -9,
         [&](std::vector<double>& a) { return SolveTriangularSystem(y.data(), &sq_good, 1, 0, a.data(), &sq_bad); }},
        {"SVD dgesdd LDA=5", -5,
         [&](std::vector<double>& a) { return SVD("N", a.data(), &bad, s.data(), u.data(), &good, vt.data(), &good); }},
        {"LS dgels LDA=6", -6, [&](std::vector<double>& a) { return LS(a.data(), &bad, y.data(), &good); }},
        {"LS dgels LDB=8", -8, [&](std::vector<double>& a) { return LS(y.data(), &good, a.data(), &bad); }},
        {"OLS solver LDA=5", -5,
         [&](std::vector<double>& a) {
             return OLS(a.data(), &bad, y.data(), &good, beta.data(), &good, tau.data(), 1e-7);
         }},
        {"OLS solver LDB=7", -7,
         [&](std::vector<double>& a) {
             return OLS(y.data(), &good, a.data(), &bad, beta.data(), &good, tau.data(), 1e-7);
         }},
    };
    for (const BadCall& row : rows) {
        std::vector<double> a(16);
        for (std::size_t k = 0; k < a.size(); ++k) a[k] = 1.0 + static_cast<double>(k);
        const std::vector<double> before = a;
        auto r = capture([&] { return row.call(a); });
        EXPECT_FALSE(r.threw) << row.name;
        EXPECT_EQ(r.value, row.expected) << row.name;
        EXPECT_EQ(r.err, 0) << row.name << ": errno is not touched";
        EXPECT_TRUE(same_bits(a, before)) << row.name << ": the buffer was written";
    }
    EXPECT_THAT(tau, testing::Each(kSentinel));
    EXPECT_THAT(beta, testing::Each(kSentinel));
}

TEST(LinalgFrame, WorkspaceOfTenThousandDoublesLimitsTheColumns) {
    // LWORK is always 10000: LAPACK's minimum decides, before anything is read.
    std::vector<double> a(10001, 2.0), tau(10001, kSentinel), c(10001, 3.0);
    std::vector<int32_t> jpvt(10001, 0);
    const std::vector<double> a0 = a, c0 = c;
    const MatrixDescriptor wide = {0, 1, 1, 10001};
    EXPECT_EQ(QR(a.data(), &wide, tau.data()), -7) << "dgeqrf LWORK < N";
    const MatrixDescriptor qrp_wide = {0, 1, 1, 3334};
    EXPECT_EQ(QRP(a.data(), &qrp_wide, tau.data(), jpvt.data()), -8) << "dgeqp3 LWORK < 3N+1";
    const MatrixDescriptor one = {0, 1, 1, 1};
    EXPECT_EQ(QR_Qy(a.data(), &one, 1, tau.data(), c.data(), &wide), -12) << "dormqr LWORK < N of C";
    EXPECT_TRUE(same_bits(a, a0));
    EXPECT_TRUE(same_bits(c, c0));
    EXPECT_EQ(tau[0], kSentinel);
    // The largest usable sizes still run.
    const MatrixDescriptor qr_max = {0, 1, 1, 10000};
    EXPECT_EQ(QR(a.data(), &qr_max, tau.data()), 0);
    const MatrixDescriptor qrp_max = {0, 1, 1, 3333};
    EXPECT_EQ(QRP(a.data(), &qrp_max, tau.data(), jpvt.data()), 0);
}

TEST(LinalgFrame, EmptyMatricesAreLegal) {
    std::vector<double> a(9, kSentinel), b(9, kSentinel), tau(3, kSentinel), s(3), u(9), vt(9), beta(3, kSentinel);
    std::vector<int32_t> jpvt(3, 0);
    const MatrixDescriptor no_rows = {0, 1, 0, 3}, no_cols = {0, 3, 3, 0}, sq0 = {0, 1, 0, 0}, d3 = {0, 3, 3, 3};
    const std::vector<std::pair<const char*, std::function<int32_t()>>> rows = {
        {"QR 0 rows", [&] { return QR(a.data(), &no_rows, tau.data()); }},
        {"QR 0 columns", [&] { return QR(a.data(), &no_cols, tau.data()); }},
        {"QRP 0 rows", [&] { return QRP(a.data(), &no_rows, tau.data(), jpvt.data()); }},
        {"QR_Q 0 columns", [&] { return QR_Q(a.data(), &no_cols, tau.data()); }},
        {"QR_Qy C of 0 columns", [&] { return QR_Qy(a.data(), &no_cols, 0, tau.data(), b.data(), &no_cols); }},
        {"SolveTriangularSystem n 0", [&] { return SolveTriangularSystem(a.data(), &sq0, 1, 0, b.data(), &sq0); }},
        {"SVD 0 x 0", [&] { return SVD("A", a.data(), &sq0, s.data(), u.data(), &sq0, vt.data(), &sq0); }},
        {"LS 0 rows", [&] { return LS(a.data(), &no_rows, b.data(), &d3); }},
        {"OLS 0 rows", [&] { return OLS(a.data(), &no_rows, b.data(), &d3, beta.data(), &d3, tau.data(), 1e-7); }},
        {"OLS 0 columns", [&] { return OLS(a.data(), &no_cols, b.data(), &d3, beta.data(), &d3, tau.data(), 1e-7); }},
    };
    for (const auto& row : rows) EXPECT_EQ(row.second(), 0) << row.first;
    EXPECT_THAT(a, testing::Each(kSentinel));
    EXPECT_THAT(beta, testing::Each(kSentinel));
}

TEST(LinalgFrame, BadArgumentReachesOpenBlasHandlerWhichReturns) {
    // Reference LAPACK's handler stops the process; the one linked prints and
    // returns, so the export hands back the negative info.
    std::vector<double> a(4, 1.0), tau(2);
    const MatrixDescriptor bad = {0, 1, 2, 2};
    testing::internal::CaptureStdout();
    const int32_t info = QR(a.data(), &bad, tau.data());
    std::fflush(stdout);
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(info, -4);
    EXPECT_THAT(printed, testing::HasSubstr("DGEQRF"));
    EXPECT_THAT(printed, testing::HasSubstr("parameter number  4"));
#if !defined(_WIN32)  // the Windows DLL links its own handler (windows/xerbla.c)
    // The handler the library resolves is OpenBLAS's.
    Dl_info where{};
    void* handler = dlsym(RTLD_DEFAULT, "xerbla_");
    ASSERT_NE(handler, nullptr);
    ASSERT_NE(dladdr(handler, &where), 0);
    EXPECT_THAT(std::string(where.dli_fname), testing::HasSubstr("openblas"));
#endif
}

// ---------------------------------------------------------------------------
// QR family

// Columns of a 4 x 3 matrix: orthogonal directions scaled to the given norms,
// so that column pivoting must order them by norm.
Mat orthogonal_columns(const double norms[3]) {
    const double dirs[3][4] = {{1, 1, 1, 1}, {1, -1, 1, -1}, {1, 1, -1, -1}};
    Mat m(4, 3);
    for (int j = 0; j < 3; ++j)
        for (int i = 0; i < 4; ++i) m(i, j) = 0.5 * norms[j] * dirs[j][i];
    return m;
}

TEST(LinalgQr, PivotedQrOrdersFreeColumnsByNorm) {
    struct Row {
        double norms[3];
        std::vector<int32_t> in, out;
        const char* source;
    };
    const std::vector<Row> rows = {
        {{1, 3, 2}, {0, 0, 0}, {2, 3, 1}, "orthogonal columns: decreasing norm order"},
        {{3, 2, 1}, {0, 0, 0}, {1, 2, 3}, "already in decreasing order"},
        {{1, 2, 3}, {1, 0, 0}, {1, 3, 2}, "column 1 fixed in front, the rest by norm"},
        {{1, 2, 3}, {0, 1, 0}, {2, 3, 1}, "column 2 fixed, swapped to the front"},
    };
    for (const Row& row : rows) {
        Mat m = orthogonal_columns(row.norms);
        std::vector<double> tau(3);
        std::vector<int32_t> jpvt = row.in;
        ASSERT_EQ(QRP(m.data(), &m.d, tau.data(), jpvt.data()), 0) << row.source;
        EXPECT_EQ(jpvt, row.out) << row.source;
        // Orthogonal columns: |R| is diagonal with the permuted norms.
        for (int j = 0; j < 3; ++j)
            EXPECT_NEAR(std::fabs(m(j, j)), row.norms[row.out[j] - 1], 8 * kEps * 3) << row.source;
    }
}

TEST(LinalgQr, ApplyingQThenQTransposeRestoresC) {
    Mat a = random_matrix(6, 3, 11, 8, 2);
    Mat c = random_matrix(6, 2, 12, 7, 3);
    const Mat c0 = c;
    const Mat a0 = a;
    std::vector<double> tau(3);
    ASSERT_EQ(QR(a.data(), &a.d, tau.data()), 0);
    MatrixDescriptor dc = c.d;
    dc.rows = -1;  // never read: the row count comes from A
    ASSERT_EQ(QR_Qy(a.data(), &a.d, 1, tau.data(), c.data(), &dc), 0);
    ASSERT_EQ(QR_Qy(a.data(), &a.d, 0, tau.data(), c.data(), &dc), 0);
    // Q orthogonal: two applications of 6 x 6 reflector products cost O(n eps).
    for (int j = 0; j < 2; ++j)
        for (int i = 0; i < 6; ++i) EXPECT_NEAR(c(i, j), c0.buf[c0.d.offset + i + j * 7], 32 * kEps);
    // Q' A = R: the original A transformed reproduces the stored triangle.
    Mat orig = a0;
    MatrixDescriptor d3 = orig.d;
    ASSERT_EQ(QR_Qy(a.data(), &a.d, 1, tau.data(), orig.data(), &d3), 0);
    for (int j = 0; j < 3; ++j)
        for (int i = 0; i < 6; ++i) EXPECT_NEAR(orig(i, j), i <= j ? a(i, j) : 0.0, 32 * kEps) << i << "," << j;
}

TEST(LinalgQr, ThinQHasOrthonormalColumnsAndRebuildsA) {
    Mat a = random_matrix(5, 3, 21, 6, 4);
    const Mat a0 = a;
    std::vector<double> tau(3);
    ASSERT_EQ(QR(a.data(), &a.d, tau.data()), 0);
    double r[3][3] = {};
    for (int i = 0; i < 3; ++i)
        for (int j = i; j < 3; ++j) r[i][j] = a(i, j);
    ASSERT_EQ(QR_Q(a.data(), &a.d, tau.data()), 0);
    for (int p = 0; p < 3; ++p)
        for (int q = 0; q < 3; ++q) {
            double dot = 0;
            for (int i = 0; i < 5; ++i) dot += a(i, p) * a(i, q);
            EXPECT_NEAR(dot, p == q ? 1.0 : 0.0, 16 * kEps) << p << "," << q;
        }
    for (int i = 0; i < 5; ++i)
        for (int j = 0; j < 3; ++j) {
            double qr = 0;
            for (int k = 0; k <= j; ++k) qr += a(i, k) * r[k][j];
            EXPECT_NEAR(qr, a0.buf[a0.d.offset + i + j * 6], 32 * kEps);
        }
}

TEST(LinalgTriangular, SolvesEachTriangleAndTranspose) {
    // Stored 3 x 3 whose upper and lower triangles differ; x = (1, 2, 3) is
    // recovered exactly since every quotient is an integer.
    const double s[3][3] = {{2, 1, -1}, {3, 4, 2}, {1, -2, 5}};
    const double x[3] = {1, 2, 3};
    for (int upper = 0; upper <= 1; ++upper)
        for (int transpose = 0; transpose <= 1; ++transpose) {
            Mat t(3, 3);
            for (int i = 0; i < 3; ++i)
                for (int j = 0; j < 3; ++j) t(i, j) = s[i][j];
            auto tri = [&](int i, int j) { return (upper ? i <= j : i >= j) ? s[i][j] : 0.0; };
            std::vector<double> b(3, 0.0);
            for (int i = 0; i < 3; ++i)
                for (int k = 0; k < 3; ++k) b[i] += (transpose ? tri(k, i) : tri(i, k)) * x[k];
            const MatrixDescriptor db = {0, 3, 3, 1};
            ASSERT_EQ(SolveTriangularSystem(t.data(), &t.d, upper, transpose, b.data(), &db), 0);
            EXPECT_EQ(b, std::vector<double>(x, x + 3)) << "upper " << upper << " transpose " << transpose;
        }
}

TEST(LinalgTriangular, ZeroDiagonalGivesItsOneBasedIndex) {
    struct Row {
        std::vector<double> diagonal;
        int expected;
    };
    const std::vector<Row> rows = {{{2, 0, 3, 0}, 2}, {{0, 1, 1}, 1}, {{1, 1, 0}, 3}, {{-0.0, 5}, 1}};
    for (const Row& row : rows) {
        const int n = static_cast<int>(row.diagonal.size());
        Mat t(n, n, n, 0, 1.0);
        for (int i = 0; i < n; ++i) t(i, i) = row.diagonal[i];
        std::vector<double> b(n, 4.0);
        const MatrixDescriptor db = {0, n, n, 1};
        EXPECT_EQ(SolveTriangularSystem(t.data(), &t.d, 1, 0, b.data(), &db), row.expected);
        EXPECT_THAT(b, testing::Each(4.0)) << "nothing is solved";
    }
}

// ---------------------------------------------------------------------------
// SVD against mpmath

struct SvdCase {
    int rows = 0, cols = 0;
    std::vector<double> a, sv;
};

std::map<std::string, SvdCase> svd_cases() {
    std::map<std::string, SvdCase> cases;
    for (const auto& row : load_reference("linalg_svd.csv")) {
        std::vector<double> all = row.args;
        all.push_back(row.expected);
        const std::string name = row.function.substr(row.function.find(':') + 1);
        SvdCase& c = cases[name];
        if (row.function.rfind("mat:", 0) == 0) {
            c.rows = static_cast<int>(all[0]);
            c.cols = static_cast<int>(all[1]);
            c.a.assign(all.begin() + 2, all.end());
        } else {
            c.sv.push_back(row.expected);
        }
    }
    return cases;
}

TEST(LinalgSvd, SingularValuesMatchMpmath) {
    // Backward stability bounds each error by a modest multiple of eps times
    // the largest singular value.
    const auto cases = svd_cases();
    ASSERT_EQ(cases.size(), 4u);
    for (const auto& [name, c] : cases) {
        for (const char* job : {"N", "A", "S"}) {
            // An offset in any descriptor is ignored: the data pointer is (0,0).
            Mat a = from_columns(c.rows, c.cols, c.a);
            MatrixDescriptor da = a.d;
            da.offset = 7;
            const int mn = std::min(c.rows, c.cols);
            std::vector<double> s(mn), u(c.rows * c.rows, 0.0), vt(c.cols * c.cols, 0.0);
            const MatrixDescriptor du = {3, c.rows, c.rows, c.rows}, dvt = {9, c.cols, c.cols, c.cols};
            ASSERT_EQ(SVD(job, a.data(), &da, s.data(), u.data(), &du, vt.data(), &dvt), 0) << name << job;
            const double tol = 64 * kEps * c.sv[0];
            for (int k = 0; k < mn; ++k) EXPECT_NEAR(s[k], c.sv[k], tol) << name << " " << job << " sigma " << k;
            if (*job == 'N') continue;
            // U Sigma V' rebuilds A.
            for (int i = 0; i < c.rows; ++i)
                for (int j = 0; j < c.cols; ++j) {
                    double sum = 0;
                    for (int k = 0; k < mn; ++k) sum += u[i + k * c.rows] * s[k] * vt[k + j * c.cols];
                    EXPECT_NEAR(sum, c.a[i + j * c.rows], tol) << name << job;
                }
        }
    }
}

TEST(LinalgSvd, UnknownJobIsParameterOne) {
    std::vector<double> a = {1, 2, 3, 4}, s(2), u(4), vt(4);
    const MatrixDescriptor d = {0, 2, 2, 2};
    EXPECT_EQ(SVD("X", a.data(), &d, s.data(), u.data(), &d, vt.data(), &d), -1);
    EXPECT_EQ(a, (std::vector<double>{1, 2, 3, 4}));
}

// ---------------------------------------------------------------------------
// OLS, LS, Xb

struct OlsRun {
    int32_t info;
    std::vector<double> beta;
};

OlsRun run_ols(Mat x, std::vector<double> y, double tol) {
    const int m = x.d.rows, n = x.d.columns;
    y.resize(std::max(m, n), 0.0);
    const MatrixDescriptor dy = {0, static_cast<int32_t>(y.size()), m, 1};
    std::vector<double> beta(n, kSentinel), tau(std::max(1, std::min(m, n)));
    const MatrixDescriptor db = {0, std::max(1, n), n, 1};
    OlsRun r;
    r.info = OLS(x.data(), &x.d, y.data(), &dy, beta.data(), &db, tau.data(), tol);
    r.beta = beta;
    return r;
}

TEST(LinalgOls, StopsAtTheFirstDependentColumn) {
    struct Row {
        const char* what;
        int rows, cols;
        std::vector<double> x;  // column-major
        double tol;
        int expected;
    };
    const std::vector<Row> rows = {
        {"zero third column", 6, 4, {1, 2, 3, 4, 5, 6, 1, -1, 2, 0, 3, 1, 0, 0, 0, 0, 0, 0, 2, 7, 1, 8, 2, 8}, 1e-7, 3},
        {"second column exactly doubles the first", 5, 3, {1, 2, 3, 4, 5, 2, 4, 6, 8, 10, 1, 0, 1, 0, 2}, 1e-10, 2},
        {"zero column at tolerance 0", 4, 3, {1, 2, 3, 4, 0, 0, 0, 0, 1, 1, 0, 0}, 0.0, 2},
        {"column reduced to exactly zero, tolerance 0", 4, 2, {1, 0, 0, 0, 5, 0, 0, 0}, 0.0, 2},
        {"tolerance 1 stops at the first column", 4, 2, {1, 2, 3, 4, 1, 0, 0, 1}, 1.0, 1},
        // Column 2 = column 1 + 1e-9 (1, -1, 1, -1): its residual norm 2e-9 is
        // 1e-9 of its norm. Downdating alone cancels to zero; the recomputed
        // norm keeps it, so only a tolerance above 1e-9 stops here.
        {"nearly dependent, tolerance below the residual",
         4,
         2,
         {1, 1, 1, 1, 1 + 1e-9, 1 - 1e-9, 1 + 1e-9, 1 - 1e-9},
         1e-10,
         0},
        {"nearly dependent, tolerance above the residual",
         4,
         2,
         {1, 1, 1, 1, 1 + 1e-9, 1 - 1e-9, 1 + 1e-9, 1 - 1e-9},
         1e-8,
         2},
        {"nearly dependent, tolerance 0", 4, 2, {1, 1, 1, 1, 1 + 1e-9, 1 - 1e-9, 1 + 1e-9, 1 - 1e-9}, 0.0, 0},
    };
    for (const Row& row : rows) {
        std::vector<double> y(row.rows);
        for (int i = 0; i < row.rows; ++i) y[i] = 1.0 + i * i;
        OlsRun r = run_ols(from_columns(row.rows, row.cols, row.x), y, row.tol);
        EXPECT_EQ(r.info, row.expected) << row.what;
        if (row.expected > 0) {
            EXPECT_THAT(r.beta, testing::Each(kSentinel)) << row.what << ": beta untouched";
        }
    }
}

TEST(LinalgOls, WorkspaceAdmitsAtMost2499Columns) {
    // M >= N, one right-hand side. All are rejected (or, for 2499, stopped at
    // the zero first column) before any Householder step, so the lazily zeroed
    // buffers are barely read.
    struct Row {
        int cols, expected;
        const char* why;
    };
    const std::vector<Row> rows = {{2499, 1, "fits: reaches the tolerance test (zero column 1)"},
                                   {2500, -8, "factorisation gets 10000 - N < 3N + 1"},
                                   {3333, -8, "factorisation gets 10000 - N < 3N + 1"},
                                   {3334, -12, "driver minimum 3N > 10000"},
                                   {5000, -12, "driver minimum 3N > 10000"}};
    for (const Row& row : rows) {
        const std::size_t n = row.cols;
        LazyZeros x(n * n), y(n), beta(n), tau(n);
        const MatrixDescriptor dx = {0, row.cols, row.cols, row.cols}, dy = {0, row.cols, row.cols, 1};
        EXPECT_EQ(OLS(x.get(), &dx, y.get(), &dy, beta.get(), &dy, tau.get(), 1e-7), row.expected) << row.why;
        EXPECT_EQ(*std::max_element(beta.get(), beta.get() + n), 0.0);
    }
}

TEST(LinalgOls, WideOrHugeColumnCountsFailBeforeAnyWork) {
    // Few rows: the driver's minimum (about N) passes, the factorisation's
    // 3N + 1 of the remaining 10000 - min(M, N) does not. A column count near
    // the int range fails the driver's minimum without wrapping. Nothing is
    // read, so small buffers serve.
    std::vector<double> buf(16, kSentinel);
    const MatrixDescriptor wide = {0, 10, 10, 5000}, wide_y = {0, 5000, 10, 1};
    EXPECT_EQ(OLS(buf.data(), &wide, buf.data(), &wide_y, buf.data(), &wide_y, buf.data(), 1e-7), -8);
    const int32_t big = std::numeric_limits<int32_t>::max();
    const MatrixDescriptor huge = {0, 1, 1, big}, huge_y = {0, big, 1, 1};
    EXPECT_EQ(OLS(buf.data(), &huge, buf.data(), &huge_y, buf.data(), &huge_y, buf.data(), 1e-7), -12);
    EXPECT_THAT(buf, testing::Each(kSentinel));
}

TEST(LinalgOls, InvalidDimensionsNameTheirParameters) {
    std::vector<double> x(16, 1.0), y(4, 1.0), beta(4, kSentinel), tau(4);
    struct Row {
        MatrixDescriptor dx, dy;
        int expected;
        const char* what;
    };
    const std::vector<Row> rows = {
        {{0, 4, -1, 2}, {0, 4, 4, 1}, -1, "negative rows"},
        {{0, 4, 4, -2}, {0, 4, 4, 1}, -2, "negative columns"},
        {{0, 4, 4, 2}, {0, 4, 4, -1}, -3, "negative right-hand sides"},
        {{0, 4, 2, 4}, {0, 3, 2, 1}, -7, "LDB below the column count"},
    };
    for (const Row& row : rows) {
        const MatrixDescriptor db = {0, 4, 4, 1};
        auto r = capture([&] { return OLS(x.data(), &row.dx, y.data(), &row.dy, beta.data(), &db, tau.data(), 0.1); });
        EXPECT_FALSE(r.threw) << row.what;
        EXPECT_EQ(r.value, row.expected) << row.what;
    }
    EXPECT_THAT(beta, testing::Each(kSentinel));
}

TEST(LinalgOls, FewerRowsThanColumnsStillSolvesAfterRejectedQtY) {
    // Q'y is rejected by dormqr (K = N > M, its parameter 5), yet the copy and
    // the triangular solve (over a 3 x 3 triangle, hence LDA 3) run and beta
    // is overwritten.
    Mat x = from_columns(2, 3, {2, 0, 1, 3, 1, 1}, 3);
    std::vector<double> y = {4, 6, 0};
    const MatrixDescriptor dy = {0, 3, 2, 1}, db = {0, 3, 3, 1};
    std::vector<double> beta(3, kSentinel), tau(2);
    EXPECT_EQ(OLS(x.data(), &x.d, y.data(), &dy, beta.data(), &db, tau.data(), 1e-7), -5);
    EXPECT_NE(beta[0], kSentinel);
}

TEST(LinalgOls, FullRankAgreesWithLs) {
    // Same data, two algorithms (dgels and the library's own): both are
    // backward stable; the condition number of this random 40 x 6 is small,
    // so they agree to a few hundred eps of |beta|.
    Mat x = random_matrix(40, 6, 31);
    std::vector<double> y(40);
    std::mt19937 gen(32);
    std::normal_distribution<double> noise(0.0, 0.1);
    for (int i = 0; i < 40; ++i) y[i] = 1.5 * x(i, 0) - 2.0 * x(i, 3) + 0.25 * x(i, 5) + noise(gen);
    Mat xl = x;
    std::vector<double> yl = y;
    const Mat x0 = x;
    OlsRun ols = run_ols(x, y, 1e-7);
    ASSERT_EQ(ols.info, 0);
    const MatrixDescriptor dy = {0, 40, 40, 1};
    ASSERT_EQ(LS(xl.data(), &xl.d, yl.data(), &dy), 0);
    double norm = 0;
    for (int j = 0; j < 6; ++j) norm = std::max(norm, std::fabs(yl[j]));
    for (int j = 0; j < 6; ++j) EXPECT_NEAR(ols.beta[j], yl[j], 256 * kEps * norm) << "beta " << j;
    Mat xr = x0;
    EXPECT_NEAR(Xb(xr.data(), &xr.d, ols.beta.data(), y.data()), Xb(xr.data(), &xr.d, yl.data(), y.data()), 1e-12);
}

TEST(LinalgOls, LongleyCertifiedValues) {
    // NIST StRD Longley: 16 x 7 with intercept, condition number about 5e9.
    std::vector<std::vector<double>> data;
    {
        std::ifstream in(std::string(QCM_TEST_DATA_DIR) + "/longley.csv");
        ASSERT_TRUE(in);
        std::string line;
        std::getline(in, line);  // header
        while (std::getline(in, line)) {
            std::stringstream fields(line);
            std::string f;
            std::vector<double> row;
            while (std::getline(fields, f, ',')) row.push_back(std::strtod(f.c_str(), nullptr));
            data.push_back(row);
        }
    }
    ASSERT_EQ(data.size(), 16u);
    std::vector<double> certified;
    double certified_rss = 0;
    for (const auto& row : load_reference("linalg_longley.csv")) {
        if (row.function == "beta") certified.push_back(row.expected);
        if (row.function == "rss") certified_rss = row.expected;
    }
    ASSERT_EQ(certified.size(), 7u);
    Mat x(16, 7);
    std::vector<double> y(16);
    for (int i = 0; i < 16; ++i) {
        y[i] = data[i][0];
        x(i, 0) = 1.0;
        for (int j = 1; j < 7; ++j) x(i, j) = data[i][j];
    }
    const Mat x0 = x;
    OlsRun ols = run_ols(x, y, 1e-7);
    ASSERT_EQ(ols.info, 0);
    Mat xl = x0;
    std::vector<double> yl = y;
    const MatrixDescriptor dy = {0, 16, 16, 1};
    ASSERT_EQ(LS(xl.data(), &xl.d, yl.data(), &dy), 0);
    // At least 7 significant digits are required; both solvers deliver about
    // 11 here (relative errors up to 1.2e-11), and the bound of 1e-9 leaves
    // room for other BLAS builds while catching a real loss of accuracy.
    for (int j = 0; j < 7; ++j) {
        EXPECT_LT(qcm_test::relative_error(ols.beta[j], certified[j]), 1e-9) << "OLS b" << j;
        EXPECT_LT(qcm_test::relative_error(yl[j], certified[j]), 1e-9) << "LS b" << j;
    }
    Mat xr = x0;
    EXPECT_LT(qcm_test::relative_error(Xb(xr.data(), &xr.d, ols.beta.data(), y.data()), certified_rss), 1e-9);
}

TEST(LinalgXb, ResidualSumOfSquares) {
    // X = [1 2; 3 4; 5 6], beta = (1, 1), y = (3, 8, 10): residuals 0, 1, -1.
    const std::vector<double> x = {1, 3, 5, 2, 4, 6, kSentinel};
    const std::vector<double> beta = {1, 1}, y = {3, 8, 10};
    struct Row {
        MatrixDescriptor d;
        double expected;
        const char* what;
    };
    const std::vector<Row> rows = {
        {{0, 3, 3, 2}, 2.0, "exact residuals"},
        {{4, 3, 3, 2}, 2.0, "offset ignored"},
        {{0, 3, 0, 2}, 0.0, "no rows"},
        {{0, 3, 3, 0}, 9.0 + 64.0 + 100.0, "no columns: sum of y squared"},
        {{0, 3, 2, 1}, 4.0 + 25.0, "first two rows, first column"},
    };
    for (const Row& row : rows) {
        auto r = capture([&] { return Xb(x.data(), &row.d, beta.data(), y.data()); });
        EXPECT_EQ(r.value, row.expected) << row.what;
        EXPECT_EQ(r.err, 0);
    }
}

}  // namespace
