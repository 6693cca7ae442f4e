// Every scalar export of the table, called with hostile values in each
// argument position in turn (the others at the table's example): the outcome
// must be one its error family allows, and nothing may crash.
#include <cerrno>
#include <cfloat>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "common/contract.hpp"
#include "common/scalar_call.hpp"
#include "common/symbols.hpp"
#include "support/qcm_test.hpp"

namespace {

const double kHostileDoubles[] = {std::numeric_limits<double>::quiet_NaN(),
                                  std::numeric_limits<double>::infinity(),
                                  -std::numeric_limits<double>::infinity(),
                                  0.0,
                                  -0.0,
                                  -1.0,
                                  std::numeric_limits<double>::denorm_min(),
                                  DBL_MAX,
                                  -DBL_MAX,
                                  1e7};
const std::int32_t kHostileInts[] = {0, -1, 1, 1000000, INT32_MAX, INT32_MIN};
const unsigned char kHostileFlags[] = {0, 1, 255};

// Known gaps, each a finding of this sweep that is still open: the call is
// skipped here so that the rest of the sweep keeps guarding the contract.
bool known_gap(const std::string& name, char letter, std::size_t /*pos*/, const qcm::Arg& a) {
    // k correlation factors are allocated and integrated over: k in the
    // millions allocates gigabytes and runs for minutes.
    if (name.rfind("MC", 0) == 0 && letter == 'i' && a.i >= 1000000) return true;
    return false;
}

TEST(Sweep, HostileArgumentsInEachPosition) {
    std::size_t calls = 0;
    for (const qcm::ExportInfo& e : qcm::kExports) {
        if (std::strchr(e.signature, 'm')) continue;  // matrices have their own tests
        void* fn = qcm::find_symbol(e.name);
        ASSERT_NE(fn, nullptr) << e.name;
        const std::vector<qcm::Arg> base = qcm::example_args(e);
        const char* letters = std::strchr(e.signature, ':') + 1;
        for (std::size_t pos = 0; letters[pos]; ++pos) {
            std::vector<std::vector<qcm::Arg>> variants;
            switch (letters[pos]) {
                case 'd':
                    for (double v : kHostileDoubles) variants.push_back(base), variants.back()[pos].d = v;
                    break;
                case 'i':
                    for (std::int32_t v : kHostileInts) variants.push_back(base), variants.back()[pos].i = v;
                    break;
                case 'b':
                    for (unsigned char v : kHostileFlags) variants.push_back(base), variants.back()[pos].b = v;
                    break;
                case 'l':
                    for (double v : kHostileDoubles)
                        variants.push_back(base), variants.back()[pos].list.assign(base[pos].list.size(), v);
                    break;
                default:
                    break;
            }
            for (std::size_t v = 0; v < variants.size(); ++v) {
                double outs[2] = {0, 0};
                if (known_gap(e.name, letters[pos], pos, variants[v][pos])) continue;
                const auto start = std::chrono::steady_clock::now();
                qcm::Outcome r = qcm::capture([&] { return qcm::call_scalar(e.signature, fn, variants[v], outs); });
                const double ms =
                    std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
                if (std::getenv("QCM_SWEEP_TRACE"))
                    std::fprintf(stderr, "%8.1f ms  %s argument %zu variant %zu\n", ms, e.name, pos, v);
                EXPECT_EQ(qcm::contract_violation(e, r), "") << e.name << " argument " << pos << " variant " << v;
                ++calls;
            }
        }
    }
    EXPECT_GT(calls, 1000u);
}

}  // namespace
