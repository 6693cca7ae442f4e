"""Hypergeometric references at large counts (N from 1e6 to 2^32 - 1).

Exact rationals are out of reach at these counts, so the values come from
mpmath at 50 digits: the pmf from log-gamma,
    log f(x) = lgamma(r+1) + lgamma(N-r+1) + lgamma(n+1) + lgamma(N-n+1)
               - lgamma(N+1) - lgamma(x+1) - lgamma(r-x+1) - lgamma(n-x+1)
               - lgamma(N-r-n+x+1),
(the cancellation of these terms of size up to 1e11 leaves 39 digits), and
the tails by summing f along its ratio recurrence from x to where the terms,
bounded geometrically (the pmf is log-concave), fall below 1e-45 of the sum;
the other tail is 1 minus it. Quantiles are the smallest counts whose lower
tail reaches P (upper tail: whose upper tail is at most P), found by
stepping the pmf from a normal start (both neighbours of the answer checked
afresh); a P within a relative 1e-5 of a cumulative
probability (more than the 2 N eps rounding allowance of the quantile) is
left out.

Run with Debian's /usr/bin/python3 (it has mpmath) from this directory:
    /usr/bin/python3 gen_hypergeometric_large.py
It writes discrete_hypergeometric_large.csv in the format of
discrete_hypergeometric.csv.
"""

import mpmath

mpmath.mp.dps = 50

TINY = mpmath.mpf(10) ** -290  # smallest probability kept as a reference
TIE_GAP = mpmath.mpf("1e-5")   # relative distance of P from every cumulative value
STOP = mpmath.mpf(10) ** -45   # tail sums stop when the rest is below this fraction
INT_MAX = 2**31 - 1

# (r, n, N) as the host passes them; -1 .. -3 wrap to 2^32 - 1 .. 2^32 - 3.
CASES = [
    (300000, 200000, 1000000),
    (1234567, 7654321, 10000000),
    (123456789, 987654321, 2000000000),
    (2147483648, 2147483648, 4294967295),
    (4000000000, 1000, 4294967295),
    (5, 3000000000, 4294967295),
    (-2, -3, -1),
]
SPREADS = [-40, -20, -10, -6, -3, -1, 0, 1, 3, 6, 10, 20, 40]  # x at mean + k sd
PROBABILITIES = [1e-100, 1e-10, 0.001, 0.05, 0.3, 0.5, 0.7, 0.95, 0.999]


def count(value):
    return int(value) % 2**32


def log_pmf(x, r, n, N):
    g = mpmath.loggamma
    return (g(r + 1) + g(N - r + 1) + g(n + 1) + g(N - n + 1) - g(N + 1)
            - g(x + 1) - g(r - x + 1) - g(n - x + 1) - g(N - r - n + x + 1))


def pmf(x, r, n, N):
    return mpmath.exp(log_pmf(x, r, n, N))


def tails(x, r, n, N, lo, hi):
    """(P(X <= x), P(X > x)), the side below or above the mean summed."""
    if x == hi:
        return mpmath.mpf(1), mpmath.mpf(0)
    c0 = N - r - n
    term, total = mpmath.mpf(1), mpmath.mpf(1)
    if x * N < r * n:
        k = x
        while k > lo:
            ratio = mpmath.mpf(k * (c0 + k)) / ((r - k + 1) * (n - k + 1))
            term *= ratio
            total += term
            if ratio < 1 and term * ratio / (1 - ratio) < STOP * total:
                break
            k -= 1
        lower = pmf(x, r, n, N) * total
        return lower, 1 - lower
    k = x + 1
    while k < hi:
        ratio = mpmath.mpf((r - k) * (n - k)) / ((k + 1) * (c0 + k + 1))
        term *= ratio
        total += term
        if ratio < 1 and term * ratio / (1 - ratio) < STOP * total:
            break
        k += 1
    upper = pmf(x + 1, r, n, N) * total
    return 1 - upper, upper


def quantile(P, upper, r, n, N, lo, hi, mean, sd):
    """Smallest x with P(X <= x) >= P, or with P(X > x) <= P; None at a near tie."""
    P = mpmath.mpf(P)
    t = min(P, 1 - P)  # normal start, z = -sqrt(2) erfc^-1(2 t) for the smaller tail
    z = -mpmath.sqrt(2) * mpmath.erfinv(1 - 2 * t) if t > 1e-40 else -mpmath.sqrt(-2 * mpmath.log(t))
    if (P > 0.5) != bool(upper):
        z = -z
    x = int(min(max(mpmath.nint(mean + sd * z), lo), hi))
    # value(x): P(X <= x), or P(X > x) for the upper tail; stepped along the
    # pmf recurrence, then both neighbours of the answer evaluated afresh
    side = 1 if upper else 0
    value = tails(x, r, n, N, lo, hi)[side]
    f = pmf(x, r, n, N)  # f(x)
    c0 = N - r - n

    def reached(v):
        return v <= P if upper else v >= P

    if reached(value):
        while x > lo:
            below = value + f if upper else value - f  # value(x - 1)
            if not reached(below):
                break
            f *= mpmath.mpf(x * (c0 + x)) / ((r - x + 1) * (n - x + 1))
            value, x = below, x - 1
    else:
        while not reached(value):
            f *= mpmath.mpf((r - x) * (n - x)) / ((x + 1) * (c0 + x + 1))
            x += 1
            value = value - f if upper else value + f
    at = tails(x, r, n, N, lo, hi)[side]
    before = tails(x - 1, r, n, N, lo, hi)[side] if x > lo else None
    assert reached(at) and (before is None or not reached(before)), (P, upper, r, n, N, x)
    for v in (before, at):
        if v is not None and abs(v - P) < TIE_GAP * P:
            return None
    return x


def rows():
    out = []
    for r_arg, n_arg, N_arg in CASES:
        r, n, N = count(r_arg), count(n_arg), count(N_arg)
        lo, hi = max(0, n + r - N), min(r, n)
        mean = mpmath.mpf(r) * n / N
        sd = mpmath.sqrt(mpmath.mpf(n) * r * (N - r) * (N - n) / (mpmath.mpf(N) ** 2 * (N - 1)))
        args = [str(r_arg), str(n_arg), str(N_arg)]
        xs = sorted({int(min(max(mpmath.nint(mean + k * sd), lo), hi)) for k in SPREADS} | {lo, hi})
        for x in xs:
            if x > INT_MAX:  # pdf and cdf reject x beyond int as not an integer
                continue
            f = pmf(x, r, n, N)
            lower, upper = tails(x, r, n, N, lo, hi)
            if f >= TINY:
                out.append(("HypergeometricPDF", [x] + args, f))
            if lower >= TINY:
                out.append(("HypergeometricCDF", [x] + args + [0], lower))
            if upper == 0 or upper >= TINY:
                out.append(("HypergeometricCDF", [x] + args + [1], upper))
        for P in PROBABILITIES:
            for upper in (0, 1):
                x = quantile(P, upper, r, n, N, lo, hi, mean, sd)
                if x is not None:
                    out.append(("HypergeometricICDF", [repr(P)] + args + [upper], x))
    return out


def main():
    with open("discrete_hypergeometric_large.csv", "w") as f:
        f.write("# Hypergeometric references at large counts written by gen_hypergeometric_large.py.\n")
        f.write("# Same columns as discrete_hypergeometric.csv. PDF and CDF: mpmath at 50 digits\n")
        f.write("# (log-gamma pmf, tails summed along the ratio recurrence), rounded to double.\n")
        f.write("# ICDF: smallest count with P(X<=x) >= P (upper tail: P(X>x) <= P); P within a\n")
        f.write("# relative 1e-5 of a cumulative probability left out.\n")
        for name, args, value in rows():
            text = str(value) if isinstance(value, int) else repr(float(value))
            f.write(",".join([name] + [str(a) for a in args] + [text]) + "\n")


if __name__ == "__main__":
    main()
