"""High-precision reference values (mpmath at 50 digits, exact rationals for
the discrete distributions), independent of the library's own algorithms."""
from fractions import Fraction

import mpmath as mp

mp.mp.dps = 50
INF = mp.inf


def solve(g, lo, hi, increasing=True):
    """The root of a monotone g on [lo, hi] by bisection to about 40
    significant digits. On an interval of one sign the bisection is
    geometric, so roots far below 1e-300 or beyond 1e300 are reached."""
    lo, hi = mp.mpf(lo), mp.mpf(hi)
    tiny, sign = mp.mpf(10) ** -400, 0
    if lo >= 0:
        lo, sign = max(lo, tiny), 1
    elif hi <= 0:
        hi, sign = min(hi, -tiny), -1
    for _ in range(4000):
        mid = sign * mp.sqrt(lo * hi) if sign else (lo + hi) / 2
        v = g(mid)
        if (v < 0) == increasing:
            lo = mid
        else:
            hi = mid
        if abs(hi - lo) <= abs(mid) * mp.mpf(10) ** -40:
            break
    return (lo + hi) / 2


def log_gap(f, target):
    """g(x) = log f(x) - log target, for tail probabilities down to 1e-300."""
    lt = mp.log(target)
    return lambda x: mp.log(f(x)) - lt if f(x) > 0 else -mp.inf


def bracket_up(f, target, lo=0, start=1):
    """An upper end for an increasing f on [lo, inf) with f(hi) >= target."""
    hi = mp.mpf(start)
    while f(hi) < target:
        hi *= 2
    return lo, hi


# ---- normal and error function
def normal_cdf(x, m, s, upper=False):
    z = (mp.mpf(x) - m) / s
    return mp.ncdf(-z) if upper else mp.ncdf(z)


def normal_icdf(p, m, s, upper=False):
    p = mp.mpf(p)
    if p == mp.mpf(1) / 2:
        return mp.mpf(m)
    z = solve(log_gap(lambda t: mp.ncdf(t), p), -40, 40)
    return m - s * z if upper else m + s * z


def inverse_erfc(q):
    q = mp.mpf(q)
    return solve(lambda t: -(mp.log(mp.erfc(t)) - mp.log(q)), -30, 30)


# ---- gamma functions
def gamma_p(a, x):
    return mp.gammainc(a, 0, x, regularized=True)


def gamma_q(a, x):
    return mp.gammainc(a, x, mp.inf, regularized=True)


def inverse_gamma_p(a, p):
    lo, hi = bracket_up(lambda t: gamma_p(a, t), p, start=max(1, a))
    return solve(log_gap(lambda t: gamma_p(a, t), p), lo, hi)


def inverse_gamma_q(a, q):
    hi = mp.mpf(max(1, a))
    while gamma_q(a, hi) > q:
        hi *= 2
    lo = 0
    return solve(lambda t: -(mp.log(gamma_q(a, t)) - mp.log(q)), lo, hi)


def gamma_derivative(a, x):
    a, x = mp.mpf(a), mp.mpf(x)
    return mp.exp((a - 1) * mp.log(x) - x - mp.loggamma(a))


# ---- beta functions
def ibeta(a, b, x):
    return mp.betainc(a, b, 0, x, regularized=True)


def ibetac(a, b, x):
    # 1 - I_x(a, b) = I_{1-x}(b, a), integrated from 0: no cancellation
    return mp.betainc(b, a, 0, 1 - mp.mpf(x), regularized=True)


def inverse_ibeta(a, b, p):
    return solve(log_gap(lambda t: ibeta(a, b, t), p), 0, 1)


def inverse_ibetac(a, b, q):
    return solve(lambda t: -(mp.log(ibetac(a, b, t)) - mp.log(q)) if ibetac(a, b, t) > 0 else mp.inf, 0, 1)


def beta_derivative(a, b, x):
    a, b, x = mp.mpf(a), mp.mpf(b), mp.mpf(x)
    return mp.exp((a - 1) * mp.log(x) + (b - 1) * mp.log1p(-x) - mp.log(mp.beta(a, b)))


# ---- continuous distributions
def t_pdf(x, v):
    x, v = mp.mpf(x), mp.mpf(v)
    return mp.exp(mp.loggamma((v + 1) / 2) - mp.loggamma(v / 2)) / mp.sqrt(v * mp.pi) * (1 + x * x / v) ** (-(v + 1) / 2)


def t_cdf(x, v, upper=False):
    x, v = mp.mpf(x), mp.mpf(v)
    if upper:
        x = -x
    if x == 0:
        return mp.mpf(1) / 2
    h = ibeta(v / 2, mp.mpf(1) / 2, v / (v + x * x)) / 2  # P(T < -|x|)
    return h if x < 0 else 1 - h


def t_icdf(p, v, upper=False):
    p = mp.mpf(p)
    if upper:
        return -t_icdf(p, v)
    if p == mp.mpf(1) / 2:
        return mp.mpf(0)
    if p < 0.5:
        return solve(log_gap(lambda t: t_cdf(t, v), p), -mp.mpf(10) ** 320, 0)
    return -t_icdf(1 - p, v)


def chisq_pdf(x, k):
    return gamma_derivative(mp.mpf(k) / 2, mp.mpf(x) / 2) / 2


def chisq_cdf(x, k, upper=False):
    return gamma_q(mp.mpf(k) / 2, mp.mpf(x) / 2) if upper else gamma_p(mp.mpf(k) / 2, mp.mpf(x) / 2)


def chisq_icdf(p, k, upper=False):
    return 2 * (inverse_gamma_q(mp.mpf(k) / 2, p) if upper else inverse_gamma_p(mp.mpf(k) / 2, p))


def f_pdf(x, d1, d2):
    x, d1, d2 = mp.mpf(x), mp.mpf(d1), mp.mpf(d2)
    return mp.exp((d1 / 2) * mp.log(d1 * x) + (d2 / 2) * mp.log(d2) - ((d1 + d2) / 2) * mp.log(d1 * x + d2)
                  - mp.log(x) - mp.log(mp.beta(d1 / 2, d2 / 2)))


def f_cdf(x, d1, d2, upper=False):
    x, d1, d2 = mp.mpf(x), mp.mpf(d1), mp.mpf(d2)
    y = d1 * x / (d1 * x + d2)
    return ibetac(d1 / 2, d2 / 2, y) if upper else ibeta(d1 / 2, d2 / 2, y)


def f_icdf(p, d1, d2, upper=False):
    # x = d2 y / (d1 (1 - y)) with I_y(d1/2, d2/2) = p. Near y = 1 (far upper
    # tail with small d2) 1 - y is lost at any fixed precision, so y and
    # z = 1 - y are each solved for to full relative precision: I_z(d2/2, d1/2)
    # is the complementary probability of y.
    d1, d2 = mp.mpf(d1), mp.mpf(d2)
    a, b = d1 / 2, d2 / 2
    if upper:
        y, z = inverse_ibetac(a, b, p), inverse_ibeta(b, a, p)
    else:
        y, z = inverse_ibeta(a, b, p), inverse_ibetac(b, a, p)
    return d2 * y / (d1 * z)


def gamma_dist_pdf(x, k, theta):
    return gamma_derivative(k, mp.mpf(x) / theta) / theta


def gamma_dist_cdf(x, k, theta, upper=False):
    return gamma_q(k, mp.mpf(x) / theta) if upper else gamma_p(k, mp.mpf(x) / theta)


def gamma_dist_icdf(p, k, theta, upper=False):
    return theta * (inverse_gamma_q(k, p) if upper else inverse_gamma_p(k, p))


# ---- discrete distributions (exact rationals)
def frac(x):
    return Fraction(x)


def binomial_pmf(k, n, p):
    k, n, p = int(k), int(n), frac(p)
    from math import comb
    return comb(n, k) * p ** k * (1 - p) ** (n - k)


def binomial_cdf(k, n, p, upper=False):
    below = sum(binomial_pmf(i, n, p) for i in range(0, int(k) + 1))
    return 1 - below if upper else below


def discrete_quantile_up(cdf_at, lo, hi, P, upper=False):
    """Smallest k in [lo, hi] with P(X <= k) >= P (or P(X > k) <= P)."""
    P = frac(P)
    for k in range(lo, hi + 1):
        c = cdf_at(k)
        if (1 - c <= P) if upper else (c >= P):
            return k
    return hi


def hyper_pmf(x, r, n, N):
    from math import comb
    x, r, n, N = int(x), int(r), int(n), int(N)
    return Fraction(comb(r, x) * comb(N - r, n - x), comb(N, n))


def hyper_cdf(x, r, n, N, upper=False):
    lo = max(0, int(n) + int(r) - int(N))
    below = sum(hyper_pmf(i, r, n, N) for i in range(lo, int(x) + 1))
    return 1 - below if upper else below


def fnc_weights(n, m, N, odds):
    from math import comb
    lo, hi = max(0, n + m - N), min(n, m)
    w = frac(odds)
    return lo, [comb(m, x) * comb(N - m, n - x) * w ** x for x in range(lo, hi + 1)]


def fnc_cdf(x, n, m, N, odds, upper=False):
    lo, ws = fnc_weights(n, m, N, odds)
    total = sum(ws)
    below = sum(ws[: max(0, min(len(ws), x - lo + 1))])
    return Fraction(total - below, total) if upper else Fraction(below, total)


def fnc_moments(n, m, N, odds):
    lo, ws = fnc_weights(n, m, N, odds)
    total = sum(ws)
    mean = Fraction(sum((lo + i) * w for i, w in enumerate(ws)), total)
    var = Fraction(sum((lo + i) ** 2 * w for i, w in enumerate(ws)), total) - mean * mean
    return mean, var
