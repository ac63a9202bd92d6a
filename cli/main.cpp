// korb: the command-line front end. A plain client of the public headers and libkorb_def.so.
//
//   korb <family> <action> [options]
//
// Text output by default. A usage error prints one line to standard error and exits with 2; a
// library status is printed with its name and exits with 1.
#include <dlfcn.h>
#include <korb/korb.h>

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "commands.h"
#include "vecmath/functions.h"

namespace korb::cli {

bool wants_help(int argc, char **argv) {
    for (int i = 0; i < argc; ++i) {
        if (std::strcmp(argv[i], "--help") == 0 || std::strcmp(argv[i], "-h") == 0) return true;
    }
    return false;
}

int usage_error(const char *what, const char *arg) {
    std::fprintf(stderr, "korb: %s '%s' (see 'korb --help')\n", what, arg);
    return kExitUsage;
}

// Whole numbers in decimal or 0x hexadecimal, within [lo, hi].
bool parse_integer(const char *s, long long lo, long long hi, long long *out) {
    if (*s == '\0' || std::isspace(static_cast<unsigned char>(*s))) return false;
    errno = 0;
    char *end = nullptr;
    long long v = std::strtoll(s, &end, 0);
    if (errno != 0 || *end != '\0' || v < lo || v > hi) return false;
    *out = v;
    return true;
}

int library_error(const char *what, int status, std::span<const NamedStatus> names) {
    const char *name = "unknown status";
    for (const NamedStatus &s : names) {
        if (s.code == status) name = s.name;
    }
    std::fprintf(stderr, "korb: %s: %s (%d)\n", what, name, status);
    return kExitStatus;
}

namespace {

const char *class_name(int c) {
    switch (c) {
        case KORB_CPU_GENERIC:
            return "x86-64";
        case KORB_CPU_X86_64_V2:
            return "x86-64-v2";
        case KORB_CPU_AVX:
            return "avx";
        case KORB_CPU_X86_64_V3:
            return "x86-64-v3";
        case KORB_CPU_X86_64_V4:
            return "x86-64-v4";
        case KORB_CPU_RESERVED:
            return "reserved";
        default:
            return "unknown";
    }
}

// How many functions of the vector-math list libkorb provides, by their entry points.
void print_vm_functions() {
    int built = 0;
    for (const korb::vecmath::FunctionInfo &f : korb::vecmath::kFunctions) {
        const std::string entry = std::string("v") + f.precision + f.name;
        built += dlsym(RTLD_DEFAULT, entry.c_str()) != nullptr ? 1 : 0;
    }
    std::printf("vector-math functions: %d of %d built\n", built, korb::vecmath::kFunctionCount);
}

// The kernel libraries of each processor class, by file name.
struct ClassLibrary {
    const char *file;
    int cls;
};
constexpr ClassLibrary kClassLibraries[] = {
    {"libkorb_def.so", KORB_CPU_GENERIC},
    {"libkorb_avx2.so", KORB_CPU_X86_64_V3},
    {"libkorb_avx512.so", KORB_CPU_X86_64_V4},
};

// The kernel libraries in libkorb's directory (where it loads them from), with the class each serves and
// whether this processor runs it. A library is not loaded to ask: one of a class the processor
// lacks may not even initialise.
void print_class_libraries(int processor) {
    Dl_info info{};
    std::string dir = ".";
    if (dladdr(reinterpret_cast<void *>(&korbGetClass), &info) != 0 &&
        info.dli_fname != nullptr) {
        dir = info.dli_fname;
        const std::size_t slash = dir.rfind('/');
        dir = slash == std::string::npos ? "." : dir.substr(0, slash);
    }
    std::printf("kernel libraries in %s:\n", dir.c_str());
    for (const ClassLibrary &l : kClassLibraries) {
        const std::string path = dir + "/" + l.file;
        std::FILE *f = std::fopen(path.c_str(), "rb");
        if (f == nullptr) {
            std::printf("  %-18s class %d (%s), not found\n", l.file, l.cls, class_name(l.cls));
            continue;
        }
        std::fclose(f);
        std::printf("  %-18s class %d (%s), %s\n", l.file, l.cls, class_name(l.cls),
                    l.cls <= processor ? "runs here" : "needs a newer processor");
    }
}

int cmd_info(int argc, char **argv) {
    if (wants_help(argc, argv)) {
        std::puts(
            "usage: korb info\n"
            "Prints the library version, the class the kernel library serves and the\n"
            "processor class decided for this process (KORB_DEBUG_CPU_TYPE=0..5 forces it),\n"
            "the kernel libraries found beside the loaded one and the class each serves,\n"
            "and this thread's vector-math mode word (KORB_ARQ_MODE sets the initial one).");
        return 0;
    }
    if (argc > 0) return usage_error("info takes no arguments, got", argv[0]);
    int forced = 0;
    int cls = korbGetCpuType(&forced);
    int lib = korbGetClass();
    std::printf("korb %s\n", korbGetVersion());
    std::printf("kernel library class: %d (%s)\n", lib, class_name(lib));
    std::printf("processor class: %d (%s), %s\n", cls, class_name(cls),
                forced ? "forced by KORB_DEBUG_CPU_TYPE" : "detected");
    print_class_libraries(cls);
    std::printf("vector-math mode: 0x%x\n", korb_arq_GetMode());
    print_vm_functions();
    print_rng_registry();
    return 0;
}

struct Command {
    const char *name;
    int (*run)(int argc, char **argv);  // arguments after the command name
    const char *summary;
};

constexpr Command kCommands[] = {
    {"info", cmd_info, "library version, processor classes, vector-math mode, generators"},
    {"rng", cmd_rng, "draw numbers from a basic random generator"},
    {"stats", cmd_stats, "summary statistics of a data file (minmax, basic, quantiles)"},
    {"fit", cmd_fit, "a spline through the columns of a data file, as its coefficients"},
};

void print_help() {
    std::puts("usage: korb <family> <action> [options]\n       korb --version\n\ncommands:");
    for (const Command &c : kCommands) std::printf("  %-10s %s\n", c.name, c.summary);
    std::puts("\n'korb <command> --help' tells more.");
}

}  // namespace
}  // namespace korb::cli

int main(int argc, char **argv) {
    using namespace korb::cli;
    if (argc < 2) {
        std::fputs("korb: missing command (see 'korb --help')\n", stderr);
        return kExitUsage;
    }
    std::string_view first = argv[1];
    if (first == "--help" || first == "-h" || first == "help") {
        print_help();
        return 0;
    }
    if (first == "--version") {
        if (argc > 2) return usage_error("--version takes no arguments, got", argv[2]);
        std::printf("korb %s\n", korbGetVersion());
        return std::fflush(stdout) == 0 ? 0 : 1;
    }
    for (const Command &c : kCommands) {
        if (first == c.name) return c.run(argc - 2, argv + 2);
    }
    return usage_error("unknown command", argv[1]);
}
