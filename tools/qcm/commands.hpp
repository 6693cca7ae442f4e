// Subcommands of qcm beyond "qcm <Export> <args...>": each family may add its
// own (for example "ols FILE.csv" or "table tukey") by registering it from
// its own source file.
#ifndef QCM_QCM_COMMANDS_HPP
#define QCM_QCM_COMMANDS_HPP

#include <string>
#include <vector>

#include "common/export_table.hpp"

namespace qcm {

struct Command {
    const char* name;                                  // "ols", or "table:tukey" for "qcm table tukey"
    const char* usage;                                 // one line for the help text
    int (*run)(const std::vector<std::string>& args);  // exit status
    void (*demo)();                                    // extra lines for "qcm demo", or nullptr
};

std::vector<Command>& commands();

struct RegisterCommand {
    explicit RegisterCommand(const Command& c) { commands().push_back(c); }
};

// Usage errors exit with status 2 after naming the culprit.
[[noreturn]] void usage_error(const std::string& message);

// Argument parsing shared by the subcommands; each calls usage_error on bad input.
double parse_double(const std::string& text, const char* what);
int parse_int(const std::string& text, const char* what);
bool parse_flag(const std::string& text, const char* what);

// Formats a double at 17 significant digits ("nan", "inf", "-inf").
std::string format_double(double x);

// Calls a matrix export with its arguments given on the command line.
int call_matrix_export(const ExportInfo& info, void* fn, const std::vector<std::string>& args);

}  // namespace qcm

#endif  // QCM_QCM_COMMANDS_HPP
