// qcm: evaluates any export of the library from the command line.
//
//   qcm <Export> <args...>   call one export, print its value and errno or exception
//   qcm list                 every export with its signature and whether it is built
//   qcm demo                 representative calls of each family
//   qcm <command> ...        family commands (see "qcm help")
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "QuillonCoreMath.h"
#include "commands.hpp"
#include "common/outcome.hpp"
#include "common/scalar_call.hpp"
#include "common/symbols.hpp"

namespace qcm {

std::vector<Command>& commands() {
    static std::vector<Command> list;
    return list;
}

void usage_error(const std::string& message) {
    std::cerr << "qcm: " << message << "\n";
    std::exit(2);
}

std::string format_double(double x) {
    if (std::isnan(x)) return "nan";
    if (std::isinf(x)) return x < 0 ? "-inf" : "inf";
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.17g", x);
    return buf;
}

double parse_double(const std::string& text, const char* what) {
    if (text == "nan" || text == "NaN") return std::nan("");
    if (text == "inf" || text == "+inf") return HUGE_VAL;
    if (text == "-inf") return -HUGE_VAL;
    char* end = nullptr;
    errno = 0;
    double v = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0' || std::isnan(v) || (std::isinf(v) && errno != ERANGE))
        usage_error(std::string("argument '") + what + "': not a number: '" + text + "'");
    return v;  // an out-of-range literal becomes +-inf or a denormal/0, as strtod reads it
}

int parse_int(const std::string& text, const char* what) {
    char* end = nullptr;
    errno = 0;
    long long v = std::strtoll(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || errno == ERANGE || v < INT32_MIN || v > INT32_MAX)
        usage_error(std::string("argument '") + what + "': not a 32-bit integer: '" + text + "'");
    return static_cast<int>(v);
}

bool parse_flag(const std::string& text, const char* what) {
    if (text == "true" || text == "1") return true;
    if (text == "false" || text == "0") return false;
    usage_error(std::string("argument '") + what + "': not a flag (true/false/0/1): '" + text + "'");
}

namespace {

std::vector<std::string> split(const std::string& s, char sep) {
    std::vector<std::string> out;
    std::string item;
    std::istringstream in(s);
    while (std::getline(in, item, sep))
        if (!item.empty() || sep != ' ') out.push_back(item);
    return out;
}

std::string signature_text(const ExportInfo& e) {
    static const char* const kinds[][2] = {{"d", "double"},      {"b", "flag"},          {"i", "int"},
                                           {"o", "double* out"}, {"l", "const double*"}, {"m", "matrix"},
                                           {"j", "int* pivots"}, {"c", "const char*"}};
    const char* letters = std::strchr(e.signature, ':') + 1;
    std::vector<std::string> names = split(e.params, ' ');
    std::string text = std::string(e.name) + "(";
    for (std::size_t i = 0; letters[i]; ++i) {
        const char* kind = "?";
        for (auto& k : kinds)
            if (k[0][0] == letters[i]) kind = k[1];
        if (i) text += ", ";
        text += std::string(kind) + " " + (i < names.size() ? names[i] : "?");
    }
    text += e.signature[0] == 'd' ? ") -> double" : ") -> int";
    return text;
}

std::vector<Arg> parse_scalar_args(const ExportInfo& e, const std::vector<std::string>& args,
                                   std::vector<std::string>& out_names) {
    const char* letters = std::strchr(e.signature, ':') + 1;
    std::vector<std::string> names = split(e.params, ' ');
    std::size_t inputs = 0;
    for (const char* p = letters; *p; ++p) inputs += *p != 'o';
    if (args.size() != inputs)
        usage_error(std::string(e.name) + " takes " + std::to_string(inputs) + " arguments (" + signature_text(e) +
                    "), got " + std::to_string(args.size()));
    std::vector<Arg> parsed;
    std::size_t next = 0;
    for (std::size_t i = 0; letters[i]; ++i) {
        Arg a;
        const char* name = names[i].c_str();
        switch (letters[i]) {
            case 'd':
                a.d = parse_double(args[next++], name);
                break;
            case 'i':
                a.i = parse_int(args[next++], name);
                break;
            case 'b':
                a.b = parse_flag(args[next++], name) ? 1 : 0;
                break;
            case 'l':
                for (const std::string& item : split(args[next++], ',')) a.list.push_back(parse_double(item, name));
                if (a.list.empty()) usage_error(std::string("argument '") + name + "': empty list");
                break;
            case 'o':
                out_names.push_back(names[i]);
                break;
            default:
                usage_error(std::string(e.name) + ": unsupported argument kind");
        }
        parsed.push_back(a);
    }
    return parsed;
}

int run_export(const ExportInfo& e, const std::vector<std::string>& args) {
    void* fn = find_symbol(e.name);
    if (!fn) {
        std::cerr << "qcm: " << e.name << " is not built into this library yet\n";
        return 2;
    }
    if (std::strchr(e.signature, 'm')) return call_matrix_export(e, fn, args);
    std::vector<std::string> out_names;
    std::vector<Arg> parsed = parse_scalar_args(e, args, out_names);
    double outs[2] = {std::nan(""), std::nan("")};
    Outcome r = capture([&] { return call_scalar(e.signature, fn, parsed, outs); });
    if (r.threw) {
        std::cout << r.type << ": " << r.message << "\n";
        return 1;
    }
    std::cout << format_double(r.value) << "\n";
    for (std::size_t i = 0; i < out_names.size(); ++i)
        std::cout << out_names[i] << "=" << format_double(outs[i]) << "\n";
    if (r.err) std::cout << "errno=" << errno_name(r.err) << "\n";
    return 0;
}

void print_list() {
    std::size_t built = 0;
    for (const ExportInfo& e : kExports) {
        bool present = find_symbol(e.name) != nullptr;
        built += present;
        std::printf("%-26s %-18s %-7s %-9s %s\n", e.name, e.family, e.errors, present ? "built" : "not built",
                    signature_text(e).c_str());
    }
    std::printf("%zu of %zu exports built\n", built, kExportCount);
}

void demo() {
    std::printf("Quillon Core Math: representative calls of each family\n");
    const char* family = "";
    for (const ExportInfo& e : kExports) {
        if (!*e.example || std::strchr(e.signature, 'm') || !find_symbol(e.name)) continue;
        if (std::strcmp(family, e.family) != 0) {
            family = e.family;
            std::printf("\n[%s]\n", family);
        }
        std::vector<std::string> args = split(e.example, ' ');
        std::vector<std::string> out_names;
        std::vector<Arg> parsed = parse_scalar_args(e, args, out_names);
        double outs[2] = {std::nan(""), std::nan("")};
        Outcome r = capture([&] { return call_scalar(e.signature, find_symbol(e.name), parsed, outs); });
        std::string call = std::string(e.name) + " " + e.example;
        if (r.threw)
            std::printf("  %-62s %s: %s\n", call.c_str(), r.type.c_str(), r.message.c_str());
        else
            std::printf("  %-62s = %s%s%s\n", call.c_str(), format_double(r.value).c_str(), r.err ? "  errno=" : "",
                        r.err ? errno_name(r.err) : "");
    }
    for (const Command& c : commands())
        if (c.demo) c.demo();
}

void help() {
    std::printf(
        "usage:\n"
        "  qcm <Export> <args...>   evaluate one export (doubles accept nan, inf, -inf;\n"
        "                           flags true/false/0/1; lists are comma separated)\n"
        "  qcm list                 all exports with their signatures\n"
        "  qcm demo                 representative calls of each family\n");
    for (const Command& c : commands()) std::printf("  %s\n", c.usage);
}

}  // namespace
}  // namespace qcm

int main(int argc, char** argv) {
    using namespace qcm;
    // Keeps the library loaded so its exports can be found by name.
    volatile auto keep = &NormalCDF;
    (void)keep;
    if (argc < 2) {
        help();
        return 2;
    }
    std::string first = argv[1];
    std::vector<std::string> rest(argv + 2, argv + argc);
    if (first == "help" || first == "--help" || first == "-h") {
        help();
        return 0;
    }
    if (first == "list") {
        print_list();
        return 0;
    }
    if (first == "demo") {
        demo();
        return 0;
    }
    std::string key = first;
    if (first == "table" && !rest.empty()) {
        key += ":" + rest.front();
        rest.erase(rest.begin());
    }
    for (const Command& c : commands())
        if (key == c.name) return c.run(rest);
    if (const ExportInfo* e = find_export(first.c_str())) return run_export(*e, rest);
    usage_error("unknown export or command '" + first + "' (try 'qcm list' or 'qcm help')");
}
