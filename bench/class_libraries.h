// The kernel libraries of the processor classes beside the linked one (libkorb_avx2.so,
// libkorb_avx512.so), opened once each when this processor runs their class, so that the
// benchmarks put every class side by side with the peers in one run. A class the processor
// lacks has no rows.
#pragma once

#include <dlfcn.h>
#include <korb/kernel/vm.h>

#include <string>
#include <vector>

namespace korb::bench {

struct ClassLibrary {
    const char *name;  // the benchmark rows' name: korb_avx2, korb_avx512
    void *handle;
};

inline bool processor_runs_class(int cls) {
    __builtin_cpu_init();
    if (cls == 3) {
        return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") &&
               __builtin_cpu_supports("bmi2");
    }
    if (cls == 4) {
        return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
               __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl");
    }
    return cls == 0;
}

// The class libraries this processor runs, each with its vector-math mode set as the default
// library's is (HA, errors ignored).
inline const std::vector<ClassLibrary> &class_libraries() {
    static const std::vector<ClassLibrary> libraries = [] {
        std::vector<ClassLibrary> out;
        const struct {
            const char *file, *name;
            int cls;
        } known[] = {{"libkorb_avx2.so", "korb_avx2", 3}, {"libkorb_avx512.so", "korb_avx512", 4}};
        for (const auto &k : known) {
            if (!processor_runs_class(k.cls)) continue;
            void *h = dlopen((std::string(KORB_BENCH_LIB_DIR) + "/" + k.file).c_str(),
                             RTLD_NOW | RTLD_LOCAL);
            if (h == nullptr) continue;
            if (auto set_mode =
                    reinterpret_cast<unsigned (*)(unsigned)>(dlsym(h, "korb_arq_kernel_SetMode"))) {
                set_mode(ARQ_HA | ARQ_ERRMODE_IGNORE);
            }
            out.push_back({k.name, h});
        }
        return out;
    }();
    return libraries;
}

}  // namespace korb::bench
