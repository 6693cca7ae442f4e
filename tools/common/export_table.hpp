// The table of exports as data, for the tool and the tests.
#ifndef QCM_TOOLS_EXPORT_TABLE_HPP
#define QCM_TOOLS_EXPORT_TABLE_HPP

#include <cstddef>
#include <cstring>

namespace qcm {

struct ExportInfo {
    const char* name;
    const char* signature;  // result ':' argument letters, see export_table.def
    const char* errors;     // "errno", "throw", "own" or "lapack"
    const char* family;
    const char* params;   // argument names, space separated
    const char* example;  // example arguments for the demo ("" for none)
};

inline constexpr ExportInfo kExports[] = {
#define QCM_EXPORT(name, sig, errors, family, params, example) {#name, sig, errors, family, params, example},
#include "boundary/export_table.def"
#undef QCM_EXPORT
};

inline constexpr std::size_t kExportCount = sizeof(kExports) / sizeof(kExports[0]);

inline const ExportInfo* find_export(const char* name) {
    for (const ExportInfo& e : kExports)
        if (std::strcmp(e.name, name) == 0) return &e;
    return nullptr;
}

}  // namespace qcm

#endif  // QCM_TOOLS_EXPORT_TABLE_HPP
