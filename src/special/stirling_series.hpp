// Stirling's error term e(z) = ln Gamma(z + 1) - (z + 1/2) ln z + z - ln(2 pi) / 2
// by its asymptotic series, for z >= 10 (the first omitted term is below 3e-17
// of e there). Shared by the log-space tails of the incomplete gamma and beta
// functions, which write their prefactors as exp(-deviance - e) so that no
// large terms cancel.
#ifndef QCM_SPECIAL_STIRLING_SERIES_HPP
#define QCM_SPECIAL_STIRLING_SERIES_HPP

namespace qcm {

inline double stirling_series(double z) {
    const double r = 1 / z, r2 = r * r;
    return r * (1.0 / 12 -
                r2 * (1.0 / 360 -
                      r2 * (1.0 / 1260 - r2 * (1.0 / 1680 - r2 * (1.0 / 1188 - r2 * (691.0 / 360360 - r2 / 156))))));
}

}  // namespace qcm

#endif  // QCM_SPECIAL_STIRLING_SERIES_HPP
