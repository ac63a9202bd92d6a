// Writes include/korb/vm_functions.h, the declarations of v<p><Func> and vm<p><Func> for every
// built function of vecmath/functions.def, so that the public header follows the list as
// libkorb's generated entry points do. With --check FILE it compares FILE with what it would
// write instead (a test runs that; `make vm-header` rewrites the file).
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "tools/emit_or_check.h"

namespace {

struct Line {
    char p;
    const char *name;
    const char *kind;
    const char *result;
    bool built;
};

#define KORB_ARQ_FUNCTION(p, F, kind, result, slots, built, costs, bounds, reference, libm, \
                          domains)                                                          \
    {(#p)[0], #F, #kind, #result, built != 0},
constexpr Line kLines[] = {
#include "vecmath/functions.def"
};
#undef KORB_ARQ_FUNCTION

// The element and real types of a precision.
const char *element(char p) {
    switch (p) {
        case 's':
            return "float";
        case 'd':
            return "double";
        case 'c':
            return "ArqComplex8";
        default:
            return "ArqComplex16";
    }
}
const char *real(char p) {
    return p == 's' || p == 'c' ? "float" : "double";
}

// The parameter list of a kind, without the parentheses.
std::string params(const Line &l) {
    const std::string T = element(l.p), R = real(l.p), k = l.kind;
    if (k == "one") return "int n, const " + T + " *a, " + T + " *r";
    if (k == "two") return "int n, const " + T + " *a, const " + T + " *b, " + T + " *r";
    if (k == "scalar") return "int n, const " + T + " *a, " + T + " b, " + T + " *r";
    if (k == "pair") return "int n, const " + T + " *a, " + T + " *r1, " + T + " *r2";
    if (k == "to_real") return "int n, const " + T + " *a, " + R + " *r";
    if (k == "from_real") return "int n, const " + R + " *a, " + T + " *r";
    if (k == "pack_stride")
        return "int n, const " + T + " *a, int64_t stride, " + T + " *r, int flag";
    if (k == "pack_vector")
        return "int n, const " + T + " *a, const int64_t *selector, " + T + " *r, int flag";
    if (k == "unpack_stride")
        return "int n, const " + T + " *a, " + T + " *r, int64_t stride, int flag";
    if (k == "unpack_vector")
        return "int n, const " + T + " *a, " + T + " *r, const int64_t *selector, int flag";
    if (k == "linear_frac")
        return "int n, const " + T + " *a, const " + T + " *b, " + T + " scalea, " + T +
               " shifta, " + T + " scaleb, " + T + " shiftb, " + T + " *r";
    return "";
}

// Wraps a declaration at 100 columns, continuation lines indented by four.
void emit(std::string &out, const std::string &decl) {
    if (decl.size() <= 100) {
        out += decl + "\n";
        return;
    }
    std::size_t cut = decl.rfind(", ", 98);
    out += decl.substr(0, cut + 1) + "\n";
    std::string rest = "    " + decl.substr(cut + 2);
    emit(out, rest);
}

std::string make() {
    std::string out =
        "/*\n"
        " * korb: the vector-math functions, v<p><Func> and vm<p><Func> of every function built.\n"
        " * Included by korb/vm.h, which explains the calls, the mode word and the statuses; what "
        "each\n"
        " * function computes and its accuracy are in the README, its special values and statuses "
        "in\n"
        " * docs/vecmath-special-values.md.\n"
        " *\n"
        " * Generated from the function list by tools/gen_vm_header; do not edit.\n"
        " */\n"
        "#ifndef KORB_VM_FUNCTIONS_H\n"
        "#define KORB_VM_FUNCTIONS_H\n\n"
        "#include <stdint.h>\n\n"
        "#include \"vm_types.h\"\n\n"
        "#ifdef __cplusplus\nextern \"C\" {\n#endif\n";
    // Grouped by function, in the list's order of first appearance.
    std::vector<std::string> order;
    std::map<std::string, std::vector<const Line *>> groups;
    for (const Line &l : kLines) {
        if (!l.built) continue;
        if (!groups.count(l.name)) order.push_back(l.name);
        groups[l.name].push_back(&l);
    }
    for (const std::string &name : order) {
        out += "\n/* " + name + " */\n";
        for (const Line *l : groups[name]) {
            const std::string p(1, l->p), pr = params(*l);
            emit(out, std::string("KORB_API ") + l->result + " v" + p + name + "(" + pr + ");");
            emit(out, std::string("KORB_API ") + l->result + " vm" + p + name + "(" + pr +
                          ", unsigned int mode);");
        }
    }
    out += "\n#ifdef __cplusplus\n}\n#endif\n\n#endif /* KORB_VM_FUNCTIONS_H */\n";
    return out;
}

}  // namespace

int main(int argc, char **argv) {
    return emit_or_check("gen_vm_header", "vm-header", make(), argc, argv);
}
