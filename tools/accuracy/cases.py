"""The points each export is measured on: ordinary and hard arguments (far
tails, large parameters, near-singular cases), with the reference function
for each. Grids stay within each export's valid domain: the report calls the
library through ctypes, where an exception cannot be caught."""
import math

import mpmath as mp

import references as R

T, F = 1, 0  # tail flags


def grid(*axes):
    out = [()]
    for axis in axes:
        out = [p + (v,) for p in out for v in axis]
    return out


PROBS = [1e-300, 1e-100, 1e-20, 1e-8, 1e-3, 0.025, 0.1, 0.3, 0.5, 0.7, 0.9, 0.975, 0.999, 1 - 1e-8]
SMALLP = [1e-300, 1e-100, 1e-20, 1e-8, 1e-3, 0.05, 0.3, 0.5, 0.8]


class Case:
    def __init__(self, export, points, ref, note=""):
        self.export, self.points, self.ref, self.note = export, points, ref, note


def _t(f):
    """Reference that takes the tail flag as its last argument."""
    return lambda *a: f(*a[:-1], upper=bool(a[-1]))


CASES = [
    # ---- normal distribution and error function
    Case("Erf", [(x,) for x in [-6, -2, -0.5, -1e-5, 1e-300, 1e-8, 0.1, 0.47, 0.5, 0.9, 1.5, 2.5, 4, 5.9]],
         lambda x: mp.erf(x)),
    Case("ErfC", [(x,) for x in [-5, -1, -1e-8, 0.1, 0.5, 1, 2, 4, 8, 15, 26, 27.2]], lambda x: mp.erfc(x)),
    Case("InverseErf", [(p,) for p in [-0.999999, -0.5, -1e-10, 1e-300, 1e-10, 0.01, 0.3, 0.5, 0.8, 0.99,
                                       0.999999, 1 - 2 ** -40]], lambda p: mp.erfinv(p)),
    Case("InverseErfC", [(q,) for q in [1e-300, 1e-100, 1e-20, 1e-5, 0.01, 0.3, 0.9, 1.1, 1.7, 1.99999]],
         R.inverse_erfc),
    Case("NormalPDF", grid([-37, -8, -1.5, 0, 0.3, 2, 10, 30], [0, 2.5], [1, 0.01, 30]), lambda x, m, s: mp.npdf(x, m, s)),
    Case("NormalCDF", grid([-38, -20, -5, -1.96, -0.3, 0, 0.7, 3, 8.5, 30], [0, 1.5], [1, 4], [F, T]),
         _t(R.normal_cdf)),
    Case("NormalICDF", grid(PROBS, [0, -3], [1, 0.5], [F, T]), _t(R.normal_icdf)),
    # ---- gamma functions
    # Gamma returns NaN by contract below 0 and above 171 (no reflection, no overflow report)
    Case("Gamma", [(x,) for x in [1e-300, 1e-10, 0.5, 1.5, 3, 9.5, 25.25, 70.1, 141.5, 170.5, 171]],
         lambda x: mp.gamma(x)),
    Case("GammaLn", [(x,) for x in [-100.5, -2.5, -0.25, 1e-300, 1e-8, 0.5, 0.999, 1.001, 1.999, 2.5, 10, 1e3,
                                    1e8, 1e300]], lambda x: mp.re(mp.loggamma(x))),
    Case("GammaDerivative", grid([0.5, 2, 30, 1000], [0.01, 1, 25, 1200]), R.gamma_derivative),
    Case("IncompleteGammaLower", grid([0.5, 2, 7.5, 100], [0.01, 1, 10, 150]), lambda a, x: mp.gammainc(a, 0, x)),
    Case("IncompleteGammaUpper", grid([0.5, 2, 7.5, 100], [0.01, 1, 10, 150]), lambda a, x: mp.gammainc(a, x)),
    Case("GammaRegularized", grid([1e-3, 0.5, 2, 10.5, 300, 1e5], [1e-5, 0.3, 1, 9, 50, 280, 1.01e5]), R.gamma_p),
    Case("GammaRegularizedC", grid([1e-3, 0.5, 2, 10.5, 300, 1e5], [1e-5, 0.3, 1, 9, 50, 280, 1.01e5]), R.gamma_q),
    Case("InverseGammaRegularized", grid([0.1, 1, 4.5, 60, 2000], SMALLP), R.inverse_gamma_p),
    Case("InverseGammaRegularizedC", grid([0.1, 1, 4.5, 60, 2000], SMALLP), R.inverse_gamma_q),
    Case("LogXplus1", [(x,) for x in [-0.999999, -0.5, -1e-8, -1e-300, 1e-300, 1e-15, 1e-8, 1e-3, 0.3, 1, 10, 1e10,
                                      1e300]], lambda x: mp.log1p(x)),
    # ---- beta functions
    Case("Beta", grid([1e-5, 0.5, 3, 40, 1e4], [1e-5, 0.5, 3, 40, 1e4]), lambda a, b: mp.beta(a, b)),
    Case("BetaDerivative", grid([0.5, 2, 30], [0.5, 3, 300], [1e-4, 0.2, 0.5, 0.9]), R.beta_derivative),
    Case("BetaRegularized", grid([0.01, 0.5, 2, 50, 5000], [0.3, 4, 60, 4000], [1e-6, 0.1, 0.45, 0.9, 0.999]),
         R.ibeta),
    Case("BetaRegularizedC", grid([0.01, 0.5, 2, 50, 5000], [0.3, 4, 60, 4000], [1e-6, 0.1, 0.45, 0.9, 0.999]),
         R.ibetac),
    Case("InverseBetaRegularized", grid([0.5, 2, 40], [0.7, 5, 300], SMALLP), R.inverse_ibeta),
    Case("InverseBetaRegularizedC", grid([0.5, 2, 40], [0.7, 5, 300], SMALLP), R.inverse_ibetac),
    Case("InverseBetaRegularized2", grid([2, 40], [5, 300], [1e-20, 0.3, 0.8]), R.inverse_ibeta),
    Case("InverseBetaRegularizedC2", grid([2, 40], [5, 300], [1e-20, 0.3, 0.8]), R.inverse_ibetac),
    # ---- Student's t, chi-squared, F
    Case("StudentTPDF", grid([-30, -2, 0, 0.5, 3, 1e5], [1, 3.5, 30, 1e6]), R.t_pdf),
    Case("StudentTCDF", grid([-1e10, -40, -3, -0.5, 0.2, 2.2, 12, 1e5], [1, 2.5, 10, 300, 1e6], [F, T]),
         _t(R.t_cdf)),
    Case("StudentTICDF", grid([1e-300, 1e-30, 1e-8, 0.001, 0.025, 0.2, 0.5, 0.9, 0.999], [1, 3, 10, 120, 1e6], [F, T]),
         _t(R.t_icdf)),
    Case("ChiSquaredPDF", grid([0.01, 1, 3.5, 20, 300, 2e6], [0.5, 1, 4, 50, 1e6]), R.chisq_pdf),
    Case("ChiSquaredCDF", grid([1e-5, 0.5, 3, 9.5, 40, 1500, 1.003e6], [0.5, 1, 4, 50, 1e6], [F, T]),
         _t(R.chisq_cdf)),
    Case("ChiSquaredICDF", grid([1e-300, 1e-30, 1e-6, 0.01, 0.05, 0.5, 0.95, 0.999], [0.5, 1, 4, 50, 1e6], [F, T]),
         _t(R.chisq_icdf)),
    Case("FisherFPDF", grid([0.01, 0.5, 1, 3, 25], [1, 5, 60], [2, 12, 1e4]), R.f_pdf),
    Case("FisherFCDF", grid([1e-3, 0.5, 1, 3, 25, 500], [1, 5, 60], [2, 12, 1e4], [F, T]), _t(R.f_cdf)),
    Case("FisherFICDF", grid([1e-100, 1e-8, 0.01, 0.05, 0.5, 0.95], [1, 5, 60], [2, 12, 1e4], [F, T]), _t(R.f_icdf)),
    # ---- gamma and beta distributions
    Case("GammaPDF", grid([0.01, 1, 7, 60], [0.5, 3, 40], [0.5, 2]), R.gamma_dist_pdf),
    Case("GammaCDF", grid([1e-4, 0.7, 5, 30, 400], [0.5, 3, 40], [0.5, 2], [F, T]), _t(R.gamma_dist_cdf)),
    Case("GammaICDF", grid([1e-200, 1e-10, 0.01, 0.5, 0.9], [0.5, 3, 40], [0.5, 2], [F, T]), _t(R.gamma_dist_icdf)),
    Case("BetaPDF", grid([1e-3, 0.2, 0.5, 0.97], [0.5, 2, 30], [0.8, 5, 200]),
         lambda x, a, b: R.beta_derivative(a, b, x)),
    Case("BetaCDF", grid([1e-5, 0.2, 0.5, 0.97], [0.5, 2, 30], [0.8, 5, 200], [F, T]),
         lambda x, a, b, up: (R.ibetac if up else R.ibeta)(a, b, x)),
    Case("BetaICDF", grid([1e-50, 1e-6, 0.05, 0.5, 0.9], [0.5, 2, 30], [0.8, 5, 200], [F, T]),
         lambda p, a, b, up: (R.inverse_ibetac if up else R.inverse_ibeta)(a, b, p)),
    # ---- binomial and hypergeometric (exact rationals)
    Case("BinomialPDF", grid([0, 3, 17, 60], [60, 200], [0.01, 0.3, 0.5, 0.93]), R.binomial_pmf),
    Case("BinomialCDF", grid([0, 3, 17, 59], [60, 200], [0.01, 0.3, 0.5, 0.93], [F, T]), _t(R.binomial_cdf)),
    Case("BinomialICDF", grid([1e-6, 0.05, 0.5, 0.95], [60, 200], [0.03, 0.5], [F, T], [1]),
         lambda P, n, p, up, rnd: R.discrete_quantile_up(lambda k: R.binomial_cdf(k, n, p), 0, int(n), P, up),
         "rounded up: the smallest count whose tail reaches P"),
    Case("BinomialPS", grid([0.01, 0.05, 0.2], [20, 1000], [1, 7, 19], [0, 1]),
         lambda a, n, k, b: R.inverse_ibeta(k, n - k + 1, a) if b == 0 else R.inverse_ibetac(k + 1, n - k, a),
         "Clopper-Pearson: the inverse incomplete beta at alpha"),
    Case("HypergeometricPDF", grid([0, 4, 9], [10, 30], [12, 40], [100, 300]), R.hyper_pmf),
    Case("HypergeometricCDF", grid([0, 4, 9], [10, 30], [12, 40], [100, 300], [F, T]), _t(R.hyper_cdf)),
    Case("HypergeometricICDF", grid([1e-6, 0.05, 0.5, 0.95], [10, 30], [12, 40], [100, 300], [F, T]),
         lambda P, r, n, N, up: R.discrete_quantile_up(lambda k: R.hyper_cdf(k, r, n, N), 0, int(min(r, n)), P, up)),
    # ---- Fisher's noncentral hypergeometric (exact rationals)
    Case("FNCHypergeometricCDF", grid([1, 5, 20, 38], [40, 300], [50, 500], [1000], [0.05, 1, 3.5], [F, T], [1e-12]),
         lambda x, n, m, N, w, up, acc: R.fnc_cdf(x, n, m, N, w, bool(up))),
]


def case_map():
    return {c.export: c for c in CASES}


# ---- families whose references are the committed test data: computed
# independently (exact rationals, high-precision quadrature of the defining
# integrals, Durbin's formula in exact arithmetic), never by the library's rules.
import csv  # noqa: E402
import os  # noqa: E402

DATA = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "tests", "data")


class DataCase(Case):
    def __init__(self, export, rows, note="", pick=None):
        super().__init__(export, [r[0] for r in rows], None, note)
        self.table = {r[0]: r[1] for r in rows}
        self.pick = pick  # which output to compare instead of the result


def _rows(name):
    with open(os.path.join(DATA, name)) as f:
        return [r for r in csv.reader(line for line in f if not line.startswith("#")) if r]


def _lambda(k, v):
    v = float(v)
    return tuple(0.2 + 0.15 * (j % 4) for j in range(k)) if v == -1 else tuple([v] * k)


def _data_cases():
    out = []
    mc = {}
    for r in _rows("multcomp_cdf.csv") + _rows("multcomp_quantile.csv"):
        name, q, k, df, lam, ref = r[0], float(r[1]), int(r[2]), float(r[3]), r[4], mp.mpf(r[5])
        if name.endswith("ICDF") and math.isinf(df):
            continue  # the quantile's Student's t bracket rejects df = infinity by contract
        mc.setdefault(name, []).append(((q, k, df, _lambda(k, lam), F), ref))
    for name in ("MCaCDF", "MCbCDF", "MCcCDF", "MCaICDF", "MCbICDF", "MCcICDF"):
        if name in mc:
            out.append(DataCase(name, mc[name], "references: tests/data/multcomp_*.csv (mpmath quadrature)"))
    cdf, icdf = [], []
    for tail, n, d, ref in _rows("kolmogorov_exact.csv"):
        up = 1 if tail == "upper" else 0
        cdf.append(((float(d), float(n), up), mp.mpf(ref)))
        if 1e-12 < float(ref) < 1 - 1e-12:
            icdf.append(((float(ref), float(n), up), mp.mpf(d)))
    out.append(DataCase("KolmogorovCDF", cdf, "references: Durbin's formula in exact arithmetic"))
    out.append(DataCase("KolmogorovICDF", icdf, "the d of an exact CDF value; the search stops at 2^-23"))
    rows = [((float(r[1]), int(r[2]), int(r[3]), int(r[4]), float(r[5]), int(r[6]), float(r[7])), mp.mpf(r[8]))
            for r in _rows("fnc_icdf.csv")]
    out.append(DataCase("FNCHypergeometricICDF", rows, "exact quantiles (p midway between steps)"))
    means = [((int(r[1]), int(r[2]), int(r[3]), float(r[4])), mp.mpf(r[5])) for r in _rows("fnc_moments.csv")
             if r[0] == "mean"]
    out.append(DataCase("FNCHypergeometricMoments", means, "the mean output against exact sums", pick=0))
    return out


CASES += _data_cases()
