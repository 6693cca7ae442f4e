// The table of exports against the header: every row's signature letters
// match the declared C type of the function, and the library answers every
// name of the table by dynamic lookup, as the host finds them.
#include <cstdint>
#include <string>
#include <type_traits>

#include "common/symbols.hpp"
#include "support/qcm_test.hpp"

namespace {

template <class T>
const char* letter() {
    if (std::is_same<T, double>::value) return "d";
    if (std::is_same<T, qcm_flag>::value) return "b";
    if (std::is_same<T, int32_t>::value) return "i";
    if (std::is_same<T, double*>::value) return "o";
    if (std::is_same<T, const double*>::value) return "l";
    if (std::is_same<T, int32_t*>::value) return "j";
    if (std::is_same<T, const char*>::value) return "c";
    if (std::is_same<T, const MatrixDescriptor*>::value) return "D";
    return "?";
}

// "d:dddb" for double(double, double, double, qcm_flag); a data pointer
// followed by a descriptor is one matrix argument, "m".
template <class R, class... A>
std::string signature_of(R (*)(A...)) {
    std::string s = std::string(letter<R>()) + ":";
    for (const char* l : {letter<A>()...}) s += l;
    for (std::size_t at; (at = s.find("oD")) != std::string::npos || (at = s.find("lD")) != std::string::npos;)
        s.replace(at, 2, "m");
    return s;
}

struct Declared {
    const char* name;
    std::string signature;
};

const Declared kDeclared[] = {
#define QCM_EXPORT(name, sig, errors, family, params, example) {#name, signature_of(&name)},
#include "boundary/export_table.def"
#undef QCM_EXPORT
};

TEST(Exports, TableHoldsSixtySevenDistinctExports) {
    ASSERT_EQ(qcm::kExportCount, 67u);
    for (std::size_t i = 0; i < qcm::kExportCount; ++i)
        for (std::size_t j = i + 1; j < qcm::kExportCount; ++j)
            EXPECT_STRNE(qcm::kExports[i].name, qcm::kExports[j].name);
}

TEST(Exports, HeaderDeclarationsMatchTheTableSignatures) {
    for (std::size_t i = 0; i < qcm::kExportCount; ++i) {
        SCOPED_TRACE(kDeclared[i].name);
        EXPECT_EQ(kDeclared[i].signature, qcm::kExports[i].signature);
    }
}

TEST(Exports, EveryExportIsFoundByName) {
    for (const qcm::ExportInfo& e : qcm::kExports) EXPECT_NE(qcm::find_symbol(e.name), nullptr) << e.name;
}

}  // namespace
