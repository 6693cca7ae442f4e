// "qcm table kolmogorov [n ...]": critical values of the one-sample
// Kolmogorov-Smirnov statistic D_n, the d with P(D_n >= d) = alpha, for the
// usual test levels and a list of sample sizes (or the ones given).
#include <cstdio>
#include <string>
#include <vector>

#include "QuillonCoreMath.h"
#include "commands.hpp"
#include "common/outcome.hpp"

namespace {

const double kAlphas[] = {0.2, 0.1, 0.05, 0.02, 0.01};
const double kDefaultSizes[] = {1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11,  12,  13,  14,   15,    16,     17,
                                18, 19, 20, 25, 30, 35, 40, 50, 60, 80, 100, 200, 500, 1000, 10000, 100000, 1000000};

void print_table(const std::vector<double>& sizes) {
    std::printf("Critical values d of D_n: P(D_n >= d) = alpha\n%10s", "n");
    for (double a : kAlphas) std::printf("  alpha=%-7g", a);
    std::printf("\n");
    for (double n : sizes) {
        std::printf("%10.10g", n);
        for (double a : kAlphas) {
            qcm::Outcome r = qcm::capture([&] { return KolmogorovICDF(a, n, 1); });
            if (r.threw)
                std::printf("  %-13s", "(no root)");
            else
                std::printf("  %-13.8f", r.value);
        }
        std::printf("\n");
    }
}

int run(const std::vector<std::string>& args) {
    std::vector<double> sizes;
    for (const std::string& a : args) {
        double n = qcm::parse_double(a, "n");
        if (!(n >= 1 && n < 2147483648.0))
            qcm::usage_error("argument 'n': sample size must be at least 1: '" + a + "'");
        sizes.push_back(n);
    }
    if (sizes.empty()) sizes.assign(std::begin(kDefaultSizes), std::end(kDefaultSizes));
    print_table(sizes);
    return 0;
}

void demo() {
    std::printf("\n[kolmogorov: qcm table kolmogorov 10 100 1000]\n");
    print_table({10, 100, 1000});
}

qcm::RegisterCommand reg({"table:kolmogorov",
                          "qcm table kolmogorov [n ...]  critical values of D_n for alpha 0.2, 0.1, 0.05, 0.02, 0.01",
                          run, demo});

}  // namespace
