#!/usr/bin/python3
"""Reference values for the gamma and beta families, computed with mpmath at
50 significant digits from the exact binary value of every double argument.

Writes gamma_beta_reference.csv (ordinary arguments) and gamma_beta_hard.csv (large
parameters, arguments near the transition x ~ mean, tiny and near-1
probabilities and results). Rows are `function,arg1,...,expected`; the
inverses and the "2" forms get an extra row for y = 1 - x named with a
trailing ":y". Run with Debian's /usr/bin/python3 (it has mpmath).
"""
import os

import mpmath as mp

mp.mp.dps = 50
HERE = os.path.dirname(os.path.abspath(__file__))


def M(v):
    return mp.mpf(float(v))


def gamma_p(a, x):
    # Each tail is summed on its own side of the transition x = a, where its
    # series or continued fraction converges; the other is 1 minus it.
    if x < a:
        return mp.gammainc(a, 0, x, regularized=True)
    return 1 - mp.gammainc(a, x, mp.inf, regularized=True)


def gamma_q(a, x):
    if x < a:
        return 1 - mp.gammainc(a, 0, x, regularized=True)
    return mp.gammainc(a, x, mp.inf, regularized=True)


def gamma_bracket(a):
    return -800, mp.log(20 * a + 2000)


def lower_beta(a, b, x):
    """I_x(a, b) from the positive series
    x^a (1-x)^b / (a B(a,b)) * sum_n (a+b)_n / (a+1)_n x^n
    (Abramowitz & Stegun 26.5.23 with 2F1(a+b, 1; a+1; x)): no cancellation,
    so the working precision carries straight to the result."""
    if x == 0:
        return mp.mpf(0)
    log_prefix = a * mp.log(x) + b * mp.log1p(-x) - mp.log(a) - mp.log(mp.beta(a, b))
    total, term, n = mp.mpf(1), mp.mpf(1), 0
    while True:
        term *= (a + b + n) / (a + 1 + n) * x
        total += term
        n += 1
        if term < total * mp.mpf('1e-55'):
            break
        if n > 5000000:
            raise RuntimeError('series too slow at %s %s %s' % (a, b, x))
    return mp.exp(log_prefix) * total


def lower_and_upper_beta(a, b, x):
    """(I_x(a, b), 1 - I_x(a, b)), summing the series on the side where its
    first ratio is smaller and taking the other as 1 minus it."""
    x = mp.mpf(x)
    if x == 0 or x == 1:
        return (mp.mpf(0), mp.mpf(1)) if x == 0 else (mp.mpf(1), mp.mpf(0))
    if x * (a + b) / (a + 1) <= (1 - x) * (a + b) / (b + 1):
        lower = lower_beta(a, b, x)
        return lower, 1 - lower
    upper = lower_beta(b, a, 1 - x)
    return 1 - upper, upper


def ibeta(a, b, x):
    return lower_and_upper_beta(a, b, x)[0]


def ibetac(a, b, x):
    return lower_and_upper_beta(a, b, x)[1]


def solve_log(f, lo, hi, target, increasing):
    """Root of f(exp(t)) = target for t in [lo, hi] by bisection on t to a
    relative width of 1e-40 (f monotone)."""
    lo, hi = mp.mpf(lo), mp.mpf(hi)
    for _ in range(400):
        mid = (lo + hi) / 2
        v = f(mp.exp(mid))
        if (v < target) == increasing:
            lo = mid
        else:
            hi = mid
        if hi - lo < mp.mpf('1e-42') * max(1, abs(mid)):
            break
    return mp.exp((lo + hi) / 2)


def gamma_p_inv(a, p):
    a, p = M(a), M(p)
    lo, hi = gamma_bracket(a)
    if p <= mp.mpf('0.5'):
        return solve_log(lambda x: gamma_p(a, x), lo, hi, p, True)
    return solve_log(lambda x: gamma_q(a, x), lo, hi, 1 - p, False)


def gamma_q_inv(a, q):
    a, q = M(a), M(q)
    lo, hi = gamma_bracket(a)
    if q <= mp.mpf('0.5'):
        return solve_log(lambda x: gamma_q(a, x), lo, hi, q, False)
    return solve_log(lambda x: gamma_p(a, x), lo, hi, 1 - q, True)


def ibeta_inv_xy(a, b, p, q):
    """x and y = 1 - x with I_x(a, b) = p (q = 1 - p exactly, in mpmath);
    bisects on log x or on log y, whichever end is nearer."""
    if p <= q:
        x = solve_log(lambda x: ibeta(a, b, x), -800, 0, p, True)
        return x, 1 - x
    y = solve_log(lambda y: ibetac(a, b, 1 - y), -800, 0, q, True)
    return 1 - y, y


def fmt(v):
    v = mp.mpf(v)
    if mp.isinf(v):
        return 'inf' if v > 0 else '-inf'
    return mp.nstr(v, 25, min_fixed=1, max_fixed=0)


def arg(v):
    return repr(float(v))


def row(name, args, value):
    return ','.join([name] + [arg(a) for a in args] + [fmt(value)])


def gamma_rows(cases):
    out = []
    for x in cases['Gamma']:
        out.append(row('Gamma', [x], mp.gamma(M(x))))
    for x in cases['GammaLn']:
        out.append(row('GammaLn', [x], mp.log(abs(mp.gamma(M(x))))))
    for a, x in cases['GammaDerivative']:
        A, X = M(a), M(x)
        out.append(row('GammaDerivative', [a, x], mp.exp((A - 1) * mp.log(X) - X - mp.loggamma(A))))
    for a, x in cases['IncompleteGamma']:
        A, X = M(a), M(x)
        out.append(row('IncompleteGammaLower', [a, x], mp.gammainc(A, 0, X)))
        out.append(row('IncompleteGammaUpper', [a, x], mp.gammainc(A, X, mp.inf)))
    for a, x in cases['GammaRegularized']:
        A, X = M(a), M(x)
        out.append(row('GammaRegularized', [a, x], gamma_p(A, X)))
        out.append(row('GammaRegularizedC', [a, x], gamma_q(A, X)))
    for a, p in cases['InverseGammaRegularized']:
        out.append(row('InverseGammaRegularized', [a, p], gamma_p_inv(a, p)))
    for a, q in cases['InverseGammaRegularizedC']:
        out.append(row('InverseGammaRegularizedC', [a, q], gamma_q_inv(a, q)))
    for x in cases['LogXplus1']:
        out.append(row('LogXplus1', [x], mp.log1p(M(x))))
    return out


def beta_rows(cases):
    out = []
    for a, b in cases['Beta']:
        out.append(row('Beta', [a, b], mp.beta(M(a), M(b))))
    for a, b, x in cases['BetaDerivative']:
        A, B, X = M(a), M(b), M(x)
        v = mp.exp((A - 1) * mp.log(X) + (B - 1) * mp.log1p(-X) - mp.log(mp.beta(A, B)))
        out.append(row('BetaDerivative', [a, b, x], v))
    for a, b, x in cases['BetaRegularized']:
        A, B, X = M(a), M(b), M(x)
        out.append(row('BetaRegularized', [a, b, x], ibeta(A, B, X)))
        out.append(row('BetaRegularizedC', [a, b, x], ibetac(A, B, X)))
    for a, b, p in cases['InverseBetaRegularized']:
        P = M(p)
        x, y = ibeta_inv_xy(M(a), M(b), P, 1 - P)
        out.append(row('InverseBetaRegularized', [a, b, p], x))
        out.append(row('InverseBetaRegularized2:y', [a, b, p], y))
    for a, b, q in cases['InverseBetaRegularizedC']:
        Q = M(q)
        x, y = ibeta_inv_xy(M(a), M(b), 1 - Q, Q)
        out.append(row('InverseBetaRegularizedC', [a, b, q], x))
        out.append(row('InverseBetaRegularizedC2:y', [a, b, q], y))
    return out


ORDINARY = {
    'Gamma': [0.5, 1, 1.5, 2, 3, 4.5, 7.25, 10, 0.1, 0.999, 2.0001, 25.5, 57.75],
    'GammaLn': [0.5, 1.5, 2.5, 3, 4.5, 10, 33.3, 100, 1e3, -0.5, -1.5, -2.5, -10.3],
    'GammaDerivative': [(2, 1), (0.5, 0.25), (1, 3), (3.5, 2), (10, 8), (0.25, 4)],
    'IncompleteGamma': [(2, 1), (0.5, 2), (1, 0.5), (3.5, 2), (10, 3), (10, 15), (0.25, 0.75), (20, 20)],
    'GammaRegularized': [(2, 1), (0.5, 2), (1, 0.5), (3.5, 2), (10, 3), (10, 15), (0.25, 0.75), (20, 20), (5, 0.01),
                         (2.5, 12)],
    'InverseGammaRegularized': [(2, 0.5), (0.5, 0.1), (1, 0.3), (3.5, 0.9), (10, 0.05), (0.25, 0.75), (20, 0.5)],
    'InverseGammaRegularizedC': [(2, 0.5), (0.5, 0.1), (1, 0.3), (3.5, 0.9), (10, 0.05), (0.25, 0.75), (20, 0.5)],
    'LogXplus1': [0.5, 1, 2, 10, -0.5, -0.25, 0.125, 1e-3, -1e-3, 3e-8, 1e-10, -1e-10, 0.3],
}

HARD = {
    'Gamma': [1e-300, 1e-8, 150.5, 170.5, 171, 169.999, 100.001],
    'GammaLn': [1e-300, 1e-10, 1e5, 1e10, 1e100, 1e300, 171.7, 1000.5, -100.5, -170.25, 0.9, 1.1, 1.9, 2.1],
    'GammaDerivative': [(100, 90), (1000, 1010), (1e4, 1e4), (0.1, 1e-5), (50, 200), (0.5, 1e-300), (1e5, 99000),
                        (3, 700)],
    'IncompleteGamma': [(100, 90), (100, 110), (170, 170), (150, 160), (60, 30), (1e-3, 0.5), (30, 1e-3),
                        (0.5, 600), (1e-10, 1e-10), (10, 1e-5), (169.5, 200)],
    'GammaRegularized': [(100, 100), (1e3, 1e3), (1e4, 1.001e4), (1e5, 99700), (1e5, 1e5), (1e6, 1.0005e6),
                         (10, 0.01), (1, 700), (0.01, 1e-200), (200, 40), (50, 150), (0.5, 1e-10), (1e-5, 1.5),
                         (30, 29.9), (1.5e4, 1.4e4)],
    'InverseGammaRegularized': [(100, 1e-10), (1e3, 0.5), (1, 1e-300), (5, 1e-100), (0.1, 1e-50), (2, 0.999999),
                                (1e4, 0.01), (1e5, 0.999), (0.01, 0.5), (30, 1 - 2.0**-40)],
    'InverseGammaRegularizedC': [(100, 1e-10), (1e3, 0.5), (1, 1e-300), (5, 1e-100), (2, 0.999999), (1e4, 0.01),
                                 (1e5, 0.999), (0.5, 1e-200), (3, 1 - 2.0**-40)],
    'LogXplus1': [1e-300, 5e-324, -1e-300, 1e-16, 1.2e-16, -1.1e-16, 2.3e-16, 1e10, 1e300, 1.7e308,
                  -0.9999999999, -1 + 2.0**-52, 0.7182818284590451],
}

ORDINARY_BETA = {
    'Beta': [(2.5, 3.5), (0.5, 0.5), (1, 1), (2, 3), (10, 20), (0.25, 7), (4.5, 1)],
    'BetaDerivative': [(2, 3, 0.4), (0.5, 0.5, 0.01), (1, 3, 0.9), (3, 1, 0.2), (5, 5, 0.5), (0.75, 2.5, 0.6)],
    'BetaRegularized': [(2, 3, 0.4), (0.5, 0.5, 0.3), (10, 20, 0.2), (1, 1, 0.7), (2.5, 3.5, 0.6), (5, 1, 0.9),
                        (1, 5, 0.1), (0.75, 2.5, 0.05), (20, 10, 0.66)],
    'InverseBetaRegularized': [(2, 3, 0.5), (0.5, 0.5, 0.1), (10, 20, 0.9), (1, 3, 0.3), (5, 1, 0.2),
                               (2.5, 3.5, 0.75), (0.75, 2.5, 0.05)],
    'InverseBetaRegularizedC': [(2, 3, 0.5), (0.5, 0.5, 0.1), (10, 20, 0.9), (1, 3, 0.3), (5, 1, 0.2),
                                (2.5, 3.5, 0.75), (0.75, 2.5, 0.05)],
}

HARD_BETA = {
    'Beta': [(1e-5, 1e-5), (1e-200, 3), (100, 100), (1e5, 1e-3), (1e3, 1e4), (300, 400), (1e-300, 1e-300)],
    'BetaDerivative': [(100, 200, 0.33), (1e3, 1e3, 0.5), (2, 3, 1e-10), (0.5, 3, 1e-12), (1e4, 10, 0.999),
                       (3, 2, 1 - 2.0**-30)],
    'BetaRegularized': [(1e3, 1e3, 0.5), (1e3, 1e3, 0.49), (1e4, 1e4, 0.505), (1e5, 1e5, 0.4999),
                        (1e5, 10, 0.9999), (10, 10, 0.01), (0.001, 1000, 0.5), (1000, 0.001, 0.5), (400, 600, 0.4),
                        (2, 3, 1e-100), (2, 3, 1 - 2.0**-40), (0.5, 2000, 0.001), (50, 60, 0.1), (1e-5, 1e-5, 0.5)],
    'InverseBetaRegularized': [(100, 200, 1e-20), (1e3, 1e3, 0.5), (2.5, 3.5, 1e-50), (0.1, 0.1, 0.999),
                               (2, 3, 1 - 2.0**-40), (1e4, 1e4, 0.01), (50, 5, 0.999999), (0.5, 20, 1e-30)],
    'InverseBetaRegularizedC': [(100, 200, 1e-20), (1e3, 1e3, 0.5), (2.5, 3.5, 1e-50), (0.1, 0.1, 0.999),
                                (2, 3, 2.0**-40), (1e4, 1e4, 0.01), (50, 5, 1e-6), (0.5, 20, 1 - 1e-12)],
}

HEADER = """# Reference values for the gamma and beta families ({what}).
# Source: mpmath {version} (tests/data/gen_gamma_beta.py), 50 significant digits,
# evaluated at the exact binary value of each double argument; expected values
# printed to 25 significant digits. Regularized incomplete gamma: mpmath's
# gammainc on the side of x = a where it converges, the other tail as 1 minus
# it. Regularized incomplete beta: the positive series of Abramowitz & Stegun
# 26.5.23 summed in mpmath on the faster side. Inverses by bisection in log x
# (or log(1-x)) on those functions to a relative width of 1e-40.
# Columns: function,arguments...,expected. "Name:y" rows hold y = 1 - x of the
# inverse incomplete beta function at the same arguments.
"""


def write(name, what, lines):
    with open(os.path.join(HERE, name), 'w') as f:
        f.write(HEADER.format(what=what, version=mp.__version__))
        for line in lines:
            f.write(line + '\n')


if __name__ == '__main__':
    write('gamma_beta_reference.csv', 'ordinary arguments', gamma_rows(ORDINARY) + beta_rows(ORDINARY_BETA))
    write('gamma_beta_hard.csv', 'hard arguments', gamma_rows(HARD) + beta_rows(HARD_BETA))
