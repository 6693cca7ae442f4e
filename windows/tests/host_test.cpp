// The library as a Windows host sees it: loaded with LoadLibrary, every
// export found with GetProcAddress by its undecorated name, errno read from
// the host's own C runtime, exceptions caught by their class with their
// exact messages, and LAPACK's negative info handed back with the process
// alive. Exports that are not built yet are skipped.
#include <gtest/gtest.h>
#include <windows.h>

#include <cerrno>
#include <cmath>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "QuillonCoreMath.h"
#include "common/export_table.hpp"
#include "support/qcm_test.hpp"

static_assert(EDOM == 33 && ERANGE == 34, "the host's errno values");

namespace {

HMODULE library() {
    static HMODULE module = LoadLibraryA("Quillon.Core.Math.dll");
    return module;
}

// The export of the given name with the type the header declares for it,
// or nullptr when the DLL does not have it.
template <class F>
F lookup(const char* name, F) {
    return library() ? reinterpret_cast<F>(reinterpret_cast<void*>(GetProcAddress(library(), name))) : nullptr;
}
#define QCM_LOOKUP(name) lookup(#name, decltype (&name)(nullptr))

// The errno of the C runtime the DLL imports, found the way a host built with
// another runtime must find it: msvcrt.dll's (or the UCRT's) _errno().
int* library_errno() {
    HMODULE crt = GetModuleHandleA("msvcrt.dll");
    if (!crt) crt = GetModuleHandleA("ucrtbase.dll");
    if (!crt) return nullptr;
    auto errno_location = reinterpret_cast<int* (*)()>(reinterpret_cast<void*>(GetProcAddress(crt, "_errno")));
    return errno_location ? errno_location() : nullptr;
}

}  // namespace

TEST(WindowsHost, LoadsTheLibraryByName) {
    ASSERT_NE(library(), nullptr) << "LoadLibrary error " << GetLastError();
    char path[MAX_PATH] = {};
    ASSERT_GT(GetModuleFileNameA(library(), path, MAX_PATH), 0u);
    EXPECT_NE(std::string(path).find("Quillon.Core.Math.dll"), std::string::npos) << path;
}

TEST(WindowsHost, FindsTheTablesNamesAndNoDecoratedOnes) {
    ASSERT_NE(library(), nullptr);
    std::size_t found = 0;
    for (const qcm::ExportInfo& e : qcm::kExports) {
        if (GetProcAddress(library(), e.name) != nullptr) ++found;
        // No leading underscore, no @n suffix: the name alone.
        EXPECT_EQ(GetProcAddress(library(), ("_" + std::string(e.name)).c_str()), nullptr) << e.name;
    }
    EXPECT_GE(found, 7u) << "the normal family at least";
    std::printf("%zu of %zu exports found by name\n", found, qcm::kExportCount);
}

TEST(WindowsHost, ErrnoIsTheHostsErrno) {
    auto normal_pdf = QCM_LOOKUP(NormalPDF);
    auto normal_cdf = QCM_LOOKUP(NormalCDF);
    ASSERT_TRUE(normal_pdf && normal_cdf);
    errno = 0;
    const double bad = normal_pdf(1, 0, 0);
    EXPECT_TRUE(std::isnan(bad));
    EXPECT_EQ(errno, EDOM) << "the DLL's errno and the host's must be one (the same C runtime)";
    // A later successful call leaves it alone.
    EXPECT_NEAR(normal_cdf(1.959963984540054, 0, 1, 1), 0.025, 1e-16);
    EXPECT_EQ(errno, EDOM);
    errno = 0;
    EXPECT_NEAR(normal_cdf(0, 0, 1, 0), 0.5, 0);
    EXPECT_EQ(errno, 0);
}

TEST(WindowsHost, ErrnoThroughTheLibrarysRuntime) {
    auto normal_pdf = QCM_LOOKUP(NormalPDF);
    ASSERT_TRUE(normal_pdf);
    int* crt_errno = library_errno();
    ASSERT_NE(crt_errno, nullptr);
    *crt_errno = 0;
    EXPECT_TRUE(std::isnan(normal_pdf(1, 0, 0)));
    EXPECT_EQ(*crt_errno, EDOM);
    EXPECT_EQ(crt_errno, &errno) << "this program shares the library's runtime";
}

TEST(WindowsHost, ErrnoStaysOnTheCallingThread) {
    auto normal_pdf = QCM_LOOKUP(NormalPDF);
    ASSERT_TRUE(normal_pdf);
    errno = 0;
    int other = -1;
    std::thread([&] {
        errno = 0;
        normal_pdf(1, 0, -1);
        other = errno;
    }).join();
    EXPECT_EQ(other, EDOM);
    EXPECT_EQ(errno, 0);
}

TEST(WindowsHost, CatchesTheLibrarysExceptionsByClass) {
    auto gamma_ln = QCM_LOOKUP(GammaLn);
    if (!gamma_ln) GTEST_SKIP() << "GammaLn is not built";
    qcm_test::expect_throws(qcm_test::capture([&] { return gamma_ln(0); }), "std::domain_error",
                            "Error in function boost::math::lgamma<double>(double): Evaluation of lgamma at a "
                            "negative integer 0.");
    qcm_test::expect_throws(qcm_test::capture([&] { return gamma_ln(-3); }), "std::domain_error",
                            "Error in function boost::math::lgamma<double>(double): Evaluation of lgamma at a "
                            "negative integer -3.");
    // The exception leaves nothing behind: the next call answers (ln 4! = ln 24).
    EXPECT_NEAR(gamma_ln(5), std::log(24.0), 1e-15);
    // Caught by its own class too, not only through the capture helper.
    bool caught = false;
    try {
        gamma_ln(0);
    } catch (const std::domain_error&) {
        caught = true;
    }
    EXPECT_TRUE(caught);
}

TEST(WindowsHost, LapackBadArgumentsReturnNegativeInfo) {
    auto qr = QCM_LOOKUP(QR);
    if (!qr) GTEST_SKIP() << "QR is not built";
    // leadingDimension 2 below rows 3: DGEQRF's LDA, argument 4.
    std::vector<double> a = {3, 4, 0, 1, 2, 2};
    const std::vector<double> before = a;
    std::vector<double> tau(2, -1);
    const MatrixDescriptor short_lda = {0, 2, 3, 2};
    EXPECT_EQ(qr(a.data(), &short_lda, tau.data()), -4);
    EXPECT_EQ(a, before);
    // More than 10000 columns exceed the fixed workspace: LWORK, argument 7.
    std::vector<double> wide(10001, 1.0);
    std::vector<double> wide_tau(10001);
    const MatrixDescriptor too_wide = {0, 1, 1, 10001};
    EXPECT_EQ(qr(wide.data(), &too_wide, wide_tau.data()), -7);
    EXPECT_EQ(wide, std::vector<double>(10001, 1.0));
    // The process is alive and the next call factors (first column (3,4,0) -> -5).
    const MatrixDescriptor good = {0, 3, 3, 2};
    ASSERT_EQ(qr(a.data(), &good, tau.data()), 0);
    EXPECT_NEAR(a[0], -5.0, 1e-15 * 5);
}
