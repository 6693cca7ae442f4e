#!/usr/bin/python3
"""Reference values of the regularized incomplete beta function I_x(a, b) and
of its complement for two large shapes, at x on the mean and at +-1, +-5 and
+-30 standard deviations from it (x rounded to a double; the value is that of
the double), and the conditioning of each with respect to x.

Source: mpmath, direct quadrature of the exact beta density in the logit
variable t = ln(x / (1 - x)), g(t) = exp(a ln x + b ln(1 - x) - ln B(a, b))
with ln B from mpmath's loggamma, carried with 40 digits beyond those that
a ln x cancels (mp.dps = 40 + log10(a + b)); tanh-sinh quadrature of the
tail on the side of x away from the mode, scaled to 1 at x, over 8192
widths of its initial fall split at 0..16 widths and doubling from there;
the other tail as 1 minus it. This shares no formula with the
library's saddle-point evaluation. Run with Debian's /usr/bin/python3.
"""
import os

import mpmath as mp

HERE = os.path.dirname(os.path.abspath(__file__))

SHAPES = [(1e5, 1e5), (1e6, 1e6), (1e8, 1e8), (1e12, 1e12), (1e20, 1e20), (1e100, 1e100), (1e20, 3e20), (3e20, 1e20), (5e19, 5e49)]
OFFSETS = [0, -1, 1, -5, 5, -30, 30]


def tails(a, b, x):
    """(I_x(a, b), 1 - I_x(a, b)) at the exact binary value of x."""
    a, b, x = mp.mpf(a), mp.mpf(b), mp.mpf(x)
    lbeta = mp.loggamma(a) + mp.loggamma(b) - mp.loggamma(a + b)

    def minus_log_g(t):  # -ln g(t) - ln B(a, b)
        return a * mp.log1p(mp.exp(-t)) + b * mp.log1p(mp.exp(t))

    tx = mp.log(x / (1 - x))
    mode = mp.log(a / b)
    sd = mp.sqrt(1 / a + 1 / b)
    direction = 1 if tx >= mode else -1
    # mp.quad works to an absolute tolerance: the integrand is scaled to 1
    # at t_x, and the variable to the width over which it falls by about e.
    width = sd / (1 + abs(tx - mode) / sd)
    h_x = minus_log_g(tx)
    f = lambda w: mp.exp(h_x - minus_log_g(tx + direction * width * w))
    points = list(range(16)) + [16 * 2 ** k for k in range(1, 10)]
    far = mp.exp(-h_x - lbeta) * width * mp.quad(f, points)
    return (1 - far, far) if direction > 0 else (far, 1 - far)


def num(v):
    return mp.nstr(v, 20, min_fixed=1, max_fixed=0)


def main():
    out = os.path.join(HERE, 'beta_large.csv')
    with open(out, 'w') as f:
        f.write('# Incomplete beta function at two large shapes (tests/data/gen_beta_large.py).\n')
        f.write('# Source: mpmath %s, quadrature of the exact density at mp.dps = 40 + log10(a + b),\n' % mp.__version__)
        f.write('# at the exact binary value of each double argument. Columns: function,a,b,x,\n')
        f.write('# lower = I_x(a, b), upper = 1 - I_x(a, b), density = g(x) = d lower / dx,\n')
        f.write('# conditioning = x g(x) / min(lower, upper) (relative change of the smaller tail\n')
        f.write('# per relative change of x).\n')
        for a, b in SHAPES:
            mp.mp.dps = 40 + int(mp.log10(a + b))
            A, B = mp.mpf(a), mp.mpf(b)
            R = A + B
            mean = A / R
            sd = mp.sqrt(A * B / (R * R * (R + 1)))
            seen = set()
            for k in OFFSETS:
                x = float(mean + k * sd)
                if x in seen:  # at 1e100 every offset rounds to 0.5
                    continue
                seen.add(x)
                lower, upper = tails(a, b, x)
                X = mp.mpf(x)
                dens = mp.exp((A - 1) * mp.log(X) + (B - 1) * mp.log(1 - X) - (mp.loggamma(A) + mp.loggamma(B) - mp.loggamma(R)))
                cond = X * dens / min(lower, upper)
                f.write('BetaRegularized,%r,%r,%r,%s,%s,%s,%s\n' %
                        (a, b, x, num(lower), num(upper), num(dens), mp.nstr(cond, 4, min_fixed=1, max_fixed=0)))
    print('wrote', out)


if __name__ == '__main__':
    main()
