// Test support shared by every family: calling an export with errno cleared
// and capturing what it did, ulp distances, and reading reference tables.
#ifndef QCM_TESTS_SUPPORT_HPP
#define QCM_TESTS_SUPPORT_HPP

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "QuillonCoreMath.h"
#include "common/export_table.hpp"
#include "common/outcome.hpp"

namespace qcm_test {

using qcm::capture;
using qcm::Outcome;

inline std::uint64_t bits_of(double x) {
    std::uint64_t b;
    std::memcpy(&b, &x, sizeof b);
    return b;
}

// Distance in units in the last place between two finite doubles of the same
// sign, counted through the ordered integer representation.
inline double ulp_distance(double a, double b) {
    if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b) ? 0 : HUGE_VAL;
    if (a == b) return 0;
    // Map the doubles onto a monotone integer line; the difference is taken
    // in 128-bit integers, exact whatever the distance.
    auto ordered = [](double x) {
        std::int64_t i;
        std::memcpy(&i, &x, sizeof i);
        return i < 0 ? static_cast<__int128>(std::numeric_limits<std::int64_t>::min()) - i : static_cast<__int128>(i);
    };
    const __int128 d = ordered(a) - ordered(b);
    return static_cast<double>(d < 0 ? -d : d);
}

inline double relative_error(double got, double want) {
    if (want == got) return 0;
    if (want == 0) return std::fabs(got);
    return std::fabs((got - want) / want);
}

// One row of a reference table: the function's name, its arguments and the
// expected value, read from a CSV file whose '#' lines state the source.
struct ReferenceRow {
    std::string function;
    std::vector<double> args;
    double expected = 0;
    int line = 0;
};

inline std::vector<ReferenceRow> load_reference(const std::string& file) {
    std::vector<ReferenceRow> rows;
    std::ifstream in(std::string(QCM_TEST_DATA_DIR) + "/" + file);
    if (!in) {
        ADD_FAILURE() << "cannot open reference data " << file;
        return rows;
    }
    std::string text;
    int line = 0;
    while (std::getline(in, text)) {
        ++line;
        if (text.empty() || text[0] == '#') continue;
        std::stringstream fields(text);
        std::string field;
        ReferenceRow row;
        row.line = line;
        std::getline(fields, row.function, ',');
        std::vector<double> values;
        while (std::getline(fields, field, ',')) values.push_back(std::strtod(field.c_str(), nullptr));
        if (values.empty()) continue;
        row.expected = values.back();
        values.pop_back();
        row.args = values;
        rows.push_back(row);
    }
    return rows;
}

// Expects an exception of the given class with exactly the given message.
inline void expect_throws(const Outcome& r, const std::string& type, const std::string& message) {
    EXPECT_TRUE(r.threw) << "expected " << type << ", got value " << r.value;
    EXPECT_EQ(r.type, type);
    EXPECT_EQ(r.message, message);
    EXPECT_TRUE(r.boost_exception) << "exceptions go through Boost's wrapper";
}

}  // namespace qcm_test

#endif  // QCM_TESTS_SUPPORT_HPP
