// The distribution and special-function exports are re-entrant: eight
// threads calling every scalar export at once on the same inputs get results
// bit-identical to a serial run, errno and exception messages included.
#include <cfloat>
#include <cstring>
#include <limits>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "common/scalar_call.hpp"
#include "common/symbols.hpp"
#include "support/qcm_test.hpp"

namespace {

struct Call {
    const qcm::ExportInfo* info;
    void* fn;
    std::vector<qcm::Arg> args;
};

std::vector<Call> calls() {
    std::vector<Call> list;
    for (const qcm::ExportInfo& e : qcm::kExports) {
        if (std::strchr(e.signature, 'm')) continue;
        Call c{&e, qcm::find_symbol(e.name), qcm::example_args(e)};
        list.push_back(c);
        // The same call with a NaN first argument exercises the failure paths.
        if (*(std::strchr(e.signature, ':') + 1) == 'd') {
            list.push_back(c);
            list.back().args[0].d = std::numeric_limits<double>::quiet_NaN();
        }
    }
    return list;
}

struct Seen {
    std::uint64_t bits;
    int err;
    std::string message;
    bool operator==(const Seen& o) const { return bits == o.bits && err == o.err && message == o.message; }
};

std::vector<Seen> run_all(const std::vector<Call>& list) {
    std::vector<Seen> seen;
    for (const Call& c : list) {
        double outs[2] = {0, 0};
        qcm::Outcome r = qcm::capture([&] { return qcm::call_scalar(c.info->signature, c.fn, c.args, outs); });
        seen.push_back({r.threw ? 0 : r.bits(), r.err, r.message});
    }
    return seen;
}

TEST(Concurrency, EightThreadsMatchTheSerialRun) {
    const std::vector<Call> list = calls();
    for (const Call& c : list) ASSERT_NE(c.fn, nullptr) << c.info->name;
    const std::vector<Seen> serial = run_all(list);
    constexpr int kThreads = 8;
    std::vector<std::vector<Seen>> results(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            for (int round = 0; round < 3; ++round) results[t] = run_all(list);
        });
    for (std::thread& t : threads) t.join();
    for (int t = 0; t < kThreads; ++t)
        for (std::size_t i = 0; i < list.size(); ++i)
            EXPECT_TRUE(results[t][i] == serial[i]) << list[i].info->name << " on thread " << t;
}

}  // namespace
