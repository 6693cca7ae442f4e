// The LAPACK subset that goes into the DLL, called directly by its Fortran
// names: results of small factorizations worked out by hand, and invalid
// arguments that must come back as a negative info with the process alive
// (the library's xerbla returns instead of stopping).
#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <vector>

extern "C" {
void dgeqrf_(const int* m, const int* n, double* a, const int* lda, double* tau, double* work, const int* lwork,
             int* info);
void dgesdd_(const char* jobz, const int* m, const int* n, double* a, const int* lda, double* s, double* u,
             const int* ldu, double* vt, const int* ldvt, double* work, const int* lwork, int* iwork, int* info,
             std::size_t jobz_length);
}

namespace {

struct QrCase {
    const char* what;
    int m, n, lda, lwork;
    int expected_info;
};

// Argument positions of DGEQRF: M 1, N 2, A 3, LDA 4, TAU 5, WORK 6, LWORK 7.
const QrCase kBadQr[] = {
    {"negative M", -1, 2, 3, 100, -1}, {"negative N", 3, -1, 3, 100, -2},
    {"LDA below M", 3, 2, 2, 100, -4}, {"LDA zero for an empty matrix", 0, 0, 0, 100, -4},
    {"LWORK below N", 3, 2, 3, 1, -7},
};

}  // namespace

TEST(LapackSubset, BadLeadingDimensionReturnsMinusFourAndLeavesTheMatrix) {
    std::vector<double> a = {3, 4, 0, 1, 2, 2};
    const std::vector<double> before = a;
    std::vector<double> tau(2, -1), work(100);
    const int m = 3, n = 2, lda = 2, lwork = 100;
    int info = 0;
    dgeqrf_(&m, &n, a.data(), &lda, tau.data(), work.data(), &lwork, &info);
    EXPECT_EQ(info, -4);
    EXPECT_EQ(a, before);
    EXPECT_EQ(tau[0], -1);
}

TEST(LapackSubset, EveryBadArgumentReturnsItsPosition) {
    for (const QrCase& c : kBadQr) {
        std::vector<double> a(16, 7), tau(4), work(100);
        int info = 0;
        dgeqrf_(&c.m, &c.n, a.data(), &c.lda, tau.data(), work.data(), &c.lwork, &info);
        EXPECT_EQ(info, c.expected_info) << c.what;
        EXPECT_EQ(a, std::vector<double>(16, 7)) << c.what;
    }
}

// First column (3, 4, 0): the Householder reflector maps it to -5 e1 with
// tau = (beta - alpha) / beta = 1.6 (LAPACK's sign convention).
TEST(LapackSubset, FactorsAfterAFailedCall) {
    std::vector<double> a = {3, 4, 0, 1, 2, 2};
    std::vector<double> tau(2), work(100);
    const int m = 3, n = 2, lda = 3, lwork = 100;
    int info = -99;
    dgeqrf_(&m, &n, a.data(), &lda, tau.data(), work.data(), &lwork, &info);
    ASSERT_EQ(info, 0);
    EXPECT_NEAR(a[0], -5.0, 4e-16 * 5);
    EXPECT_NEAR(tau[0], 1.6, 4e-16 * 1.6);
    // |R(1,1)| * 5 = area of the parallelogram = |(3,4,0) x (1,2,2)| = sqrt(64+36+4).
    EXPECT_NEAR(std::fabs(a[4]) * 5.0, std::sqrt(104.0), 1e-14);
}

// diag(3, 4) has the singular values 4 and 3; JOBZ = 'N' passes the hidden
// character length.
TEST(LapackSubset, SingularValuesOfADiagonalMatrix) {
    std::vector<double> a = {3, 0, 0, 4};
    std::vector<double> s(2), work(1000);
    std::vector<int> iwork(16);
    const int m = 2, n = 2, lda = 2, one = 1, lwork = 1000;
    double unused = 0;
    int info = -99;
    dgesdd_("N", &m, &n, a.data(), &lda, s.data(), &unused, &one, &unused, &one, work.data(), &lwork, iwork.data(),
            &info, 1);
    ASSERT_EQ(info, 0);
    EXPECT_NEAR(s[0], 4.0, 1e-15 * 4);
    EXPECT_NEAR(s[1], 3.0, 1e-15 * 3);

    // An unknown JOBZ is argument 1.
    dgesdd_("X", &m, &n, a.data(), &lda, s.data(), &unused, &one, &unused, &one, work.data(), &lwork, iwork.data(),
            &info, 1);
    EXPECT_EQ(info, -1);
}
