// Fisher's noncentral hypergeometric distribution: first calls from several
// threads at once. The moments use the process-wide log-factorial table,
// filled on first use; this program's only test makes the first uses of the
// process start together, so the fill itself is raced. Every thread must see
// the same complete table (identical results) and, under ThreadSanitizer, no
// data race may be reported.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "QuillonCoreMath.h"

namespace {

TEST(FncConcurrency, FirstCallsFromManyThreads) {
    constexpr int kThreads = 8;
    std::atomic<int> ready{0};
    std::atomic<bool> go{false};
    std::vector<double> means(kThreads), variances(kThreads), totals(kThreads), central(kThreads), cdfs(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            ready.fetch_add(1);
            while (!go.load(std::memory_order_acquire)) std::this_thread::yield();
            // Both kinds of urn stay below the table's 1024: every factorial
            // comes from the table.
            totals[t] = FNCHypergeometricMoments(300, 400, 1000, 2.5, &means[t], &variances[t]);
            double mean = 0, variance = 0;
            FNCHypergeometricMoments(100, 80, 250, 1.0, &mean, &variance);
            central[t] = variance;
            cdfs[t] = FNCHypergeometricCDF(150, 300, 400, 1000, 2.5, 0, 1e-10);
        });
    }
    while (ready.load() < kThreads) std::this_thread::yield();
    go.store(true, std::memory_order_release);
    for (std::thread& th : threads) th.join();

    for (int t = 1; t < kThreads; ++t) {
        EXPECT_EQ(means[t], means[0]) << "thread " << t;
        EXPECT_EQ(variances[t], variances[0]) << "thread " << t;
        EXPECT_EQ(totals[t], totals[0]) << "thread " << t;
        EXPECT_EQ(central[t], central[0]) << "thread " << t;
        EXPECT_EQ(cdfs[t], cdfs[0]) << "thread " << t;
    }
    // Central case, n = 100, m = 80, N = 250: variance n (m/N)(1 - m/N)(N - n)/(N - 1)
    // = 100 * 0.32 * 0.68 * 150 / 249 = 13.108433734939759 (exact rational),
    // to the moments' accuracy: 15 s c relative with s = 3.6, c = 1e-9.
    EXPECT_NEAR(central[0], 13.108433734939759, 1e-6);
    EXPECT_NEAR(totals[0], 1.0, 1e-8);
}

}  // namespace
