// Matrix exports on the command line.
#include <iostream>

#include "commands.hpp"

namespace qcm {

int call_matrix_export(const ExportInfo& info, void*, const std::vector<std::string>&) {
    std::cerr << "qcm: " << info.name << " takes matrices; fit a model with 'qcm ols FILE.csv'\n";
    return 2;
}

}  // namespace qcm
