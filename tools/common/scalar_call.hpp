// Calls a scalar export (no matrices) through a pointer of its exact C type,
// chosen by the signature letters of the table of exports.
#ifndef QCM_TOOLS_SCALAR_CALL_HPP
#define QCM_TOOLS_SCALAR_CALL_HPP

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "export_table.hpp"

namespace qcm {

// One argument, held in the form its signature letter asks for.
struct Arg {
    double d = 0;
    std::int32_t i = 0;
    unsigned char b = 0;
    std::vector<double> list;
};

// Outputs ('o' arguments) are written to outs[0] and outs[1]. A list shorter
// than the k (second argument) the multiple-comparison exports read is padded
// with its last value.
inline double call_scalar(const std::string& sig, void* fn, const std::vector<Arg>& a, double* outs) {
    using D = double;
    using B = unsigned char;
    using I = std::int32_t;
#define QCM_AS(...) reinterpret_cast<double (*)(__VA_ARGS__)>(fn)
    if (sig == "d:d") return QCM_AS(D)(a[0].d);
    if (sig == "d:dd") return QCM_AS(D, D)(a[0].d, a[1].d);
    if (sig == "d:ddd") return QCM_AS(D, D, D)(a[0].d, a[1].d, a[2].d);
    if (sig == "d:dddd") return QCM_AS(D, D, D, D)(a[0].d, a[1].d, a[2].d, a[3].d);
    if (sig == "d:ddb") return QCM_AS(D, D, B)(a[0].d, a[1].d, a[2].b);
    if (sig == "d:dddb") return QCM_AS(D, D, D, B)(a[0].d, a[1].d, a[2].d, a[3].b);
    if (sig == "d:ddddb") return QCM_AS(D, D, D, D, B)(a[0].d, a[1].d, a[2].d, a[3].d, a[4].b);
    if (sig == "d:dddbi") return QCM_AS(D, D, D, B, I)(a[0].d, a[1].d, a[2].d, a[3].b, a[4].i);
    if (sig == "d:dddi") return QCM_AS(D, D, D, I)(a[0].d, a[1].d, a[2].d, a[3].i);
    if (sig == "d:ddi") return QCM_AS(D, D, I)(a[0].d, a[1].d, a[2].i);
    if (sig == "d:dddoo") return QCM_AS(D, D, D, D*, D*)(a[0].d, a[1].d, a[2].d, &outs[0], &outs[1]);
    if (sig == "d:iiiidbd") return QCM_AS(I, I, I, I, D, B, D)(a[0].i, a[1].i, a[2].i, a[3].i, a[4].d, a[5].b, a[6].d);
    if (sig == "d:diiidbd") return QCM_AS(D, I, I, I, D, B, D)(a[0].d, a[1].i, a[2].i, a[3].i, a[4].d, a[5].b, a[6].d);
    if (sig == "d:iiidoo") return QCM_AS(I, I, I, D, D*, D*)(a[0].i, a[1].i, a[2].i, a[3].d, &outs[0], &outs[1]);
    if (sig == "d:didlb") {
        std::vector<double> lambda = a[3].list;
        if (lambda.empty()) lambda.push_back(0.0);
        if (a[1].i > 0 && lambda.size() < static_cast<std::size_t>(a[1].i)) lambda.resize(a[1].i, lambda.back());
        return QCM_AS(D, I, D, const D*, B)(a[0].d, a[1].i, a[2].d, lambda.data(), a[4].b);
    }
#undef QCM_AS
    throw std::invalid_argument("no scalar call for signature " + sig);
}

// The arguments of the table's example call of a scalar export (outputs
// included as empty slots), for the tests that start from a valid call.
inline std::vector<Arg> example_args(const ExportInfo& e) {
    std::vector<Arg> args;
    std::istringstream in(e.example);
    std::string token;
    for (const char* l = std::strchr(e.signature, ':') + 1; *l; ++l) {
        Arg a;
        if (*l != 'o') {
            in >> token;
            if (*l == 'd') a.d = std::strtod(token.c_str(), nullptr);
            if (*l == 'i') a.i = static_cast<std::int32_t>(std::strtol(token.c_str(), nullptr, 10));
            if (*l == 'b') a.b = token == "true" || token == "1";
            if (*l == 'l') {
                std::istringstream items(token);
                for (std::string item; std::getline(items, item, ',');)
                    a.list.push_back(std::strtod(item.c_str(), nullptr));
            }
        }
        args.push_back(a);
    }
    return args;
}

}  // namespace qcm

#endif  // QCM_TOOLS_SCALAR_CALL_HPP
