#!/usr/bin/python3
"""Reference values for the Kolmogorov distribution tests.

Run with Debian's /usr/bin/python3 (mpmath); R's Rscript is called for the
largest sample sizes. Writes tests/data/kolmogorov_*.csv.

Sources:
  * Durbin's matrix formula P(D_n < d) = n!/n^n [H^n]_{kk}, evaluated here in
    exact rational arithmetic (fractions) for small n, and for everything else
    in big-integer floating point with a 400-bit mantissa per matrix (the
    matrix is an integer array times a common power of two), which is exact
    to far beyond double precision. Upper tails are 1 - F in that precision.
  * Smirnov's finite sum for the one-sided tail P(D_n^+ >= d), in mpmath at
    50 digits, summed until the terms past the peak fall below 1e-40 of the sum.
  * For n = 100000, 100001: R's exact two-sided routine (Marsaglia, Tsang and
    Wang's method in double precision, about 13 correct digits), because the
    big-integer matrix is too slow there; its agreement with the big-integer
    evaluation is checked on n = 1000 first.
  * Closed forms: F_n(1/n) = n!/n^n and F_n(1 - 1/n) = 1 - 2/n^n in rationals.
"""
import os
import subprocess
import sys
from fractions import Fraction
from math import factorial

import mpmath as mp

mp.mp.dps = 50
HERE = os.path.dirname(os.path.abspath(__file__))
BITS = 400


# ---- Durbin's matrix in exact rationals ------------------------------------

def durbin_matrix_rational(n, t):
    """The Durbin matrix for n d = t (a Fraction): (H, k)."""
    k = int(t) + 1
    m = 2 * k - 1
    h = k - t
    H = [[Fraction(1) if i - j + 1 >= 0 else Fraction(0) for j in range(m)] for i in range(m)]
    for i in range(m):
        H[i][0] -= h ** (i + 1)
        H[m - 1][i] -= h ** (m - i)
    if 2 * h - 1 > 0:
        H[m - 1][0] += (2 * h - 1) ** m
    for i in range(m):
        for j in range(m):
            g = i - j + 1
            if g > 0:
                H[i][j] /= factorial(g)
    return H, k


def exact_lower(n, d):
    """P(D_n < d) exactly, for a rational d."""
    d = Fraction(d)
    H, k = durbin_matrix_rational(n, n * d)
    m = len(H)

    def mul(A, B):
        return [[sum(A[i][l] * B[l][j] for l in range(m)) for j in range(m)] for i in range(m)]

    R, P, e = None, H, n
    while e:
        if e & 1:
            R = P if R is None else mul(R, P)
        e >>= 1
        if e:
            P = mul(P, P)
    return R[k - 1][k - 1] * Fraction(factorial(n), n ** n)


# ---- Durbin's matrix in big-integer floating point -------------------------

class BigMatrix:
    """An m x m matrix of Python integers times 2**exp."""

    def __init__(self, rows, exp):
        self.rows, self.exp = rows, exp

    def normalise(self):
        top = max(abs(x).bit_length() for r in self.rows for x in r)
        shift = top - BITS
        if shift > 0:
            self.rows = [[x >> shift if x >= 0 else -((-x) >> shift) for x in r] for r in self.rows]
            self.exp += shift
        return self

    def __mul__(self, other):
        cols = list(zip(*other.rows))
        rows = [[sum(map(int.__mul__, r, c)) for c in cols] for r in self.rows]
        return BigMatrix(rows, self.exp + other.exp).normalise()


def big_lower(n, d):
    """P(D_n < d) as an mpf, for a rational d, via the big-integer matrix."""
    d = Fraction(d)
    H, k = durbin_matrix_rational(n, n * d)
    scale = 2 * BITS
    M = BigMatrix([[int(x * 2 ** scale) for x in r] for r in H], -scale).normalise()
    R, P, e = None, M, n
    while e:
        if e & 1:
            R = P if R is None else R * P
        e >>= 1
        if e:
            P = P * P
    q = mp.mpf(R.rows[k - 1][k - 1]) * mp.power(2, R.exp)
    return q * mp.factorial(n) / mp.power(n, n)


# ---- Smirnov's one-sided sum ------------------------------------------------

def smirnov_upper(n, d):
    """P(D_n^+ >= d) by Smirnov's exact finite sum, 50 digits, up to terms below 1e-40 of the sum."""
    d = mp.mpf(d)
    total = mp.mpf(0)
    jmax = int(mp.floor(n * (1 - d)))
    if 1 - d - mp.mpf(jmax) / n <= 0:
        jmax -= 1
    logc = mp.mpf(0)  # ln C(n, j)
    peak = mp.mpf(0)
    for j in range(0, jmax + 1):
        if j > 0:
            logc += mp.log(mp.mpf(n - j + 1) / j)
        q = mp.mpf(j) / n + d
        term = mp.exp(logc + (j - 1) * mp.log(q) + (n - j) * mp.log(1 - q))
        total += term
        # the terms rise to one peak and fall: stop far down the falling side
        peak = max(peak, term)
        if term < peak and term < mp.mpf(10) ** -40 * total:
            break
    return d * total


def r_lower(pairs):
    """R's exact two-sided lower tail for (n, d) pairs."""
    expr = "f <- get('C_pKolmogorov2x', asNamespace('stats'));"
    for n, d in pairs:
        expr += "cat(sprintf('%%.17g\\n', .Call(f, %s, %dL)));" % (repr(float(d)), n)
    out = subprocess.run(["Rscript", "-e", expr], check=True, capture_output=True, text=True).stdout
    return [mp.mpf(x) for x in out.split()]


def g17(x):
    return mp.nstr(mp.mpf(x), 17, min_fixed=-4, max_fixed=17, strip_zeros=False) if x != 0 else "0"


def write(name, header, rows):
    with open(os.path.join(HERE, name), "w") as f:
        for line in header:
            f.write("# " + line + "\n")
        for r in rows:
            f.write(",".join(r) + "\n")
    print("wrote", name, len(rows), "rows", file=sys.stderr)


def dq(d):
    """The double nearest d, as an exact rational: the argument the library sees."""
    return Fraction(float(Fraction(d)))


def dstr(d):
    return repr(float(d))


def functions():
    rows = []
    for n in list(range(0, 36)) + [40, 50, 100, 140, 1000, 100000, 200000, 2000000]:
        rows.append(["logfactorial", str(n), g17(mp.loggamma(n + 1))])
    for x in ["0", "1e-300", "-1e-20", "1e-16", "-3e-9", "1e-5", "-0.001", "0.01", "-0.05", "0.0999", "-0.0999",
              "0.1", "-0.1", "0.10000001", "0.3", "-0.5", "2", "-0.99"]:
        xv = float(x)
        rows.append(["log1p", repr(xv), g17(mp.log1p(mp.mpf(xv)))])
    write("kolmogorov_functions.csv",
          ["ln(n!) = lgamma(n+1) and ln(1+x) at the double x, mpmath at 50 digits",
           "(gen_kolmogorov.py). rows: logfactorial,n,expected and log1p,x,expected."],
          rows)


def main(sections):
    if "functions" in sections:
        functions()
    if "tails" not in sections:
        return
    # A known value, exactly: P(D_10 < 0.274) = 0.62847961545650428...
    ex = exact_lower(10, Fraction("0.274"))
    assert abs(mp.mpf(ex.numerator) / ex.denominator - mp.mpf("0.62847961545650428")) < 1e-16

    # --- exact rows: both tails, the regions where an exact method applies ---
    rows = []
    exact_cases = [  # (n, d) with d a decimal string, exact rationals
        (2, "0.3"), (2, "0.6"), (3, "0.2"), (3, "0.4"), (3, "0.55"), (5, "0.15"), (5, "0.25"), (5, "0.5"),
        (10, "0.274"), (10, "0.12"), (10, "0.2"), (10, "0.35"), (10, "0.5"), (10, "0.65"),
        (20, "0.04"), (20, "0.1"), (20, "0.19"), (20, "0.3"), (20, "0.45"),
    ]
    for n, ds in exact_cases:
        f = exact_lower(n, dq(ds))
        lo = mp.mpf(f.numerator) / f.denominator
        up = mp.mpf((1 - f).numerator) / (1 - f).denominator
        rows.append(["lower", str(n), dstr(ds), g17(lo)])
        rows.append(["upper", str(n), dstr(ds), g17(up)])
        # the big-integer evaluation against the rationals
        assert abs(big_lower(n, dq(ds)) - lo) <= mp.mpf(10) ** -40 * max(lo, 1e-300)

    big_cases = [  # (n, d) evaluated with the big-integer matrix
        (21, "0.1"), (21, "0.3"), (30, "0.05"), (30, "0.15"), (30, "0.25"), (30, "0.4"),
        (50, "0.08"), (50, "0.12"), (50, "0.2"), (50, "0.3"),
        (100, "0.05"), (100, "0.08"), (100, "0.12"), (100, "0.19"), (100, "0.25"),
        (140, "0.04"), (140, "0.07"), (140, "0.1"), (140, "0.15"), (140, "0.2"),
    ]
    for n, ds in big_cases:
        lo = big_lower(n, dq(ds))
        rows.append(["lower", str(n), dstr(ds), g17(lo)])
        rows.append(["upper", str(n), dstr(ds), g17(1 - lo)])
    write("kolmogorov_exact.csv",
          ["P(D_n <= d) (lower) and P(D_n >= d) (upper), rows: tail,n,d,expected.",
           "Durbin's matrix formula in exact rationals (n <= 20) or big-integer floating",
           "point with a 400-bit mantissa (n >= 21), by gen_kolmogorov.py; 17 digits."],
          rows)

    # --- closed forms ---
    rows = []
    for n in [2, 3, 5, 7, 10, 20, 21, 22, 30, 50, 100, 140, 141, 200, 500]:
        v = mp.factorial(n) / mp.power(n, n)
        rows.append(["lower", str(n), dstr(Fraction(1, n)), g17(v)])
        rows.append(["upper", str(n), dstr(Fraction(1, n)), g17(1 - v)])
        if n <= 200:
            v = 1 - 2 / mp.power(n, n)
            rows.append(["lower", str(n), dstr(1 - Fraction(1, n)), g17(v)])
            rows.append(["upper", str(n), dstr(1 - Fraction(1, n)), g17(2 / mp.power(n, n))])
    write("kolmogorov_closed.csv",
          ["Closed forms F_n(1/n) = n!/n^n and F_n(1 - 1/n) = 1 - 2/n^n (upper: 1 - F),",
           "mpmath at 50 digits with d rounded to double (the forms hold exactly at the",
           "double nearest 1/n only up to its rounding; tolerances allow for it). rows: tail,n,d,expected."],
          rows)

    # --- dispatch boundaries and the asymptotic regions ---
    rows = []
    # n = 20 / 21 in the short range 1/(2n) < d <= 1/n (factorial table / log-factorial form)
    for n in (20, 21):
        for t in ("0.6", "0.75", "0.9"):
            ds = dq(Fraction(t) / n)
            f = exact_lower(n, ds)
            rows.append(["exact", "lower", str(n), dstr(ds), g17(mp.mpf(f.numerator) / f.denominator)])
    # n = 140 / 141 at equal w: exact methods / Durbin, Pelz-Good, Smirnov
    for n in (140, 141):
        for w in ("0.3", "0.6", "1.0", "2.0", "3.0", "4.5"):
            ds = dq(mp.nstr(mp.sqrt(mp.mpf(w) / n), 6))
            lo = big_lower(n, ds)
            rows.append(["exact", "lower", str(n), dstr(ds), g17(lo)])
            rows.append(["exact", "upper", str(n), dstr(ds), g17(1 - lo)])
    # n = 1000: Durbin below n^2 d^3 = 2, Pelz-Good above; R cross-check
    pairs = []
    for ds in ("0.0105", "0.02", "0.027", "0.035"):
        lo = big_lower(1000, dq(ds))
        rows.append(["exact", "lower", "1000", dstr(ds), g17(lo)])
        rows.append(["exact", "upper", "1000", dstr(ds), g17(1 - lo)])
        pairs.append((1000, ds, lo))
    rr = r_lower([(n, ds) for n, ds, _ in pairs])
    for (n, ds, lo), r in zip(pairs, rr):
        assert abs(r - lo) <= 1e-12 * lo + 1e-15, (n, ds, r, lo)
    # n = 100000 / 100001 at equal n^2 d^3 (Durbin / Pelz-Good), and near the median
    large = []
    for n in (100000, 100001):
        for c in (0.5, 1.5, 1.99):
            large.append((n, float(mp.cbrt(mp.mpf(c) / (mp.mpf(n) ** 2)))))
        for u in (0.6, 0.83, 1.0):
            large.append((n, u / float(mp.sqrt(n))))
    for (n, d), r in zip(large, r_lower(large)):
        rows.append(["R", "lower", str(n), repr(d), g17(r)])
    # n = 200000 / 200001 at equal w: one-sided tail by Smirnov's sum / asymptotic form
    for n in (200000, 200001):
        for w in (2.5, 4.0, 8.0):
            d = float(mp.sqrt(mp.mpf(w) / n))
            rows.append(["smirnov", "upper", str(n), repr(d), g17(2 * smirnov_upper(n, d))])
    write("kolmogorov_boundaries.csv",
          ["Dispatch boundaries. rows: source,tail,n,d,expected (source as text in the first",
           "column; the test reads the tail from a code in the argument list). Sources:",
           "exact = Durbin's formula in rationals or 400-bit big integers (gen_kolmogorov.py);",
           "R = stats C_pKolmogorov2x (Marsaglia-Tsang-Wang, double, about 13 digits);",
           "smirnov = twice Smirnov's one-sided sum in mpmath at 50 digits (the two-sided",
           "tail exceeds the joint term by a relative amount near exp(-6 n d^2))."],
          [[r[0], "0" if r[1] == "lower" else "1"] + r[2:] for r in rows])

    # --- one-sided tails for the internal tests ---
    rows = []
    for n, ds in [(5, "0.3"), (10, "0.2"), (10, "0.5"), (50, "0.2"), (140, "0.25"), (141, "0.2"), (1000, "0.05"),
                  (3000, "0.03"), (3001, "0.03"), (20000, "0.012"), (200000, "0.004")]:
        rows.append(["smirnov", str(n), dstr(ds), g17(smirnov_upper(n, mp.mpf(float(ds))))])
    write("kolmogorov_smirnov.csv",
          ["One-sided tail P(D_n^+ >= d), Smirnov's finite sum in mpmath at",
           "50 digits (gen_kolmogorov.py). rows: smirnov,n,d,expected."],
          rows)


if __name__ == "__main__":
    # sections: functions (fast) and tails (several minutes); default both
    main(sys.argv[1:] or ["functions", "tails"])
