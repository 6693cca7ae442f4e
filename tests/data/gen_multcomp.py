#!/usr/bin/python3
"""Reference values for the multiple-comparison distributions, computed with
mpmath (20 significant digits) directly from the defining integrals:

  known variance (s = 1), with u a standard normal variable and
  c_j = 1 / sqrt(1 - lambda_j^2):
    Tukey    k * Int phi(u) [Phi(c l u) - Phi(c l u - c q s)]^(k-1) du
    Hsu      Int phi(u) prod_j Phi((l_j u + q s) c_j) du
    Dunnett  Int phi(u) prod_j [Phi((l_j u + q s) c_j) - Phi((l_j u - q s) c_j)] du
  studentized: Int_0^inf f(s) P(q s) ds, s = sqrt(chi2_df / df), with
    f(s) = 2 (df/2)^(df/2) s^(df-1) exp(-df s^2 / 2) / Gamma(df/2).

Both integrals use composite Gauss-Legendre rules of mpmath (24 points on each
of 12 pieces in u over [-10, 10] and 24 points on each of 10 pieces in s over
the central 1 - 1e-20 of the chi distribution); the references are the true
integrals over the whole line (no truncation of the chi tails). Doubling the
pieces changes no value by more than 1e-12 (check with --check).
The inner integral is tabulated as a Chebyshev interpolant (see below). Quantiles
are roots of the same CDF found by the Illinois method to 1e-13.

Writes multcomp_cdf.csv and multcomp_quantile.csv beside this script.
Run with Debian's interpreter: /usr/bin/python3 gen_multcomp.py  (about 6 minutes)
"""
import os
import sys

import mpmath as mp
from mpmath.calculus.quadrature import GaussLegendre

mp.mp.dps = 20
HERE = os.path.dirname(os.path.abspath(__file__))
SQRT_HALF = mp.sqrt(mp.mpf(1) / 2)
PIECES = 1

_rule = GaussLegendre(mp.mp).calc_nodes(4, mp.mp.prec)  # 24 points on [-1, 1]


def composite(f, edges):
    total = mp.mpf(0)
    for lo, hi in zip(edges[:-1], edges[1:]):
        h = (hi - lo) / 2
        mid = (hi + lo) / 2
        total += h * mp.fsum(w * f(mid + h * x) for x, w in _rule)
    return total


def lambdas(k, lam):
    """Correlation factors: a common value, or (lam = -1) an unequal pattern."""
    if lam == -1:
        return [mp.mpf("0.2") + mp.mpf("0.15") * (j % 4) for j in range(k)]
    return [mp.mpf(lam)] * k


def u_edges():
    return mp.linspace(-10, 10, 12 * PIECES + 1)


def known_variance(family, k, x, lam):
    """P(statistic <= x) for known variance (x = q s)."""
    ls = lambdas(k, lam)
    if family == "MCaCDF":
        l0 = ls[0]
        c = 1 / mp.sqrt(1 - l0 * l0)

        def f(u):
            d = mp.ncdf(c * l0 * u) - mp.ncdf(c * l0 * u - c * x)
            return mp.npdf(u) * d ** (k - 1)

        return k * composite(f, u_edges())
    m = k - 1
    cs = [1 / mp.sqrt(1 - l * l) for l in ls[:m]]

    def factor(l, c, u):
        if family == "MCbCDF":
            return mp.ncdf((l * u + x) * c)
        return mp.ncdf((l * u + x) * c) - mp.ncdf((l * u - x) * c)

    def f(u):
        prod = mp.mpf(1)
        cache = {}
        for l, c in zip(ls[:m], cs):
            if l not in cache:
                cache[l] = factor(l, c, u)
            prod *= cache[l]
        return mp.npdf(u) * prod

    return composite(f, u_edges())


def s_range(df):
    """[lo, hi] holding all but about 2e-20 of the distribution of s."""
    h = mp.mpf(df) / 2
    eps = mp.mpf(10) ** -20
    hi = mp.mpf(1)
    while mp.gammainc(h, h * hi * hi, mp.inf, regularized=True) > eps:
        hi *= mp.mpf("1.25")
    lo = mp.mpf(1)
    while mp.gammainc(h, 0, h * lo * lo, regularized=True) > eps:
        lo *= mp.mpf("0.8")
    return lo, hi


# The known-variance probability depends on q s only; it is tabulated once per
# (family, k, lambda) as a Chebyshev interpolant on [0, X_MAX] (beyond X_MAX it
# is 1 to 20 digits), so that the outer integral and the root search cost no
# further inner quadratures. The interpolation error is measured against direct
# quadrature at off-node points and reported in the CSV header.
X_MAX = mp.mpf(12)
CHEB_N = 100
_interp = {}
_interp_err = [mp.mpf(0)]


def interpolant(family, k, lam):
    key = (family, k, lam)
    if key in _interp:
        return _interp[key]
    n = CHEB_N
    theta = [mp.pi * (j + mp.mpf(1) / 2) / n for j in range(n)]
    vals = [known_variance(family, k, X_MAX * (1 + mp.cos(t)) / 2, lam) for t in theta]
    coef = [2 * mp.fsum(v * mp.cos(m * t) for v, t in zip(vals, theta)) / n for m in range(n)]
    coef[0] /= 2

    def g(x):
        if x >= X_MAX:
            return mp.mpf(1)
        y = 2 * x / X_MAX - 1
        b1 = b2 = mp.mpf(0)
        for c in reversed(coef[1:]):
            b1, b2 = 2 * y * b1 - b2 + c, b1
        return y * b1 - b2 + coef[0]

    tail = abs(known_variance(family, k, X_MAX, lam) - 1)
    for x in (mp.mpf("0.37"), mp.mpf("1.91"), mp.mpf("4.43"), mp.mpf("7.7")):
        _interp_err[0] = max(_interp_err[0], abs(g(x) - known_variance(family, k, x, lam)), tail)
    _interp[key] = g
    return g


def studentized(family, k, df, q, lam, direct=False):
    g = (lambda x: known_variance(family, k, x, lam)) if direct else interpolant(family, k, lam)
    if df == mp.inf:
        return g(q)
    h = mp.mpf(df) / 2
    lognorm = mp.log(2) + h * mp.log(h) - mp.loggamma(h)

    def dens(s):
        return mp.exp(lognorm + (df - 1) * mp.log(s) - h * s * s)

    lo, hi = s_range(df)
    edges = mp.linspace(lo, hi, 10 * PIECES + 1)
    return composite(lambda s: dens(s) * g(q * s), edges)


def quantile(family, k, df, p, lam, x0, x1):
    """Root of CDF(x) = p inside the bracket [x0, x1] (Illinois method)."""
    return mp.findroot(lambda x: studentized(family, k, df, x, lam) - p, (mp.mpf(x0), mp.mpf(x1)),
                       solver="illinois", tol=mp.mpf(10) ** -26)


INF = mp.inf

# (family, k, df, q, lambda): probabilities
CDF_CASES = []
for k in (2, 3, 5, 10, 20):
    for df in (2, 5, 10, 30, 120, 1000, INF):
        for q in (1.5, 3.0):
            CDF_CASES.append(("MCaCDF", k, df, q, SQRT_HALF))
for k in (2, 3, 5, 10):
    for df in (2, 10, 60, 1000, INF):
        CDF_CASES.append(("MCbCDF", k, df, 1.8, 0.5))
        CDF_CASES.append(("MCcCDF", k, df, 2.2, 0.5))
for df in (5, 20, INF):
    CDF_CASES.append(("MCcCDF", 5, df, 2.5, -1))
    CDF_CASES.append(("MCbCDF", 5, df, 2.0, -1))

# (family, k, df, p, lambda, x0, x1): lower-tail quantiles
QUANTILE_CASES = []
for k in (3, 5, 10, 20):
    for df in (2, 10, 120, INF):
        QUANTILE_CASES.append(("MCaICDF", k, df, 0.95, SQRT_HALF, 0.5, 20))
for k in (3, 10):
    for df in (5, 1000):
        QUANTILE_CASES.append(("MCaICDF", k, df, 0.99, SQRT_HALF, 0.5, 20))
for k in (3, 4, 5):
    for df in (5, 20, INF):
        QUANTILE_CASES.append(("MCcICDF", k, df, 0.95, SQRT_HALF, 0.5, 10))
for k in (3, 5):
    for df in (10, INF):
        QUANTILE_CASES.append(("MCbICDF", k, df, 0.95, 0.5, 0.5, 10))


def fmt(x):
    return "inf" if x == INF else mp.nstr(mp.mpf(x), 17)


def main():
    global PIECES
    if "--check" in sys.argv:
        for fam, k, df, q, lam in (("MCaCDF", 20, 2, 3.0, SQRT_HALF), ("MCcCDF", 5, 1000, 2.2, 0.5)):
            a = studentized(fam, k, df, mp.mpf(q), lam, direct=True)
            b = studentized(fam, k, df, mp.mpf(q), lam)
            PIECES = 2
            c = studentized(fam, k, df, mp.mpf(q), lam)
            PIECES = 1
            print(fam, k, df, q, mp.nstr(a, 20), "interpolated - direct", mp.nstr(b - a, 3),
                  "doubled pieces", mp.nstr(c - b, 3), "interpolation error", mp.nstr(_interp_err[0], 3))
        return
    header = ("# Reference values from tests/data/gen_multcomp.py: mpmath at 20 digits,\n"
              "# composite Gauss-Legendre over the defining double integral (error < 1e-12).\n"
              "# lambda = -1 stands for the unequal factors 0.2 + 0.15 (j mod 4).\n")
    cdf_rows, quantile_rows = [], []
    for fam, k, df, q, lam in CDF_CASES:
        v = studentized(fam, k, df, mp.mpf(q), lam)
        cdf_rows.append("%s,%s,%d,%s,%s,%s\n" % (fam, fmt(q), k, fmt(df), fmt(lam), mp.nstr(v, 17)))
    for fam, k, df, p, lam, x0, x1 in QUANTILE_CASES:
        v = quantile(fam.replace("ICDF", "CDF"), k, df, p, lam, x0, x1)
        quantile_rows.append("%s,%s,%d,%s,%s,%s\n" % (fam, fmt(p), k, fmt(df), fmt(lam), mp.nstr(v, 17)))
    header += "# largest interpolation error seen: %s\n" % mp.nstr(_interp_err[0], 3)
    with open(os.path.join(HERE, "multcomp_cdf.csv"), "w") as out:
        out.write(header + "# function,q,k,df,lambda,cdf\n")
        out.writelines(cdf_rows)
    with open(os.path.join(HERE, "multcomp_quantile.csv"), "w") as out:
        out.write(header + "# function,p,k,df,lambda,quantile\n")
        out.writelines(quantile_rows)


if __name__ == "__main__":
    main()
