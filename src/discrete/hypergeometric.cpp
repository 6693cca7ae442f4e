// Hypergeometric distribution: the number of marked items in a sample of n
// drawn without replacement from N items of which r are marked.
//
// HypergeometricPDF, HypergeometricCDF, HypergeometricICDF under the throwing
// policy. The counts arrive as doubles and are narrowed here; Boost.Math's
// hypergeometric_distribution checks r <= N before n <= N, and Boost.Math's
// checks of x and P run in front of every evaluation (that of the support of
// x restated here without its signed overflow), so each rejection keeps
// Boost's function text, reason and bounds. The probabilities are evaluated
// here, in time that does not grow with the counts beyond their standard
// deviation:
// - pmf: Loader's saddle-point method (C. Loader, "Fast and accurate
//   computation of binomial probabilities", 2000), with p = n / N
//       f(x) = b(x; r, p) b(n - x; N - r, p) / b(n; N, p),
//   each binomial b(k; m, p) written as Stirling-series remainders and the
//   deviance bd0(k, m p) = k log(k / (m p)) + m p - k. The four deviances of
//   the numerator all differ from their means by +-(x N - r n) / N, formed
//   from exact integer products; the denominator's deviances are 0. The
//   log-probability is carried in long double, so that exp() of a value
//   near -700 still gives the double to a few ulps where long double is the
//   x87 extended format (elsewhere the accuracy is that of Loader's method
//   in double).
// - cdf: f(x) times the sum of the ratio recurrence f(k -+ 1) / f(k), from x
//   toward the nearer end of the support (the lower tail below the mean,
//   the upper tail otherwise) until a geometric bound on the remaining terms
//   (the pmf is log-concave, so the ratios only shrink) drops below the
//   rounding of the sum; the other tail is the complement.
// - quantile: a Cornish-Fisher start, the cdf there, then steps of one
//   count along the recurrence to the smallest count whose cumulative
//   probability reaches P (for P > 0.5 from the upper tail, with 1 - P),
//   rounded as Boost.Math's integer_round_up rounds: within its relative
//   allowance for rounding error (50 eps up to N = 104723, 2 N eps above)
//   the next count is taken.
#include <boost/math/distributions/hypergeometric.hpp>
#include <boost/math/special_functions/erf.hpp>
#include <boost/math/special_functions/prime.hpp>
#include <cmath>
#include <cstdint>
#include <limits>

#include "QuillonCoreMath.h"
#include "conventions.hpp"

namespace {

namespace bm = boost::math;
namespace bmp = boost::math::policies;
using qcm::ErrnoGuard;
using LD = long double;

using HyperPolicy = bmp::normalise<qcm::ThrowPolicy, bmp::discrete_quantile<bmp::integer_round_up>>::type;
using Hypergeometric = bm::hypergeometric_distribution<double, HyperPolicy>;
// Boost's conversion of x to an integer, with out-of-range values clamped
// instead of reported (the domain check that follows reports them).
using TruncPolicy = bmp::normalise<HyperPolicy, bmp::rounding_error<bmp::ignore_error>>::type;

const char* const kPdfFunction = "boost::math::pdf(const hypergeometric_distribution<%1%>&, const %1%&)";
const char* const kCdfFunction = "boost::math::cdf(const hypergeometric_distribution<%1%>&, const %1%&)";
const char* const kQuantileFunction = "boost::math::quantile(const hypergeometric_distribution<%1%>&, %1%)";
const char* const kQuantileCFunction = "quantile(const complemented2_type<hypergeometric_distribution<%1%>, %1%>&)";

// Magnitude from which a double no longer fits a signed 64-bit integer (2^63).
constexpr double kInt64Limit = 9223372036854775808.0;

// Loader's deviance is summed as a series when |k - M| < kSeriesCut (k + M).
constexpr LD kSeriesCut = 0.1L;
// Terms of that series are added until they no longer change the sum; this
// bounds the loop whatever the rounding mode (|v| < 0.1 needs about 10).
constexpr int kSeriesTerms = 64;

// Stirling-series remainder log(k!) - log(sqrt(2 pi k) (k / e)^k) for
// k = 0..kStirlingTableEnd (mpmath, 40 digits; 0 by convention at k = 0).
constexpr int kStirlingTableEnd = 15;
constexpr LD kStirlingTable[kStirlingTableEnd + 1] = {
    0.0L,
    0.0810614667953272582196703L,
    0.0413406959554092940938221L,
    0.0276779256849983391487893L,
    0.0207906721037650931115228L,
    0.0166446911898211921631949L,
    0.0138761288230707479987457L,
    0.0118967099458917700950557L,
    0.0104112652619720964974786L,
    0.00925546218271273291772864L,
    0.00833056343336287125646932L,
    0.00757367548795184079497202L,
    0.00694284010720952986566415L,
    0.00640899418800420706843963L,
    0.00595137011275884773562442L,
    0.00555473355196280137103869L,
};
// Above the table the asymptotic series 1/(12k) - 1/(360k^3) + ... is cut
// after 2 terms from kStirlingTwoTerms (next term below 1e-23), after 4 terms
// from kStirlingFourTerms (below 1e-23) and after 6 terms otherwise (below
// 2e-18 at k = 16).
constexpr LD kStirlingTwoTerms = 1e4L;
constexpr LD kStirlingFourTerms = 200.0L;
constexpr LD kS0 = 1.0L / 12, kS1 = 1.0L / 360, kS2 = 1.0L / 1260, kS3 = 1.0L / 1680, kS4 = 1.0L / 1188,
             kS5 = 691.0L / 360360;
constexpr LD kTwoPi = 6.283185307179586476925287L;

// The tail sum stops once the remaining terms are bounded by this fraction
// of the sum (1/16 of the last bit of a double).
constexpr LD kNegligible = 0x1p-57L;
// A probability stepped by subtraction is evaluated afresh once it has
// fallen below this fraction of the last fresh value, so that cancellation
// never costs more than two bits.
constexpr LD kRefreshFraction = 0.25L;
// Boost.Math's allowance for rounding error in the quantile: 1 + 50 eps up to
// the largest count of its exact (prime factorisation) pmf, 1 + 2 N eps above.
constexpr double kExactFudgeEps = 50.0;

// The evaluation needs long double's 64 significant bits (products of two
// counts exact). On x86 the x87 precision-control field decides how many
// are kept, and 64-bit Windows starts threads with 53; the field is set to
// 64 bits for the evaluation and the caller's setting restored after. The
// evaluation routines are kept out of line so that no x87 arithmetic is
// moved across the switch.
#if defined(__GNUC__) && (defined(__x86_64__) || defined(__i386__))
constexpr unsigned short kX87PrecisionField = 0x300;  // precision control: 11 = 64-bit significand
class ExtendedPrecision {
public:
    ExtendedPrecision() noexcept {
        __asm__ volatile("fnstcw %0" : "=m"(saved_) : : "memory");
        const unsigned short wanted = saved_ | kX87PrecisionField;
        if (wanted != saved_) __asm__ volatile("fldcw %0" : : "m"(wanted) : "memory");
    }
    ~ExtendedPrecision() {
        if ((saved_ | kX87PrecisionField) != saved_) __asm__ volatile("fldcw %0" : : "m"(saved_) : "memory");
    }
    ExtendedPrecision(const ExtendedPrecision&) = delete;
    ExtendedPrecision& operator=(const ExtendedPrecision&) = delete;

private:
    unsigned short saved_;
};
#define QCM_OUT_OF_LINE __attribute__((noinline))
#else
struct ExtendedPrecision {};
#define QCM_OUT_OF_LINE
#endif

// A count given as a double: truncated toward zero to a signed 64-bit integer
// of which the low 32 bits are kept, so -1 becomes 4294967295. NaN and
// magnitudes beyond the 64-bit range take the value the x86-64 conversion
// instruction gives them (0x8000000000000000), whose low 32 bits are 0.
std::uint32_t to_count(double value) {
    if (!(std::fabs(value) < kInt64Limit)) return 0;
    auto wide = static_cast<std::uint64_t>(static_cast<std::int64_t>(value));
    return static_cast<std::uint32_t>(wide & 0xFFFFFFFFu);
}

// The counts of a checked distribution and its support lo..hi.
struct Counts {
    std::uint32_t r, n, N;
    std::uint32_t lo, hi;
    std::int64_t c0;  // N - r - n: f(k) involves C(N - r, n - k), with N - r - (n - k) = c0 + k
};

Counts counts_of(const Hypergeometric& dist) {
    Counts c;
    c.r = dist.defective();
    c.n = dist.sample_count();
    c.N = dist.total();
    c.c0 = static_cast<std::int64_t>(c.N) - c.r - c.n;
    c.lo = static_cast<std::uint32_t>(c.c0 < 0 ? -c.c0 : 0);
    c.hi = c.r < c.n ? c.r : c.n;
    return c;
}

// log(k!) - log(sqrt(2 pi k) (k / e)^k) for a whole k >= 0.
LD stirling_error(LD k) {
    if (k <= kStirlingTableEnd) return kStirlingTable[static_cast<int>(k)];
    const LD kk = k * k;
    if (k > kStirlingTwoTerms) return (kS0 - kS1 / kk) / k;
    if (k > kStirlingFourTerms) return (kS0 - (kS1 - (kS2 - kS3 / kk) / kk) / kk) / k;
    return (kS0 - (kS1 - (kS2 - (kS3 - (kS4 - kS5 / kk) / kk) / kk) / kk) / kk) / k;
}

// Deviance k log(k / M) + M - k for k >= 0, M > 0, with d = k - M given
// accurately by the caller.
LD deviance(LD k, LD M, LD d) {
    if (k == 0) return M;
    if (std::fabs(d) < kSeriesCut * (k + M)) {
        // k log(k / M) = 2 k atanh(v), v = d / (k + M)
        const LD v = d / (k + M);
        const LD v2 = v * v;
        LD sum = d * v;
        LD term = 2 * k * v;
        for (int j = 1; j < kSeriesTerms; ++j) {
            term *= v2;
            const LD next = sum + term / (2 * j + 1);
            if (next == sum) break;
            sum = next;
        }
        return sum;
    }
    return k * std::log(k / M) - d;
}

// f(x) for lo <= x <= hi of a distribution with lo < hi (then 0 < r, n < N).
QCM_OUT_OF_LINE LD pmf(const Counts& c, std::uint32_t x) {
    const LD N = c.N, r = c.r, n = c.n, k = x;
    const LD a = c.r - x;                                               // marked items not drawn
    const LD b = c.n - x;                                               // unmarked items drawn
    const LD u = static_cast<LD>(c.c0 + static_cast<std::int64_t>(x));  // unmarked items not drawn
    // Every product of two counts is below 2^64 and so exact in long double.
    const LD d = (k * N - r * n) / N;  // x - r n / N
    const LD devs = deviance(k, r * n / N, d) + deviance(a, r * (N - n) / N, -d) + deviance(b, (N - r) * n / N, -d) +
                    deviance(u, (N - r) * (N - n) / N, d);
    const LD stirling = stirling_error(r) + stirling_error(N - r) + stirling_error(n) + stirling_error(N - n) -
                        stirling_error(N) - stirling_error(k) - stirling_error(a) - stirling_error(b) -
                        stirling_error(u);
    // Square-root factors sqrt(2 pi k (m - k) / m) of the binomials whose k is
    // inside 0..m (at the ends Loader's form has none).
    LD scale = kTwoPi * n * (N - n) / N;
    if (k > 0 && a > 0) scale /= kTwoPi * k * a / r;
    if (b > 0 && u > 0) scale /= kTwoPi * b * u / (N - r);
    return std::exp(stirling - devs + std::log(scale) / 2);
}

// f(k - 1) / f(k) and f(k + 1) / f(k).
LD ratio_down(const Counts& c, std::uint32_t k) {
    return static_cast<LD>(k) * static_cast<LD>(c.c0 + k) / (static_cast<LD>(c.r - k + 1) * (c.n - k + 1));
}
LD ratio_up(const Counts& c, std::uint32_t k) {
    return static_cast<LD>(c.r - k) * static_cast<LD>(c.n - k) / (static_cast<LD>(k + 1) * (c.c0 + k + 1));
}

struct Tails {
    LD lower;  // P(X <= x)
    LD upper;  // P(X > x)
    LD mass;   // P(X = x)
};

// 1 + a(0) + a(0) a(1) + ... + a(0)...a(steps - 1), a(i) = num / den as
// step(i, num, den) gives them, stopped once the rest is negligible. The
// ratios only shrink (the pmf is log-concave), so after a term t with next
// ratio a the rest is at most t a / (1 - a). Two terms share one division.
template <class Step>
LD ratio_sum(std::uint32_t steps, Step step) {
    LD sum = 1, term = 1;
    std::uint32_t i = 0;
    for (; i + 1 < steps; i += 2) {
        LD na, da, nb, db;
        step(i, na, da);
        step(i + 1, nb, db);
        const LD scale = term / (da * db);
        const LD first = na * db * scale;
        term = na * nb * scale;
        sum += first + term;
        if (term * nb <= sum * kNegligible * (db - nb)) return sum;
    }
    if (i < steps) {
        LD na, da;
        step(i, na, da);
        sum += term * na / da;
    }
    return sum;
}

// Both tails at x, lo <= x <= hi, lo < hi: the one on the near side of the
// mean summed, the other its complement.
QCM_OUT_OF_LINE Tails tails(const Counts& c, std::uint32_t x) {
    if (x == c.hi) return {1, 0, pmf(c, x)};
    if (static_cast<LD>(x) * c.N < static_cast<LD>(c.r) * c.n) {
        // f(k - 1) / f(k) = k (c0 + k) / ((r - k + 1) (n - k + 1)), k = x, x - 1, ..., lo + 1
        const LD sum = ratio_sum(x - c.lo, [&c, x](std::uint32_t i, LD& num, LD& den) {
            const std::uint32_t k = x - i;
            num = static_cast<LD>(k) * static_cast<LD>(c.c0 + k);
            den = static_cast<LD>(c.r - k + 1) * (c.n - k + 1);
        });
        const LD mass = pmf(c, x);
        return {mass * sum, 1 - mass * sum, mass};
    }
    // f(k + 1) / f(k) = (r - k) (n - k) / ((k + 1) (c0 + k + 1)), k = x + 1, ..., hi - 1
    const LD sum = ratio_sum(c.hi - x - 1, [&c, x](std::uint32_t i, LD& num, LD& den) {
        const std::uint32_t k = x + 1 + i;
        num = static_cast<LD>(c.r - k) * (c.n - k);
        den = static_cast<LD>(k + 1) * static_cast<LD>(c.c0 + k + 1);
    });
    const LD next = pmf(c, x + 1);
    return {1 - next * sum, next * sum, next / ratio_up(c, x)};
}

// Cornish-Fisher start for the count at normal deviate z, inside lo..hi.
std::uint32_t start_count(const Counts& c, double z) {
    const double N = c.N, r = c.r, n = c.n;
    const double spread = n * r * (N - r) * (N - n);
    const double sd = std::sqrt(spread / (N * N * (N - 1)));
    const double skew = N > 2 ? (N - 2 * r) * (N - 2 * n) * std::sqrt(N - 1) / ((N - 2) * std::sqrt(spread)) : 0.0;
    const double guess = std::ceil(r * n / N + sd * (z + skew * (z * z - 1) / 6) - 0.5);
    if (!(guess > c.lo)) return c.lo;
    if (guess >= c.hi) return c.hi;
    return static_cast<std::uint32_t>(guess);
}

// Normal deviate of a lower-tail probability 0 < p <= 0.5 (<= 0; about -38.5
// at the smallest subnormal).
double lower_deviate(double p) {
    return -boost::math::constants::root_two<double>() * bm::erfc_inv(2 * p, qcm::ThrowPolicy());
}

// Boost.Math's integer_round_up quantile with p + q = 1 and lo < hi: for
// p <= 0.5 the smallest count x* with P(X <= x*) >= p, taken one higher when
// P(X <= x*) is within the rounding allowance of p (unless the midpoint of
// the step below already passed p); for p > 0.5 the same from the upper
// tail: the smallest x* with P(X > x*) <= q, one higher when q is within the
// allowance below P(X > x*) (unless the midpoint of the step at x* is below q).
QCM_OUT_OF_LINE std::uint32_t quantile(const Counts& c, double p, double q) {
    const LD allowance =
        1 + std::numeric_limits<double>::epsilon() *
                (c.N <= bm::prime(bm::max_prime - 1) ? kExactFudgeEps : 2.0 * static_cast<double>(c.N));
    if (p <= 0.5) {
        if (p == 0) return c.lo;
        std::uint32_t x = start_count(c, lower_deviate(p));
        const Tails t = tails(c, x);
        LD cum = t.lower, mass = t.mass;
        if (cum >= p) {
            LD fresh = cum;
            while (x > c.lo) {
                LD below = cum - mass;  // P(X <= x - 1)
                if (below < fresh * kRefreshFraction) fresh = below = tails(c, x - 1).lower;
                if (below < p) break;
                mass *= ratio_down(c, x);
                cum = below;
                --x;
            }
        } else {
            while (cum < p && x < c.hi) {  // cum = 1 at hi
                mass *= ratio_up(c, x);
                cum += mass;
                ++x;
            }
        }
        if (x > c.lo && (cum - mass) + mass / 2 > p) return x;
        return (cum < p * allowance && x != c.hi) ? x + 1 : x;
    }
    if (q == 0) return c.hi;
    std::uint32_t x = start_count(c, -lower_deviate(q));
    const Tails t = tails(c, x);
    LD tail = t.upper, mass = t.mass;
    if (tail <= q) {
        while (x > c.lo && tail + mass <= q) {
            tail += mass;
            mass *= ratio_down(c, x);
            --x;
        }
    } else {
        LD fresh = tail;
        while (tail > q && x < c.hi) {  // the tail is 0 at hi
            mass *= ratio_up(c, x);
            ++x;
            tail -= mass;
            if (tail < fresh * kRefreshFraction) fresh = tail = tails(c, x).upper;
        }
    }
    if (tail + mass / 2 < q) return x;
    return (q < tail * allowance && x != c.hi) ? x + 1 : x;
}

Hypergeometric make_distribution(double r, double n, double N) {
    return Hypergeometric(to_count(r), to_count(n), to_count(N));
}

// Boost.Math's checks of the random variable of pdf and cdf, in its order
// and with its texts: an integer (Boost's own conversion, which clamps
// beyond the int range, so larger x fail here), the parameters, then the
// support. Boost forms the lower end n + r - N as a difference of two
// 32-bit ints, which wraps near 2^32 (an overflow of signed arithmetic, so
// undefined in C++): that wrapped bound is formed here in unsigned
// arithmetic, giving what the hardware gives Boost. False after a domain
// error, with *result what the policy returned.
bool check_x(const Hypergeometric& dist, double x, const char* function, std::uint32_t* count, double* result) {
    unsigned u = bm::itrunc(x, TruncPolicy());
    if (u != x) {
        *result = bmp::raise_domain_error<double>(
            function, "Random variable out of range: must be an integer but got %1%", x, HyperPolicy());
        return false;
    }
    if (!dist.check_params(function, result)) return false;
    const std::uint32_t r = dist.defective(), n = dist.sample_count(), N = dist.total();
    const auto wrapped = static_cast<std::int32_t>(n + r - N);  // modulo 2^32, read as int
    if (u < static_cast<std::uint32_t>(wrapped > 0 ? wrapped : 0)) {
        *result = bmp::raise_domain_error<double>(
            function, "Random variable out of range: must be > 0 and > m + r - N but got %1%", u, HyperPolicy());
        return false;
    }
    if (u > (r < n ? r : n)) {
        *result = bmp::raise_domain_error<double>(
            function, "Random variable out of range: must be less than both n and r but got %1%", u, HyperPolicy());
        return false;
    }
    *count = u;
    return true;
}

}  // namespace

extern "C" {

double HypergeometricPDF(double x, double r, double n, double N) {
    ErrnoGuard guard;
    const Hypergeometric dist = make_distribution(r, n, N);
    double result = 0;
    std::uint32_t k = 0;
    if (!check_x(dist, x, kPdfFunction, &k, &result)) return result;
    const Counts c = counts_of(dist);
    // Boost's support check wraps n + r - N to int and lets such counts through.
    if (k < c.lo) return 0;
    if (c.lo == c.hi) return 1;
    ExtendedPrecision precision;
    return static_cast<double>(pmf(c, k));
}

double HypergeometricCDF(double x, double r, double n, double N, qcm_flag upper) {
    ErrnoGuard guard;
    const Hypergeometric dist = make_distribution(r, n, N);
    double result = 0;
    std::uint32_t k = 0;
    if (!check_x(dist, x, kCdfFunction, &k, &result)) return result;
    const Counts c = counts_of(dist);
    Tails t{0, 1, 0};
    if (c.lo == c.hi) {
        t = {1, 0, 1};
    } else if (k >= c.lo) {
        ExtendedPrecision precision;
        t = tails(c, k);
    }
    const LD value = qcm::flag(upper) ? t.upper : t.lower;
    return value < 0 ? 0.0 : value > 1 ? 1.0 : static_cast<double>(value);
}

double HypergeometricICDF(double P, double r, double n, double N, qcm_flag upper) {
    ErrnoGuard guard;
    const Hypergeometric dist = make_distribution(r, n, N);
    const bool complement = qcm::flag(upper);
    const char* function = complement ? kQuantileCFunction : kQuantileFunction;
    double result = 0;
    if (!dist.check_params(function, &result)) return result;
    if (!bm::detail::check_probability(function, P, &result, HyperPolicy())) return result;
    const Counts c = counts_of(dist);
    if (c.lo == c.hi) return c.lo;
    // As Boost.Math: the lower tail passes (P, 1 - P), the complement (1 - P, P).
    const double p = complement ? 1 - P : P;
    const double q = complement ? P : 1 - P;
    ExtendedPrecision precision;
    return quantile(c, p, q);
}

}  // extern "C"
