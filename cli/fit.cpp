// korb fit: a spline through the columns of a data file, printed as its coefficients, or
// evaluated at sites, or integrated.
//
//   korb fit FILE [--spline KIND] [--bc not-a-knot|free|periodic]
//                 [--left first|second=VALUE] [--right first|second=VALUE]
//                 [--at SITES [--derivative K[,K...]] | --integrate A,B ...]
#include <korb/korb.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "commands.h"

namespace korb::cli {
namespace {

constexpr NamedStatus kStatuses[] = {
    {DF_ERROR_NULL_TASK, "DF_ERROR_NULL_TASK"},
    {DF_ERROR_MEM_FAILURE, "DF_ERROR_MEM_FAILURE"},
    {DF_ERROR_BAD_NX, "DF_ERROR_BAD_NX"},
    {DF_ERROR_NULL_X, "DF_ERROR_NULL_X"},
    {DF_ERROR_BAD_XHINT, "DF_ERROR_BAD_XHINT"},
    {DF_ERROR_BAD_NY, "DF_ERROR_BAD_NY"},
    {DF_ERROR_NULL_Y, "DF_ERROR_NULL_Y"},
    {DF_ERROR_BAD_YHINT, "DF_ERROR_BAD_YHINT"},
    {DF_ERROR_BAD_SPLINE_ORDER, "DF_ERROR_BAD_SPLINE_ORDER"},
    {DF_ERROR_BAD_SPLINE_TYPE, "DF_ERROR_BAD_SPLINE_TYPE"},
    {DF_ERROR_BAD_BC_TYPE, "DF_ERROR_BAD_BC_TYPE"},
    {DF_ERROR_NULL_BC, "DF_ERROR_NULL_BC"},
    {DF_ERROR_BAD_IC_TYPE, "DF_ERROR_BAD_IC_TYPE"},
    {DF_ERROR_NULL_IC, "DF_ERROR_NULL_IC"},
    {DF_ERROR_NULL_COEFF, "DF_ERROR_NULL_COEFF"},
    {DF_ERROR_BAD_COEFF_HINT, "DF_ERROR_BAD_COEFF_HINT"},
    {DF_ERROR_BAD_PARAM_ID, "DF_ERROR_BAD_PARAM_ID"},
    {DF_ERROR_BAD_FUNC_INDEX, "DF_ERROR_BAD_FUNC_INDEX"},
    {DF_ERROR_BAD_FORMAT, "DF_ERROR_BAD_FORMAT"},
    {DF_ERROR_BAD_METHOD, "DF_ERROR_BAD_METHOD"},
    {DF_ERROR_BAD_PARTITION, "DF_ERROR_BAD_PARTITION"},
    {DF_ERROR_BAD_PERIODIC_VAL, "DF_ERROR_BAD_PERIODIC_VAL"},
    {DF_ERROR_TOO_FEW_POINTS, "DF_ERROR_TOO_FEW_POINTS"},
    {DF_ERROR_BAD_NSITE, "DF_ERROR_BAD_NSITE"},
    {DF_ERROR_NULL_SITE, "DF_ERROR_NULL_SITE"},
    {DF_ERROR_BAD_SITE_HINT, "DF_ERROR_BAD_SITE_HINT"},
    {DF_ERROR_NULL_CELL, "DF_ERROR_NULL_CELL"},
    {DF_ERROR_BAD_INTERP_TYPE, "DF_ERROR_BAD_INTERP_TYPE"},
    {DF_ERROR_BAD_NDORDER, "DF_ERROR_BAD_NDORDER"},
    {DF_ERROR_NULL_DORDER, "DF_ERROR_NULL_DORDER"},
    {DF_ERROR_NULL_RESULT, "DF_ERROR_NULL_RESULT"},
    {DF_ERROR_BAD_RESULT_HINT, "DF_ERROR_BAD_RESULT_HINT"},
    {DF_ERROR_BAD_NLIM, "DF_ERROR_BAD_NLIM"},
    {DF_ERROR_NULL_LLIM, "DF_ERROR_NULL_LLIM"},
    {DF_ERROR_BAD_LLIM_HINT, "DF_ERROR_BAD_LLIM_HINT"},
    {DF_ERROR_NULL_RLIM, "DF_ERROR_NULL_RLIM"},
    {DF_ERROR_BAD_RLIM_HINT, "DF_ERROR_BAD_RLIM_HINT"},
};

struct Spline {
    const char *name;
    int64_t order, type;
    int64_t default_bc;
};

constexpr Spline kSplines[] = {
    {"linear", DF_PP_LINEAR, DF_PP_DEFAULT, DF_BC_NONE},
    {"quadratic", DF_PP_QUADRATIC, DF_PP_DEFAULT, DF_BC_NONE},
    {"subbotin", DF_PP_QUADRATIC, DF_PP_SUBBOTIN, DF_BC_NOT_A_KNOT},
    {"natural", DF_PP_CUBIC, DF_PP_NATURAL, DF_BC_NOT_A_KNOT},
    {"hermite", DF_PP_CUBIC, DF_PP_HERMITE, DF_BC_NONE},
    {"bessel", DF_PP_CUBIC, DF_PP_BESSEL, DF_BC_NONE},
    {"akima", DF_PP_CUBIC, DF_PP_AKIMA, DF_BC_NONE},
};

void print_help() {
    std::puts(
        "usage: korb fit FILE [--spline KIND] [--bc not-a-knot|free|periodic]\n"
        "                [--left first|second=VALUE] [--right first|second=VALUE]\n"
        "                [--at SITES [--derivative K[,K...]] | --integrate A,B ...]\n"
        "Builds a spline through the data in FILE ('-' for standard input) and prints its\n"
        "coefficients. Each line of FILE holds one point: x, then one value per function\n"
        "(whitespace-separated); for --spline hermite a value and a first derivative per\n"
        "function. The x column must increase strictly.\n"
        "KIND: linear, quadratic (C1, knots at the points), subbotin (quadratic, knots halfway\n"
        "between the points), natural (C2 cubic, the default), hermite, bessel, akima.\n"
        "Conditions at the ends: --bc not-a-knot (the default of natural and subbotin), free\n"
        "(second derivative 0) or periodic (the first and last values must be equal); or a\n"
        "first or second derivative at each end with --left and --right (the quadratic takes\n"
        "--left only, and without it the parabola through the first three points).\n"
        "Output: one line per cell: function, cell, the cell's left knot, then the\n"
        "coefficients c0 c1 ... of the polynomial sum c_k (t - knot)^k on the cell.\n"
        "--at SITES evaluates the spline instead: SITES is a comma-separated list of numbers,\n"
        "or FIRST:LAST:COUNT for COUNT sites placed evenly from FIRST to LAST. One line per\n"
        "site: the site, its cell (the number of points at or below it), then for each\n"
        "function the derivatives that --derivative lists (0, the value, by default; a\n"
        "comma-separated list of orders below the spline's order), lowest first. Outside the\n"
        "points the end cells' polynomials go on.\n"
        "--integrate A,B (repeatable) prints A, B and the integral from A to B of each\n"
        "function instead (negative when B < A).");
}

// A comma-separated list of numbers, each the whole of its field.
bool parse_numbers(const char *s, std::vector<double> *out) {
    for (;;) {
        char *end = nullptr;
        errno = 0;
        const double v = std::strtod(s, &end);
        if (end == s || errno != 0 || (*end != ',' && *end != '\0')) return false;
        out->push_back(v);
        if (*end == '\0') return true;
        s = end + 1;
    }
}

// SITES of --at: a list, or FIRST:LAST:COUNT, which gives the two ends and sets *count.
bool parse_sites(const char *s, std::vector<double> *sites, long long *count) {
    const char *colon = std::strchr(s, ':');
    if (colon == nullptr) {
        *count = -1;
        return parse_numbers(s, sites);
    }
    const char *second = std::strchr(colon + 1, ':');
    if (second == nullptr) return false;
    const std::string first(s, static_cast<size_t>(colon - s));
    const std::string last(colon + 1, static_cast<size_t>(second - colon - 1));
    std::vector<double> ends;
    return parse_numbers(first.c_str(), &ends) && parse_numbers(last.c_str(), &ends) &&
           ends.size() == 2 && parse_integer(second + 1, 1, 1LL << 40, count) &&
           (sites->assign(ends.begin(), ends.end()), true);
}

// Prints the spline's values at the sites, or its integrals; returns the library status.
int64_t evaluate(DfTask *task, int64_t ny, const std::vector<double> &sites, long long count,
                 const std::vector<int64_t> &dorder, const std::vector<double> &limits,
                 const char **where) {
    if (!limits.empty()) {
        const int64_t n = static_cast<int64_t>(limits.size()) / 2;
        std::vector<double> left(n), right(n), r(n * ny);
        for (int64_t k = 0; k < n; ++k) {
            left[k] = limits[2 * k];
            right[k] = limits[2 * k + 1];
        }
        *where = "korb_df_dIntegrate1D";
        const int64_t status =
            korb_df_dIntegrate1D(task, DF_METHOD_STD, n, left.data(), DF_SITES_ANY,
                                        right.data(), DF_SITES_ANY, r.data(), DF_R_SITE_FUNC_DER);
        if (status != DF_STATUS_OK) return status;
        for (int64_t k = 0; k < n; ++k) {
            std::printf("%.17g %.17g", left[k], right[k]);
            for (int64_t i = 0; i < ny; ++i) std::printf(" %.17g", r[k * ny + i]);
            std::putchar('\n');
        }
        return DF_STATUS_OK;
    }
    const bool uniform = count >= 0;
    const int64_t n = uniform ? count : static_cast<int64_t>(sites.size());
    int64_t nd = 0;
    for (int64_t d : dorder) nd += d != 0 ? 1 : 0;
    std::vector<double> r(static_cast<size_t>(n * ny * nd));
    std::vector<int64_t> cell(n);
    *where = "korb_df_dInterpolate1D";
    const int64_t status = korb_df_dInterpolate1D(
        task, DF_INTERP_VALUES | DF_INTERP_CELLS, DF_METHOD_STD, n, sites.data(),
        uniform ? DF_SITES_UNIFORM : DF_SITES_ANY, static_cast<int64_t>(dorder.size()),
        dorder.data(), r.data(), DF_R_SITE_FUNC_DER, cell.data());
    if (status != DF_STATUS_OK) return status;
    const double h = n > 1 && uniform ? (sites[1] - sites[0]) / static_cast<double>(n - 1) : 0.0;
    for (int64_t j = 0; j < n; ++j) {
        // The sites as the library places them from the two ends.
        const double site = !uniform     ? sites[j]
                            : j == 0     ? sites[0]
                            : j == n - 1 ? sites[1]
                                         : sites[0] + static_cast<double>(j) * h;
        std::printf("%.17g %lld", site, static_cast<long long>(cell[j]));
        for (int64_t v = 0; v < ny * nd; ++v) std::printf(" %.17g", r[j * ny * nd + v]);
        std::putchar('\n');
    }
    return DF_STATUS_OK;
}

// Whitespace-separated numbers, the same count on every non-empty line.
int read_columns(std::FILE *f, const char *name, std::vector<double> *v, int64_t *width) {
    std::string line;
    long long line_no = 0;
    *width = -1;
    int c = 0;
    while (c != EOF) {
        line.clear();
        while ((c = std::fgetc(f)) != EOF && c != '\n') line.push_back(static_cast<char>(c));
        ++line_no;
        int64_t count = 0;
        for (const char *s = line.c_str();;) {
            while (*s == ' ' || *s == '\t' || *s == '\r') ++s;
            if (*s == '\0') break;
            char *end = nullptr;
            const double x = std::strtod(s, &end);
            if (end == s || (*end != '\0' && *end != ' ' && *end != '\t' && *end != '\r')) {
                std::fprintf(stderr, "korb: fit: %s:%lld: not a number '%.*s'\n", name, line_no,
                             static_cast<int>(std::strcspn(s, " \t\r")), s);
                return kExitUsage;
            }
            v->push_back(x);
            ++count;
            s = end;
        }
        if (count == 0) continue;
        if (*width < 0) *width = count;
        if (count != *width) {
            std::fprintf(stderr, "korb: fit: %s:%lld: expected %lld numbers, got %lld\n", name,
                         line_no, static_cast<long long>(*width), static_cast<long long>(count));
            return kExitUsage;
        }
    }
    if (std::ferror(f)) {
        std::fprintf(stderr, "korb: fit: %s: read error\n", name);
        return kExitUsage;
    }
    return 0;
}

// "first=VALUE" or "second=VALUE": whether it is a second derivative, and the value.
bool parse_end(const char *s, bool *second, double *value) {
    const char *eq = std::strchr(s, '=');
    if (eq == nullptr) return false;
    const std::string_view kind(s, static_cast<size_t>(eq - s));
    if (kind != "first" && kind != "second") return false;
    *second = kind == "second";
    char *end = nullptr;
    errno = 0;
    *value = std::strtod(eq + 1, &end);
    return end != eq + 1 && *end == '\0' && errno == 0;
}

}  // namespace

int cmd_fit(int argc, char **argv) {
    if (wants_help(argc, argv)) {
        print_help();
        return 0;
    }
    const char *file = nullptr;
    const Spline *spline = &kSplines[3];
    const char *bc_name = nullptr;
    bool left_given = false, right_given = false, left_second = false, right_second = false;
    double bc[2] = {0, 0};
    const char *at = nullptr, *derivative = nullptr;
    std::vector<double> sites, limits;
    long long count = -1;
    std::vector<int64_t> dorder = {1};
    for (int i = 0; i < argc; ++i) {
        const std::string_view opt = argv[i];
        if (opt == "--spline" || opt == "--bc" || opt == "--left" || opt == "--right" ||
            opt == "--at" || opt == "--derivative" || opt == "--integrate") {
            if (i + 1 >= argc) return usage_error("fit: missing value after", argv[i]);
            const char *v = argv[++i];
            if (opt == "--at") {
                sites.clear();
                if (!parse_sites(v, &sites, &count)) {
                    return usage_error(
                        "fit: --at takes numbers separated by commas or "
                        "FIRST:LAST:COUNT, got",
                        v);
                }
                at = v;
            } else if (opt == "--derivative") {
                std::vector<double> orders;
                dorder.clear();
                if (!parse_numbers(v, &orders)) {
                    return usage_error("fit: --derivative takes orders separated by commas, got",
                                       v);
                }
                for (double k : orders) {
                    if (!(k >= 0 && k <= 64 && k == static_cast<double>(static_cast<int>(k)))) {
                        return usage_error("fit: --derivative takes orders from 0 to 64, got", v);
                    }
                    const size_t q = static_cast<size_t>(k);
                    if (dorder.size() <= q) dorder.resize(q + 1, 0);
                    dorder[q] = 1;
                }
                derivative = v;
            } else if (opt == "--integrate") {
                std::vector<double> pair;
                if (!parse_numbers(v, &pair) || pair.size() != 2) {
                    return usage_error("fit: --integrate takes A,B, got", v);
                }
                limits.insert(limits.end(), pair.begin(), pair.end());
            } else if (opt == "--spline") {
                spline = nullptr;
                for (const Spline &s : kSplines) {
                    if (std::strcmp(v, s.name) == 0) spline = &s;
                }
                if (spline == nullptr) return usage_error("fit: unknown spline", v);
            } else if (opt == "--bc") {
                if (std::strcmp(v, "not-a-knot") != 0 && std::strcmp(v, "free") != 0 &&
                    std::strcmp(v, "periodic") != 0) {
                    return usage_error("fit: --bc takes not-a-knot, free or periodic, got", v);
                }
                bc_name = v;
            } else if (opt == "--left") {
                if (!parse_end(v, &left_second, &bc[0])) {
                    return usage_error("fit: --left takes first=VALUE or second=VALUE, got", v);
                }
                left_given = true;
            } else {
                if (!parse_end(v, &right_second, &bc[1])) {
                    return usage_error("fit: --right takes first=VALUE or second=VALUE, got", v);
                }
                right_given = true;
            }
        } else if (opt.size() > 1 && opt[0] == '-') {
            return usage_error("fit: unknown option", argv[i]);
        } else if (file != nullptr) {
            return usage_error("fit: more than one file, got", argv[i]);
        } else {
            file = argv[i];
        }
    }
    if (file == nullptr) return usage_error("fit: missing", "FILE");
    if (derivative != nullptr && at == nullptr) {
        return usage_error("fit: --derivative needs --at, got --derivative", derivative);
    }
    if (at != nullptr && !limits.empty()) {
        return usage_error("fit: --at and --integrate exclude each other, got --at", at);
    }
    if (bc_name != nullptr && (left_given || right_given)) {
        return usage_error("fit: --bc and --left/--right exclude each other, got --bc", bc_name);
    }
    const bool quadratic = spline->order == DF_PP_QUADRATIC && spline->type == DF_PP_DEFAULT;
    if (left_given != right_given && !(quadratic && left_given)) {
        return usage_error("fit: give both --left and --right, or neither; got only",
                           left_given ? "--left" : "--right");
    }
    int64_t bc_type = spline->default_bc;
    if (bc_name != nullptr) {
        bc_type = std::strcmp(bc_name, "periodic") == 0 ? DF_BC_PERIODIC
                  : std::strcmp(bc_name, "free") == 0   ? DF_BC_FREE_END
                                                        : DF_BC_NOT_A_KNOT;
    }
    if (left_given) {
        bc_type = DF_BC_VALUES | (left_second ? DF_BC_2ND_LEFT : 0) |
                  (right_second ? DF_BC_2ND_RIGHT : 0);
    }

    const bool stdin_file = std::strcmp(file, "-") == 0;
    std::FILE *f = stdin_file ? stdin : std::fopen(file, "r");
    if (f == nullptr) {
        std::fprintf(stderr, "korb: fit: %s: %s\n", file, std::strerror(errno));
        return kExitUsage;
    }
    std::vector<double> data;
    int64_t width = 0;
    const int read = read_columns(f, file, &data, &width);
    if (!stdin_file) std::fclose(f);
    if (read != 0) return read;
    const bool hermite = spline->type == DF_PP_HERMITE && spline->order == DF_PP_CUBIC;
    if (width < 2 || (hermite && (width - 1) % 2 != 0)) {
        std::fprintf(stderr, "korb: fit: %s: expected x and %s per line\n", file,
                     hermite ? "pairs of value and derivative" : "one value per function");
        return kExitUsage;
    }

    // Columns into a partition and function-major values (and derivatives).
    const int64_t nx = static_cast<int64_t>(data.size()) / width;
    const int64_t ny = hermite ? (width - 1) / 2 : width - 1;
    std::vector<double> x(nx), y(nx * ny), d(hermite ? nx * ny : 0);
    for (int64_t j = 0; j < nx; ++j) {
        const double *row = &data[j * width];
        x[j] = row[0];
        for (int64_t i = 0; i < ny; ++i) {
            y[i * nx + j] = hermite ? row[1 + 2 * i] : row[1 + i];
            if (hermite) d[i * nx + j] = row[2 + 2 * i];
        }
    }
    const bool subbotin = spline->order == DF_PP_QUADRATIC && spline->type == DF_PP_SUBBOTIN;
    const int64_t cells = subbotin ? nx : nx - 1;
    std::vector<double> c(static_cast<size_t>(cells > 0 ? cells * spline->order * ny : 1));

    DfTask *task = nullptr;
    int64_t status = korb_df_dNewTask1D(&task, nx, x.data(), DF_NO_HINT, ny, y.data(), DF_NO_HINT);
    const char *where = "korb_df_dNewTask1D";
    if (status == DF_STATUS_OK) {
        where = "korb_df_dEditPPSpline1D";
        status =
            korb_df_dEditPPSpline1D(task, spline->order, spline->type, hermite ? DF_IC_1ST_DER : 0,
                                    hermite ? d.data() : nullptr, bc_type,
                                    bc_type == DF_BC_NONE ? nullptr : bc, c.data(), DF_NO_HINT);
    }
    if (status == DF_STATUS_OK) {
        where = "korb_df_dConstruct1D";
        status = korb_df_dConstruct1D(task, DF_PP_SPLINE, DF_METHOD_STD);
    }
    const bool evaluating = at != nullptr || !limits.empty();
    if (status == DF_STATUS_OK && evaluating) {
        status = evaluate(task, ny, sites, count, dorder, limits, &where);
    }
    if (task != nullptr) korb_df_DeleteTask(&task);
    if (status != DF_STATUS_OK) {
        const std::string what = std::string("fit: ") + where;
        return library_error(what.c_str(), static_cast<int>(status), kStatuses);
    }
    if (evaluating) return std::fflush(stdout) == 0 ? 0 : kExitStatus;
    for (int64_t i = 0; i < ny; ++i) {
        for (int64_t j = 0; j < cells; ++j) {
            const double knot = !subbotin || j == 0 ? x[j] : 0.5 * x[j - 1] + 0.5 * x[j];
            std::printf("%lld %lld %.17g", static_cast<long long>(i), static_cast<long long>(j),
                        knot);
            const double *cj = &c[(i * cells + j) * spline->order];
            for (int64_t k = 0; k < spline->order; ++k) std::printf(" %.17g", cj[k]);
            std::putchar('\n');
        }
    }
    return std::fflush(stdout) == 0 ? 0 : kExitStatus;
}

}  // namespace korb::cli
