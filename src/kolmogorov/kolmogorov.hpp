// Internal routines of the Kolmogorov distribution: the distribution of the
// two-sided one-sample statistic D_n = sup |F_n(x) - F(x)| for finite n.
//
// The lower and upper dispatchers choose, by n and w = n d^2, among exact
// closed forms for the extreme ranges, Durbin's matrix method, Pomeranz's
// recursion, the Pelz-Good asymptotic series and Smirnov's one-sided sum
// (R. Simard and P. L'Ecuyer, "Computing the Two-Sided Kolmogorov-Smirnov
// Distribution", Journal of Statistical Software 39(11), 2011).
//
// Every routine takes the integer sample size first and the distance second.
// They are hidden in the shared library; tests reach them through the static
// archive.
#ifndef QCM_KOLMOGOROV_KOLMOGOROV_HPP
#define QCM_KOLMOGOROV_KOLMOGOROV_HPP

#include <vector>

namespace qcm {
namespace kolmogorov {

// n! for n = 0..20, exact in double.
extern const double FactorialTable[21];
// ln(n!) for n = 0..30.
extern const double LogFactorialTable[31];

// P(D_n <= d) and P(D_n >= d). A NaN d gives the library's NaN, and so does a
// sample size below 1 wherever one of the general methods would be needed.
double KolmogorovLowerTail(int n, double d);
double KolmogorovUpperTail(int n, double d);

// Exact tails for the extreme ranges of d, or -1 when none applies.
double KolmogorovSpecialLower(int n, double d);
double KolmogorovSpecialUpper(int n, double d);

// P(D_n <= d) by Durbin's matrix method.
double DurbinMatrix(int n, double d);

// P = A B for m x m row-major matrices.
void MatrixMultiply(const double* A, const double* B, double* P, int m);
// M <- M * 1e-140 and e <- e + 140, for a matrix M * 10^e.
void MatrixRescale(double* M, int m, int& e);
// V 10^eV = (A 10^eA)^n for an m x m matrix; V is resized to m*m.
void MatrixPower(const std::vector<double>& A, int eA, std::vector<double>& V, int& eV, int m, int n);

// P(D_n <= d) by Pomeranz's recursion, and its limit arrays for t = n d
// (each of 2n+3 doubles).
double Pomeranz(int n, double d);
void PomeranzBounds(int n, double t, double* A, double* Atflo, double* Atcei);

// P(D_n <= d) by the Pelz-Good asymptotic series.
double PelzGood(int n, double d);

// P(D_n^+ >= d) for the one-sided statistic: Smirnov's exact sum, and an
// asymptotic formula used for n > 200000.
double SmirnovUpper(int n, double d);
double SmirnovUpperAsymptotic(int n, double d);

// ln(n!), and ln(1 + x) accurate for small x.
double LogFactorial(int n);
double Log1pSeries(double x);

}  // namespace kolmogorov
}  // namespace qcm

#endif  // QCM_KOLMOGOROV_KOLMOGOROV_HPP
