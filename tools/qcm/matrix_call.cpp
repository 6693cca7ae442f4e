// Matrix exports on the command line.
//
// A matrix argument is written RxC:v,v,... with the R*C values in column-major
// order, for example 3x2:1,2,3,4,5,6 is the 3 x 2 matrix with columns (1,2,3)
// and (4,5,6). Lists (beta, y, jpvt) are comma separated. The exports that
// continue a factorisation (QR_Q, QR_Qy) take the plain matrix and factor it
// with QR first. Every call prints LAPACK's info and the arrays it wrote.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "QuillonCoreMath.h"
#include "commands.hpp"

namespace qcm {

namespace {

const char* const kMatrixUsage =
    "matrix exports (matrices as RxC:v,v,... in column-major order, e.g. 3x2:1,2,3,4,5,6):\n"
    "  qcm QR A                       Householder QR: compact factor and tau\n"
    "  qcm QRP A [jpvt]               QR with column pivoting (jpvt: 0 free, nonzero fixed; default all 0)\n"
    "  qcm QR_Q A                     thin Q of A (A is factored by QR first)\n"
    "  qcm QR_Qy A transpose C        Q C or Q' C (A is factored by QR first)\n"
    "  qcm SolveTriangularSystem A upper transpose B\n"
    "  qcm SVD jobz A                 singular values (and vectors unless jobz is N)\n"
    "  qcm LS A B                     least squares by dgels\n"
    "  qcm OLS X y [tolerance]        tolerance-driven least squares (default tolerance 1e-7)\n"
    "  qcm Xb X beta y                residual sum of squares (beta and y as lists)\n";

struct Matrix {
    std::vector<double> data;
    MatrixDescriptor d{0, 1, 0, 0};
};

std::vector<double> parse_list(const std::string& text, const char* what) {
    std::vector<double> out;
    std::stringstream in(text);
    std::string item;
    while (std::getline(in, item, ',')) out.push_back(parse_double(item, what));
    if (out.empty()) usage_error(std::string("argument '") + what + "': empty list");
    return out;
}

Matrix parse_matrix(const std::string& text, const char* what) {
    const std::size_t colon = text.find(':');
    const std::size_t x = text.find('x');
    if (colon == std::string::npos || x == std::string::npos || x > colon)
        usage_error(std::string("argument '") + what + "': expected RxC:v,v,... (column-major), got '" + text + "'");
    Matrix m;
    m.d.rows = parse_int(text.substr(0, x), what);
    m.d.columns = parse_int(text.substr(x + 1, colon - x - 1), what);
    if (m.d.rows < 0 || m.d.columns < 0 || static_cast<long long>(m.d.rows) * m.d.columns > 10000000)
        usage_error(std::string("argument '") + what + "': bad size in '" + text + "'");
    m.d.leadingDimension = m.d.rows > 0 ? m.d.rows : 1;
    const std::string values = text.substr(colon + 1);
    if (!values.empty()) m.data = parse_list(values, what);
    const std::size_t want = static_cast<std::size_t>(m.d.rows) * m.d.columns;
    if (m.data.size() != want)
        usage_error(std::string("argument '") + what + "': " + std::to_string(want) + " values expected, got " +
                    std::to_string(m.data.size()));
    if (m.data.empty()) m.data.assign(1, 0.0);
    return m;
}

void print_values(const char* name, const double* v, int n) {
    std::cout << name << " =";
    for (int i = 0; i < n; ++i) std::cout << " " << format_double(v[i]);
    std::cout << "\n";
}

void print_matrix(const char* name, const double* a, int rows, int cols, int ld) {
    std::cout << name << " (" << rows << "x" << cols << "):\n";
    for (int i = 0; i < rows; ++i) {
        std::cout << " ";
        for (int j = 0; j < cols; ++j) std::cout << " " << format_double(a[i + static_cast<std::size_t>(j) * ld]);
        std::cout << "\n";
    }
}

void print_matrix(const char* name, const Matrix& m) {
    print_matrix(name, m.data.data(), m.d.rows, m.d.columns, m.d.leadingDimension);
}

int minmn(const Matrix& m) { return std::max(1, std::min(m.d.rows, m.d.columns)); }

void want_args(const std::vector<std::string>& args, std::size_t low, std::size_t high, const char* name) {
    if (args.size() < low || args.size() > high) {
        std::cerr << kMatrixUsage;
        usage_error(std::string(name) + ": wrong number of arguments");
    }
}

int report(int32_t info) {
    std::cout << "info = " << info << "\n";
    return 0;
}

using QrFn = int32_t (*)(double*, const MatrixDescriptor*, double*);

}  // namespace

int call_matrix_export(const ExportInfo& info, void* fn, const std::vector<std::string>& args) {
    const std::string name = info.name;
    if (name == "QR") {
        want_args(args, 1, 1, info.name);
        Matrix a = parse_matrix(args[0], "a");
        std::vector<double> tau(minmn(a));
        const int32_t status = reinterpret_cast<QrFn>(fn)(a.data.data(), &a.d, tau.data());
        report(status);
        print_matrix("a", a);
        print_values("tau", tau.data(), std::min(a.d.rows, a.d.columns));
        return 0;
    }
    if (name == "QRP") {
        want_args(args, 1, 2, info.name);
        Matrix a = parse_matrix(args[0], "a");
        std::vector<int32_t> jpvt(std::max(1, a.d.columns), 0);
        if (args.size() == 2) {
            std::vector<double> given = parse_list(args[1], "jpvt");
            if (given.size() != static_cast<std::size_t>(a.d.columns)) usage_error("jpvt: one entry per column");
            for (std::size_t j = 0; j < given.size(); ++j) jpvt[j] = static_cast<int32_t>(given[j]);
        }
        std::vector<double> tau(minmn(a));
        using Fn = int32_t (*)(double*, const MatrixDescriptor*, double*, int32_t*);
        report(reinterpret_cast<Fn>(fn)(a.data.data(), &a.d, tau.data(), jpvt.data()));
        print_matrix("a", a);
        print_values("tau", tau.data(), std::min(a.d.rows, a.d.columns));
        std::cout << "jpvt =";
        for (int j = 0; j < a.d.columns; ++j) std::cout << " " << jpvt[j];
        std::cout << "\n";
        return 0;
    }
    if (name == "QR_Q" || name == "QR_Qy") {
        want_args(args, name == "QR_Q" ? 1 : 3, name == "QR_Q" ? 1 : 3, info.name);
        Matrix a = parse_matrix(args[0], "a");
        std::vector<double> tau(minmn(a));
        const int32_t factored = QR(a.data.data(), &a.d, tau.data());
        if (factored != 0) {
            std::cout << "QR of a failed: ";
            return report(factored);
        }
        if (name == "QR_Q") {
            report(reinterpret_cast<QrFn>(fn)(a.data.data(), &a.d, tau.data()));
            print_matrix("q", a);
            return 0;
        }
        const bool transpose = parse_flag(args[1], "transpose");
        Matrix c = parse_matrix(args[2], "c");
        using Fn = int32_t (*)(double*, const MatrixDescriptor*, int32_t, double*, double*, const MatrixDescriptor*);
        report(reinterpret_cast<Fn>(fn)(a.data.data(), &a.d, transpose, tau.data(), c.data.data(), &c.d));
        print_matrix("c", c);
        return 0;
    }
    if (name == "SolveTriangularSystem") {
        want_args(args, 4, 4, info.name);
        Matrix a = parse_matrix(args[0], "a");
        const bool upper = parse_flag(args[1], "upper");
        const bool transpose = parse_flag(args[2], "transpose");
        Matrix b = parse_matrix(args[3], "b");
        using Fn = int32_t (*)(double*, const MatrixDescriptor*, int32_t, int32_t, double*, const MatrixDescriptor*);
        report(reinterpret_cast<Fn>(fn)(a.data.data(), &a.d, upper, transpose, b.data.data(), &b.d));
        print_matrix("x", b);
        return 0;
    }
    if (name == "SVD") {
        want_args(args, 2, 2, info.name);
        const std::string jobz = args[0];
        Matrix a = parse_matrix(args[1], "a");
        const int m = a.d.rows, n = a.d.columns;
        std::vector<double> s(minmn(a)), u(std::max(1, m * m)), vt(std::max(1, n * n));
        const MatrixDescriptor du{0, std::max(1, m), m, m}, dvt{0, std::max(1, n), n, n};
        using Fn = int32_t (*)(const char*, double*, const MatrixDescriptor*, double*, double*, const MatrixDescriptor*,
                               double*, const MatrixDescriptor*);
        const int32_t status =
            reinterpret_cast<Fn>(fn)(jobz.c_str(), a.data.data(), &a.d, s.data(), u.data(), &du, vt.data(), &dvt);
        report(status);
        print_values("s", s.data(), std::min(m, n));
        if (status == 0 && (jobz == "A" || jobz == "S")) {
            print_matrix("u", u.data(), m, jobz == "A" ? m : std::min(m, n), std::max(1, m));
            print_matrix("vt", vt.data(), jobz == "A" ? n : std::min(m, n), n, std::max(1, n));
        }
        return 0;
    }
    if (name == "LS") {
        want_args(args, 2, 2, info.name);
        Matrix a = parse_matrix(args[0], "a");
        Matrix b = parse_matrix(args[1], "b");
        using Fn = int32_t (*)(double*, const MatrixDescriptor*, double*, const MatrixDescriptor*);
        const int32_t status = reinterpret_cast<Fn>(fn)(a.data.data(), &a.d, b.data.data(), &b.d);
        report(status);
        print_matrix("b", b);
        return 0;
    }
    if (name == "OLS") {
        want_args(args, 2, 3, info.name);
        Matrix x = parse_matrix(args[0], "x");
        std::vector<double> y = parse_list(args[1], "y");
        const double tolerance = args.size() == 3 ? parse_double(args[2], "tolerance") : 1e-7;
        const int n = x.d.columns;
        if (y.size() != static_cast<std::size_t>(x.d.rows)) usage_error("y: one value per row of x");
        y.resize(std::max<std::size_t>({y.size(), static_cast<std::size_t>(n), 1}), 0.0);
        const MatrixDescriptor dy{0, static_cast<int32_t>(y.size()), x.d.rows, 1};
        std::vector<double> beta(std::max(1, n), 0.0), tau(minmn(x));
        const MatrixDescriptor dbeta{0, std::max(1, n), n, 1};
        using Fn = int32_t (*)(double*, const MatrixDescriptor*, double*, const MatrixDescriptor*, double*,
                               const MatrixDescriptor*, double*, double);
        const int32_t status =
            reinterpret_cast<Fn>(fn)(x.data.data(), &x.d, y.data(), &dy, beta.data(), &dbeta, tau.data(), tolerance);
        report(status);
        if (status == 0) print_values("beta", beta.data(), n);
        if (status > 0) std::cout << "column " << status << " is collinear with the columns before it\n";
        return 0;
    }
    if (name == "Xb") {
        want_args(args, 3, 3, info.name);
        Matrix x = parse_matrix(args[0], "x");
        std::vector<double> beta = parse_list(args[1], "beta");
        std::vector<double> y = parse_list(args[2], "y");
        if (beta.size() != static_cast<std::size_t>(x.d.columns) || y.size() != static_cast<std::size_t>(x.d.rows))
            usage_error("Xb: beta needs one value per column of x, y one per row");
        using Fn = double (*)(const double*, const MatrixDescriptor*, const double*, const double*);
        std::cout << format_double(reinterpret_cast<Fn>(fn)(x.data.data(), &x.d, beta.data(), y.data())) << "\n";
        return 0;
    }
    std::cerr << kMatrixUsage;
    return 2;
}

namespace {

int matrices_help(const std::vector<std::string>&) {
    std::cout << kMatrixUsage;
    return 0;
}

RegisterCommand reg_matrices({"matrices", "qcm matrices             how to pass matrices to QR, SVD, LS, OLS, Xb, ...",
                              matrices_help, nullptr});

}  // namespace

}  // namespace qcm
