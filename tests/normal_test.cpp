// Normal distribution and error function: the errno contract, the infinite
// and invalid-parameter corners, and accuracy against mpmath references.
#include <cerrno>
#include <cmath>
#include <functional>
#include <limits>
#include <stdexcept>

#include "support/qcm_test.hpp"

namespace {

using qcm_test::capture;
using qcm_test::Outcome;

const double inf = std::numeric_limits<double>::infinity();
const double nan = std::numeric_limits<double>::quiet_NaN();

// Value class expected of a contract case.
enum class Value { NaN, PosInf, NegInf, Exact };

struct ContractRow {
    const char* what;  // the case, and where the expectation comes from
    std::function<double()> call;
    Value kind;
    double exact;  // for Value::Exact, compared bit for bit
    int err;       // errno after the call (cleared before it)
};

const ContractRow kContract[] = {
    {"Erf of a finite argument leaves errno alone", [] { return Erf(40.0); }, Value::Exact, 1.0, 0},
    {"ErfC deep tail underflows to 0 without ERANGE", [] { return ErfC(30.0); }, Value::Exact, 0.0, 0},
    {"InverseErf outside [-1,1] is a domain error", [] { return InverseErf(1.5); }, Value::NaN, 0, EDOM},
    {"InverseErf(-1.5) likewise", [] { return InverseErf(-1.5); }, Value::NaN, 0, EDOM},
    {"InverseErf(1) is the pole", [] { return InverseErf(1.0); }, Value::PosInf, 0, ERANGE},
    {"InverseErf(-1) is the negative pole", [] { return InverseErf(-1.0); }, Value::NegInf, 0, ERANGE},
    {"InverseErf(0) is 0 and leaves errno alone", [] { return InverseErf(0.0); }, Value::Exact, 0.0, 0},
    {"InverseErfC(2) is the negative pole", [] { return InverseErfC(2.0); }, Value::NegInf, 0, ERANGE},
    {"InverseErfC(0) is the positive pole", [] { return InverseErfC(0.0); }, Value::PosInf, 0, ERANGE},
    {"InverseErfC(1) is 0", [] { return InverseErfC(1.0); }, Value::Exact, 0.0, 0},
    {"InverseErfC(-0.5) is a domain error", [] { return InverseErfC(-0.5); }, Value::NaN, 0, EDOM},
    {"InverseErfC(2.5) is a domain error", [] { return InverseErfC(2.5); }, Value::NaN, 0, EDOM},
    {"NormalPDF with sd 0", [] { return NormalPDF(0, 0, 0); }, Value::NaN, 0, EDOM},
    {"NormalPDF of +inf is 0 even with sd -1 (constructor records EDOM)", [] { return NormalPDF(inf, 0, -1); },
     Value::Exact, 0.0, EDOM},
    {"NormalPDF of -inf with an infinite mean", [] { return NormalPDF(-inf, inf, 1); }, Value::Exact, 0.0, EDOM},
    {"NormalPDF of NaN", [] { return NormalPDF(nan, 0, 1); }, Value::NaN, 0, EDOM},
    {"NormalPDF with a NaN mean", [] { return NormalPDF(0, nan, 1); }, Value::NaN, 0, EDOM},
    {"NormalCDF upper of -inf with sd 0 is 1", [] { return NormalCDF(-inf, 0, 0, 1); }, Value::Exact, 1.0, EDOM},
    {"NormalCDF upper of +inf with sd NaN is 0", [] { return NormalCDF(inf, 0, nan, 1); }, Value::Exact, 0.0, EDOM},
    {"NormalCDF lower of -inf with sd 0 checks parameters first", [] { return NormalCDF(-inf, 0, 0, 0); }, Value::NaN,
     0, EDOM},
    {"NormalCDF lower of -inf is 0", [] { return NormalCDF(-inf, 0, 1, 0); }, Value::Exact, 0.0, 0},
    {"NormalCDF lower of +inf is 1", [] { return NormalCDF(inf, 0, 1, 0); }, Value::Exact, 1.0, 0},
    {"NormalCDF of NaN", [] { return NormalCDF(nan, 0, 1, 1); }, Value::NaN, 0, EDOM},
    {"NormalCDF with sd +inf", [] { return NormalCDF(0, 0, inf, 0); }, Value::NaN, 0, EDOM},
    {"NormalCDF(0) lower is exactly 0.5", [] { return NormalCDF(0, 0, 1, 0); }, Value::Exact, 0.5, 0},
    {"NormalCDF(0) upper is exactly 0.5", [] { return NormalCDF(0, 0, 1, 1); }, Value::Exact, 0.5, 0},
    {"NormalCDF far lower tail underflows to 0 without ERANGE", [] { return NormalCDF(-40, 0, 1, 0); }, Value::Exact,
     0.0, 0},
    {"NormalICDF(0) lower is -inf", [] { return NormalICDF(0, 0, 1, 0); }, Value::NegInf, 0, ERANGE},
    {"NormalICDF(0) upper is +inf", [] { return NormalICDF(0, 0, 1, 1); }, Value::PosInf, 0, ERANGE},
    {"NormalICDF(1) lower is +inf", [] { return NormalICDF(1, 0, 1, 0); }, Value::PosInf, 0, ERANGE},
    {"NormalICDF(1) upper is -inf", [] { return NormalICDF(1, 0, 1, 1); }, Value::NegInf, 0, ERANGE},
    {"NormalICDF(0.5) is the mean", [] { return NormalICDF(0.5, 3, 2, 0); }, Value::Exact, 3.0, 0},
    {"NormalICDF of p > 1", [] { return NormalICDF(1.5, 0, 1, 0); }, Value::NaN, 0, EDOM},
    {"NormalICDF of p < 0", [] { return NormalICDF(-0.1, 0, 1, 1); }, Value::NaN, 0, EDOM},
    {"NormalICDF of NaN p", [] { return NormalICDF(nan, 0, 1, 0); }, Value::NaN, 0, EDOM},
    {"NormalICDF with sd -1", [] { return NormalICDF(0.5, 0, -1, 0); }, Value::NaN, 0, EDOM},
};

TEST(NormalContract, EachCase) {
    for (const ContractRow& row : kContract) {
        SCOPED_TRACE(row.what);
        Outcome r = capture(row.call);
        ASSERT_FALSE(r.threw) << r.type << ": " << r.message;
        EXPECT_EQ(r.err, row.err);
        switch (row.kind) {
            case Value::NaN:
                EXPECT_TRUE(std::isnan(r.value)) << r.value;
                break;
            case Value::PosInf:
                EXPECT_EQ(r.value, inf);
                break;
            case Value::NegInf:
                EXPECT_EQ(r.value, -inf);
                break;
            case Value::Exact:
                EXPECT_EQ(qcm_test::bits_of(r.value), qcm_test::bits_of(row.exact)) << r.value;
                break;
        }
    }
}

TEST(NormalContract, ErrnoIsNeverClearedBySuccessfulCalls) {
    errno = 0;
    NormalPDF(0, 0, 0);
    ASSERT_EQ(errno, EDOM);
    EXPECT_NEAR(NormalPDF(0, 0, 1), 0.3989422804014327, 1e-16);
    EXPECT_EQ(errno, EDOM) << "a later successful call must not clear errno";
    errno = 12345;  // whatever the caller had stays unless the call fails
    NormalCDF(-30, 0, 1, 0);
    EXPECT_EQ(errno, 12345);
}

// The host passes an 8-bit flag: only the low byte counts. Calling through a
// pointer that passes a full int reproduces a caller that leaves garbage in
// the upper bytes of the register.
// Calls NormalCDF as a caller that passes the flag in a full int register.
// UBSan's function-type check would flag the mismatch that this test is about.
#if defined(__clang__)
__attribute__((no_sanitize("function")))
#endif
double
normal_cdf_int_flag(double x, int flag) {
    void* address = reinterpret_cast<void*>(&NormalCDF);
    auto as_int = reinterpret_cast<double (*)(double, double, double, int)>(address);
    return as_int(x, 0, 1, flag);
}

TEST(NormalContract, OnlyTheLowByteOfTheFlagCounts) {
    const double lower = NormalCDF(1, 0, 1, 0);
    const double upper = NormalCDF(1, 0, 1, 1);
    EXPECT_EQ(normal_cdf_int_flag(1, 256), lower) << "256 has a zero low byte: false";
    EXPECT_EQ(normal_cdf_int_flag(1, 0x102), upper) << "0x102 has low byte 2: true";
    EXPECT_EQ(normal_cdf_int_flag(1, 0xFF), upper);
}

// Reference values: mpmath at 60 digits (tests/data/gen_normal.py). Tolerances
// in ulps: Boost's erf family for 53-bit doubles is accurate to a couple of
// ulps; the distribution functions add the rounding of (x - mean)/(sd*sqrt2)
// amplified by the slope of erfc, so far tails get a relative bound instead.
TEST(NormalAccuracy, AgainstMpmath) {
    for (const auto& row : qcm_test::load_reference("normal_reference.csv")) {
        SCOPED_TRACE(row.function + " at line " + std::to_string(row.line));
        const auto& a = row.args;
        double got = 0, tol_ulps = 4, tol_rel = 0;
        errno = 0;
        if (row.function == "Erf")
            got = Erf(a[0]);
        else if (row.function == "ErfC")
            got = ErfC(a[0]);
        else if (row.function == "InverseErf")
            got = InverseErf(a[0]), tol_ulps = 6;
        else if (row.function == "InverseErfC")
            got = InverseErfC(a[0]), tol_ulps = 6;
        else if (row.function == "NormalPDF") {
            got = NormalPDF(a[0], a[1], a[2]);
            // exp(-e^2/2) magnifies the rounding of e^2/2 by its own size
            tol_rel = 4e-16 * (1 + (a[0] - a[1]) * (a[0] - a[1]) / (a[2] * a[2]));
        } else if (row.function == "NormalCDF.lower" || row.function == "NormalCDF.upper") {
            got = NormalCDF(a[0], a[1], a[2], row.function == "NormalCDF.upper");
            const double z = (a[0] - a[1]) / a[2];
            tol_rel = 4e-16 * (1 + z * z);  // d log(erfc)/dz grows like z: rounding of z is magnified by z^2
        } else if (row.function == "NormalICDF.lower" || row.function == "NormalICDF.upper") {
            got = NormalICDF(a[0], a[1], a[2], row.function == "NormalICDF.upper");
            tol_rel = 8e-16 + 4e-16 * std::fabs(a[1] / (row.expected == 0 ? 1 : row.expected));
        } else {
            ADD_FAILURE() << "unknown function in the reference data";
            continue;
        }
        EXPECT_EQ(errno, 0) << "a valid call must not set errno";
        if (tol_rel > 0)
            EXPECT_LE(qcm_test::relative_error(got, row.expected), tol_rel) << got << " vs " << row.expected;
        else
            EXPECT_LE(qcm_test::ulp_distance(got, row.expected), tol_ulps) << got << " vs " << row.expected;
    }
}

TEST(NormalIdentities, TailsSumToOneAndQuantileInvertsCdf) {
    for (double x = -8; x <= 8; x += 0.37) {
        const double lo = NormalCDF(x, 0.5, 1.5, 0), up = NormalCDF(x, 0.5, 1.5, 1);
        EXPECT_NEAR(lo + up, 1.0, 2e-16) << x;
        const double p = lo < up ? lo : up;
        const double back = NormalICDF(p, 0.5, 1.5, lo >= up);
        EXPECT_LE(qcm_test::relative_error(back, x), 1e-14 * (1 + 1 / std::fabs(x - 0.5))) << x;
    }
}

}  // namespace
