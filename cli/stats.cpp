// korb stats: summary statistics of a data file.
//
//   korb stats minmax FILE [--layout rows|cols] [--p P] [--binary]
//   korb stats basic FILE [--layout rows|cols] [--p P] [--binary] [--method twopass|onepass]
//   korb stats [quantiles] --quantiles Q1,Q2,... [FILE] [--stream EPS [--method zw|gk]]
//              [--layout rows|cols] [--p P] [--binary]
#include <korb/korb.h>

#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "commands.h"

namespace korb::cli {
namespace {

// A count as the library's 32-bit integers take it; beyond INT_MAX it becomes -1, which the
// library refuses with its status for a bad dimension or size.
template <class T>
int int_count(T count) {
    return count >= 0 && static_cast<unsigned long long>(count) <= INT_MAX ? static_cast<int>(count)
                                                                           : -1;
}

constexpr NamedStatus kStatuses[] = {
    {BIX_SS_ERROR_MEM_FAILURE, "BIX_SS_ERROR_MEM_FAILURE"},
    {BIX_SS_ERROR_BAD_DIMENSION, "BIX_SS_ERROR_BAD_DIMENSION"},
    {BIX_SS_ERROR_BAD_NOBS, "BIX_SS_ERROR_BAD_NOBS"},
    {BIX_SS_ERROR_BAD_STORAGE, "BIX_SS_ERROR_BAD_STORAGE"},
    {BIX_SS_ERROR_NULL_MEAN, "BIX_SS_ERROR_NULL_MEAN"},
    {BIX_SS_ERROR_NULL_MIN, "BIX_SS_ERROR_NULL_MIN"},
    {BIX_SS_ERROR_NULL_MAX, "BIX_SS_ERROR_NULL_MAX"},
    {BIX_SS_ERROR_NULL_COV, "BIX_SS_ERROR_NULL_COV"},
    {BIX_SS_ERROR_NULL_STORAGE, "BIX_SS_ERROR_NULL_STORAGE"},
    {BIX_SS_ERROR_BAD_METHOD, "BIX_SS_ERROR_BAD_METHOD"},
    {BIX_SS_ERROR_NULL_TASK, "BIX_SS_ERROR_NULL_TASK"},
    {BIX_SS_ERROR_NULL_QUANT_ORDERS, "BIX_SS_ERROR_NULL_QUANT_ORDERS"},
    {BIX_SS_ERROR_BAD_QUANT_ORDERS, "BIX_SS_ERROR_BAD_QUANT_ORDERS"},
    {BIX_SS_ERROR_NULL_QUANTILES, "BIX_SS_ERROR_NULL_QUANTILES"},
    {BIX_SS_ERROR_BAD_STREAM_EPSILON, "BIX_SS_ERROR_BAD_STREAM_EPSILON"},
    {BIX_SS_ERROR_BAD_STREAM_ORDERS, "BIX_SS_ERROR_BAD_STREAM_ORDERS"},
};

int library_error(const char *what, int status) {
    const std::string where = std::string("stats: ") + what;
    return cli::library_error(where.c_str(), status, kStatuses);
}

// A bad data file: one line naming the file (and line), exit 2 like a usage error.
int file_error(const std::string &where, const std::string &what) {
    std::fprintf(stderr, "korb: stats: %s: %s\n", where.c_str(), what.c_str());
    return kExitUsage;
}

struct Data {
    std::vector<double> x;
    long long p = 0;  // 0: take the shape from the lines
    bool rows = false;
};

// Whitespace-separated numbers (nan and inf included). Without --p each non-empty line is an
// observation (cols) or a variable (rows), and all lines must hold the same count.
int read_text(std::FILE *f, const char *name, Data *d) {
    std::string line;
    long long line_no = 0, width = -1, lines = 0;
    int c = 0;
    while (c != EOF) {
        line.clear();
        while ((c = std::fgetc(f)) != EOF && c != '\n') line.push_back(static_cast<char>(c));
        ++line_no;
        const std::string where = std::string(name) + ":" + std::to_string(line_no);
        long long count = 0;
        for (const char *s = line.c_str();;) {
            while (*s == ' ' || *s == '\t' || *s == '\r') ++s;
            if (*s == '\0') break;
            char *end = nullptr;
            errno = 0;
            const double v = std::strtod(s, &end);
            if (end == s || (*end != '\0' && *end != ' ' && *end != '\t' && *end != '\r')) {
                const char *stop = s + std::strcspn(s, " \t\r");
                return file_error(where, "not a number '" + std::string(s, stop) + "'");
            }
            d->x.push_back(v);
            ++count;
            s = end;
        }
        if (count == 0 || d->p != 0) continue;
        ++lines;
        if (width < 0) width = count;
        if (count != width) {
            return file_error(where, "expected " + std::to_string(width) + " numbers, got " +
                                         std::to_string(count));
        }
    }
    if (std::ferror(f)) return file_error(name, "read error");
    if (d->p == 0) d->p = d->rows ? lines : width;
    return 0;
}

int read_binary(std::FILE *f, const char *name, Data *d) {
    double buf[4096];
    size_t got;
    while ((got = std::fread(buf, sizeof buf[0], 4096, f)) > 0)
        d->x.insert(d->x.end(), buf, buf + got);
    if (std::ferror(f)) return file_error(name, "read error");
    long pos = std::ftell(f);
    if (pos >= 0 && pos % static_cast<long>(sizeof(double)) != 0) {
        return file_error(name, "size is not a whole number of doubles");
    }
    if (d->p == 0) d->p = 1;
    return 0;
}

void print_help() {
    std::puts(
        "usage: korb stats minmax FILE [--layout rows|cols] [--p P] [--binary]\n"
        "       korb stats basic FILE [--layout rows|cols] [--p P] [--binary]\n"
        "                             [--method twopass|onepass]\n"
        "       korb stats [quantiles] --quantiles Q1,Q2,... [FILE] [--layout rows|cols]\n"
        "                  [--p P] [--binary] [--stream EPS [--method zw|gk]]\n"
        "minmax prints the minimum and maximum of each variable of the data in FILE ('-'\n"
        "for standard input), one line per variable: its number, minimum, maximum.\n"
        "basic prints every basic estimate: the count, then one line per estimate with\n"
        "its name and one value per variable (mean, raw2 to raw4 the raw moments,\n"
        "central2 to central4 the central moments, central2 being the variance with\n"
        "n - 1, skewness, kurtosis (excess), variation, min, max), then the lines\n"
        "'covariance' and 'correlation', each followed by the rows of its matrix.\n"
        "--method picks the estimator's method: twopass (the default) or onepass.\n"
        "Text data are whitespace-separated numbers (nan and inf allowed). With --layout\n"
        "cols (the default) each line is one observation of all variables; with rows each\n"
        "line holds all observations of one variable. --p P reads the numbers as one\n"
        "sequence of P variables in that layout instead of by lines. --binary reads raw\n"
        "native doubles (one variable unless --p says otherwise). minmax ignores NaN\n"
        "observations (a variable of only NaNs prints inf and -inf); for basic a NaN\n"
        "makes its variable's estimates NaN.\n"
        "quantiles prints one line per variable: its number, then its quantile of each\n"
        "order Q (each in [0, 1]; the linear interpolation of numpy's and R's default;\n"
        "a variable with a NaN gets nan). FILE defaults to standard input. With --stream\n"
        "EPS the input is read in portions of about a million numbers and never held\n"
        "whole: each printed value is an observation whose rank is within EPS times the\n"
        "count of the exact quantile's, by Zhang and Wang's method (zw, the default) or\n"
        "Greenwald and Khanna's (gk); --stream needs --layout cols.");
}

// The data file and the options both actions share; method is set for basic only.
int load(int argc, char **argv, const char *action, Data *d, int *method) {
    const char *file = nullptr;
    bool binary = false;
    const std::string prefix = std::string("stats ") + action + ":";
    for (int i = 0; i < argc; ++i) {
        std::string_view opt = argv[i];
        if (opt == "--binary") {
            binary = true;
        } else if (opt == "--layout" || opt == "--p" || (method != nullptr && opt == "--method")) {
            if (i + 1 >= argc)
                return usage_error((prefix + " missing value after").c_str(), argv[i]);
            const char *v = argv[++i];
            if (opt == "--layout") {
                if (std::strcmp(v, "rows") != 0 && std::strcmp(v, "cols") != 0) {
                    return usage_error((prefix + " --layout takes rows or cols, got").c_str(), v);
                }
                d->rows = std::strcmp(v, "rows") == 0;
            } else if (opt == "--method") {
                if (std::strcmp(v, "twopass") != 0 && std::strcmp(v, "onepass") != 0) {
                    return usage_error((prefix + " --method takes twopass or onepass, got").c_str(),
                                       v);
                }
                *method = std::strcmp(v, "twopass") == 0 ? BIX_SS_METHOD_TWO_PASS
                                                         : BIX_SS_METHOD_ONE_PASS;
            } else {
                if (!parse_integer(v, 1, std::numeric_limits<int32_t>::max(), &d->p)) {
                    return usage_error((prefix + " bad value for --p:").c_str(), v);
                }
            }
        } else if (opt.size() > 1 && opt[0] == '-') {
            return usage_error((prefix + " unknown option").c_str(), argv[i]);
        } else if (file != nullptr) {
            return usage_error((prefix + " more than one file, got").c_str(), argv[i]);
        } else {
            file = argv[i];
        }
    }
    if (file == nullptr) return usage_error((prefix + " missing").c_str(), "FILE");

    const bool stdin_file = std::strcmp(file, "-") == 0;
    std::FILE *f = stdin_file ? stdin : std::fopen(file, binary ? "rb" : "r");
    if (f == nullptr) return file_error(file, std::strerror(errno));
    const int read = binary ? read_binary(f, file, d) : read_text(f, file, d);
    if (!stdin_file) std::fclose(f);
    if (read != 0) return read;
    if (d->x.empty()) return file_error(file, "no numbers");
    if (d->x.size() % static_cast<size_t>(d->p) != 0) {
        return file_error(file, std::to_string(d->x.size()) + " numbers do not divide into " +
                                    std::to_string(d->p) + " variables");
    }
    return 0;
}

int cmd_minmax(int argc, char **argv) {
    Data d;
    if (const int st = load(argc, argv, "minmax", &d, nullptr)) return st;
    const int p = int_count(d.p), n = int_count(d.x.size() / static_cast<size_t>(d.p));
    const int storage = d.rows ? BIX_SS_MATRIX_STORAGE_ROWS : BIX_SS_MATRIX_STORAGE_COLS;
    std::vector<double> lo(static_cast<size_t>(p), std::numeric_limits<double>::infinity());
    std::vector<double> hi(static_cast<size_t>(p), -std::numeric_limits<double>::infinity());
    BixSSTask *task = nullptr;
    int status = bixdSSNewTask(&task, &p, &n, &storage, d.x.data(), nullptr, nullptr);
    if (status != BIX_ERROR_OK) return library_error("bixdSSNewTask", status);
    status = bixdSSEditTask(task, BIX_SS_ID_MIN, lo.data());
    if (status == BIX_ERROR_OK) status = bixdSSEditTask(task, BIX_SS_ID_MAX, hi.data());
    if (status == BIX_ERROR_OK) status = bixdSSCompute(task, BIX_SS_EST_MIN | BIX_SS_EST_MAX, 1);
    bixSSDeleteTask(&task);
    if (status != BIX_ERROR_OK) return library_error("bixdSSCompute", status);
    for (int64_t i = 0; i < p; ++i) {
        std::printf("%lld %.17g %.17g\n", static_cast<long long>(i), lo[static_cast<size_t>(i)],
                    hi[static_cast<size_t>(i)]);
    }
    return std::fflush(stdout) == 0 ? 0 : kExitStatus;
}

// Every estimate of the basic estimator, and the extremes.
int cmd_basic(int argc, char **argv) {
    Data d;
    int method = BIX_SS_METHOD_TWO_PASS;
    if (const int st = load(argc, argv, "basic", &d, &method)) return st;
    const int p = int_count(d.p), n = int_count(d.x.size() / static_cast<size_t>(d.p));
    const int storage = d.rows ? BIX_SS_MATRIX_STORAGE_ROWS : BIX_SS_MATRIX_STORAGE_COLS;
    const int full = BIX_SS_COV_FULL;
    const size_t up = static_cast<size_t>(p);
    struct Row {
        const char *name;
        int id;
        std::vector<double> v;
    };
    std::vector<Row> rows = {
        {"mean", BIX_SS_ID_MEAN, {}},         {"raw2", BIX_SS_ID_RAW2, {}},
        {"raw3", BIX_SS_ID_RAW3, {}},         {"raw4", BIX_SS_ID_RAW4, {}},
        {"central2", BIX_SS_ID_CEN2, {}},     {"central3", BIX_SS_ID_CEN3, {}},
        {"central4", BIX_SS_ID_CEN4, {}},     {"skewness", BIX_SS_ID_SKEWNESS, {}},
        {"kurtosis", BIX_SS_ID_KURTOSIS, {}}, {"variation", BIX_SS_ID_VARIATION, {}},
        {"min", BIX_SS_ID_MIN, {}},           {"max", BIX_SS_ID_MAX, {}}};
    std::vector<double> cov(up * up), cor(up * up);
    BixSSTask *task = nullptr;
    int status = bixdSSNewTask(&task, &p, &n, &storage, d.x.data(), nullptr, nullptr);
    if (status != BIX_ERROR_OK) return library_error("bixdSSNewTask", status);
    for (Row &r : rows) {
        const bool lowest = std::strcmp(r.name, "min") == 0,
                   highest = std::strcmp(r.name, "max") == 0;
        r.v.assign(up, lowest    ? std::numeric_limits<double>::infinity()
                       : highest ? -std::numeric_limits<double>::infinity()
                                 : 0.0);
        if (status == BIX_ERROR_OK) status = bixdSSEditTask(task, r.id, r.v.data());
    }
    if (status == BIX_ERROR_OK) {
        status = bixdSSEditCovCor(task, nullptr, cov.data(), const_cast<int *>(&full), cor.data(),
                                  const_cast<int *>(&full));
    }
    const char *where = "bixdSSEditTask";
    if (status == BIX_ERROR_OK) {
        where = "bixdSSCompute";
        const uint64_t all = BIX_SS_EST_MEAN | BIX_SS_EST_RAW2 | BIX_SS_EST_RAW3 | BIX_SS_EST_RAW4 |
                             BIX_SS_EST_CEN2 | BIX_SS_EST_CEN3 | BIX_SS_EST_CEN4 |
                             BIX_SS_EST_KURTOSIS | BIX_SS_EST_SKEWNESS | BIX_SS_EST_VARIATION |
                             BIX_SS_EST_COV | BIX_SS_EST_COR;
        status = bixdSSCompute(task, all, method);
    }
    if (status == BIX_ERROR_OK) {
        where = "bixdSSCompute";
        status = bixdSSCompute(task, BIX_SS_EST_MIN | BIX_SS_EST_MAX, 1);
    }
    bixSSDeleteTask(&task);
    if (status != BIX_ERROR_OK) return library_error(where, status);
    std::printf("count %lld\n", static_cast<long long>(n));
    const auto print_values = [up](const double *v) {
        // NaN without the sign that x86 gives 0/0.
        for (size_t i = 0; i < up; ++i)
            std::printf(" %.17g", std::isnan(v[i]) ? std::nan("") : v[i]);
        std::putchar('\n');
    };
    for (const Row &r : rows) {
        std::fputs(r.name, stdout);
        print_values(r.v.data());
    }
    for (auto [name, m] : {std::pair{"covariance", &cov}, {"correlation", &cor}}) {
        std::puts(name);
        for (size_t i = 0; i < up; ++i) print_values(m->data() + i * up);
    }
    return std::fflush(stdout) == 0 ? 0 : kExitStatus;
}

// The orders of --quantiles: comma-separated numbers in [0, 1].
bool parse_orders(const char *text, std::vector<double> *out) {
    const char *s = text;
    while (true) {
        char *end = nullptr;
        errno = 0;
        const double q = std::strtod(s, &end);
        if (end == s || errno != 0 || !(q >= 0 && q <= 1) || (*end != ',' && *end != '\0')) {
            return false;
        }
        out->push_back(q);
        if (*end == '\0') return true;
        s = end + 1;
    }
}

// Numbers of a text or binary input, a portion at a time. Text lines are checked as read_text
// checks them: without --p every non-empty line must hold as many numbers as the first.
class Portions {
  public:
    Portions(std::FILE *f, const char *name, bool binary, long long p)
        : f_(f), name_(name), binary_(binary), p_(p) {}
    ~Portions() { std::free(line_); }
    // Appends up to about `want` numbers to out; 0 at the end, a positive exit status on a bad
    // input, -1 while more may follow.
    int next(std::vector<double> *out, size_t want) {
        if (binary_) {
            const size_t start = out->size();
            out->resize(start + want);
            const size_t got = std::fread(out->data() + start, sizeof(double), want, f_);
            out->resize(start + got);
            bytes_ += got * sizeof(double);
            if (std::ferror(f_)) return file_error(name_, "read error");
            if (got == want) return -1;
            // A trailing partial number is a format error.
            if (std::fgetc(f_) != EOF)
                return file_error(name_, "size is not a whole number of doubles");
            return 0;
        }
        while (out->size() < want) {
            const ssize_t len = getline(&line_, &cap_, f_);
            if (len < 0) {
                if (std::ferror(f_)) return file_error(name_, "read error");
                return 0;
            }
            ++line_no_;
            long long count = 0;
            for (const char *s = line_;;) {
                while (*s == ' ' || *s == '\t' || *s == '\r' || *s == '\n') ++s;
                if (*s == '\0') break;
                char *end = nullptr;
                const double v = std::strtod(s, &end);
                if (end == s ||
                    (*end != '\0' && *end != ' ' && *end != '\t' && *end != '\r' && *end != '\n')) {
                    const char *stop = s + std::strcspn(s, " \t\r\n");
                    return file_error(where(), "not a number '" + std::string(s, stop) + "'");
                }
                out->push_back(v);
                ++count;
                s = end;
            }
            if (count == 0 || p_ != 0) continue;
            if (width_ < 0) width_ = count;
            if (count != width_) {
                return file_error(where(), "expected " + std::to_string(width_) + " numbers, got " +
                                               std::to_string(count));
            }
        }
        return -1;
    }
    // The number of variables: --p, else the first line's count (1 for binary input).
    long long variables() const { return p_ != 0 ? p_ : binary_ ? 1 : width_ > 0 ? width_ : 1; }

  private:
    std::string where() const { return std::string(name_) + ":" + std::to_string(line_no_); }
    std::FILE *f_;
    const char *name_;
    bool binary_;
    long long p_;
    long long width_ = -1, line_no_ = 0;
    size_t bytes_ = 0;
    char *line_ = nullptr;
    size_t cap_ = 0;
};

void print_quantiles(long long p, size_t m, const std::vector<double> &q) {
    for (long long i = 0; i < p; ++i) {
        std::printf("%lld", i);
        for (size_t k = 0; k < m; ++k) {
            const double v = q[static_cast<size_t>(i) * m + k];
            std::printf(" %.17g", std::isnan(v) ? std::nan("") : v);
        }
        std::putchar('\n');
    }
}

// Streaming: portions of whole observations (observation-major) go to the estimator one after
// another; only the last call's estimates are printed.
int stream_quantiles(std::FILE *f, const char *name, bool binary, long long p_opt,
                     const std::vector<double> &orders, double eps, int method) {
    constexpr size_t kPortion = size_t{1} << 20;
    Portions in(f, name, binary, p_opt);
    std::vector<double> buffer;
    int st = in.next(&buffer, kPortion);
    if (st > 0) return st;
    if (buffer.empty()) return file_error(name, "no numbers");
    const int p = int_count(in.variables()), storage = BIX_SS_MATRIX_STORAGE_COLS;
    const int norders = int_count(orders.size()), nparams = 1;
    int n = 1;
    std::vector<double> results(static_cast<size_t>(p) * orders.size());
    BixSSTask *task = nullptr;
    int status = bixdSSNewTask(&task, &p, &n, &storage, buffer.data(), nullptr, nullptr);
    if (status != BIX_ERROR_OK) return library_error("bixdSSNewTask", status);
    status = bixdSSEditStreamQuantiles(task, const_cast<int *>(&norders),
                                       const_cast<double *>(orders.data()), results.data(),
                                       const_cast<int *>(&nparams), &eps);
    int exit_status = 0;
    const size_t up = static_cast<size_t>(p);
    while (status == BIX_ERROR_OK) {
        // Whole observations go now; a partial one waits for the rest of its numbers.
        const size_t whole = buffer.size() / up * up;
        n = int_count(whole / up);
        status = bixdSSEditTask(task, BIX_SS_ID_X, buffer.data());
        if (status != BIX_ERROR_OK) break;
        status = bixdSSCompute(task, BIX_SS_EST_STREAM_QUANTILES, method);
        if (status != BIX_ERROR_OK || st == 0) break;
        buffer.erase(buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(whole));
        st = in.next(&buffer, kPortion);
        if (st > 0) {
            exit_status = st;
            break;
        }
    }
    const bool ragged = status == BIX_ERROR_OK && exit_status == 0 && buffer.size() % up != 0;
    bixSSDeleteTask(&task);
    if (exit_status != 0) return exit_status;
    if (status != BIX_ERROR_OK) return library_error("bixdSSCompute", status);
    if (ragged) {
        return file_error(name,
                          "the numbers do not divide into " + std::to_string(p) + " variables");
    }
    print_quantiles(p, orders.size(), results);
    return std::fflush(stdout) == 0 ? 0 : kExitStatus;
}

int cmd_quantiles(int argc, char **argv) {
    const char *file = nullptr, *order_text = nullptr;
    bool binary = false, streaming = false, rows = false;
    long long p = 0;
    double eps = 0;
    int method = 0;
    const char *prefix = "stats quantiles:";
    const auto prefixed = [prefix](const char *what) { return std::string(prefix) + " " + what; };
    for (int i = 0; i < argc; ++i) {
        const std::string_view opt = argv[i];
        if (opt == "--binary") {
            binary = true;
        } else if (opt == "--quantiles" || opt == "--stream" || opt == "--method" ||
                   opt == "--layout" || opt == "--p") {
            if (i + 1 >= argc) return usage_error(prefixed("missing value after").c_str(), argv[i]);
            const char *v = argv[++i];
            if (opt == "--quantiles") {
                order_text = v;
            } else if (opt == "--stream") {
                char *end = nullptr;
                eps = std::strtod(v, &end);
                if (end == v || *end != '\0' || !(eps > 0 && eps <= 1)) {
                    return usage_error(prefixed("--stream takes an epsilon in (0, 1], got").c_str(),
                                       v);
                }
                streaming = true;
            } else if (opt == "--method") {
                if (std::strcmp(v, "zw") != 0 && std::strcmp(v, "gk") != 0) {
                    return usage_error(prefixed("--method takes zw or gk, got").c_str(), v);
                }
                method =
                    std::strcmp(v, "zw") == 0 ? BIX_SS_METHOD_STREAM_ZW : BIX_SS_METHOD_STREAM_GK;
            } else if (opt == "--layout") {
                if (std::strcmp(v, "rows") != 0 && std::strcmp(v, "cols") != 0) {
                    return usage_error(prefixed("--layout takes rows or cols, got").c_str(), v);
                }
                rows = std::strcmp(v, "rows") == 0;
            } else if (!parse_integer(v, 1, std::numeric_limits<int32_t>::max(), &p)) {
                return usage_error(prefixed("bad value for --p:").c_str(), v);
            }
        } else if (opt.size() > 1 && opt[0] == '-') {
            return usage_error(prefixed("unknown option").c_str(), argv[i]);
        } else if (file != nullptr) {
            return usage_error(prefixed("more than one file, got").c_str(), argv[i]);
        } else {
            file = argv[i];
        }
    }
    std::vector<double> orders;
    if (order_text == nullptr) return usage_error(prefixed("missing").c_str(), "--quantiles");
    if (!parse_orders(order_text, &orders)) {
        return usage_error(
            prefixed("--quantiles takes numbers in [0, 1] separated by commas, got").c_str(),
            order_text);
    }
    if (method != 0 && !streaming) {
        return usage_error(prefixed("--method needs").c_str(), "--stream");
    }
    if (streaming && rows) return usage_error(prefixed("--stream needs").c_str(), "--layout cols");
    if (method == 0) method = BIX_SS_METHOD_STREAM_ZW;

    if (file == nullptr) file = "-";
    const bool stdin_file = std::strcmp(file, "-") == 0;
    std::FILE *f = stdin_file ? stdin : std::fopen(file, binary ? "rb" : "r");
    if (f == nullptr) return file_error(file, std::strerror(errno));
    if (streaming) {
        const int st = stream_quantiles(f, file, binary, p, orders, eps, method);
        if (!stdin_file) std::fclose(f);
        return st;
    }
    Data d;
    d.p = p;
    d.rows = rows;
    const int read = binary ? read_binary(f, file, &d) : read_text(f, file, &d);
    if (!stdin_file) std::fclose(f);
    if (read != 0) return read;
    if (d.x.empty()) return file_error(file, "no numbers");
    if (d.x.size() % static_cast<size_t>(d.p) != 0) {
        return file_error(file, std::to_string(d.x.size()) + " numbers do not divide into " +
                                    std::to_string(d.p) + " variables");
    }
    const int vp = int_count(d.p), n = int_count(d.x.size() / static_cast<size_t>(d.p));
    const int storage = d.rows ? BIX_SS_MATRIX_STORAGE_ROWS : BIX_SS_MATRIX_STORAGE_COLS;
    const int norders = int_count(orders.size());
    std::vector<double> results(static_cast<size_t>(vp) * orders.size());
    BixSSTask *task = nullptr;
    int status = bixdSSNewTask(&task, &vp, &n, &storage, d.x.data(), nullptr, nullptr);
    if (status != BIX_ERROR_OK) return library_error("bixdSSNewTask", status);
    status = bixdSSEditQuantiles(task, const_cast<int *>(&norders), orders.data(), results.data(),
                                 nullptr, nullptr);
    if (status == BIX_ERROR_OK) {
        status = bixdSSCompute(task, BIX_SS_EST_QUANTILES, BIX_SS_METHOD_QUANTILES);
    }
    bixSSDeleteTask(&task);
    if (status != BIX_ERROR_OK) return library_error("bixdSSCompute", status);
    print_quantiles(vp, orders.size(), results);
    return std::fflush(stdout) == 0 ? 0 : kExitStatus;
}

}  // namespace

int cmd_stats(int argc, char **argv) {
    if (argc == 0) return usage_error("stats: missing action, try", "minmax, basic or quantiles");
    // `korb stats --quantiles ...` is the quantiles action.
    if (std::strcmp(argv[0], "--quantiles") == 0 && !wants_help(argc, argv)) {
        return cmd_quantiles(argc, argv);
    }
    const bool known = std::strcmp(argv[0], "minmax") == 0 || std::strcmp(argv[0], "basic") == 0 ||
                       std::strcmp(argv[0], "quantiles") == 0;
    if (wants_help(argc, argv) || (known && wants_help(argc - 1, argv + 1))) {
        print_help();
        return 0;
    }
    if (!known) return usage_error("stats: unknown action", argv[0]);
    if (std::strcmp(argv[0], "basic") == 0) return cmd_basic(argc - 1, argv + 1);
    if (std::strcmp(argv[0], "quantiles") == 0) return cmd_quantiles(argc - 1, argv + 1);
    return cmd_minmax(argc - 1, argv + 1);
}

}  // namespace korb::cli
