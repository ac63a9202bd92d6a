// The kernel library a digest test checks: libkorb_def.so of the build, or the library that
// KORB_DIGEST_LIB names, which serves the processor class KORB_DIGEST_CLASS (0 when unset). A
// class this processor cannot run is not loaded at all (its code, static initialisers included,
// may use instructions the processor lacks): the test is skipped with the reason.
#pragma once

#include <dlfcn.h>
#include <xmmintrin.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "korb/kernel/frame.h"

namespace korb::test {

// Whether this processor has every instruction set of processor class cls (and the operating
// system saves the registers: __builtin_cpu_supports answers for both).
inline bool processor_runs(int cls) {
    __builtin_cpu_init();
    switch (cls) {
        case KORB_CPU_GENERIC:
            return true;
        case KORB_CPU_X86_64_V3:
            return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi2") &&
                   __builtin_cpu_supports("fma");
        case KORB_CPU_X86_64_V4:
            return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
                   __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl");
        default:
            return false;
    }
}

struct ClassLibrary {
    void *handle = nullptr;
    int cls = KORB_CPU_GENERIC;
    std::string path;
    std::string skip;   // why the library was not loaded, when the processor cannot run it
    std::string error;  // dlerror() when loading failed
};

inline ClassLibrary open_class_library() {
    ClassLibrary lib;
    const char *other = std::getenv("KORB_DIGEST_LIB");
    const char *cls = std::getenv("KORB_DIGEST_CLASS");
    lib.path = other != nullptr ? other
                                : (std::filesystem::path(KORB_LIB_DIR) / "libkorb_def.so").string();
    lib.cls = cls != nullptr ? std::atoi(cls) : KORB_CPU_GENERIC;
    if (!processor_runs(lib.cls)) {
        lib.skip = "this processor cannot run class " + std::to_string(lib.cls) + " (" + lib.path +
                   "); its exported symbols are checked, its digests by a processor that runs it";
        return lib;
    }
    lib.handle = dlopen(lib.path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (lib.handle == nullptr) lib.error = dlerror();
    return lib;
}

// The caller's control register as a kernel must leave it: set on purpose to a value no kernel
// uses (all exception flags raised, the masks as usual), so that a kernel which loses it, or
// leaves its own, shows.
constexpr std::uint32_t kCallerControl = 0x1F80 | 0x3F;

// The committed digest table a test makes when KORB_DIGEST_WRITE names a directory (make
// digests): `file` there is rewritten with one line per digest.
class DigestTable {
  public:
    DigestTable(const char *file, const char *test) {
        const char *dir = std::getenv("KORB_DIGEST_WRITE");
        if (dir == nullptr) return;
        out_ = std::fopen((std::filesystem::path(dir) / file).string().c_str(), "w");
        if (out_ != nullptr) {
            std::fprintf(out_,
                         "// Made by `make digests` (%s of tests/abi), with the class-0 kernel "
                         "library.\n",
                         test);
        }
    }
    ~DigestTable() {
        if (out_ != nullptr) std::fclose(out_);
    }
    DigestTable(const DigestTable &) = delete;
    DigestTable &operator=(const DigestTable &) = delete;

    bool writing() const { return out_ != nullptr; }
    // One row: the fields as they stand in the table's initialiser, then the digest.
    void row(const std::string &fields, std::uint64_t digest) {
        if (out_ != nullptr) {
            std::fprintf(out_, "{%s, 0x%016llxull},\n", fields.c_str(),
                         static_cast<unsigned long long>(digest));
        }
    }

  private:
    std::FILE *out_ = nullptr;
};

}  // namespace korb::test
