#!/usr/bin/python3
"""Far-tail reference values of the inverse regularized incomplete gamma
functions: x with P(a, x) = p (InverseGammaRegularized rows) or Q(a, x) = q
(InverseGammaRegularizedC rows), for probabilities from 1e-300 down to the
smallest denormal, and the conditioning d ln x / d ln t = t / (x density(x))
of the root with respect to the tail t, which sets the tolerance.

Source: mpmath at 50 significant digits, from the exact binary value of every
double argument; P by mpmath's gammainc(a, 0, x, regularized=True) below the
root's side of the mean, Q by gammainc(a, x, inf, regularized=True) above
it, each tail summed directly (never 1 minus the other); the root by
bisection in ln x to a relative width of 1e-42. Run with Debian's
/usr/bin/python3.
"""
import os

import mpmath as mp

from gen_gamma_beta import HERE, M, fmt, arg, solve_log

mp.mp.dps = 50

SHAPES = [0.5, 1, 10, 100, 500, 1e5, 5e5, 1e6]
PROBABILITIES = [1e-300, 1e-310, 5e-324]


def lower(a, x):
    return mp.gammainc(a, 0, x, regularized=True)


def upper(a, x):
    return mp.gammainc(a, x, mp.inf, regularized=True)


def conditioning(a, x, t):
    if x < mp.mpf('1e-330'):  # below the smallest double: the expected value is 0
        return mp.mpf(0)
    density = mp.exp((a - 1) * mp.log(x) - x - mp.loggamma(a))
    return t / (x * density)


def rows():
    out = []
    for complement in (False, True):
        for a in SHAPES:
            for t in PROBABILITIES:
                A, T = M(a), M(t)
                # Tiny tails: the lower root lies below the mean a, the upper above it.
                if complement:
                    x = solve_log(lambda v: upper(A, v), mp.log(A), mp.log(20 * A + 2000), T, False)
                else:
                    x = solve_log(lambda v: lower(A, v), -3000, mp.log(A), T, True)
                name = 'InverseGammaRegularizedC' if complement else 'InverseGammaRegularized'
                out.append(','.join([name, arg(a), arg(t), fmt(x), mp.nstr(conditioning(A, x, T), 6)]))
    return out


if __name__ == '__main__':
    with open(os.path.join(HERE, 'inverse_gamma_tail.csv'), 'w') as f:
        f.write('# Far-tail inverse incomplete gamma functions (tests/data/gen_inverse_gamma_tail.py).\n')
        f.write('# Source: mpmath %s, 50 significant digits, at the exact binary value of each\n' % mp.__version__)
        f.write('# double argument. Columns: function,a,probability,x,conditioning.\n')
        for line in rows():
            f.write(line + '\n')
