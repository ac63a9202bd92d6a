// korb stats: summary statistics of a data file.
//
//   korb stats minmax FILE [--layout rows|cols] [--p P] [--binary]
#include <korb/ss.h>

#include <cerrno>
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

constexpr NamedStatus kStatuses[] = {
    {BIX_SS_ERROR_MEM_FAILURE, "BIX_SS_ERROR_MEM_FAILURE"},
    {BIX_SS_ERROR_BAD_DIMENSION, "BIX_SS_ERROR_BAD_DIMENSION"},
    {BIX_SS_ERROR_BAD_NOBS, "BIX_SS_ERROR_BAD_NOBS"},
    {BIX_SS_ERROR_BAD_STORAGE, "BIX_SS_ERROR_BAD_STORAGE"},
    {BIX_SS_ERROR_NULL_MIN, "BIX_SS_ERROR_NULL_MIN"},
    {BIX_SS_ERROR_NULL_MAX, "BIX_SS_ERROR_NULL_MAX"},
    {BIX_SS_ERROR_BAD_METHOD, "BIX_SS_ERROR_BAD_METHOD"},
    {BIX_SS_ERROR_NULL_TASK, "BIX_SS_ERROR_NULL_TASK"},
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
        "Prints the minimum and maximum of each variable of the data in FILE ('-' for\n"
        "standard input), one line per variable: its number, minimum, maximum.\n"
        "Text data are whitespace-separated numbers (nan and inf allowed). With --layout\n"
        "cols (the default) each line is one observation of all variables; with rows each\n"
        "line holds all observations of one variable. --p P reads the numbers as one\n"
        "sequence of P variables in that layout instead of by lines. --binary reads raw\n"
        "native doubles (one variable unless --p says otherwise). NaN observations are\n"
        "ignored; a variable of only NaNs prints inf and -inf.");
}

int cmd_minmax(int argc, char **argv) {
    const char *file = nullptr;
    Data d;
    bool binary = false;
    for (int i = 0; i < argc; ++i) {
        std::string_view opt = argv[i];
        if (opt == "--binary") {
            binary = true;
        } else if (opt == "--layout" || opt == "--p") {
            if (i + 1 >= argc) return usage_error("stats minmax: missing value after", argv[i]);
            const char *v = argv[++i];
            if (opt == "--layout") {
                if (std::strcmp(v, "rows") != 0 && std::strcmp(v, "cols") != 0) {
                    return usage_error("stats minmax: --layout takes rows or cols, got", v);
                }
                d.rows = std::strcmp(v, "rows") == 0;
            } else {
                if (!parse_integer(v, 1, std::numeric_limits<int32_t>::max(), &d.p)) {
                    return usage_error("stats minmax: bad value for --p:", v);
                }
            }
        } else if (opt.size() > 1 && opt[0] == '-') {
            return usage_error("stats minmax: unknown option", argv[i]);
        } else if (file != nullptr) {
            return usage_error("stats minmax: more than one file, got", argv[i]);
        } else {
            file = argv[i];
        }
    }
    if (file == nullptr) return usage_error("stats minmax: missing", "FILE");

    const bool stdin_file = std::strcmp(file, "-") == 0;
    std::FILE *f = stdin_file ? stdin : std::fopen(file, binary ? "rb" : "r");
    if (f == nullptr) return file_error(file, std::strerror(errno));
    const int read = binary ? read_binary(f, file, &d) : read_text(f, file, &d);
    if (!stdin_file) std::fclose(f);
    if (read != 0) return read;
    if (d.x.empty()) return file_error(file, "no numbers");
    if (d.x.size() % static_cast<size_t>(d.p) != 0) {
        return file_error(file, std::to_string(d.x.size()) + " numbers do not divide into " +
                                    std::to_string(d.p) + " variables");
    }

    const int64_t p = d.p, n = static_cast<int64_t>(d.x.size()) / d.p;
    const int64_t storage = d.rows ? BIX_SS_MATRIX_STORAGE_ROWS : BIX_SS_MATRIX_STORAGE_COLS;
    std::vector<double> lo(static_cast<size_t>(p), std::numeric_limits<double>::infinity());
    std::vector<double> hi(static_cast<size_t>(p), -std::numeric_limits<double>::infinity());
    BixSSTask *task = nullptr;
    int status = __bixdSSNewTask(&task, &p, &n, &storage, d.x.data(), nullptr, nullptr, 1);
    if (status != BIX_ERROR_OK) return library_error("__bixdSSNewTask", status);
    status = __bixdSSEditTask(task, BIX_SS_ID_MIN, lo.data());
    if (status == BIX_ERROR_OK) status = __bixdSSEditTask(task, BIX_SS_ID_MAX, hi.data());
    if (status == BIX_ERROR_OK) status = _bixdSSMinmax(task, BIX_SS_EST_MIN | BIX_SS_EST_MAX, 1);
    __bixSSDeleteTask(&task);
    if (status != BIX_ERROR_OK) return library_error("_bixdSSMinmax", status);
    for (int64_t i = 0; i < p; ++i) {
        std::printf("%lld %.17g %.17g\n", static_cast<long long>(i), lo[static_cast<size_t>(i)],
                    hi[static_cast<size_t>(i)]);
    }
    return std::fflush(stdout) == 0 ? 0 : kExitStatus;
}

}  // namespace

int cmd_stats(int argc, char **argv) {
    if (argc == 0 || (wants_help(argc, argv) && std::strcmp(argv[0], "minmax") != 0)) {
        if (argc == 0) return usage_error("stats: missing action, try", "minmax");
        print_help();
        return 0;
    }
    if (std::strcmp(argv[0], "minmax") != 0) return usage_error("stats: unknown action", argv[0]);
    if (wants_help(argc - 1, argv + 1)) {
        print_help();
        return 0;
    }
    return cmd_minmax(argc - 1, argv + 1);
}

}  // namespace korb::cli
