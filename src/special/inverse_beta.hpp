// The inverse of the regularized incomplete beta function shared by
// InverseBetaRegularized[C][2], BetaICDF and FisherFICDF.
#ifndef QCM_SPECIAL_INVERSE_BETA_HPP
#define QCM_SPECIAL_INVERSE_BETA_HPP

namespace qcm {

// The x with I_x(a, b) = prob (complement false) or 1 - I_x(a, b) = prob
// (complement true), and through y, when not null, 1 - x to full relative
// accuracy. The caller has checked a > 0, b > 0 and 0 <= prob <= 1, none NaN.
// Reports through the errno policy; never throws for these arguments and
// returns in bounded time.
double inverse_beta(double a, double b, double prob, bool complement, double* y);

}  // namespace qcm

#endif  // QCM_SPECIAL_INVERSE_BETA_HPP
