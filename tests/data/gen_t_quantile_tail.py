#!/usr/bin/python3
"""Far lower-tail quantiles of Student's t: the t < 0 with P(T <= t) = p for
p from 1e-100 down to the smallest denormal, and the conditioning
d ln|t| / d ln p = p / (|t| f(t)) of the result, which sets the tolerance.

Source: mpmath, from the exact binary value of every double argument, with
P(T <= t) = I_z(df/2, 1/2) / 2, z = df / (df + t^2) (mpmath's betainc) and
the root found by bisection on ln|t| against ln p, to a relative width of
1e-40. Each value is computed at 50 and again at 70 significant digits and
kept only if both agree to 1e-30; it is then rounded once to the nearest
double. A quantile beyond the largest double is written as -inf: the export
reports it as an overflow. Run with Debian's /usr/bin/python3.

Columns: StudentTICDF, p, df, conditioning, lower-tail quantile. The upper
tail is the same quantile negated.
"""
import os

import mpmath as mp

HERE = os.path.dirname(os.path.abspath(__file__))
DBL_MAX = mp.mpf('1.7976931348623157e308')

PROBABILITIES = [1e-100, 1e-200, 1e-300, 1e-310, 5e-324]
DFS = [0.5, 1.0, 2.0, 3.0, 10.0, 30.0, 100.0, 1e3]
# Above 1e-90, where a fractional df below 2 has |t| > sqrt(DBL_MAX) (at
# p = 2^-53 the test also runs 1 - p, which is exact), and just below the
# largest double, where (2p)^(-1/df) alone would overflow.
EXTRA = [(2.0 ** -53, 0.1), (1e-80, 0.5), (2.0 ** -53, 0.5), (3e-155, 0.5), (2.2e-309, 1.0)]


def log_cdf(u, df):
    """ln P(T <= -e^u)."""
    z = df / (df + mp.exp(2 * u))
    return mp.log(mp.betainc(df / 2, mp.mpf(1) / 2, 0, z, regularized=True) / 2)


def quantile(p, df):
    """(-|t|, conditioning) at the working precision."""
    target = mp.log(p)
    lo, hi = mp.mpf(0), mp.mpf(1)
    while log_cdf(hi, df) > target:  # the cdf falls as u = ln|t| grows
        lo, hi = hi, 2 * hi
    while hi - lo > mp.mpf('1e-40') * hi:
        mid = (lo + hi) / 2
        if log_cdf(mid, df) > target:
            lo = mid
        else:
            hi = mid
    t = mp.exp((lo + hi) / 2)
    density = mp.exp(mp.loggamma((df + 1) / 2) - mp.loggamma(df / 2) - mp.log(df * mp.pi) / 2
                     - (df + 1) / 2 * mp.log1p(t * t / df))
    return -t, p / (t * density)


def reference(p, df):
    values = []
    for dps in (50, 70):
        with mp.workdps(dps):
            values.append(quantile(mp.mpf(p), mp.mpf(df)))
    (t50, c50), (t70, _) = values
    assert abs(t50 / t70 - 1) < mp.mpf('1e-30'), (p, df, t50, t70)
    return t70, c50


def rows():
    out = []
    for p, df in [(p, df) for df in DFS for p in PROBABILITIES] + EXTRA:
        t, cond = reference(p, df)
        value = '-inf' if -t > DBL_MAX else repr(float(t))
        out.append(','.join(['StudentTICDF', repr(p), repr(df), mp.nstr(cond, 6), value]))
    return out


if __name__ == '__main__':
    lines = rows()
    with open(os.path.join(HERE, 't_quantile_tail.csv'), 'w') as f:
        f.write("# Far lower-tail quantiles of Student's t (tests/data/gen_t_quantile_tail.py).\n")
        f.write('# Source: mpmath %s at 50 and 70 significant digits (agreeing to 1e-30), at the\n' % mp.__version__)
        f.write('# exact binary value of each double argument, rounded once to the nearest double.\n')
        f.write('# Columns: function,p,df,conditioning d ln|t| / d ln p,lower-tail quantile.\n')
        for line in lines:
            f.write(line + '\n')
