/*
 * pow for the Windows DLL: the C runtime DLL's pow, not mingw-w64's.
 *
 * mingw-w64 links its own pow from libmingwex, which raises to integer
 * exponents by repeated multiplication: pow(0.1, 10) comes out 3 ulps from
 * the correctly rounded 1.0000000000000006e-10, and results that go through
 * a large integer power (incomplete beta and Kolmogorov sums) drift by
 * hundreds of ulps. The runtime DLL's pow (msvcrt.dll or the UCRT) is
 * accurate to about an ulp. Defining pow here, in an archive searched before
 * libmingwex, makes every pow call of the library use it.
 *
 * The C99 cases that older runtimes answered differently are settled first:
 * pow(x, +-0) = 1 even for NaN x, pow(1, y) = 1 even for NaN y, and
 * pow(-1, +-inf) = 1.
 */
#include <math.h>

extern double (*__imp_pow)(double, double);

double pow(double x, double y) {
    if (y == 0.0 || x == 1.0) return 1.0;
    if (x == -1.0 && isinf(y)) return 1.0;
    return __imp_pow(x, y);
}
