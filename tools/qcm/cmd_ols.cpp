// "qcm ols FILE.csv [--intercept] [--tol T] [--y-first]": fits y on X by OLS.
//
// The CSV is numeric, one observation per line; the last column is y (the
// first with --y-first) and the others are X. A first line with a non-numeric field is taken as the header
// and names the columns. --intercept puts a column of ones in front. The fit
// prints the coefficients and the residual sum of squares (Xb), or names the
// first column that is collinear with the ones before it within the tolerance.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "QuillonCoreMath.h"
#include "commands.hpp"

namespace qcm {

namespace {

constexpr double kDefaultTolerance = 1e-7;

struct Data {
    std::vector<std::string> names;         // of the X columns, then y
    std::vector<std::vector<double>> rows;  // each row: X values, then y
};

std::vector<std::string> split_fields(const std::string& line) {
    std::vector<std::string> out;
    std::stringstream in(line);
    std::string f;
    while (std::getline(in, f, ',')) {
        const auto b = f.find_first_not_of(" \t\r\"");
        const auto e = f.find_last_not_of(" \t\r\"");
        out.push_back(b == std::string::npos ? "" : f.substr(b, e - b + 1));
    }
    return out;
}

bool numeric(const std::string& s, double& v) {
    if (s.empty()) return false;
    char* end = nullptr;
    v = std::strtod(s.c_str(), &end);
    return *end == '\0';
}

Data read_csv(std::istream& in, const std::string& source) {
    Data data;
    std::string line;
    std::size_t width = 0;
    int number = 0;
    while (std::getline(in, line)) {
        ++number;
        if (line.find_first_not_of(" \t\r") == std::string::npos || line[0] == '#') continue;
        const std::vector<std::string> fields = split_fields(line);
        std::vector<double> row;
        bool all_numeric = true;
        for (const std::string& f : fields) {
            double v = 0;
            all_numeric = all_numeric && numeric(f, v);
            row.push_back(v);
        }
        if (width == 0) width = fields.size();
        if (fields.size() != width)
            usage_error(source + ":" + std::to_string(number) + ": " + std::to_string(fields.size()) +
                        " fields, expected " + std::to_string(width));
        if (!all_numeric) {
            if (!data.rows.empty() || !data.names.empty())
                usage_error(source + ":" + std::to_string(number) + ": non-numeric field");
            data.names = fields;
            continue;
        }
        data.rows.push_back(row);
    }
    if (width < 2) usage_error(source + ": need at least two columns (X and y)");
    if (data.rows.empty()) usage_error(source + ": no observations");
    if (data.names.empty()) {
        for (std::size_t j = 0; j + 1 < width; ++j) data.names.push_back("x" + std::to_string(j + 1));
        data.names.push_back("y");
    }
    return data;
}

// Fits and prints; returns 0 on a fit, 1 when a column is collinear or the
// solver rejects the problem.
int fit(const Data& data, bool intercept, double tolerance) {
    const int n_obs = static_cast<int>(data.rows.size());
    const int p_data = static_cast<int>(data.rows[0].size()) - 1;
    const int p = p_data + (intercept ? 1 : 0);
    std::vector<std::string> names;
    if (intercept) names.push_back("(intercept)");
    names.insert(names.end(), data.names.begin(), data.names.end() - 1);

    std::vector<double> x(static_cast<std::size_t>(n_obs) * std::max(p, 1)), y(std::max(n_obs, p));
    for (int i = 0; i < n_obs; ++i) {
        if (intercept) x[i] = 1.0;
        for (int j = 0; j < p_data; ++j)
            x[i + static_cast<std::size_t>(j + (intercept ? 1 : 0)) * n_obs] = data.rows[i][j];
        y[i] = data.rows[i][p_data];
    }
    const std::vector<double> x0 = x, y0 = y;
    const MatrixDescriptor dx{0, std::max(n_obs, 1), n_obs, p};
    const MatrixDescriptor dy{0, static_cast<int32_t>(y.size()), n_obs, 1};
    const MatrixDescriptor dbeta{0, std::max(p, 1), p, 1};
    std::vector<double> beta(std::max(p, 1), 0.0), tau(std::max(1, std::min(n_obs, p)));
    const int32_t info = OLS(x.data(), &dx, y.data(), &dy, beta.data(), &dbeta, tau.data(), tolerance);

    std::printf("%d observations, %d coefficients, tolerance %g\n", n_obs, p, tolerance);
    if (info > 0) {
        std::printf("column %d (%s) is collinear with the columns before it; no fit\n", info, names[info - 1].c_str());
        return 1;
    }
    if (info < 0) {
        std::printf("OLS rejected the problem: info = %d%s\n", info,
                    n_obs < p ? " (fewer observations than coefficients)" : "");
        return 1;
    }
    for (int j = 0; j < p; ++j) std::printf("  %-16s %s\n", names[j].c_str(), format_double(beta[j]).c_str());
    const double rss = Xb(x0.data(), &dx, beta.data(), y0.data());
    std::printf("residual sum of squares %s (%d degrees of freedom)\n", format_double(rss).c_str(), n_obs - p);
    return 0;
}

int run(const std::vector<std::string>& args) {
    std::string file;
    bool intercept = false, y_first = false;
    double tolerance = kDefaultTolerance;
    for (std::size_t i = 0; i < args.size(); ++i) {
        if (args[i] == "--intercept") {
            intercept = true;
        } else if (args[i] == "--y-first") {
            y_first = true;
        } else if (args[i] == "--tol") {
            if (++i == args.size()) usage_error("ols: --tol needs a value");
            tolerance = parse_double(args[i], "tol");
        } else if (file.empty()) {
            file = args[i];
        } else {
            usage_error("ols: unexpected argument '" + args[i] + "'");
        }
    }
    if (file.empty()) usage_error("usage: qcm ols FILE.csv [--intercept] [--tol T] [--y-first]");
    std::ifstream in(file);
    if (!in) usage_error("ols: cannot open '" + file + "'");
    Data data = read_csv(in, file);
    if (y_first) {
        // Rotate y from the front to the back, names and values alike.
        std::rotate(data.names.begin(), data.names.begin() + 1, data.names.end());
        for (auto& row : data.rows) std::rotate(row.begin(), row.begin() + 1, row.end());
    }
    return fit(data, intercept, tolerance);
}

// Eight observations of y = 2 + 3 x1 - x2 with small disturbances, then the
// same X with x1 repeated as a third column.
void demo() {
    std::printf("\n[ols]\n");
    const char* text =
        "x1,x2,y\n"
        "1,2,3.1\n2,1,7.0\n3,4,6.9\n4,3,11.05\n5,7,9.95\n6,5,15.1\n7,8,14.9\n8,6,20.0\n";
    std::istringstream in(text);
    const Data data = read_csv(in, "demo");
    std::printf("  qcm ols demo.csv --intercept\n");
    fit(data, true, kDefaultTolerance);
    Data repeated = data;
    repeated.names.insert(repeated.names.begin() + 2, "x1 again");
    for (auto& row : repeated.rows) row.insert(row.begin() + 2, row[0]);
    std::printf("  qcm ols demo_repeated.csv --intercept   (x1 repeated as a third column)\n");
    fit(repeated, true, kDefaultTolerance);
}

RegisterCommand reg(
    {"ols",
     "qcm ols FILE.csv [--intercept] [--tol T] [--y-first]  fit the last (or first) column on the others "
     "by OLS (default tolerance 1e-7)",
     run, demo});

}  // namespace

}  // namespace qcm
