// Kolmogorov distribution: the evaluation methods behind the two exports.
//
// Dispatch on n and w = n d^2 (thresholds are this library's settled ones):
//   n <= 140:  w < 0.754693 Durbin, w < 4 Pomeranz, beyond that twice
//              Smirnov's one-sided tail;
//   n > 140:   lower tail by Durbin while n^2 d^3 <= 2 and n <= 100000, else
//              Pelz-Good; upper tail by twice Smirnov's sum once w >= 2.2.
// Closed forms cover d <= 1/n, d >= 1 - 1/n and the far tails first.
//
// References: J. Durbin, "Distribution Theory for Tests Based on the Sample
// Distribution Function", SIAM (1973); G. Marsaglia, W. W. Tsang and J. Wang,
// "Evaluating Kolmogorov's Distribution", J. Stat. Software 8(18) (2003);
// J. Pomeranz, "Exact Cumulative Distribution of the Kolmogorov-Smirnov
// Statistic for Small Samples", CACM 17 (1974); W. Pelz and I. J. Good,
// "Approximating the Lower Tail-Areas of the Kolmogorov-Smirnov One-Sample
// Statistic", JRSS B 38 (1976); R. Simard and P. L'Ecuyer, J. Stat. Software
// 39(11) (2011).
#include <algorithm>
#include <cmath>
#include <vector>

#include "conventions.hpp"
#include "kolmogorov/kolmogorov.hpp"

namespace qcm {
namespace kolmogorov {

namespace {

// Dispatch thresholds.
constexpr int kSmallN = 140;               // exact methods throughout up to this n
constexpr double kDurbinW = 0.754693;      // n <= 140: Durbin below this w
constexpr double kPomeranzW = 4.0;         // n <= 140: Pomeranz below this w
constexpr double kDurbinN2D3 = 2.0;        // n > 140: Durbin while n^2 d^3 <= this
constexpr int kDurbinMaxN = 100000;        // ... and n <= this
constexpr double kSmirnovW = 2.2;          // n > 140: upper tail by Smirnov from this w
constexpr int kSmirnovExactMaxN = 200000;  // Smirnov's sum up to this n, asymptotic beyond

// Closed-form limits.
constexpr double kLowerIsOneW = 18.0;    // lower tail is 1 to double precision
constexpr double kUpperIsZeroW = 370.0;  // upper tail is 0 to double precision
constexpr double kUpperIsOneW = 0.0274;  // upper tail is 1 to double precision

// Decimal exponent scaling of Durbin's matrices.
constexpr double kDurbinBig = 1.0e140;
constexpr double kDurbinSmall = 1.0e-140;
constexpr int kDurbinExponent = 140;

// Pomeranz's renormalisation by 2^350 when a row falls below 1e-280.
constexpr int kPomeranzRenoLog2 = 350;
constexpr double kPomeranzUnderflow = 1.0e-280;
constexpr double kPomeranzStepEps = 1.0e-15;
constexpr double kLn2 = 0.6931471805599453;

// Pelz-Good: relative size of the last term, and the index limit.
constexpr double kPelzGoodEps = 1.0e-10;
constexpr int kPelzGoodTerms = 20;
constexpr double kPi2 = 9.869604401089358;
constexpr double kPi4 = 97.40909103400243;
constexpr double kPi6 = 961.3891935753043;
constexpr double kThreePi2 = 29.608813203268074;
constexpr double kSqrt2Pi = 2.506628274631001;
constexpr double kSqrtHalfPi = 1.2533141373155001;

// Smirnov's sum stops at this relative contribution.
constexpr double kSmirnovEps = 1.0e-12;

// Stirling series beyond the table (the x^-5 coefficient as this library
// has always used it, slightly off 1/1260).
constexpr double kHalfLog2Pi = 0.91893853320467;
constexpr double kStirling1 = 0.083333333333333;
constexpr double kStirling3 = 0.0027777777777778;
constexpr double kStirling5 = 0.0007936500793651;
constexpr double kStirling7 = 0.000595238095238;

// Log1pSeries: direct logarithm above this |x|, series below.
constexpr double kLog1pSeriesLimit = 0.1;
constexpr double kLog1pEps = 1.0e-15;
constexpr int kLog1pTerms = 49;

// t^n n! for the range 1/(2n) < d <= 1/n, with t = 2d - 1/n.
double lower_tail_short_range(int n, double d) {
    const double t = 2.0 * d - 1.0 / n;
    if (n <= 20) return std::pow(t, n) * FactorialTable[n];
    return std::exp(LogFactorial(n) + n * std::log(t));
}

}  // namespace

const double FactorialTable[21] = {1.0,
                                   1.0,
                                   2.0,
                                   6.0,
                                   24.0,
                                   120.0,
                                   720.0,
                                   5040.0,
                                   40320.0,
                                   362880.0,
                                   3628800.0,
                                   39916800.0,
                                   479001600.0,
                                   6227020800.0,
                                   87178291200.0,
                                   1307674368000.0,
                                   20922789888000.0,
                                   355687428096000.0,
                                   6402373705728000.0,
                                   121645100408832000.0,
                                   2432902008176640000.0};

const double LogFactorialTable[31] = {0.0,
                                      0.0,
                                      0.69314718055994531,
                                      1.791759469228055,
                                      3.1780538303479456,
                                      4.787491742782046,
                                      6.579251212010101,
                                      8.5251613610654143,
                                      10.60460290274525,
                                      12.80182748008147,
                                      15.104412573075515,
                                      17.502307845873886,
                                      19.987214495661886,
                                      22.552163853123423,
                                      25.191221182738682,
                                      27.899271383840892,
                                      30.671860106080673,
                                      33.505073450136889,
                                      36.395445208033054,
                                      39.339884187199494,
                                      42.335616460753485,
                                      45.380138898476908,
                                      48.471181351835224,
                                      51.606675567764374,
                                      54.784729398112319,
                                      58.00360522298052,
                                      61.261701761002002,
                                      64.557538627006331,
                                      67.889743137181535,
                                      71.257038967168009,
                                      74.658236348830164};

double LogFactorial(int n) {
    if (n < 0) return kLibraryNaN;
    if (n < 31) return LogFactorialTable[n];
    const double x = n + 1.0;
    const double x2 = x * x;
    return (x - 0.5) * std::log(x) - x + kHalfLog2Pi +
           (((kStirling5 - kStirling7 / x2) / x2 - kStirling3) / x2 + kStirling1) / x;
}

double Log1pSeries(double x) {
    if (std::fabs(x) > kLog1pSeriesLimit) return std::log(1.0 + x);
    if (!(std::fabs(x) > std::fabs(x) * kLog1pEps)) return x;
    double sum = x;
    double power = x;  // (-1)^(k+1) x^k
    for (int k = 2; k <= kLog1pTerms; ++k) {
        power = -power * x;
        sum += power / k;
        if (std::fabs(power) <= std::fabs(sum) * kLog1pEps) break;
    }
    return sum;
}

double KolmogorovSpecialLower(int n, double d) {
    const double w = n * d * d;
    if (w >= kLowerIsOneW || d >= 1.0) return 1.0;
    if (d <= 0.5 / n) return 0.0;
    if (n == 1) return 2.0 * d - 1.0;
    if (d <= 1.0 / n) return lower_tail_short_range(n, d);
    if (d >= 1.0 - 1.0 / n) return 1.0 - 2.0 * std::pow(1.0 - d, n);
    return -1.0;
}

double KolmogorovSpecialUpper(int n, double d) {
    const double w = n * d * d;
    if (w >= kUpperIsZeroW || d >= 1.0) return 0.0;
    if (w <= kUpperIsOneW) return 1.0;
    if (d <= 0.5 / n) return 1.0;
    if (n == 1) return 2.0 - 2.0 * d;
    if (d <= 1.0 / n) return 1.0 - lower_tail_short_range(n, d);
    if (d >= 1.0 - 1.0 / n) return 2.0 * std::pow(1.0 - d, n);
    return -1.0;
}

double KolmogorovLowerTail(int n, double d) {
    if (std::isnan(d)) return kLibraryNaN;
    const double v = KolmogorovSpecialLower(n, d);
    if (v >= 0.0) return v;
    const double w = n * d * d;
    if (n <= kSmallN) {
        if (w < kDurbinW) return DurbinMatrix(n, d);
        if (w < kPomeranzW) return Pomeranz(n, d);
        return 1.0 - KolmogorovUpperTail(n, d);
    }
    if (w * d * n <= kDurbinN2D3 && n <= kDurbinMaxN) return DurbinMatrix(n, d);
    return PelzGood(n, d);
}

double KolmogorovUpperTail(int n, double d) {
    if (std::isnan(d)) return kLibraryNaN;
    const double v = KolmogorovSpecialUpper(n, d);
    if (v >= 0.0) return v;
    const double w = n * d * d;
    if (n <= kSmallN) {
        if (w < kPomeranzW) return 1.0 - KolmogorovLowerTail(n, d);
        return 2.0 * SmirnovUpper(n, d);
    }
    if (w >= kSmirnovW) return 2.0 * SmirnovUpper(n, d);
    return 1.0 - KolmogorovLowerTail(n, d);
}

// ---- Durbin's matrix method -------------------------------------------------

void MatrixMultiply(const double* A, const double* B, double* P, int m) {
    // Every element sums A[i][k] B[k][j] in increasing k, as the plain triple
    // loop does; the products are only grouped in blocks of 4 x 4 elements
    // of P that stay in registers while k runs, so the results are the same
    // to the last bit.
    constexpr int kBlock = 4;
    const std::size_t stride = static_cast<std::size_t>(m);
    auto single = [&](int i, int j) {
        double sum = 0.0;
        for (int k = 0; k < m; ++k) sum += A[i * stride + k] * B[k * stride + j];
        P[i * stride + j] = sum;
    };
    int i = 0;
    for (; i + kBlock <= m; i += kBlock) {
        int j = 0;
        for (; j + kBlock <= m; j += kBlock) {
            double acc[kBlock][kBlock] = {};
            for (int k = 0; k < m; ++k) {
                const double* b = B + k * stride + j;
                for (int r = 0; r < kBlock; ++r) {
                    const double a = A[(i + r) * stride + k];
                    for (int c = 0; c < kBlock; ++c) acc[r][c] += a * b[c];
                }
            }
            for (int r = 0; r < kBlock; ++r)
                for (int c = 0; c < kBlock; ++c) P[(i + r) * stride + j + c] = acc[r][c];
        }
        for (; j < m; ++j)
            for (int r = 0; r < kBlock; ++r) single(i + r, j);
    }
    for (; i < m; ++i)
        for (int j = 0; j < m; ++j) single(i, j);
}

void MatrixRescale(double* M, int m, int& e) {
    const std::size_t size = static_cast<std::size_t>(m) * m;
    for (std::size_t i = 0; i < size; ++i) M[i] *= kDurbinSmall;
    e += kDurbinExponent;
}

void MatrixPower(const std::vector<double>& A, int eA, std::vector<double>& V, int& eV, int m, int n) {
    const std::size_t size = static_cast<std::size_t>(m) * m;
    const std::size_t centre = static_cast<std::size_t>(m / 2) * m + m / 2;
    if (n < 1) {  // the zeroth power
        V.assign(size, 0.0);
        for (int i = 0; i < m; ++i) V[static_cast<std::size_t>(i) * m + i] = 1.0;
        eV = 0;
        return;
    }
    if (n == 1) {
        V.assign(A.begin(), A.begin() + size);
        eV = eA;
        return;
    }
    MatrixPower(A, eA, V, eV, m, n / 2);
    std::vector<double> B(size);
    MatrixMultiply(V.data(), V.data(), B.data(), m);
    int eB = 2 * eV;
    if (B[centre] > kDurbinBig) MatrixRescale(B.data(), m, eB);
    if (n % 2 == 0) {
        V.swap(B);
        eV = eB;
    } else {
        MatrixMultiply(A.data(), B.data(), V.data(), m);
        eV = eA + eB;
    }
    if (V[centre] > kDurbinBig) MatrixRescale(V.data(), m, eV);
}

double DurbinMatrix(int n, double d) {
    if (n < 1 || !(d >= 0.0)) return kLibraryNaN;
    const int k = static_cast<int>(n * d) + 1;
    const int m = 2 * k - 1;
    const double h = k - n * d;
    const std::size_t size = static_cast<std::size_t>(m) * m;
    std::vector<double> H(size);
    auto at = [m](int i, int j) { return static_cast<std::size_t>(i) * m + j; };
    for (int i = 0; i < m; ++i)
        for (int j = 0; j < m; ++j) H[at(i, j)] = i - j + 1 >= 0 ? 1.0 : 0.0;
    for (int i = 0; i < m; ++i) {
        H[at(i, 0)] -= std::pow(h, i + 1);
        H[at(m - 1, i)] -= std::pow(h, m - i);
    }
    if (2.0 * h - 1.0 > 0.0) H[at(m - 1, 0)] += std::pow(2.0 * h - 1.0, m);
    for (int i = 0; i < m; ++i)
        for (int j = 0; j < m; ++j)
            for (int g = 1; g <= i - j + 1; ++g) H[at(i, j)] /= g;

    std::vector<double> Q;
    int eQ = 0;
    MatrixPower(H, 0, Q, eQ, m, n);
    double s = Q[at(k - 1, k - 1)];
    for (int i = 1; i <= n; ++i) {
        s = s * i / n;
        if (s < kDurbinSmall) {
            s *= kDurbinBig;
            eQ -= kDurbinExponent;
        }
    }
    return s * std::pow(10.0, eQ);
}

// ---- Pomeranz's recursion -----------------------------------------------------

void PomeranzBounds(int n, double t, double* A, double* Atflo, double* Atcei) {
    const int ell = static_cast<int>(t);
    double z = t - ell;
    const int last = 2 * n + 2;
    if (z > 0.5) {
        for (int i = 2; i <= last; i += 2) {
            Atflo[i] = i / 2 - 2 - ell;
            Atcei[i] = i / 2 + ell;
        }
        for (int i = 1; i <= last - 1; i += 2) {
            Atflo[i] = i / 2 - 1 - ell;
            Atcei[i] = i / 2 + 1 + ell;
        }
    } else if (z > 0.0) {
        for (int i = 1; i <= last; ++i) Atflo[i] = i / 2 - 1 - ell;
        for (int i = 2; i <= last; ++i) Atcei[i] = i / 2 + ell;
        Atcei[1] = 1 + ell;
    } else {
        for (int i = 2; i <= last; i += 2) {
            Atflo[i] = i / 2 - 1 - ell;
            Atcei[i] = i / 2 - 1 + ell;
        }
        for (int i = 1; i <= last - 1; i += 2) {
            Atflo[i] = i / 2 - ell;
            Atcei[i] = i / 2 + ell;
        }
    }
    z = std::min(z, std::ceil(t) - t);
    A[0] = A[1] = 0.0;
    A[2] = z;
    A[3] = 1.0 - z;
    for (int i = 4; i <= last - 1; ++i) A[i] = A[i - 2] + 1.0;
    A[last] = n;
}

double Pomeranz(int n, double d) {
    if (n < 1 || !(d >= 0.0)) return kLibraryNaN;
    const double t = n * d;
    const int len = 2 * n + 3;
    const int width = n + 2;
    std::vector<double> A(len, 0.0), Atflo(len, 0.0), Atcei(len, 0.0);
    std::vector<double> V[2] = {std::vector<double>(width, 0.0), std::vector<double>(width, 0.0)};
    std::vector<double> H[4];
    PomeranzBounds(n, t, A.data(), Atflo.data(), Atcei.data());

    const double reno = std::ldexp(1.0, kPomeranzRenoLog2);
    V[1][1] = reno;
    int renormalisations = 1;

    // H[s][j] = w_s^j / j!, the transition weights of the four step kinds.
    const double step[3] = {2.0 * A[2] / n, (1.0 - 2.0 * A[2]) / n, A[2] / n};
    for (int s = 0; s < 4; ++s) {
        H[s].assign(width, 0.0);
        H[s][0] = 1.0;
        if (s == 3) continue;
        for (int j = 1; j <= n + 1; ++j) H[s][j] = step[s] * H[s][j - 1] / j;
    }

    int r1 = 0, r2 = 1;
    for (int i = 2; i <= 2 * n + 2; ++i) {
        const int jlow = std::max(1, 2 + static_cast<int>(Atflo[i]));
        const int jup = std::min(n + 1, static_cast<int>(Atcei[i]));
        const int klow = std::max(1, 2 + static_cast<int>(Atflo[i - 1]));
        const int kup0 = static_cast<int>(Atcei[i - 1]);

        // The step kind whose first weight matches this step's length; the
        // nearest one should rounding ever leave none within the tolerance.
        const double length = (A[i] - A[i - 1]) / n;
        int s = -1;
        for (int c = 0; c < 4 && s < 0; ++c)
            if (std::fabs(length - H[c][1]) <= kPomeranzStepEps) s = c;
        if (s < 0) {
            s = 0;
            for (int c = 1; c < 4; ++c)
                if (std::fabs(length - H[c][1]) < std::fabs(length - H[s][1])) s = c;
        }

        std::swap(r1, r2);
        double smallest = reno;
        for (int j = jlow; j <= jup; ++j) {
            const int kup = std::min(kup0, j);
            double sum = 0.0;
            for (int k = kup; k >= klow; --k) sum += V[r1][k] * H[s][j - k];
            V[r2][j] = sum;
            if (sum < smallest) smallest = sum;
        }
        if (smallest < kPomeranzUnderflow) {
            for (int j = jlow; j <= jup; ++j) V[r2][j] *= reno;
            ++renormalisations;
        }
    }

    const double w = LogFactorial(n) - renormalisations * kPomeranzRenoLog2 * kLn2 + std::log(V[r2][n + 1]);
    return w >= 0.0 ? 1.0 : std::exp(w);
}

// ---- Pelz-Good asymptotic series ----------------------------------------------

double PelzGood(int n, double d) {
    const double rootn = std::sqrt(static_cast<double>(n));
    const double u = rootn * d;
    const double u2 = u * u;
    const double u4 = u2 * u2;
    const double u6 = u4 * u2;
    const double w = kPi2 / (2.0 * u2);

    // Sums f(tau) exp(-tau w) over tau = (k + 1/2)^2, k = 0..20, or over
    // kappa = k^2, k = 1..20, until a term is below 1e-10 of the sum.
    auto series = [w](bool half, auto coefficient) {
        double sum = 0.0, term = 1.0;
        for (int k = half ? 0 : 1; k <= kPelzGoodTerms && std::fabs(term) > kPelzGoodEps * std::fabs(sum); ++k) {
            const double x = half ? (k + 0.5) * (k + 0.5) : static_cast<double>(k) * k;
            term = coefficient(x) * std::exp(-x * w);
            sum += term;
        }
        return sum;
    };

    const double s1 = series(true, [](double) { return 1.0; });
    double K = s1 * kSqrt2Pi / u;

    const double s2 = series(true, [u2](double tau) { return kPi2 * tau - u2; });
    K += s2 * kSqrtHalfPi / (3.0 * rootn * u4);

    const double s3 = series(true, [u2, u4, u6](double tau) {
        return 6.0 * u6 + 2.0 * u4 + kPi2 * (2.0 * u4 - 5.0 * u2) * tau + kPi4 * (1.0 - 2.0 * u2) * tau * tau;
    });
    K += s3 * kSqrtHalfPi / (36.0 * n * u6 * u);

    const double s4 = series(false, [](double kappa) { return kPi2 * kappa; });
    K -= s4 * kSqrtHalfPi / (18.0 * n * u2 * u);

    const double s5 = series(true, [u2, u4, u6](double tau) {
        return -30.0 * u6 - 90.0 * u6 * u2 + kPi2 * (135.0 * u4 - 96.0 * u6) * tau +
               kPi4 * (212.0 * u4 - 60.0 * u2) * tau * tau + kPi6 * (5.0 - 30.0 * u2) * tau * tau * tau;
    });
    K += s5 * kSqrtHalfPi / (3240.0 * n * rootn * u4 * u6);

    const double s6 = series(false, [u2](double kappa) { return kThreePi2 * kappa * u2 - kPi4 * kappa * kappa; });
    K += s6 * kSqrtHalfPi / (108.0 * n * rootn * u6);
    return K;
}

// ---- Smirnov's one-sided tail -------------------------------------------------

double SmirnovUpperAsymptotic(int n, double d) {
    const double t = 6.0 * n * d + 1.0;
    const double z = t * t / (18.0 * n);
    double v = 1.0 - (2.0 * z * z - 4.0 * z - 1.0) / (18.0 * n);
    if (v <= 0.0) return 0.0;
    v *= std::exp(-z);
    return v >= 1.0 ? 1.0 : v;
}

double SmirnovUpper(int n, double d) {
    if (n < 1 || !(d >= 0.0 && d <= 1.0)) return kLibraryNaN;
    if (n > kSmirnovExactMaxN) return SmirnovUpperAsymptotic(n, d);
    // P(D_n^+ >= d) = (1-d)^n + d sum_{j=1}^{jmax} C(n,j) q^(j-1) (1-q)^(n-j),
    // q = j/n + d. The sum starts near its largest term and walks both ways.
    int jmax = static_cast<int>(n * (1.0 - d));
    if (1.0 - d - static_cast<double>(jmax) / n <= 0.0) --jmax;
    const int jdiv = n <= 3000 ? 3 : 2;

    auto term_at = [n, d](int j, double logc) {
        const double q = static_cast<double>(j) / n + d;
        return std::exp(logc + (j - 1) * std::log(q) + (n - j) * Log1pSeries(-q));
    };

    double sum = 0.0;
    int j = jmax / jdiv + 1;
    double logc = LogFactorial(n) - LogFactorial(j) - LogFactorial(n - j);
    const double logc0 = logc;
    while (j <= jmax) {
        const double term = term_at(j, logc);
        sum += term;
        logc += std::log(static_cast<double>(n - j) / (j + 1));
        if (term <= sum * kSmirnovEps) break;
        ++j;
    }

    j = jmax / jdiv;
    logc = logc0 + std::log(static_cast<double>(j + 1) / (n - j));
    while (j > 0) {
        const double term = term_at(j, logc);
        sum += term;
        logc += std::log(static_cast<double>(j) / (n - j + 1));
        if (term <= sum * kSmirnovEps) break;
        --j;
    }
    return d * sum + std::exp(n * Log1pSeries(-d));
}

}  // namespace kolmogorov
}  // namespace qcm
