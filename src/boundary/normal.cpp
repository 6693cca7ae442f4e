// Normal distribution and error function.
//
// Erf, ErfC, InverseErf, InverseErfC, NormalPDF, NormalCDF, NormalICDF: thin
// layers over Boost.Math's erf family and normal_distribution under the errno
// policy. The distribution's constructor only records EDOM for a bad mean or
// sd; the evaluation then checks again and returns NaN. Two places where
// Boost checks the parameters before the infinite argument are handled here
// first: the density of an infinite x is 0, and the upper tail of an infinite
// x is 1 or 0, whatever the parameters.
#include <boost/math/distributions/normal.hpp>
#include <boost/math/special_functions/erf.hpp>
#include <cmath>

#include "QuillonCoreMath.h"
#include "conventions.hpp"
#include "tails.hpp"

namespace {

using qcm::ErrnoGuard;
using qcm::ErrnoPolicy;
using Normal = boost::math::normal_distribution<double, ErrnoPolicy>;

}  // namespace

extern "C" {

double Erf(double x) {
    ErrnoGuard guard;
    return boost::math::erf(x, ErrnoPolicy());
}

double ErfC(double x) {
    ErrnoGuard guard;
    return boost::math::erfc(x, ErrnoPolicy());
}

double InverseErf(double p) {
    ErrnoGuard guard;
    return boost::math::erf_inv(p, ErrnoPolicy());
}

double InverseErfC(double q) {
    ErrnoGuard guard;
    return boost::math::erfc_inv(q, ErrnoPolicy());
}

double NormalPDF(double x, double mean, double sd) {
    ErrnoGuard guard;
    Normal dist(mean, sd);
    if (qcm::is_inf(x)) return 0.0;
    return boost::math::pdf(dist, x);
}

double NormalCDF(double x, double mean, double sd, qcm_flag upper) {
    ErrnoGuard guard;
    Normal dist(mean, sd);
    if (!qcm::flag(upper)) return boost::math::cdf(dist, x);
    if (qcm::is_inf(x)) return x < 0 ? 1.0 : 0.0;
    return boost::math::cdf(boost::math::complement(dist, x));
}

double NormalICDF(double p, double mean, double sd, qcm_flag upper) {
    ErrnoGuard guard;
    Normal dist(mean, sd);
    return qcm::tail_quantile(dist, p, qcm::flag(upper));
}

}  // extern "C"
