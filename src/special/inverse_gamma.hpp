// The inverse of the regularized incomplete gamma functions shared by
// InverseGammaRegularized[C], GammaICDF and ChiSquaredICDF.
#ifndef QCM_SPECIAL_INVERSE_GAMMA_HPP
#define QCM_SPECIAL_INVERSE_GAMMA_HPP

namespace qcm {

// The x with P(a, x) = prob (complement false) or Q(a, x) = prob (complement
// true): Boost.Math's gamma_p_inv / gamma_q_inv under the errno policy, with
// their far tails and failed iterations taken over. Arguments outside the
// domain (a <= 0, prob outside (0, 1), NaN) go to Boost unchanged. Returns in
// bounded time.
double inverse_gamma(double a, double prob, bool complement);

}  // namespace qcm

#endif  // QCM_SPECIAL_INVERSE_GAMMA_HPP
