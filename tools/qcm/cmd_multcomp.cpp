// qcm table tukey|dunnett|hsu [alpha] [max-means]: the textbook tables of
// upper-alpha critical values of the multiple-comparison distributions, rows
// by degrees of freedom and columns by number of means, for equal group sizes
// (every correlation factor sqrt(1/2)), on the conventional scale:
//   tukey    studentized range (max - min) / (s / sqrt(n)), the library's
//            statistic times sqrt(2);
//   dunnett  two-sided |t| of each mean against the control (means counted
//            with the control);
//   hsu      one-sided t of each mean against the best of the others.
// The infinity row is computed at 1e6 df (known variance from 10000 df on).
#include <cmath>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "QuillonCoreMath.h"
#include "commands.hpp"

namespace {

using Inverse = double (*)(double, int32_t, double, const double*, qcm_flag);

struct Table {
    const char* name;
    const char* title;
    const char* scale;
    Inverse inverse;
    double factor;  // library scale -> conventional scale
};

const double kRootHalf = 0.70710678118654752;
const double kDfRows[] = {2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12,  13,      14,
                          15, 16, 17, 18, 19, 20, 24, 30, 40, 60, 120, HUGE_VAL};
const double kInfiniteDfStandIn = 1e6;

int PrintTable(const Table& t, const std::vector<std::string>& args) {
    if (args.size() > 2) qcm::usage_error(std::string("qcm table ") + t.name + " [alpha] [max-means]");
    double alpha = args.empty() ? 0.05 : qcm::parse_double(args[0], "alpha");
    int max_means = args.size() < 2 ? 10 : qcm::parse_int(args[1], "max-means");
    if (!(alpha > 0 && alpha < 1)) qcm::usage_error("argument 'alpha': must lie strictly between 0 and 1");
    if (max_means < 2 || max_means > 50) qcm::usage_error("argument 'max-means': must lie between 2 and 50");
    std::vector<double> lambda(static_cast<std::size_t>(max_means), kRootHalf);
    std::printf(
        "%s, upper %g critical values\n%s\nequal group sizes; rows: error degrees of freedom, columns: "
        "number of means\n\n",
        t.title, alpha, t.scale);
    std::printf("%6s", "df");
    for (int k = 2; k <= max_means; ++k) std::printf(" %7d", k);
    std::printf("\n");
    for (double df : kDfRows) {
        if (std::isinf(df))
            std::printf("%6s", "inf");
        else
            std::printf("%6g", df);
        for (int k = 2; k <= max_means; ++k) {
            double dfx = std::isinf(df) ? kInfiniteDfStandIn : df;
            try {
                double v = t.inverse(alpha, k, dfx, lambda.data(), 1) * t.factor;
                std::printf(" %7.3f", v);
            } catch (const std::exception&) {
                std::printf(" %7s", "-");
            }
        }
        std::printf("\n");
    }
    return 0;
}

const Table kTukey = {"tukey", "Tukey's studentized range (all pairwise comparisons)",
                      "scale: studentized range q = (max - min) / (s / sqrt(n)) = MCaICDF x sqrt(2)", MCaICDF,
                      std::sqrt(2.0)};
const Table kDunnett = {"dunnett", "Dunnett's comparisons with a control, two-sided",
                        "scale: |t| of a mean against the control, as MCcICDF gives it (means include the control)",
                        MCcICDF, 1.0};
const Table kHsu = {"hsu", "Hsu's comparisons with the best, one-sided",
                    "scale: t of a mean against the best of the others, as MCbICDF gives it", MCbICDF, 1.0};

int RunTukey(const std::vector<std::string>& args) { return PrintTable(kTukey, args); }
int RunDunnett(const std::vector<std::string>& args) { return PrintTable(kDunnett, args); }
int RunHsu(const std::vector<std::string>& args) { return PrintTable(kHsu, args); }

void Demo() {
    std::vector<double> lambda(3, kRootHalf);
    double q = MCaICDF(0.05, 3, 10, lambda.data(), 1);
    std::printf(
        "\n[multcomp table]\n  Tukey 5%% critical value, 3 means, 10 df: %.4f on the library's scale, "
        "%.3f studentized (qcm table tukey)\n",
        q, q * std::sqrt(2.0));
}

qcm::RegisterCommand reg_tukey({"table:tukey",
                                "qcm table tukey [alpha] [max-means]    critical values of the studentized range",
                                RunTukey, Demo});
qcm::RegisterCommand reg_dunnett({"table:dunnett",
                                  "qcm table dunnett [alpha] [max-means]  two-sided critical values of Dunnett's test",
                                  RunDunnett, nullptr});
qcm::RegisterCommand reg_hsu({"table:hsu",
                              "qcm table hsu [alpha] [max-means]      one-sided critical values of Hsu's comparisons",
                              RunHsu, nullptr});

}  // namespace
