#!/usr/bin/python3
"""Far-tail reference values of the inverse regularized incomplete beta
function: x and y = 1 - x with I_x(a, b) = p (direct rows) or
1 - I_x(a, b) = q (complement rows), and the conditioning
d ln v / d ln t = t / (v |dt/dv|) of the returned v (x or y) with respect to
the smaller tail t, which sets the tolerance.

Source: mpmath at 50 significant digits, from the exact binary value of every
double argument; I_x by the positive series of Abramowitz & Stegun 26.5.23
and the inverse by bisection in ln x or ln y to a relative width of 1e-40
(the functions of gen_gamma_beta.py). Run with Debian's /usr/bin/python3.
"""
import os

import mpmath as mp

from gen_gamma_beta import HERE, M, fmt, arg, ibeta_inv_xy

mp.mp.dps = 50

# (a, b, probability): direct rows take it as p, complement rows as q (all
# but the last three: their upper-tail roots lie within 1e-40 of 1, beyond
# what bisection in ln y resolves, or where the series converges too slowly).
CASES = [
    (2, 300, 1e-300), (2, 3, 1e-100), (2, 3, 1e-200), (2, 3, 1e-300), (2, 3, 1e-310), (2, 3, 5e-324),
    (1.5, 10, 1e-300), (0.5, 0.5, 1e-200), (0.5, 2, 1e-10), (2, 1e-20, 1e-300),
    (10, 20, 1e-150), (0.1, 5, 1e-250), (300, 2, 1e-300), (3, 0.5, 1e-120), (1e-300, 2, 0.5), (5, 1e20, 1e-300), (1e3, 1e3, 1e-200),
]
DIRECT_ONLY = 3


def conditioning(a, b, x, y, tail):
    """t / (v dt/dv) at the root, v the smaller of x, y (the derivative of
    I_x is x^(a-1) y^(b-1) / B(a, b))."""
    v = min(x, y)
    if v < mp.mpf('1e-330'):  # below the smallest double: the expected value is 0
        return mp.mpf(0)
    density = mp.exp((a - 1) * mp.log(x) + (b - 1) * mp.log(y) - mp.log(mp.beta(a, b)))
    return tail / (v * density)


def rows():
    out = []
    for complement in (False, True):
        for a, b, t in CASES[:len(CASES) - DIRECT_ONLY] if complement else CASES:
            A, B, T = M(a), M(b), M(t)
            # The smaller tail is T: I_x(a, b) = T, or 1 - I_x(a, b) = I_y(b, a) = T
            # solved on y so that a tiny y keeps its digits.
            if complement:
                y, x = ibeta_inv_xy(B, A, T, 1 - T)
            else:
                x, y = ibeta_inv_xy(A, B, T, 1 - T)
            cond = conditioning(A, B, x, y, T)
            name = 'InverseBetaRegularizedC' if complement else 'InverseBetaRegularized'
            out.append(','.join([name, arg(a), arg(b), arg(t), fmt(x), fmt(y), mp.nstr(cond, 6)]))
    return out


if __name__ == '__main__':
    with open(os.path.join(HERE, 'inverse_beta_tail.csv'), 'w') as f:
        f.write('# Far-tail inverse incomplete beta function (tests/data/gen_inverse_beta_tail.py).\n')
        f.write('# Source: mpmath %s, 50 significant digits, at the exact binary value of each\n' % mp.__version__)
        f.write('# double argument. Columns: function,a,b,probability,x,y,conditioning.\n')
        for line in rows():
            f.write(line + '\n')
