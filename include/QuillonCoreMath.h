/*
 * Quillon Core Math: the library's exported interface, usable from C and C++.
 *
 * Conventions shared by every export:
 *  - Flags marked "flag" are 8-bit: only the low byte is read, zero is false and
 *    any other byte value is true. The Kolmogorov tail flag is a 32-bit int.
 *  - The tail flag of a CDF/ICDF export selects the lower tail P(X <= x) when
 *    false and the upper tail P(X > x) when true.
 *  - "errno policy": a domain or pole error sets errno = EDOM and returns NaN,
 *    an overflow sets errno = ERANGE and returns +infinity. errno is never
 *    cleared: set it to 0 before the call to tell a failure from a NaN result.
 *  - "throws": failures leave the export as C++ exceptions (std::domain_error,
 *    std::overflow_error, boost::math::evaluation_error, boost::math::rounding_error)
 *    whose what() reads "Error in function <name>: <reason>". Such exports
 *    leave errno alone.
 *  - Matrices are column-major doubles described by a MatrixDescriptor;
 *    the linear-algebra exports return LAPACK's info unchanged.
 */
#ifndef QUILLON_CORE_MATH_H
#define QUILLON_CORE_MATH_H

#include <stdint.h>

#if defined(_WIN32) || defined(__CYGWIN__)
#if defined(QCM_BUILDING_LIBRARY)
#define QCM_API __declspec(dllexport)
#else
#define QCM_API __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define QCM_API __attribute__((visibility("default")))
#else
#define QCM_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* An 8-bit flag: any non-zero byte is true. */
typedef unsigned char qcm_flag;

/* A column-major matrix inside a caller's buffer: element (i, j) lies at
   data[offset + i + j * leadingDimension]. Always passed by address. */
typedef struct MatrixDescriptor {
    int32_t offset;
    int32_t leadingDimension;
    int32_t rows;
    int32_t columns;
} MatrixDescriptor;

/* ---- Normal distribution and error function (errno policy) ---- */
QCM_API double Erf(double x);         /* erf(x); ERANGE only on overflow */
QCM_API double ErfC(double x);        /* 1 - erf(x) computed directly */
QCM_API double InverseErf(double p);  /* x with erf(x) = p; EDOM outside [-1,1], +-inf with ERANGE at +-1 */
QCM_API double InverseErfC(double q); /* x with erfc(x) = q; EDOM outside [0,2], +-inf with ERANGE at 0 and 2 */
QCM_API double NormalPDF(double x, double mean, double sd); /* density; EDOM+NaN on bad parameters */
QCM_API double NormalCDF(double x, double mean, double sd,
                         qcm_flag upper); /* P(X<=x) or P(X>x); EDOM+NaN on bad parameters */
QCM_API double NormalICDF(double p, double mean, double sd,
                          qcm_flag upper); /* quantile; EDOM+NaN on bad p, +-inf with ERANGE at 0/1 */

/* ---- Gamma functions ---- */
QCM_API double Gamma(double x);   /* Gamma(x); NaN or +inf without errno for its own rejections, then errno policy */
QCM_API double GammaLn(double x); /* ln|Gamma(x)|; throws (poles, overflow) */
QCM_API double GammaDerivative(double a, double x);          /* d/dx P(a,x); throws */
QCM_API double IncompleteGammaLower(double a, double x);     /* gamma(a,x) not regularized; errno policy */
QCM_API double IncompleteGammaUpper(double a, double x);     /* Gamma(a,x) not regularized; errno policy */
QCM_API double GammaRegularized(double a, double x);         /* P(a,x); throws */
QCM_API double GammaRegularizedC(double a, double x);        /* Q(a,x) computed directly; throws */
QCM_API double InverseGammaRegularized(double a, double p);  /* x with P(a,x) = p; errno policy */
QCM_API double InverseGammaRegularizedC(double a, double q); /* x with Q(a,x) = q; errno policy */
QCM_API double LogXplus1(double x);                          /* ln(1+x); throws */

/* ---- Beta functions ---- */
QCM_API double Beta(double a, double b);                       /* B(a,b); throws */
QCM_API double BetaDerivative(double a, double b, double x);   /* d/dx I_x(a,b); errno policy */
QCM_API double BetaRegularized(double a, double b, double x);  /* I_x(a,b); throws */
QCM_API double BetaRegularizedC(double a, double b, double x); /* 1 - I_x(a,b) computed directly; throws */
QCM_API double InverseBetaRegularized(double a, double b,
                                      double p); /* x with I_x(a,b) = p; EDOM+NaN on bad arguments */
QCM_API double InverseBetaRegularizedC(double a, double b, double q); /* x with 1 - I_x(a,b) = q; errno policy */
QCM_API double InverseBetaRegularized2(double a, double b, double p, double* x,
                                       double* y); /* as above; writes x, and 1-x to y unless y is NULL */
QCM_API double InverseBetaRegularizedC2(double a, double b, double q, double* x,
                                        double* y); /* as above; writes x, and 1-x to y unless y is NULL */

/* ---- Student's t, chi-squared and F distributions (errno policy) ---- */
QCM_API double StudentTPDF(double x, double df);                 /* density */
QCM_API double StudentTCDF(double x, double df, qcm_flag upper); /* P(T<=x), or P(T<=-x) for the upper tail */
QCM_API double StudentTICDF(double p, double df,
                            qcm_flag upper);       /* quantile; the upper tail negates the lower quantile */
QCM_API double ChiSquaredPDF(double x, double df); /* density */
QCM_API double ChiSquaredCDF(double x, double df, qcm_flag upper);            /* lower tail or its complement */
QCM_API double ChiSquaredICDF(double p, double df, qcm_flag upper);           /* quantile */
QCM_API double FisherFPDF(double x, double df1, double df2);                  /* density */
QCM_API double FisherFCDF(double x, double df1, double df2, qcm_flag upper);  /* lower tail or its complement */
QCM_API double FisherFICDF(double p, double df1, double df2, qcm_flag upper); /* quantile */

/* ---- Gamma and beta distributions (errno policy) ---- */
QCM_API double GammaPDF(double x, double shape, double scale);                  /* density */
QCM_API double GammaCDF(double x, double shape, double scale, qcm_flag upper);  /* lower tail or its complement */
QCM_API double GammaICDF(double p, double shape, double scale, qcm_flag upper); /* quantile */
QCM_API double BetaPDF(double x, double alpha, double beta);                    /* density */
QCM_API double BetaCDF(double x, double alpha, double beta, qcm_flag upper);    /* lower tail or its complement */
QCM_API double BetaICDF(double p, double alpha, double beta, qcm_flag upper);   /* quantile */

/* ---- Binomial distribution (throws) ---- */
QCM_API double BinomialPDF(double k, double n, double p);                 /* P(K = k) */
QCM_API double BinomialCDF(double k, double n, double p, qcm_flag upper); /* P(K<=k) or P(K>k) */
QCM_API double BinomialICDF(double P, double n, double p, qcm_flag upper,
                            int32_t rounding); /* quantile; rounding 0 down, otherwise up */
QCM_API double BinomialPS(double alpha, double n, double k,
                          int32_t bound); /* Clopper-Pearson bound: 0 lower, 1 upper, else -1 */

/* ---- Hypergeometric distribution (throws) ---- */
QCM_API double HypergeometricPDF(double x, double r, double n, double N);                  /* P(X = x) */
QCM_API double HypergeometricCDF(double x, double r, double n, double N, qcm_flag upper);  /* P(X<=x) or P(X>x) */
QCM_API double HypergeometricICDF(double P, double r, double n, double N, qcm_flag upper); /* quantile, rounded up */

/* ---- Fisher's noncentral hypergeometric distribution (NaN for impossible parameters) ---- */
QCM_API double FNCHypergeometricCDF(int32_t x, int32_t n, int32_t m, int32_t N, double odds, qcm_flag upper,
                                    double accuracy); /* P(X<=x) or P(X>x) */
QCM_API double FNCHypergeometricICDF(double p, int32_t n, int32_t m, int32_t N, double odds, qcm_flag upper,
                                     double accuracy); /* least x reaching p */
QCM_API double FNCHypergeometricMoments(
    int32_t n, int32_t m, int32_t N, double odds, double* mean,
    double* variance); /* writes mean and variance; returns the summed probability */

/* ---- Multiple-comparison distributions: a Tukey, b Hsu, c Dunnett (throws) ---- */
QCM_API double MCaCDF(double q, int32_t k, double df, const double* lambda, qcm_flag upper); /* P(Q<=q) or P(Q>q) */
QCM_API double MCbCDF(double q, int32_t k, double df, const double* lambda, qcm_flag upper);
QCM_API double MCcCDF(double q, int32_t k, double df, const double* lambda, qcm_flag upper);
QCM_API double MCaICDF(double p, int32_t k, double df, const double* lambda, qcm_flag upper); /* the q reaching p */
QCM_API double MCbICDF(double p, int32_t k, double df, const double* lambda, qcm_flag upper);
QCM_API double MCcICDF(double p, int32_t k, double df, const double* lambda, qcm_flag upper);

/* ---- Kolmogorov distribution (NaN for impossible parameters) ---- */
QCM_API double KolmogorovCDF(double d, double n, int32_t upper); /* P(D_n<=d), or P(D_n>=d) when upper != 0 */
QCM_API double KolmogorovICDF(double p, double n,
                              int32_t upper); /* the d reaching p; throws when p cannot be bracketed */

/* ---- QR and SVD (LAPACK info) ---- */
QCM_API int32_t QR(double* a, const MatrixDescriptor* da, double* tau);                 /* dgeqrf */
QCM_API int32_t QRP(double* a, const MatrixDescriptor* da, double* tau, int32_t* jpvt); /* dgeqp3 */
QCM_API int32_t QR_Qy(double* a, const MatrixDescriptor* da, int32_t transpose, double* tau, double* c,
                      const MatrixDescriptor* dc);                        /* dormqr: c := Q c or Q' c */
QCM_API int32_t QR_Q(double* a, const MatrixDescriptor* da, double* tau); /* dorgqr: thin Q */
QCM_API int32_t SolveTriangularSystem(double* a, const MatrixDescriptor* da, int32_t upper, int32_t transpose,
                                      double* b, const MatrixDescriptor* db); /* dtrtrs, offsets ignored */
QCM_API int32_t SVD(const char* jobz, double* a, const MatrixDescriptor* da, double* s, double* u,
                    const MatrixDescriptor* du, double* vt, const MatrixDescriptor* dvt); /* dgesdd, offsets ignored */

/* ---- Least squares and regression ---- */
QCM_API int32_t LS(double* a, const MatrixDescriptor* da, double* b, const MatrixDescriptor* db); /* dgels */
QCM_API int32_t OLS(double* x, const MatrixDescriptor* dx, double* y, const MatrixDescriptor* dy, double* beta,
                    const MatrixDescriptor* dbeta, double* tau,
                    double tolerance); /* stops at the first collinear column (info > 0) */
QCM_API double Xb(const double* x, const MatrixDescriptor* dx, const double* beta,
                  const double* y); /* residual sum of squares */

#ifdef __cplusplus
}
#endif

#endif /* QUILLON_CORE_MATH_H */
