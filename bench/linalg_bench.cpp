// The linear-algebra exports against LAPACK's own drivers on the same
// problems, named "<Export>/<implementation>/<rows>x<columns>": the export
// (qcm) runs its LAPACK routine with the shared 10000-double workspace, the
// LAPACK row calls the routine directly with the optimal workspace it asks
// for. OLS (tolerance-driven, unblocked QR in the columns' own order) is set
// against dgelsy (column-pivoted, rank-revealing), its nearest LAPACK driver,
// and, for scale, against LAPACK's unblocked QR dgeqr2 on its own.
//
// Each iteration copies its inputs afresh (every routine overwrites them);
// the copy is O(mn) against the O(mn^2) work. The workspace limits hold for
// every size below; where LAPACK's optimum exceeds 10000 doubles (a block
// size nb with n x nb > 10000) the export runs blocked with a smaller nb.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "QuillonCoreMath.h"
#include "linalg/lapack.hpp"

// LAPACK's unblocked QR, which the library does not call itself.
extern "C" void dgeqr2_(const int* m, const int* n, double* a, const int* lda, double* tau, double* work, int* info);

namespace {

struct Problem {
    int m, n;
    std::vector<double> x, y, r;  // design, response, and its R factor (upper n x n)
};

Problem make_problem(int m, int n) {
    Problem p{m, n, std::vector<double>(static_cast<std::size_t>(m) * n), std::vector<double>(m), {}};
    std::mt19937 gen(12345u + static_cast<unsigned>(m) * 7u + static_cast<unsigned>(n));
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    std::normal_distribution<double> noise(0.0, 0.01);
    for (int i = 0; i < m; ++i) p.x[i] = 1.0;  // intercept column
    for (std::size_t k = m; k < p.x.size(); ++k) p.x[k] = u(gen);
    for (int i = 0; i < m; ++i) {
        double s = 0;
        for (int j = 0; j < n; ++j) s += p.x[i + static_cast<std::size_t>(j) * m] * (1.0 + 0.01 * j);
        p.y[i] = s + noise(gen);
    }
    std::vector<double> a = p.x, tau(n);
    std::vector<double> work(static_cast<std::size_t>(n) * 64);
    int info = 0, lwork = static_cast<int>(work.size());
    dgeqrf_(&m, &n, a.data(), &m, tau.data(), work.data(), &lwork, &info);
    p.r.assign(static_cast<std::size_t>(n) * n, 0.0);
    for (int j = 0; j < n; ++j)
        for (int i = 0; i <= j; ++i) p.r[i + static_cast<std::size_t>(j) * n] = a[i + static_cast<std::size_t>(j) * m];
    return p;
}

const Problem& problem(int m, int n) {
    static std::vector<Problem> cache;
    cache.reserve(16);
    for (const Problem& p : cache)
        if (p.m == m && p.n == n) return p;
    cache.push_back(make_problem(m, n));
    return cache.back();
}

// LAPACK's optimal workspace for a routine, from its own query.
int optimal(const std::function<void(double*, const int*)>& query) {
    double size = 0;
    const int minus_one = -1;
    query(&size, &minus_one);
    return std::max(1, static_cast<int>(size));
}

using Body = std::function<void(benchmark::State&, const Problem&)>;

void add(const std::string& export_name, const std::string& impl, int m, int n, Body body) {
    const std::string name = export_name + "/" + impl + "/" + std::to_string(m) + "x" + std::to_string(n);
    benchmark::RegisterBenchmark(name.c_str(), [m, n, body](benchmark::State& state) { body(state, problem(m, n)); })
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
}

void check(benchmark::State& state, int info) {
    if (info != 0) state.SkipWithError("nonzero info");
}

void register_qr(int m, int n) {
    add("QR", "qcm", m, n, [](benchmark::State& state, const Problem& p) {
        std::vector<double> a, tau(p.n);
        const MatrixDescriptor d{0, p.m, p.m, p.n};
        for (auto _ : state) {
            a = p.x;
            check(state, QR(a.data(), &d, tau.data()));
        }
    });
    add("QR", "LAPACK", m, n, [](benchmark::State& state, const Problem& p) {
        std::vector<double> a = p.x, tau(p.n);
        int info = 0;
        std::vector<double> work(
            optimal([&](double* w, const int* l) { dgeqrf_(&p.m, &p.n, a.data(), &p.m, tau.data(), w, l, &info); }));
        const int lwork = static_cast<int>(work.size());
        for (auto _ : state) {
            a = p.x;
            dgeqrf_(&p.m, &p.n, a.data(), &p.m, tau.data(), work.data(), &lwork, &info);
            check(state, info);
        }
    });
    add("QRP", "qcm", m, n, [](benchmark::State& state, const Problem& p) {
        std::vector<double> a, tau(p.n);
        std::vector<int32_t> jpvt(p.n);
        const MatrixDescriptor d{0, p.m, p.m, p.n};
        for (auto _ : state) {
            a = p.x;
            std::fill(jpvt.begin(), jpvt.end(), 0);
            check(state, QRP(a.data(), &d, tau.data(), jpvt.data()));
        }
    });
    add("QRP", "LAPACK", m, n, [](benchmark::State& state, const Problem& p) {
        std::vector<double> a = p.x, tau(p.n);
        std::vector<int> jpvt(p.n);
        int info = 0;
        std::vector<double> work(optimal([&](double* w, const int* l) {
            dgeqp3_(&p.m, &p.n, a.data(), &p.m, jpvt.data(), tau.data(), w, l, &info);
        }));
        const int lwork = static_cast<int>(work.size());
        for (auto _ : state) {
            a = p.x;
            std::fill(jpvt.begin(), jpvt.end(), 0);
            dgeqp3_(&p.m, &p.n, a.data(), &p.m, jpvt.data(), tau.data(), work.data(), &lwork, &info);
            check(state, info);
        }
    });
}

// QR_Q and QR_Qy start from a factorisation made once; each iteration copies it.
struct Factored {
    std::vector<double> a, tau;
};

Factored factored(const Problem& p) {
    Factored f{p.x, std::vector<double>(p.n)};
    const MatrixDescriptor d{0, p.m, p.m, p.n};
    QR(f.a.data(), &d, f.tau.data());
    return f;
}

void register_q(int m, int n) {
    add("QR_Q", "qcm", m, n, [](benchmark::State& state, const Problem& p) {
        const Factored f = factored(p);
        std::vector<double> a;
        const MatrixDescriptor d{0, p.m, p.m, p.n};
        for (auto _ : state) {
            a = f.a;
            check(state, QR_Q(a.data(), &d, const_cast<double*>(f.tau.data())));
        }
    });
    add("QR_Q", "LAPACK", m, n, [](benchmark::State& state, const Problem& p) {
        const Factored f = factored(p);
        std::vector<double> a = f.a;
        int info = 0;
        std::vector<double> work(optimal(
            [&](double* w, const int* l) { dorgqr_(&p.m, &p.n, &p.n, a.data(), &p.m, f.tau.data(), w, l, &info); }));
        const int lwork = static_cast<int>(work.size());
        for (auto _ : state) {
            a = f.a;
            dorgqr_(&p.m, &p.n, &p.n, a.data(), &p.m, f.tau.data(), work.data(), &lwork, &info);
            check(state, info);
        }
    });
    add("QR_Qy", "qcm", m, n, [](benchmark::State& state, const Problem& p) {
        Factored f = factored(p);
        std::vector<double> c;
        const MatrixDescriptor d{0, p.m, p.m, p.n}, dc{0, p.m, p.m, 1};
        for (auto _ : state) {
            c = p.y;
            check(state, QR_Qy(f.a.data(), &d, 1, f.tau.data(), c.data(), &dc));
        }
    });
    add("QR_Qy", "LAPACK", m, n, [](benchmark::State& state, const Problem& p) {
        const Factored f = factored(p);
        std::vector<double> c = p.y;
        const int one = 1;
        int info = 0;
        std::vector<double> work(optimal([&](double* w, const int* l) {
            dormqr_("L", "T", &p.m, &one, &p.n, f.a.data(), &p.m, f.tau.data(), c.data(), &p.m, w, l, &info);
        }));
        const int lwork = static_cast<int>(work.size());
        for (auto _ : state) {
            c = p.y;
            dormqr_("L", "T", &p.m, &one, &p.n, f.a.data(), &p.m, f.tau.data(), c.data(), &p.m, work.data(), &lwork,
                    &info);
            check(state, info);
        }
    });
    add("SolveTriangularSystem", "qcm", m, n, [](benchmark::State& state, const Problem& p) {
        std::vector<double> r = p.r, b;
        const MatrixDescriptor d{0, p.n, p.n, p.n}, db{0, p.n, p.n, 1};
        for (auto _ : state) {
            b.assign(p.y.begin(), p.y.begin() + p.n);
            check(state, SolveTriangularSystem(r.data(), &d, 1, 0, b.data(), &db));
        }
    });
    add("SolveTriangularSystem", "LAPACK", m, n, [](benchmark::State& state, const Problem& p) {
        std::vector<double> b;
        const int one = 1;
        int info = 0;
        for (auto _ : state) {
            b.assign(p.y.begin(), p.y.begin() + p.n);
            dtrtrs_("U", "N", "N", &p.n, &one, p.r.data(), &p.n, b.data(), &p.n, &info);
            check(state, info);
        }
    });
}

void register_svd(int m, int n) {
    add("SVD", "qcm", m, n, [](benchmark::State& state, const Problem& p) {
        std::vector<double> a, s(std::min(p.m, p.n)), u(1), vt(1);
        const MatrixDescriptor d{0, p.m, p.m, p.n}, d1{0, 1, 1, 1};
        for (auto _ : state) {
            a = p.x;
            check(state, SVD("N", a.data(), &d, s.data(), u.data(), &d1, vt.data(), &d1));
        }
    });
    add("SVD", "LAPACK", m, n, [](benchmark::State& state, const Problem& p) {
        std::vector<double> a = p.x, s(std::min(p.m, p.n)), u(1), vt(1);
        std::vector<int> iwork(8 * static_cast<std::size_t>(std::min(p.m, p.n)));
        const int one = 1;
        int info = 0;
        std::vector<double> work(optimal([&](double* w, const int* l) {
            dgesdd_("N", &p.m, &p.n, a.data(), &p.m, s.data(), u.data(), &one, vt.data(), &one, w, l, iwork.data(),
                    &info);
        }));
        const int lwork = static_cast<int>(work.size());
        for (auto _ : state) {
            a = p.x;
            dgesdd_("N", &p.m, &p.n, a.data(), &p.m, s.data(), u.data(), &one, vt.data(), &one, work.data(), &lwork,
                    iwork.data(), &info);
            check(state, info);
        }
    });
}

void register_ls(int m, int n) {
    add("LS", "qcm", m, n, [](benchmark::State& state, const Problem& p) {
        std::vector<double> x, y;
        const MatrixDescriptor dx{0, p.m, p.m, p.n}, dy{0, p.m, p.m, 1};
        for (auto _ : state) {
            x = p.x;
            y = p.y;
            check(state, LS(x.data(), &dx, y.data(), &dy));
        }
    });
    add("LS", "LAPACK", m, n, [](benchmark::State& state, const Problem& p) {
        std::vector<double> x = p.x, y = p.y;
        const int one = 1;
        int info = 0;
        std::vector<double> work(optimal([&](double* w, const int* l) {
            dgels_("N", &p.m, &p.n, &one, x.data(), &p.m, y.data(), &p.m, w, l, &info);
        }));
        const int lwork = static_cast<int>(work.size());
        for (auto _ : state) {
            x = p.x;
            y = p.y;
            dgels_("N", &p.m, &p.n, &one, x.data(), &p.m, y.data(), &p.m, work.data(), &lwork, &info);
            check(state, info);
        }
    });
    add("OLS", "qcm", m, n, [](benchmark::State& state, const Problem& p) {
        std::vector<double> x, y, beta(p.n), tau(p.n);
        const MatrixDescriptor dx{0, p.m, p.m, p.n}, dy{0, p.m, p.m, 1}, db{0, p.n, p.n, 1};
        for (auto _ : state) {
            x = p.x;
            y = p.y;
            check(state, OLS(x.data(), &dx, y.data(), &dy, beta.data(), &db, tau.data(), 1e-10));
            benchmark::DoNotOptimize(beta.data());
        }
    });
    add("OLS", "LAPACK", m, n, [](benchmark::State& state, const Problem& p) {  // dgelsy
        std::vector<double> x = p.x, y = p.y;
        std::vector<int> jpvt(p.n);
        const int one = 1;
        const double rcond = 1e-10;
        int rank = 0, info = 0;
        std::vector<double> work(optimal([&](double* w, const int* l) {
            dgelsy_(&p.m, &p.n, &one, x.data(), &p.m, y.data(), &p.m, jpvt.data(), &rcond, &rank, w, l, &info);
        }));
        const int lwork = static_cast<int>(work.size());
        for (auto _ : state) {
            x = p.x;
            y = p.y;
            std::fill(jpvt.begin(), jpvt.end(), 0);
            dgelsy_(&p.m, &p.n, &one, x.data(), &p.m, y.data(), &p.m, jpvt.data(), &rcond, &rank, work.data(), &lwork,
                    &info);
            check(state, info != 0 || rank != p.n);
        }
    });
    add("Xb", "qcm", m, n, [](benchmark::State& state, const Problem& p) {
        const std::vector<double> beta(p.n, 1.0);
        const MatrixDescriptor dx{0, p.m, p.m, p.n};
        for (auto _ : state)
            benchmark::DoNotOptimize(Xb(const_cast<double*>(p.x.data()), &dx, const_cast<double*>(beta.data()),
                                        const_cast<double*>(p.y.data())));
    });
    // LAPACK's unblocked Householder QR alone: the floor for any
    // one-reflector-at-a-time factorisation such as the one inside OLS.
    add("BM_dgeqr2", "unblocked", m, n, [](benchmark::State& state, const Problem& p) {
        std::vector<double> x, tau(p.n), work(p.n);
        int info = 0;
        for (auto _ : state) {
            x = p.x;
            dgeqr2_(&p.m, &p.n, x.data(), &p.m, tau.data(), work.data(), &info);
            benchmark::DoNotOptimize(x.data());
        }
    });
}

}  // namespace

int main(int argc, char** argv) {
    for (auto [m, n] : {std::pair{1000, 20}, std::pair{2000, 200}}) {
        register_qr(m, n);
        register_q(m, n);
        register_svd(m, n);
    }
    for (auto [m, n] : {std::pair{2000, 50}, std::pair{10000, 200}, std::pair{5000, 1000}}) register_ls(m, n);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
