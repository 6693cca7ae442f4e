#!/usr/bin/python3
"""Reference values for the continuous distribution exports.

Run with Debian's python3 (it has mpmath):  /usr/bin/python3 gen_continuous.py
Writes continuous_reference.csv next to this script.

Every value is computed with mpmath from the textbook definitions, never from
the library's algorithms:
  Student's t   P(T <= x) = I_z(df/2, 1/2) / 2 for x < 0, z = df / (df + x^2)
  chi-squared   P(df/2, x/2) and Q(df/2, x/2), regularised incomplete gamma
  F             I_z(df1/2, df2/2), z = df1 x / (df1 x + df2), with
                1 - z = df2 / (df1 x + df2) for the complement
  gamma         P(shape, x/scale), Q(shape, x/scale)
  beta          I_x(a, b); the complement is I_{1-x}(b, a)
The smaller of the two tails is always evaluated as its own integral, never
as 1 - the other; only a tail of at least about 1/2 is taken as 1 - the other.
Quantiles are roots of tail(x) = p found by bisection and a secant polish on
log(tail), in a logarithmic (or logistic, for beta) variable.

Each value is computed at 50 and again at 70 significant digits; a row is
kept only if both agree to 1e-30 relative, then rounded once to the nearest
double. Rows whose exact value lies outside the normal double range (below
2.2250738585072014e-308 in magnitude, or beyond the largest double) are
dropped: there the result is an underflow or an overflow, not a value.

Columns: function, the export's arguments (the tail flag as 0/1), cond,
expected. cond is the relative condition number of the result with respect to
the argument x (or p): |x f(x) / F(x)| for a cdf, |p / (x f(x))| for a
quantile, |x (log f)'(x)| for a density. The tests scale their ulp tolerance by
it, since the exports round the argument (x/scale, df1*x, x^2/(df + x^2)) once
or twice before the special function sees it.
"""

import os
import sys

import mpmath as M

DBL_MIN = 2.2250738585072014e-308
DBL_MAX = 1.7976931348623157e308


def mpf(v):
    return M.mpf(v)


# ---------------------------------------------------------------- densities

def t_pdf(x, df):
    return M.exp(M.loggamma((df + 1) / 2) - M.loggamma(df / 2) - M.log(df * M.pi) / 2
                 - (df + 1) / 2 * M.log1p(x * x / df))


def chi2_pdf(x, df):
    k = df / 2
    return M.exp((k - 1) * M.log(x / 2) - x / 2 - M.loggamma(k)) / 2


def f_pdf(x, d1, d2):
    lb = M.loggamma(d1 / 2) + M.loggamma(d2 / 2) - M.loggamma((d1 + d2) / 2)
    return M.exp((d1 * M.log(d1 * x) + d2 * M.log(d2) - (d1 + d2) * M.log(d1 * x + d2)) / 2
                 - M.log(x) - lb)


def gamma_pdf(x, a, s):
    return M.exp((a - 1) * M.log(x) - x / s - M.loggamma(a) - a * M.log(s))


def beta_pdf(x, a, b):
    lb = M.loggamma(a) + M.loggamma(b) - M.loggamma(a + b)
    return M.exp((a - 1) * M.log(x) + (b - 1) * M.log1p(-x) - lb)


# ---------------------------------------------------------------- tails
# tail(x, upper, *params); x may be passed with its complement for beta.

def t_tail(x, upper, df):
    if upper:
        x = -x
    if x == 0:
        return mpf(1) / 2
    half = M.betainc(df / 2, mpf(1) / 2, 0, df / (df + x * x), regularized=True) / 2
    return half if x < 0 else 1 - half


# The smaller tail is always evaluated directly; the larger one (at least
# about 1/2) may be taken as 1 - the smaller without losing digits, which
# keeps mpmath's series away from arguments where they converge slowly.

def gamma_tail(x, upper, a, s):
    z = x / s
    if z > a:
        q = M.gammainc(a, z, M.inf, regularized=True)
        return q if upper else 1 - q
    p = M.gammainc(a, 0, z, regularized=True)
    return 1 - p if upper else p


def chi2_tail(x, upper, df):
    return gamma_tail(x, upper, df / 2, mpf(2))


def beta_tail_c(x, xc, upper, a, b):
    """I_x(a, b) or its complement I_{1-x}(b, a), given x and xc = 1 - x."""
    if x > a / (a + b):
        q = M.betainc(b, a, 0, xc, regularized=True)
        return q if upper else 1 - q
    p = M.betainc(a, b, 0, x, regularized=True)
    return 1 - p if upper else p


def beta_tail(x, upper, a, b):
    return beta_tail_c(x, 1 - x, upper, a, b)


def f_tail(x, upper, d1, d2):
    den = d1 * x + d2
    return beta_tail_c(d1 * x / den, d2 / den, upper, d1 / 2, d2 / 2)


# ---------------------------------------------------------------- quantiles

def log_tail(tail, *args):
    """log of a tail probability; a tail too small for mpmath's hypergeometric
    series to resolve counts as log 0 (it only happens far beyond the root)."""
    try:
        v = tail(*args)
    except M.libmp.NoConvergence:
        return -M.inf
    return M.log(v) if v > 0 else -M.inf


def solve_increasing(g, start=0):
    """Root of the increasing function g, bracketed by growing steps from start,
    then bisection and a secant polish."""
    lo = hi = mpf(start)
    step = mpf(1) / 2
    while g(hi) <= 0:
        lo, hi, step = hi, hi + step, step * 3 / 2
        if hi > 2000:
            raise ValueError("no bracket above")
    step = mpf(1) / 2
    while g(lo) >= 0:
        hi, lo, step = lo, lo - step, step * 3 / 2
        if lo < -2000:
            raise ValueError("no bracket below")
    while hi - lo > mpf(10) ** -10 * max(1, abs(lo), abs(hi)):
        mid = (lo + hi) / 2
        if g(mid) < 0:
            lo = mid
        else:
            hi = mid
    u = M.findroot(g, (lo, hi), solver="secant", tol=mpf(10) ** (15 - M.mp.dps), verify=False)
    if not (lo - (hi - lo) <= u <= hi + (hi - lo)):
        raise ValueError("secant left the bracket")
    return u


def check_root(value, p):
    if abs(value / p - 1) > mpf(10) ** -30:
        raise ValueError("root residual %s" % M.nstr(value / p - 1, 5))


def positive_quantile(tail, p, upper, params):
    """x > 0 with tail(x) = p, solved in u = log x."""
    lp = M.log(p)
    sign = -1 if upper else 1

    def g(u):
        return sign * (log_tail(tail, M.exp(u), upper, *params) - lp)

    x = M.exp(solve_increasing(g))
    check_root(tail(x, upper, *params), p)
    return x


def t_quantile(p, df):
    """Lower-tail quantile of Student's t."""
    if p == mpf(1) / 2:
        return mpf(0)
    if p > mpf(1) / 2:
        return -t_quantile(1 - p, df)
    lp = M.log(p)

    def g(u):  # x = -e^u: the lower tail decreases as u grows
        return lp - log_tail(t_tail, -M.exp(u), False, df)

    x = -M.exp(solve_increasing(g))
    check_root(t_tail(x, False, df), p)
    return x


def beta_quantile(p, upper, a, b):
    """x in (0, 1) with tail(x) = p, solved in the logistic variable u."""
    lp = M.log(p)
    sign = -1 if upper else 1

    def g(u):
        x = 1 / (1 + M.exp(-u))
        xc = 1 / (1 + M.exp(u))
        return sign * (log_tail(beta_tail_c, x, xc, upper, a, b) - lp)

    u = solve_increasing(g)
    x, xc = 1 / (1 + M.exp(-u)), 1 / (1 + M.exp(u))
    check_root(beta_tail_c(x, xc, upper, a, b), p)
    return x


# ---------------------------------------------------------------- rows

def cdf_row(name, tail, pdf, x, upper, params):
    X = mpf(x)
    P = [mpf(v) for v in params]
    value = tail(X, upper, *P)
    cond = abs(X * pdf(X, *P) / value) if value != 0 else mpf(0)
    return value, cond


def pdf_row(pdf, x, params):
    X = mpf(x)
    P = [mpf(v) for v in params]
    value = pdf(X, *P)
    dlog = M.diff(lambda t: M.log(pdf(t, *P)), X)
    return value, abs(X * dlog)


def quantile_row(pdf, solve, p, upper, params):
    Pp = mpf(p)
    P = [mpf(v) for v in params]
    x = solve(Pp, upper, P)
    if x == 0:
        return x, mpf(0)
    return x, abs(Pp / (x * pdf(x, *P)))


CASES = []  # (function, args tuple, thunk returning (value, cond))


def add(function, args, thunk):
    CASES.append((function, args, thunk))


def build_cases():
    # Student's t ------------------------------------------------------------
    t_dfs = [0.5, 1, 2, 3, 10, 30, 1000, 1e6, 1e10]
    for df in t_dfs + [0.01]:
        for x in [0, 0.5, -1.5, 3, -10, 50, 1e10]:
            add("StudentTPDF", (x, df), lambda x=x, df=df: pdf_row(t_pdf, x, (df,)))
    for df in t_dfs:
        for x in [-50, -10, -3, -1.5, -0.1, 0.1, 1.5, 3, 10, 50]:
            for upper in (0, 1):
                add("StudentTCDF", (x, df, upper),
                    lambda x=x, df=df, upper=upper: cdf_row("t", t_tail, t_pdf, x, upper, (df,)))
    # far tails: p-values near 1e-300 (x^2 must stay finite: the t cdf squares x)
    for x, df in [(-1e150, 2), (1e150, 2), (-1e100, 3), (1e100, 3), (-37.0, 1e6), (37.0, 1e10),
                  (-1e30, 20), (-3e7, 40)]:
        for upper in (0, 1):
            add("StudentTCDF", (x, df, upper),
                lambda x=x, df=df, upper=upper: cdf_row("t", t_tail, t_pdf, x, upper, (df,)))
    for df in [0.5, 1, 2, 3, 10, 100, 1e6, 1e10]:
        for p in [1e-300, 1e-100, 1e-20, 1e-6, 0.001, 0.025, 0.1, 0.3, 0.5, 0.7, 0.975, 0.999999]:
            for upper in (0, 1):
                def thunk(p=p, df=df, upper=upper):
                    x, cond = quantile_row(t_pdf, lambda P, u, prm: t_quantile(P, prm[0]), p, 0, (df,))
                    return (-x if upper else x), cond
                add("StudentTICDF", (p, df, upper), thunk)

    # chi-squared --------------------------------------------------------------
    c_dfs = [0.5, 1, 2, 4, 10, 100, 1e4, 1e6, 1e7]
    for df in c_dfs:
        for r in [1e-3, 0.1, 0.5, 1, 2, 10]:
            x = df * r
            add("ChiSquaredPDF", (x, df), lambda x=x, df=df: pdf_row(chi2_pdf, x, (df,)))
        for r in [1e-3, 0.1, 0.5, 0.9, 0.99, 1, 1.01, 1.1, 2, 5]:
            x = df * r
            for upper in (0, 1):
                add("ChiSquaredCDF", (x, df, upper),
                    lambda x=x, df=df, upper=upper: cdf_row("c", chi2_tail, chi2_pdf, x, upper, (df,)))
    for x, df in [(1000, 3), (1300, 3), (1380, 3), (2e6, 1e6), (1.9e6, 1e6), (1e-300, 2), (1e-150, 4),
                  (5e5, 1e6), (1e6 + 3000, 1e6), (100, 1)]:
        for upper in (0, 1):
            add("ChiSquaredCDF", (x, df, upper),
                lambda x=x, df=df, upper=upper: cdf_row("c", chi2_tail, chi2_pdf, x, upper, (df,)))
    for df in [0.5, 1, 3, 10, 100, 1e4, 1e6, 1e8]:
        for p in [1e-300, 1e-100, 1e-10, 0.001, 0.05, 0.5, 0.95, 0.999]:
            for upper in (0, 1):
                add("ChiSquaredICDF", (p, df, upper),
                    lambda p=p, df=df, upper=upper: quantile_row(
                        chi2_pdf, lambda P, u, prm: positive_quantile(chi2_tail, P, u, prm), p, upper, (df,)))

    # F ----------------------------------------------------------------------
    f_pairs = [(1, 1), (1, 5), (3, 20), (10, 30), (5, 2), (100, 100), (1e6, 10), (10, 1e6), (1e6, 1e6)]
    for d1, d2 in f_pairs:
        for x in [1e-4, 0.1, 0.5, 1, 2, 5, 50]:
            add("FisherFPDF", (x, d1, d2), lambda x=x, d1=d1, d2=d2: pdf_row(f_pdf, x, (d1, d2)))
        for x in [1e-4, 0.1, 0.5, 0.9, 1, 1.1, 2, 5, 50, 1e6]:
            for upper in (0, 1):
                add("FisherFCDF", (x, d1, d2, upper),
                    lambda x=x, d1=d1, d2=d2, upper=upper: cdf_row("f", f_tail, f_pdf, x, upper, (d1, d2)))
    for x, d1, d2 in [(1e300, 1, 2), (1e150, 3, 4), (1e-300, 2, 5), (1e-150, 4, 1), (1.05, 1e6, 1e6),
                      (0.95, 1e6, 1e6), (2.5, 1e6, 1e6)]:
        for upper in (0, 1):
            add("FisherFCDF", (x, d1, d2, upper),
                lambda x=x, d1=d1, d2=d2, upper=upper: cdf_row("f", f_tail, f_pdf, x, upper, (d1, d2)))
    for d1, d2 in [(1, 1), (3, 20), (10, 30), (5, 2), (1e6, 10), (10, 1e6), (1e6, 1e6)]:
        for p in [1e-300, 1e-100, 1e-10, 0.001, 0.05, 0.5, 0.95, 0.999]:
            for upper in (0, 1):
                add("FisherFICDF", (p, d1, d2, upper),
                    lambda p=p, d1=d1, d2=d2, upper=upper: quantile_row(
                        f_pdf, lambda P, u, prm: positive_quantile(f_tail, P, u, prm), p, upper, (d1, d2)))

    # gamma (shape, scale) -------------------------------------------------------
    g_pairs = [(0.1, 1), (1, 2), (2.5, 0.5), (3, 1), (30, 1e-3), (1e5, 1e10), (1e6, 1)]
    for a, s in g_pairs:
        mean = a * s
        for r in [1e-3, 0.1, 0.5, 1, 2, 10]:
            x = mean * r
            add("GammaPDF", (x, a, s), lambda x=x, a=a, s=s: pdf_row(gamma_pdf, x, (a, s)))
        for r in [1e-3, 0.1, 0.5, 0.9, 1, 1.1, 2, 5, 20]:
            x = mean * r
            for upper in (0, 1):
                add("GammaCDF", (x, a, s, upper),
                    lambda x=x, a=a, s=s, upper=upper: cdf_row("g", gamma_tail, gamma_pdf, x, upper, (a, s)))
    for x, a, s in [(2, 3, 1), (1300, 1.5, 2), (650, 2, 1), (1e-300, 1, 1), (1e-100, 3, 1e-2)]:
        for upper in (0, 1):
            add("GammaCDF", (x, a, s, upper),
                lambda x=x, a=a, s=s, upper=upper: cdf_row("g", gamma_tail, gamma_pdf, x, upper, (a, s)))
    for a, s in [(0.1, 1), (1, 2), (2.5, 0.5), (30, 1e-3), (1e5, 1e10), (1e6, 1)]:
        for p in [1e-300, 1e-100, 1e-10, 0.001, 0.05, 0.5, 0.95, 0.999]:
            for upper in (0, 1):
                add("GammaICDF", (p, a, s, upper),
                    lambda p=p, a=a, s=s, upper=upper: quantile_row(
                        gamma_pdf, lambda P, u, prm: positive_quantile(gamma_tail, P, u, prm), p, upper, (a, s)))

    # beta ---------------------------------------------------------------------
    b_pairs = [(0.5, 0.5), (1, 1), (2, 5), (2, 2), (0.1, 3), (10, 30), (1e3, 1e3), (1e5, 2), (1e6, 1e6)]
    for a, b in b_pairs:
        for x in [1e-10, 0.01, 0.3, 0.5, 0.7, 0.99, 1 - 1e-10]:
            add("BetaPDF", (x, a, b), lambda x=x, a=a, b=b: pdf_row(beta_pdf, x, (a, b)))
        for x in [1e-10, 0.01, 0.1, 0.3, 0.5, 0.7, 0.9, 0.99, 0.999, 0.9999, 1 - 1e-10]:
            for upper in (0, 1):
                add("BetaCDF", (x, a, b, upper),
                    lambda x=x, a=a, b=b, upper=upper: cdf_row("b", beta_tail, beta_pdf, x, upper, (a, b)))
    for x, a, b in [(1e-150, 2, 3), (1e-300, 1, 4), (1e-30, 10, 1), (0.4999, 1e6, 1e6), (0.501, 1e6, 1e6)]:
        for upper in (0, 1):
            add("BetaCDF", (x, a, b, upper),
                lambda x=x, a=a, b=b, upper=upper: cdf_row("b", beta_tail, beta_pdf, x, upper, (a, b)))
    for a, b in [(0.5, 0.5), (2, 2), (2, 5), (0.1, 3), (10, 30), (1e3, 1e3), (1e6, 1e6)]:
        for p in [1e-300, 1e-100, 1e-10, 0.001, 0.05, 0.5, 0.95, 0.999]:
            for upper in (0, 1):
                add("BetaICDF", (p, a, b, upper),
                    lambda p=p, a=a, b=b, upper=upper: quantile_row(
                        beta_pdf, lambda P, u, prm: beta_quantile(P, u, *prm), p, upper, (a, b)))


def fmt(v):
    return repr(float(v))


def main():
    build_cases()
    out_path = os.path.join(os.path.dirname(os.path.abspath(__file__)), "continuous_reference.csv")
    lines = [
        "# Continuous distribution reference values, generated by gen_continuous.py",
        "# Source: mpmath %s, each value computed at 50 and 70 significant digits" % M.__version__,
        "# (rows kept only where both agree to 1e-30), rounded once to the nearest double.",
        "# Columns: function, arguments (tail flag 0/1), cond (relative condition number), expected",
    ]
    dropped = 0
    for i, (function, args, thunk) in enumerate(CASES):
        if i % 100 == 0:
            print("%d/%d" % (i, len(CASES)), file=sys.stderr, flush=True)
        try:
            M.mp.dps = 70
            v70, _ = thunk()
            M.mp.dps = 50
            v50, cond = thunk()
        except (ValueError, ZeroDivisionError, M.libmp.NoConvergence) as e:
            print("skip %s%s: %s" % (function, args, e), file=sys.stderr)
            dropped += 1
            continue
        if abs(v50 - v70) > abs(v70) * mpf(10) ** -30:
            print("unstable %s%s: %s vs %s" % (function, args, v50, v70), file=sys.stderr)
            dropped += 1
            continue
        if v70 != 0 and not (DBL_MIN <= abs(v70) <= DBL_MAX):
            dropped += 1
            continue
        lines.append(",".join([function] + [fmt(a) for a in args] + [M.nstr(cond, 6), fmt(v70)]))
    with open(out_path, "w") as f:
        f.write("\n".join(lines) + "\n")
    print("%d rows written, %d dropped" % (len(lines) - 4, dropped), file=sys.stderr)


if __name__ == "__main__":
    main()
