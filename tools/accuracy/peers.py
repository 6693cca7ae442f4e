"""The peers a statistics application would otherwise use, on the same
points: R's standalone math library, GSL and SciPy, each where it offers the
function. Each peer is loaded only if Debian has it installed."""
import ctypes
import ctypes.util
import math

SQRT2 = math.sqrt(2.0)


def _load(names):
    for name in names:
        try:
            return ctypes.CDLL(name)
        except OSError:
            continue
    return None


class _C:
    """Typed access to a C library's double-valued functions."""

    def __init__(self, lib, prefix=""):
        self.lib, self.prefix = lib, prefix

    def __call__(self, name, *types):
        f = getattr(self.lib, self.prefix + name)
        f.restype = ctypes.c_double
        f.argtypes = list(types)
        return f


D, I, U = ctypes.c_double, ctypes.c_int, ctypes.c_uint


def r_peers():
    lib = _load(["libRmath.so", "/usr/lib/libRmath.so", "libRmath.so.1"])
    if lib is None:
        return {}
    c = _C(lib)
    pnorm, qnorm, dnorm = c("pnorm5", D, D, D, I, I), c("qnorm5", D, D, D, I, I), c("dnorm4", D, D, D, I)
    pgamma, qgamma, dgamma = c("pgamma", D, D, D, I, I), c("qgamma", D, D, D, I, I), c("dgamma", D, D, D, I)
    pbeta, qbeta, dbeta = c("pbeta", D, D, D, I, I), c("qbeta", D, D, D, I, I), c("dbeta", D, D, D, I)
    pt, qt, dt = c("pt", D, D, I, I), c("qt", D, D, I, I), c("dt", D, D, I)
    pchisq, qchisq, dchisq = c("pchisq", D, D, I, I), c("qchisq", D, D, I, I), c("dchisq", D, D, I)
    pf, qf, df = c("pf", D, D, D, I, I), c("qf", D, D, D, I, I), c("df", D, D, D, I)
    dbinom, pbinom, qbinom = c("dbinom", D, D, D, I), c("pbinom", D, D, D, I, I), c("qbinom", D, D, D, I, I)
    dhyper, phyper, qhyper = c("dhyper", D, D, D, D, I), c("phyper", D, D, D, D, I, I), c("qhyper", D, D, D, D, I, I)
    ptukey, qtukey = c("ptukey", D, D, D, D, I, I), c("qtukey", D, D, D, D, I, I)
    gammafn, lgammafn, beta = c("gammafn", D), c("lgammafn", D), c("beta", D, D)
    return {
        "NormalPDF": lambda x, m, s: dnorm(x, m, s, 0),
        "NormalCDF": lambda x, m, s, up: pnorm(x, m, s, 0 if up else 1, 0),
        "NormalICDF": lambda p, m, s, up: qnorm(p, m, s, 0 if up else 1, 0),
        "Gamma": gammafn, "GammaLn": lgammafn, "Beta": beta,
        "GammaRegularized": lambda a, x: pgamma(x, a, 1.0, 1, 0),
        "GammaRegularizedC": lambda a, x: pgamma(x, a, 1.0, 0, 0),
        "GammaDerivative": lambda a, x: dgamma(x, a, 1.0, 0),
        "InverseGammaRegularized": lambda a, p: qgamma(p, a, 1.0, 1, 0),
        "InverseGammaRegularizedC": lambda a, q: qgamma(q, a, 1.0, 0, 0),
        "BetaRegularized": lambda a, b, x: pbeta(x, a, b, 1, 0),
        "BetaRegularizedC": lambda a, b, x: pbeta(x, a, b, 0, 0),
        "BetaDerivative": lambda a, b, x: dbeta(x, a, b, 0),
        "InverseBetaRegularized": lambda a, b, p: qbeta(p, a, b, 1, 0),
        "InverseBetaRegularizedC": lambda a, b, q: qbeta(q, a, b, 0, 0),
        "StudentTPDF": lambda x, v: dt(x, v, 0),
        "StudentTCDF": lambda x, v, up: pt(x, v, 0 if up else 1, 0),
        "StudentTICDF": lambda p, v, up: qt(p, v, 0 if up else 1, 0),
        "ChiSquaredPDF": lambda x, k: dchisq(x, k, 0),
        "ChiSquaredCDF": lambda x, k, up: pchisq(x, k, 0 if up else 1, 0),
        "ChiSquaredICDF": lambda p, k, up: qchisq(p, k, 0 if up else 1, 0),
        "FisherFPDF": lambda x, a, b: df(x, a, b, 0),
        "FisherFCDF": lambda x, a, b, up: pf(x, a, b, 0 if up else 1, 0),
        "FisherFICDF": lambda p, a, b, up: qf(p, a, b, 0 if up else 1, 0),
        "GammaPDF": lambda x, k, t: dgamma(x, k, t, 0),
        "GammaCDF": lambda x, k, t, up: pgamma(x, k, t, 0 if up else 1, 0),
        "GammaICDF": lambda p, k, t, up: qgamma(p, k, t, 0 if up else 1, 0),
        "BetaPDF": lambda x, a, b: dbeta(x, a, b, 0),
        "BetaCDF": lambda x, a, b, up: pbeta(x, a, b, 0 if up else 1, 0),
        "BetaICDF": lambda p, a, b, up: qbeta(p, a, b, 0 if up else 1, 0),
        "BinomialPDF": lambda k, n, p: dbinom(k, n, p, 0),
        "BinomialCDF": lambda k, n, p, up: pbinom(k, n, p, 0 if up else 1, 0),
        "BinomialICDF": lambda P, n, p, up, rnd: qbinom(P, n, p, 0 if up else 1, 0),
        "HypergeometricPDF": lambda x, r, n, N: dhyper(x, r, N - r, n, 0),
        "HypergeometricCDF": lambda x, r, n, N, up: phyper(x, r, N - r, n, 0 if up else 1, 0),
        "HypergeometricICDF": lambda P, r, n, N, up: qhyper(P, r, N - r, n, 0 if up else 1, 0),
        # The library's Tukey scale is the studentized range divided by sqrt(2).
        "MCaCDF": lambda q, k, v, lam, up: ptukey(q * SQRT2, 1, k, v if v < 1e300 else 1e300, 0 if up else 1, 0),
        "MCaICDF": lambda p, k, v, lam, up: qtukey(p, 1, k, v if v < 1e300 else 1e300, 0 if up else 1, 0) / SQRT2,
    }


def gsl_peers():
    lib = _load(["libgsl.so", "libgsl.so.27"])
    if lib is None:
        return {}
    _load(["libgslcblas.so"])
    lib.gsl_set_error_handler_off()
    c = _C(lib, "gsl_")
    erf, erfc = c("sf_erf", D), c("sf_erfc", D)
    gpdf, gP, gQ, gPinv, gQinv = (c("ran_gaussian_pdf", D, D), c("cdf_gaussian_P", D, D), c("cdf_gaussian_Q", D, D),
                                  c("cdf_gaussian_Pinv", D, D), c("cdf_gaussian_Qinv", D, D))
    gamma, lngamma, beta = c("sf_gamma", D), c("sf_lngamma", D), c("sf_beta", D, D)
    incP, incQ, inc = c("sf_gamma_inc_P", D, D), c("sf_gamma_inc_Q", D, D), c("sf_gamma_inc", D, D)
    log1p, beta_inc = c("sf_log_1plusx", D), c("sf_beta_inc", D, D, D)
    tpdf, tP, tQ, tPinv, tQinv = (c("ran_tdist_pdf", D, D), c("cdf_tdist_P", D, D), c("cdf_tdist_Q", D, D),
                                  c("cdf_tdist_Pinv", D, D), c("cdf_tdist_Qinv", D, D))
    cpdf, cP, cQ, cPinv, cQinv = (c("ran_chisq_pdf", D, D), c("cdf_chisq_P", D, D), c("cdf_chisq_Q", D, D),
                                  c("cdf_chisq_Pinv", D, D), c("cdf_chisq_Qinv", D, D))
    fpdf, fP, fQ, fPinv, fQinv = (c("ran_fdist_pdf", D, D, D), c("cdf_fdist_P", D, D, D), c("cdf_fdist_Q", D, D, D),
                                  c("cdf_fdist_Pinv", D, D, D), c("cdf_fdist_Qinv", D, D, D))
    gapdf, gaP, gaQ, gaPinv, gaQinv = (c("ran_gamma_pdf", D, D, D), c("cdf_gamma_P", D, D, D),
                                       c("cdf_gamma_Q", D, D, D), c("cdf_gamma_Pinv", D, D, D),
                                       c("cdf_gamma_Qinv", D, D, D))
    bpdf, bP, bQ, bPinv, bQinv = (c("ran_beta_pdf", D, D, D), c("cdf_beta_P", D, D, D), c("cdf_beta_Q", D, D, D),
                                  c("cdf_beta_Pinv", D, D, D), c("cdf_beta_Qinv", D, D, D))
    binpdf, binP, binQ = c("ran_binomial_pdf", U, D, U), c("cdf_binomial_P", U, D, U), c("cdf_binomial_Q", U, D, U)
    hpdf, hP, hQ = (c("ran_hypergeometric_pdf", U, U, U, U), c("cdf_hypergeometric_P", U, U, U, U),
                    c("cdf_hypergeometric_Q", U, U, U, U))
    return {
        "Erf": erf, "ErfC": erfc,
        "NormalPDF": lambda x, m, s: gpdf(x - m, s),
        "NormalCDF": lambda x, m, s, up: (gQ if up else gP)(x - m, s),
        "NormalICDF": lambda p, m, s, up: m + (gQinv if up else gPinv)(p, s),
        "Gamma": gamma, "GammaLn": lngamma, "Beta": beta, "LogXplus1": log1p,
        "GammaRegularized": incP, "GammaRegularizedC": incQ, "IncompleteGammaUpper": inc,
        "InverseGammaRegularized": lambda a, p: gaPinv(p, a, 1.0),
        "InverseGammaRegularizedC": lambda a, q: gaQinv(q, a, 1.0),
        "GammaDerivative": lambda a, x: gapdf(x, a, 1.0),
        "BetaRegularized": beta_inc,
        "BetaRegularizedC": lambda a, b, x: bQ(x, a, b),
        "BetaDerivative": lambda a, b, x: bpdf(x, a, b),
        "InverseBetaRegularized": lambda a, b, p: bPinv(p, a, b),
        "InverseBetaRegularizedC": lambda a, b, q: bQinv(q, a, b),
        "StudentTPDF": tpdf, "StudentTCDF": lambda x, v, up: (tQ if up else tP)(x, v),
        "StudentTICDF": lambda p, v, up: (tQinv if up else tPinv)(p, v),
        "ChiSquaredPDF": cpdf, "ChiSquaredCDF": lambda x, k, up: (cQ if up else cP)(x, k),
        "ChiSquaredICDF": lambda p, k, up: (cQinv if up else cPinv)(p, k),
        "FisherFPDF": fpdf, "FisherFCDF": lambda x, a, b, up: (fQ if up else fP)(x, a, b),
        "FisherFICDF": lambda p, a, b, up: (fQinv if up else fPinv)(p, a, b),
        "GammaPDF": gapdf, "GammaCDF": lambda x, k, t, up: (gaQ if up else gaP)(x, k, t),
        "GammaICDF": lambda p, k, t, up: (gaQinv if up else gaPinv)(p, k, t),
        "BetaPDF": bpdf, "BetaCDF": lambda x, a, b, up: (bQ if up else bP)(x, a, b),
        "BetaICDF": lambda p, a, b, up: (bQinv if up else bPinv)(p, a, b),
        "BinomialPDF": lambda k, n, p: binpdf(int(k), p, int(n)),
        "BinomialCDF": lambda k, n, p, up: (binQ if up else binP)(int(k), p, int(n)),
        "HypergeometricPDF": lambda x, r, n, N: hpdf(int(x), int(r), int(N - r), int(n)),
        "HypergeometricCDF": lambda x, r, n, N, up: (hQ if up else hP)(int(x), int(r), int(N - r), int(n)),
    }


def scipy_peers():
    try:
        import scipy.special as sp
        import scipy.stats as st
    except ImportError:
        return {}
    return {
        "Erf": sp.erf, "ErfC": sp.erfc, "InverseErf": sp.erfinv, "InverseErfC": sp.erfcinv,
        "NormalPDF": lambda x, m, s: st.norm.pdf(x, m, s),
        "NormalCDF": lambda x, m, s, up: (st.norm.sf if up else st.norm.cdf)(x, m, s),
        "NormalICDF": lambda p, m, s, up: (st.norm.isf if up else st.norm.ppf)(p, m, s),
        "Gamma": sp.gamma, "GammaLn": sp.gammaln, "LogXplus1": sp.log1p, "Beta": sp.beta,
        "GammaRegularized": sp.gammainc, "GammaRegularizedC": sp.gammaincc,
        "InverseGammaRegularized": sp.gammaincinv, "InverseGammaRegularizedC": sp.gammainccinv,
        "GammaDerivative": lambda a, x: st.gamma.pdf(x, a),
        "BetaRegularized": sp.betainc, "BetaRegularizedC": lambda a, b, x: st.beta.sf(x, a, b),
        "BetaDerivative": lambda a, b, x: st.beta.pdf(x, a, b),
        "InverseBetaRegularized": sp.betaincinv,
        "InverseBetaRegularizedC": lambda a, b, q: st.beta.isf(q, a, b),
        "StudentTPDF": lambda x, v: st.t.pdf(x, v),
        "StudentTCDF": lambda x, v, up: (st.t.sf if up else st.t.cdf)(x, v),
        "StudentTICDF": lambda p, v, up: (st.t.isf if up else st.t.ppf)(p, v),
        "ChiSquaredPDF": lambda x, k: st.chi2.pdf(x, k),
        "ChiSquaredCDF": lambda x, k, up: (st.chi2.sf if up else st.chi2.cdf)(x, k),
        "ChiSquaredICDF": lambda p, k, up: (st.chi2.isf if up else st.chi2.ppf)(p, k),
        "FisherFPDF": lambda x, a, b: st.f.pdf(x, a, b),
        "FisherFCDF": lambda x, a, b, up: (st.f.sf if up else st.f.cdf)(x, a, b),
        "FisherFICDF": lambda p, a, b, up: (st.f.isf if up else st.f.ppf)(p, a, b),
        "GammaPDF": lambda x, k, t: st.gamma.pdf(x, k, scale=t),
        "GammaCDF": lambda x, k, t, up: (st.gamma.sf if up else st.gamma.cdf)(x, k, scale=t),
        "GammaICDF": lambda p, k, t, up: (st.gamma.isf if up else st.gamma.ppf)(p, k, scale=t),
        "BetaPDF": lambda x, a, b: st.beta.pdf(x, a, b),
        "BetaCDF": lambda x, a, b, up: (st.beta.sf if up else st.beta.cdf)(x, a, b),
        "BetaICDF": lambda p, a, b, up: (st.beta.isf if up else st.beta.ppf)(p, a, b),
        "BinomialPDF": lambda k, n, p: st.binom.pmf(k, n, p),
        "BinomialCDF": lambda k, n, p, up: (st.binom.sf if up else st.binom.cdf)(k, n, p),
        "BinomialICDF": lambda P, n, p, up, rnd: (st.binom.isf if up else st.binom.ppf)(P, n, p),
        "HypergeometricPDF": lambda x, r, n, N: st.hypergeom.pmf(x, N, r, n),
        "HypergeometricCDF": lambda x, r, n, N, up: (st.hypergeom.sf if up else st.hypergeom.cdf)(x, N, r, n),
        "HypergeometricICDF": lambda P, r, n, N, up: (st.hypergeom.isf if up else st.hypergeom.ppf)(P, N, r, n),
        "FNCHypergeometricCDF": lambda x, n, m, N, w, up, acc:
            (st.nchypergeom_fisher.sf if up else st.nchypergeom_fisher.cdf)(x, N, m, n, w),
        "KolmogorovCDF": lambda d, n, up: (st.kstwo.sf if up else st.kstwo.cdf)(d, int(n)),
        "KolmogorovICDF": lambda p, n, up: (st.kstwo.isf if up else st.kstwo.ppf)(p, int(n)),
        "MCaCDF": lambda q, k, v, lam, up:
            (st.studentized_range.sf if up else st.studentized_range.cdf)(q * SQRT2, k, min(v, 1e6)),
    }


def all_peers():
    return {"R": r_peers(), "GSL": gsl_peers(), "SciPy": scipy_peers()}
