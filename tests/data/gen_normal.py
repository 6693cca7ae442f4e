#!/usr/bin/python3
# Reference values for the normal distribution and the error function,
# computed with mpmath at 60 significant digits and rounded to 17.
# Run with Debian's python3-mpmath:  /usr/bin/python3 tests/data/gen_normal.py
import mpmath as mp

mp.mp.dps = 60
out = ["# Normal distribution and error function: mpmath %s at 60 digits, printed to 17" % mp.__version__,
       "# columns: function, arguments..., expected"]

def row(name, args, value):
    out.append(",".join([name] + [repr(float(a)) for a in args] + [mp.nstr(value, 17, min_fixed=-1, max_fixed=-1)
                                                                  if value != 0 else "0"]))

xs = [-38, -27.5, -20, -10, -6, -3.5, -2, -1, -0.5, -1e-3, -1e-10, 1e-300, 1e-10, 1e-3, 0.25, 0.5, 0.75,
      1, 1.5, 2, 3, 4, 5.5, 6, 8, 10, 15, 20, 26.5]
for x in xs:
    X = mp.mpf(x)
    row("Erf", [x], mp.erf(X))
    row("ErfC", [x], mp.erfc(X))
for p in [-0.999999, -0.9, -0.5, -1e-8, 1e-300, 1e-8, 0.1, 0.5, 0.9, 0.99, 0.999999, 0.999999999999]:
    P = mp.mpf(p)
    row("InverseErf", [p], mp.erfinv(P))
for q in [1e-300, 1e-100, 1e-20, 1e-8, 0.01, 0.1, 0.5, 0.9, 1.1, 1.5, 1.99, 1.99999999]:
    Q = mp.mpf(q)
    if q < 1e-10:  # 1 - q is 1 at this precision: solve log(erfc(x)) = log(q) instead
        x = mp.findroot(lambda t: mp.log(mp.erfc(t)) - mp.log(Q), mp.sqrt(-mp.log(Q)))
    else:
        x = mp.erfinv(1 - Q)
    row("InverseErfC", [q], x)

def npdf(x, m, s):
    return mp.npdf(mp.mpf(x), mp.mpf(m), mp.mpf(s))

def ncdf(x, m, s):
    return mp.ncdf(mp.mpf(x), mp.mpf(m), mp.mpf(s))

for (x, m, s) in [(0, 0, 1), (1, 0, 1), (-3, 0, 1), (37, 0, 1), (2.5, 1, 0.5), (-10, 3, 4), (1e5, 1e5, 1e-3)]:
    row("NormalPDF", [x, m, s], npdf(x, m, s))
for (x, m, s) in [(-38, 0, 1), (-20, 0, 1), (-8, 0, 1), (-1.96, 0, 1), (0.3, 0, 1), (1.959963984540054, 0, 1),
                  (5, 0, 1), (8.2, 0, 1), (12, 2, 3), (-1, 2, 0.25)]:
    row("NormalCDF.lower", [x, m, s], ncdf(x, m, s))
    row("NormalCDF.upper", [x, m, s], 1 - ncdf(x, m, s))
for (p, m, s) in [(1e-300, 0, 1), (1e-20, 0, 1), (0.001, 0, 1), (0.025, 0, 1), (0.3, 0, 1), (0.5, 0, 1),
                  (0.975, 0, 1), (0.999999, 0, 1), (0.2, 10, 2)]:
    P = mp.mpf(p)
    z = mp.sqrt(2) * mp.erfinv(2 * P - 1) if p > 1e-10 else -mp.sqrt(2) * mp.erfinv(1 - 2 * P)
    if p < 1e-10:  # erfinv loses the tail at 60 digits; invert ncdf directly
        z = mp.findroot(lambda t: mp.log(mp.ncdf(t)) - mp.log(P), -mp.sqrt(-2 * mp.log(P)))
    row("NormalICDF.lower", [p, m, s], m + s * z)
    row("NormalICDF.upper", [p, m, s], m - s * z)

print("\n".join(out))
