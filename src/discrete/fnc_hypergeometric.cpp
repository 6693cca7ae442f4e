// Fisher's noncentral hypergeometric distribution.
//
// FNCHypergeometricCDF, FNCHypergeometricICDF, FNCHypergeometricMoments: the
// number x of first-kind items in a sample of n from an urn of N items, m of
// them of the first kind, favoured by the odds ratio w. P(x) is proportional
// to C(m, x) C(N - m, n - x) w^x on max(0, n - N + m) <= x <= min(n, m).
//
// The CDF and the quantile tabulate the terms relative to the mode's, walking
// outward from the mode with the exact ratio of neighbouring terms (products
// of small integers: no logarithms) until the terms drop below a cut-off, in
// a table whose length is bounded by standard deviations, not by the
// support. The CDF then sums the tail lying away from the mean, so that small
// tail probabilities keep their relative accuracy. The moments sum
// normalised probabilities outward from the mean, the probabilities coming
// from logarithms of factorials (a table for small arguments, Stirling's
// series above).
//
// References: A. Fog, "Sampling methods for Wallenius' and Fisher's
// noncentral hypergeometric distributions", Communications in Statistics -
// Simulation and Computation 37 (2008) 241-257 (mode, table method);
// P. McCullagh and J. A. Nelder, Generalized Linear Models, 2nd ed. (1989),
// section 7.3 (approximate mean and variance).
//
// The library's own code: no Boost.Math facility, no errno. Impossible
// parameters give the library's NaN.
#include "discrete/fnc_hypergeometric.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "QuillonCoreMath.h"
#include "conventions.hpp"

namespace qcm {
namespace fnc {

const double kAccuracyTailTable[kAccuracyTailCount] = {0.002699796,  0.0004652582, 6.334248e-05, 6.795346e-06,
                                                       5.733031e-07, 3.797912e-08, 1.973175e-09, 8.032001e-11,
                                                       2.559625e-12, 6.381783e-14};

namespace {

// Stirling's series for ln(k!) beyond the table: ln(2 pi) / 2 and the first
// two correction coefficients 1/12 and 1/360.
constexpr double kHalfLog2Pi = 0.9189385332046727;
constexpr double kStirling1 = 0.08333333333333333;
constexpr double kStirling2 = 0.002777777777777778;

// ln(k!) for k = 0..1023. A function-local static is initialised exactly once
// even when several threads arrive together; the others wait for it.
const std::array<double, kLogFactorialTableSize>& LogFactorialTable() {
    static const std::array<double, kLogFactorialTableSize> table = [] {
        std::array<double, kLogFactorialTableSize> t{};
        t[0] = 0.0;
        for (int k = 1; k < kLogFactorialTableSize; ++k) t[k] = t[k - 1] + std::log(static_cast<double>(k));
        return t;
    }();
    return table;
}

double NaN() { return qcm::kLibraryNaN; }

// Truncation toward zero of a value known to lie in [lo, hi] up to rounding;
// out-of-range or NaN values are pulled to the nearer end (NaN to lo).
std::int64_t TruncateInto(double v, std::int64_t lo, std::int64_t hi) {
    if (!(v >= static_cast<double>(lo))) return lo;
    if (v >= static_cast<double>(hi)) return hi;
    return static_cast<std::int64_t>(v);
}

// max(0, n - N + m), formed without overflow for any arguments.
std::int32_t SupportStart(std::int32_t n, std::int32_t m, std::int32_t N) {
    const std::int64_t start = static_cast<std::int64_t>(n) - N + m;
    return static_cast<std::int32_t>(std::min<std::int64_t>(std::max<std::int64_t>(start, 0), INT32_MAX));
}

}  // namespace

double LogFactorialCached(std::int32_t k) {
    if (k >= kLogFactorialTableSize) {
        const double x = k;
        return (x + 0.5) * std::log(x) - x + kHalfLog2Pi + (kStirling1 - kStirling2 / (x * x)) / x;
    }
    if (k < 2) return k >= 0 ? 0.0 : NaN();
    return LogFactorialTable()[k];
}

FncHypergeometric::FncHypergeometric(std::int32_t n_, std::int32_t m_, std::int32_t N_, double odds_, double accuracy_)
    : odds(odds_),
      logOdds(std::log(odds_)),
      accuracy(accuracy_),
      n(n_),
      m(m_),
      N(N_),
      xMin(SupportStart(n_, m_, N_)),
      xMax(std::min(n_, m_)),
      lastX(kNoLastX),
      logConstant(0.0),
      logXTerms(0.0),
      logScale(0.0),
      normaliser(0.0),
      dirty(1) {}

bool FncHypergeometric::Possible() const {
    return n >= 0 && m >= 0 && N >= 0 && n <= N && m <= N && std::isfinite(odds);
}

std::int32_t FncHypergeometric::Mode() const {
    const double dn = n, dm = m, dN = N;
    const double c = (dm + 1) * (dn + 1);
    double x;
    if (odds == 1.0) {
        x = std::floor(c / (dN + 2));
    } else if (odds > 1.0) {
        // The mode is the floor of the positive root of
        // (1 - w) x^2 + (w (m + n + 2) + N - m - n) x - w (m + 1)(n + 1) = 0.
        // Divided by w (no overflow for huge w) and written as
        // 2c / (sqrt(D) + B) (no cancellation for w near 1).
        const double a = 1.0 / odds - 1.0;
        const double b = (dm + dn + 2) + (dN - dm - dn) / odds;
        const double d = b * b + 4 * a * c;
        x = 2 * c / ((d > 0 ? std::sqrt(d) : 0.0) + b);
    } else {
        const double a = 1.0 - odds;
        const double b = (dm + dn + 2) * odds - (dn - dN + dm);
        const double d = b * b + 4 * a * c * odds;
        const double root = d > 0 ? std::sqrt(d) : 0.0;
        x = b > 0 ? 2 * c * odds / (root + b) : (root - b) / (2 * a);
    }
    return static_cast<std::int32_t>(TruncateInto(x, xMin, xMax));
}

double FncHypergeometric::MeanApprox() const {
    const double dn = n, dm = m, dN = N;
    if (n == 0 || m == 0) return 0.0;
    if (odds == 1.0) return dm * dn / dN;
    if (odds > 1.0) {
        // The smaller root of (w - 1) x^2 - a x + w m n = 0 with
        // a = N - n - m + (n + m) w, divided by w and written without
        // cancellation as 2 m n / (a + sqrt(b)).
        const double a = (dN - dn - dm) / odds + (dn + dm);
        const double b = a * a - 4 * (1.0 - 1.0 / odds) * dm * dn;
        return 2 * dm * dn / (a + (b > 0 ? std::sqrt(b) : 0.0));
    }
    const double a = (dN - dn - dm) + (dn + dm) * odds;
    const double b = a * a - 4 * odds * (odds - 1) * dm * dn;
    const double root = b > 0 ? std::sqrt(b) : 0.0;
    if (odds > 0 && a + root > 0) return 2 * odds * dm * dn / (a + root);
    return (a - root) / (2 * (odds - 1));
}

double FncHypergeometric::VarianceApprox() const {
    const double mu = MeanApprox();
    const double dn = n, dm = m, dN = N;
    const double r1 = (dm - mu) * mu;
    const double r2 = (dN + mu - dn - dm) * (dn - mu);
    if (r1 <= 0 || r2 <= 0) return 0.0;
    const double v = dN * r1 * r2 / (((dN - dm) * r1 + dm * r2) * (dN - 1));
    return std::max(v, 0.0);
}

double FncHypergeometric::BuildTable(double* table, std::int32_t length, std::int32_t* first, std::int32_t* last,
                                     double cutoff) const {
    const bool fill = length > 0;
    auto single_point = [&](std::int32_t x) {
        if (fill) {
            *first = *last = x;
            table[0] = 1.0;
        } else if (first != nullptr) {
            *first = 1;
        }
        return 1.0;
    };
    if (!Possible()) return NaN();
    if (xMin == xMax) return single_point(xMin);
    if (odds <= 0) {
        // Only items of the second kind can be drawn: the sample must fit
        // among them.
        if (n > N - m) return NaN();
        return single_point(0);
    }

    if (!fill) {
        std::int64_t len = static_cast<std::int64_t>(xMax) - xMin + 1;
        if (len > kWholeSupportLimit) {
            const double s = std::sqrt(VarianceApprox());
            int i = 0;
            while (i < kAccuracyTailCount && !(kAccuracyTailTable[i] <= accuracy)) ++i;
            const double bound = std::floor((i + 6) * s + 0.5) + kTableLengthMargin * (i + 6);
            if (bound < static_cast<double>(len)) len = static_cast<std::int64_t>(bound);
        }
        if (first != nullptr) *first = 1;
        return static_cast<double>(len);
    }

    // Place the mode so that the table reaches the nearer end of the support
    // when it can, and otherwise has half its length on each side.
    const std::int64_t len = length;
    const std::int64_t x1 = Mode();
    const std::int64_t half = len / 2;
    std::int64_t i1 = x1 - xMin;
    if (i1 > half) i1 = xMax - x1 <= half ? std::max<std::int64_t>(0, len - 1 - (xMax - x1)) : half;
    const std::int64_t low = std::max<std::int64_t>(0, xMin - x1 + i1);
    std::int64_t high = std::min<std::int64_t>(len - 1, xMax - x1 + i1);

    // f(x - 1) / f(x) = x (x - d) / ((n - x + 1)(m - x + 1) w), d = n - N + m.
    const double dn = n, dm = m;
    const double d = static_cast<double>(n) - N + m;
    table[i1] = 1.0;
    double sum = 1.0;
    double f = 1.0;
    std::int64_t lowest = i1;
    for (double x = static_cast<double>(x1); lowest > low; x -= 1.0) {
        f *= x * (x - d) / ((dn - x + 1) * (dm - x + 1) * odds);
        table[--lowest] = f;
        sum += f;
        if (f < cutoff) break;
    }
    // Move the filled part to the start of the table; the room freed at the
    // top is then open to the upward walk.
    if (lowest > 0) {
        std::memmove(table, table + lowest, static_cast<std::size_t>(i1 - lowest + 1) * sizeof(double));
        i1 -= lowest;
        lowest = 0;
        high = std::min<std::int64_t>(len - 1, xMax - x1 + i1);
    }
    // f(x) / f(x - 1) = (n - x + 1)(m - x + 1) w / (x (x - d)).
    f = 1.0;
    std::int64_t highest = i1;
    for (double x = static_cast<double>(x1) + 1; highest < high; x += 1.0) {
        f *= (dn - x + 1) * (dm - x + 1) * odds / (x * (x - d));
        table[++highest] = f;
        sum += f;
        if (f < cutoff) break;
    }
    *first = static_cast<std::int32_t>(lowest - i1 + x1);
    *last = static_cast<std::int32_t>(highest - i1 + x1);
    return sum;
}

double FncHypergeometric::LogTerm(std::int32_t x) {
    if (dirty) {
        logConstant = LogFactorialCached(m) + LogFactorialCached(N - m);
        lastX = kNoLastX;
        dirty = 0;
    }
    const bool beyondTable = m >= kLogFactorialTableSize || N - m >= kLogFactorialTableSize;
    const double dx = x, dn = n, dm = m, dN = N;
    if (beyondTable && x == lastX) {
        // logXTerms is current.
    } else if (beyondTable && lastX != kNoLastX && x == lastX - 1) {
        logXTerms += std::log((dm - dx) * (dn - dx) / ((dN - dm - dn + dx + 1) * (dx + 1)));
    } else if (beyondTable && lastX != kNoLastX && x == lastX + 1) {
        logXTerms += std::log((dN - dm - dn + dx) * dx / ((dm - dx + 1) * (dn - dx + 1)));
    } else {
        logXTerms = LogFactorialCached(x) + LogFactorialCached(m - x) + LogFactorialCached(n - x) +
                    LogFactorialCached(N - m - n + x);
    }
    lastX = x;
    return logConstant - logXTerms + dx * logOdds - logScale;
}

double FncHypergeometric::Probability(std::int32_t x) {
    if (x < xMin || x > xMax) return 0.0;
    if (n == 0) return 1.0;
    if (odds == 1.0) {
        return std::exp(LogFactorialCached(m) - LogFactorialCached(x) - LogFactorialCached(m - x) +
                        LogFactorialCached(N - m) - LogFactorialCached(n - x) - LogFactorialCached(N - m - n + x) -
                        (LogFactorialCached(N) - LogFactorialCached(n) - LogFactorialCached(N - n)));
    }
    if (odds == 0.0) {
        if (n > N - m) return NaN();
        return x == 0 ? 1.0 : 0.0;
    }
    if (normaliser == 0.0) {
        // Scale the terms by the one at the mean and sum outward until they
        // no longer count.
        const auto x0 = static_cast<std::int32_t>(TruncateInto(MeanApprox(), xMin, xMax));
        const double stop = accuracy * kProbabilityCutoffFactor;
        logScale = 0.0;
        logScale = LogTerm(x0);
        double sum = 1.0;
        for (std::int32_t y = x0 - 1; y >= xMin; --y) {
            const double t = std::exp(LogTerm(y));
            sum += t;
            if (t < stop) break;
        }
        for (std::int32_t y = x0 + 1; y <= xMax; ++y) {
            const double t = std::exp(LogTerm(y));
            sum += t;
            if (t < stop) break;
        }
        normaliser = 1.0 / sum;
    }
    return std::exp(LogTerm(x)) * normaliser;
}

double FncHypergeometric::ExactMoments(double* mean, double* variance) {
    const auto x0 = static_cast<std::int32_t>(TruncateInto(MeanApprox(), xMin, xMax));
    const double stop = accuracy * kProbabilityCutoffFactor;
    double s = 0.0, s1 = 0.0, s2 = 0.0;
    auto add = [&](std::int32_t x) {
        const double p = Probability(x);
        const double dx = static_cast<double>(x) - x0;
        s += p;
        s1 += dx * p;
        s2 += dx * dx * p;
        return p;
    };
    for (std::int32_t x = x0; x <= xMax; ++x) {
        if (add(x) < stop && x != x0) break;
    }
    for (std::int32_t x = x0 - 1; x >= xMin; --x) {
        if (add(x) < stop) break;
    }
    s1 /= s;
    s2 /= s;
    *mean = x0 + s1;
    const double v = s2 - s1 * s1;
    *variance = v < 0 ? 0.0 : v;
    return s;
}

}  // namespace fnc
}  // namespace qcm

namespace {

using qcm::fnc::FncHypergeometric;

// The table of relative terms for one export call: its length from the
// length query, then filled. False when no table can be formed.
bool FillTable(const FncHypergeometric& dist, std::vector<double>& table, std::int32_t& first, std::int32_t& last,
               double& sum) {
    const double length = dist.BuildTable(nullptr, 0, &first, nullptr, 0.0);
    if (!(length >= 1)) return false;
    table.assign(static_cast<std::size_t>(length), 0.0);
    sum = dist.BuildTable(table.data(), static_cast<std::int32_t>(length), &first, &last,
                          dist.accuracy * qcm::fnc::kTableCutoffFactor);
    return sum > 0;
}

}  // namespace

extern "C" {

double FNCHypergeometricCDF(int32_t x, int32_t n, int32_t m, int32_t N, double odds, qcm_flag upper, double accuracy) {
    qcm::ErrnoGuard guard;
    const FncHypergeometric dist(n, m, N, odds, accuracy);
    std::vector<double> table;
    std::int32_t first = 0, last = 0;
    double sum = 0.0;
    if (!FillTable(dist, table, first, last, sum)) return qcm::kLibraryNaN;
    const double factor = 1.0 / sum;

    // The rounded mean splits the table into the two tails.
    const double mean = dist.MeanApprox() + 0.5;
    if (!(mean > -1.0 && mean < 2147483648.0)) return qcm::kLibraryNaN;
    const auto x0 = static_cast<std::int64_t>(mean);
    if (x0 < first || x0 > last) return qcm::kLibraryNaN;
    const std::int64_t split = x0 - first;
    const std::int64_t top = static_cast<std::int64_t>(last) - first;
    for (std::int64_t i = 1; i <= split; ++i) table[i] += table[i - 1];
    for (std::int64_t i = top - 1; i > split; --i) table[i] += table[i + 1];

    if (x <= x0) {
        // At the last entry (the mean rounds to it) the left tail holds the
        // whole table: 1 exactly, not factor * sum.
        const double lower = x >= last ? 1.0 : x >= first ? factor * table[x - first] : 0.0;
        return qcm::flag(upper) ? 1.0 - lower : lower;
    }
    const double above = x < last ? factor * table[static_cast<std::int64_t>(x) - first + 1] : 0.0;
    return qcm::flag(upper) ? above : 1.0 - above;
}

double FNCHypergeometricICDF(double p, int32_t n, int32_t m, int32_t N, double odds, qcm_flag upper, double accuracy) {
    qcm::ErrnoGuard guard;
    const FncHypergeometric dist(n, m, N, odds, accuracy);
    std::vector<double> table;
    std::int32_t first = 0, last = 0;
    double sum = 0.0;
    if (!FillTable(dist, table, first, last, sum)) return qcm::kLibraryNaN;

    const std::uint32_t count = static_cast<std::uint32_t>(static_cast<std::int64_t>(last) - first + 1);
    for (std::uint32_t i = 1; i < count; ++i) table[i] += table[i - 1];
    if (qcm::flag(upper)) p = 1.0 - p;
    const double target = p * sum;

    // The least index whose running sum reaches the target.
    std::uint32_t lo = 0, hi = count;
    while (lo < hi) {
        const std::uint32_t mid = (lo + hi) / 2;
        if (table[mid] >= target)
            hi = mid;
        else
            lo = mid + 1;
    }
    return static_cast<double>(std::min<std::int64_t>(static_cast<std::int64_t>(lo) + first, last));
}

double FNCHypergeometricMoments(int32_t n, int32_t m, int32_t N, double odds, double* mean, double* variance) {
    qcm::ErrnoGuard guard;
    FncHypergeometric dist(n, m, N, odds, qcm::fnc::kMomentsAccuracy);
    double mu = qcm::kLibraryNaN, var = qcm::kLibraryNaN, total = qcm::kLibraryNaN;
    if (dist.Possible()) total = dist.ExactMoments(&mu, &var);
    if (std::isnan(total) || std::isnan(mu) || std::isnan(var)) mu = var = total = qcm::kLibraryNaN;
    if (mean != nullptr) *mean = mu;
    if (variance != nullptr) *variance = var;
    return total;
}

}  // extern "C"
