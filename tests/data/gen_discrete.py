#!/usr/bin/python3
"""Reference values for the binomial and hypergeometric exports.

Probabilities are exact rational sums (Python fractions; a double argument
enters as the exact rational it holds) rounded once to the nearest double.
Quantiles are the counts found by searching the exact cumulative
probabilities. Clopper-Pearson bounds are roots of mpmath's regularised
incomplete beta function found with mpmath.findroot at 50 digits.

Run with Debian's /usr/bin/python3 (it has mpmath) from this directory:
    /usr/bin/python3 gen_discrete.py
It writes discrete_binomial.csv and discrete_hypergeometric.csv.
"""

from fractions import Fraction
from math import comb
import mpmath

mpmath.mp.dps = 50

# Smallest probability kept as a reference: below it the double would be
# subnormal or near it, and a relative comparison would mean little.
TINY = Fraction(1, 10**290)
# A probability closer than this to a cumulative value makes the discrete
# quantile depend on rounding, so such (P, distribution) pairs are skipped.
TIE_GAP = Fraction(1, 10**9)

PROBABILITIES = [0.001, 0.01, 0.05, 0.1, 0.25, 0.5, 0.75, 0.9, 0.95, 0.99, 0.999]


def fmt(value):
    """A double written with 17 significant digits (round-trips exactly)."""
    return repr(float(value)) if not isinstance(value, int) else str(value)


def num(x):
    return repr(x) if isinstance(x, float) else str(x)


def far_from_all(target, cumulative):
    return all(abs(c - target) > TIE_GAP for c in cumulative)


# ---------------------------------------------------------------- binomial

def binomial_pmf(n, p):
    p = Fraction(p)
    q = 1 - p
    return [comb(n, k) * p**k * q ** (n - k) for k in range(n + 1)]


def running(values):
    out, total = [], Fraction(0)
    for v in values:
        total += v
        out.append(total)
    return out


BINOMIAL_CASES = [  # (n, p, ks written out: None for all)
    (0, 0.5, None),
    (1, 0.5, None),
    (10, 0.5, None),
    (20, 0.3, None),
    (50, 0.05, None),
    (100, 0.9, [0, 1, 50, 80, 85, 89, 90, 91, 95, 99, 100]),
    (200, 0.01, [0, 1, 2, 3, 5, 8, 12, 20, 40]),
    (1000, 0.25, [0, 100, 200, 230, 240, 250, 260, 270, 300, 400, 999]),
    (30, 0.0, [0, 1, 30]),
    (30, 1.0, [0, 29, 30]),
]


def binomial_rows():
    rows = []
    for n, p, ks in BINOMIAL_CASES:
        pmf = binomial_pmf(n, p)
        cdf = running(pmf)
        sf = [1 - c for c in cdf]
        for k in ks if ks is not None else range(n + 1):
            if pmf[k] == 0 or pmf[k] >= TINY:
                rows.append(("BinomialPDF", [k, n, num(p)], pmf[k]))
            if cdf[k] == 0 or cdf[k] >= TINY:
                rows.append(("BinomialCDF", [k, n, num(p), 0], cdf[k]))
            if sf[k] == 0 or sf[k] >= TINY:
                rows.append(("BinomialCDF", [k, n, num(p), 1], sf[k]))
        if n == 0 or p in (0.0, 1.0):
            continue
        for P in PROBABILITIES:
            Pf = Fraction(P)
            lower_q = Fraction(1.0 - P)  # the lower probability the complement is given
            if far_from_all(Pf, cdf):
                up = next(k for k in range(n + 1) if cdf[k] >= Pf)
                down = max([k for k in range(n + 1) if cdf[k] <= Pf], default=0)
                rows.append(("BinomialICDF", [num(P), n, num(p), 0, 1], up))
                rows.append(("BinomialICDF", [num(P), n, num(p), 0, 0], down))
            if far_from_all(Pf, sf) and far_from_all(lower_q, cdf):
                up = next(k for k in range(n + 1) if sf[k] <= Pf)
                down = max([k for k in range(n + 1) if sf[k] >= Pf], default=0)
                rows.append(("BinomialICDF", [num(P), n, num(p), 1, 1], up))
                rows.append(("BinomialICDF", [num(P), n, num(p), 1, 0], down))
    return rows


def binomial_pdf_real(k, n, p):
    """pdf at real k and n: Gamma-function binomial coefficient, 50 digits."""
    k, n, p = mpmath.mpf(k), mpmath.mpf(n), mpmath.mpf(p)
    coef = mpmath.gamma(n + 1) / (mpmath.gamma(k + 1) * mpmath.gamma(n - k + 1))
    return coef * p**k * (1 - p) ** (n - k)


def ibeta(a, b, x):
    return mpmath.betainc(a, b, 0, x, regularized=True)


def solve_unit(f):
    """The root in (0, 1) of a monotone f: bisection narrows the bracket to a
    width of 2^-80, then mpmath.findroot (Anderson-Bjorck) finishes it."""
    lo, hi = mpmath.mpf(0), mpmath.mpf(1)
    f_lo = f(lo)
    for _ in range(80):
        mid = (lo + hi) / 2
        f_mid = f(mid)
        if (f_mid < 0) == (f_lo < 0):
            lo, f_lo = mid, f_mid
        else:
            hi = mid
    root = mpmath.findroot(f, (lo, hi), solver="anderson", tol=mpmath.mpf(10) ** -90)
    assert lo <= root <= hi and abs(f(root)) < mpmath.mpf(10) ** -40, (root, f(root))
    return root


def clopper_pearson(alpha, n, k, bound):
    alpha, n, k = mpmath.mpf(alpha), mpmath.mpf(n), mpmath.mpf(k)
    if bound == 0:
        if k == 0:
            return mpmath.mpf(0)
        return solve_unit(lambda x: ibeta(k, n - k + 1, x) - alpha)
    if k == n:
        return mpmath.mpf(1)
    return solve_unit(lambda x: (1 - ibeta(k + 1, n - k, x)) - alpha)


PS_CASES = [  # (n, k)
    (10, 0), (10, 3), (10, 10), (20, 7), (1, 0), (1, 1), (100, 1), (100, 50),
    (100, 99), (1000, 500), (1000, 3), (50, 49), (10.5, 3.25),
]
PS_ALPHAS = [0.005, 0.025, 0.05, 0.5, 0.9, 1e-6]


def ps_rows():
    rows = []
    for n, k in PS_CASES:
        for alpha in PS_ALPHAS:
            for bound in (0, 1):
                value = clopper_pearson(alpha, n, k, bound)
                rows.append(("BinomialPS", [num(alpha), num(n), num(k), bound], value))
    return rows


# ----------------------------------------------------------- hypergeometric

def hyper_pmf(r, n, N):
    """Probabilities of x marked items, x over the whole 0..min(r, n)."""
    total = comb(N, n)
    return [Fraction(comb(r, x) * comb(N - r, n - x), total) for x in range(min(r, n) + 1)]


HYPER_CASES = [  # (r, n, N) as passed; the counts are their truncations
    (10, 8, 30), (5, 5, 10), (50, 30, 100), (300, 200, 1000), (7, 3, 7),
    (4, 12, 12), (0, 5, 10), (150, 400, 500), (1, 1, 1), (3.9, 4.5, 10.99),
    (2000, 1500, 10000),
]


def hyper_rows():
    rows = []
    for r_arg, n_arg, N_arg in HYPER_CASES:
        r, n, N = int(r_arg), int(n_arg), int(N_arg)
        pmf = hyper_pmf(r, n, N)
        lo = max(0, n + r - N)
        support = range(lo, min(r, n) + 1)
        cdf = running(pmf)
        sf = [1 - c for c in cdf]
        args = [num(r_arg), num(n_arg), num(N_arg)]
        step = max(1, len(support) // 25)
        for x in list(support)[::step] + [support[-1]]:
            if pmf[x] >= TINY:
                rows.append(("HypergeometricPDF", [x] + args, pmf[x]))
            if cdf[x] >= TINY:
                rows.append(("HypergeometricCDF", [x] + args + [0], cdf[x]))
            if sf[x] == 0 or sf[x] >= TINY:
                rows.append(("HypergeometricCDF", [x] + args + [1], sf[x]))
        in_support = [cdf[x] for x in support]
        for P in PROBABILITIES + [0.0]:
            Pf = Fraction(P)
            if P == 0.0 or far_from_all(Pf, in_support):
                x = next(x for x in support if cdf[x] >= Pf)
                rows.append(("HypergeometricICDF", [num(P)] + args + [0], x))
            lower_q = Fraction(1.0 - P)
            if P != 0.0 and far_from_all(lower_q, in_support):
                x = next(x for x in support if cdf[x] >= lower_q)
                rows.append(("HypergeometricICDF", [num(P)] + args + [1], x))
    return rows


def write(path, header, rows):
    with open(path, "w") as out:
        for line in header:
            out.write("# " + line + "\n")
        for name, args, value in rows:
            if isinstance(value, int):
                text = str(value)
            elif isinstance(value, Fraction):
                text = repr(float(value))
            else:
                text = mpmath.nstr(value, 20, min_fixed=-1, max_fixed=1)
            out.write(",".join([name] + [str(a) for a in args] + [text]) + "\n")


def main():
    write(
        "discrete_binomial.csv",
        [
            "Binomial references written by gen_discrete.py.",
            "BinomialPDF,k,n,p,value | BinomialCDF,k,n,p,upper,value | BinomialICDF,P,n,p,upper,rounding,count |",
            "BinomialPS,alpha,n,k,bound,value.",
            "PDF and CDF: exact rational sums (Python fractions) rounded once to double.",
            "ICDF: rounding 1 is the smallest k with P(K<=k) >= P (upper tail: P(K>k) <= P),",
            "rounding 0 the largest k with P(K<=k) <= P (upper tail: P(K>k) >= P), else 0;",
            "P values within 1e-9 of a cumulative probability are left out.",
            "PS: Clopper-Pearson roots of mpmath betainc (regularised) by mpmath.findroot, 50 digits.",
        ],
        binomial_rows()
        + [("BinomialPDF", ["2.5", 10, 0.5], binomial_pdf_real(2.5, 10, 0.5)),
           ("BinomialPDF", ["3.25", "10.5", 0.3], binomial_pdf_real(3.25, 10.5, 0.3))]
        + ps_rows(),
    )
    write(
        "discrete_hypergeometric.csv",
        [
            "Hypergeometric references written by gen_discrete.py.",
            "HypergeometricPDF,x,r,n,N,value | HypergeometricCDF,x,r,n,N,upper,value |",
            "HypergeometricICDF,P,r,n,N,upper,count. Counts r, n, N are truncated toward zero.",
            "PDF and CDF: exact rationals C(r,x)C(N-r,n-x)/C(N,n) and their sums (Python fractions).",
            "ICDF: smallest x in the support with P(X<=x) >= P (upper tail: >= 1-P, as a double);",
            "P values within 1e-9 of a cumulative probability are left out.",
        ],
        hyper_rows(),
    )


if __name__ == "__main__":
    main()
