// Prints the class of the kernel library libkorb loaded and its file, then a digest of what every
// built vector function and every distribution of the list gives for fixed inputs, so that two runs
// under different classes can be compared bit for bit (tests/public/class_test.sh).
#include <dlfcn.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "korb/korb.h"
#include "vecmath/functions.h"

namespace {

uint64_t fnv(uint64_t h, const void *p, size_t n) {
    const auto *b = static_cast<const unsigned char *>(p);
    for (size_t i = 0; i < n; ++i) h = (h ^ b[i]) * 0x100000001b3ULL;
    return h;
}

}  // namespace

int main() {
    std::printf("class %d\n", korbGetClass());
    // Which kernel library file libkorb loaded: the first of the classes from the top that the
    // process holds (a stand-in copied under a class's name also answers to its own soname).
    for (const char *file : {"libkorb_avx512.so", "libkorb_avx2.so", "libkorb_def.so"}) {
        if (void *h = dlopen(file, RTLD_NOW | RTLD_NOLOAD)) {
            std::printf("loaded %s\n", file);
            dlclose(h);
            break;
        }
    }
    using korb::vecmath::KernelKind;
    const int n = 1003;  // not a multiple of any vector width
    std::vector<double> a(n), r1(n), r2(n);
    std::vector<float> af(n), r1f(n), r2f(n);
    for (int i = 0; i < n; ++i) {
        a[i] = -20.0 + 40.0 * i / n + 1e-3 * (i % 7);
        af[i] = static_cast<float>(a[i]);
    }
    for (unsigned mode : {ARQ_LA, ARQ_HA, ARQ_EP}) {
        korb_arq_SetMode(mode | ARQ_ERRMODE_IGNORE);
        for (const auto &f : korb::vecmath::kFunctions) {
            if (!f.built || (f.precision != 's' && f.precision != 'd')) continue;
            const std::string name = std::string("v") + f.precision + f.name;
            void *v = dlsym(RTLD_DEFAULT, name.c_str());
            if (v == nullptr) return 1;
            const bool d = f.precision == 'd';
            void *in = d ? static_cast<void *>(a.data()) : af.data();
            void *o1 = d ? static_cast<void *>(r1.data()) : r1f.data();
            void *o2 = d ? static_cast<void *>(r2.data()) : r2f.data();
            if (f.kind == KernelKind::one) {
                reinterpret_cast<void (*)(int, const void *, void *)>(v)(n, in, o1);
            } else if (f.kind == KernelKind::pair) {
                reinterpret_cast<void (*)(int, const void *, void *, void *)>(v)(n, in, o1, o2);
            } else if (f.kind == KernelKind::scalar && d) {
                reinterpret_cast<void (*)(int, const void *, double, void *)>(v)(n, in, 1.5, o1);
            } else if (f.kind == KernelKind::scalar) {
                reinterpret_cast<void (*)(int, const void *, float, void *)>(v)(n, in, 1.5f, o1);
            } else {
                continue;
            }
            const size_t bytes = (d ? 8 : 4) * static_cast<size_t>(n);
            uint64_t h = fnv(fnv(0xcbf29ce484222325ULL, o1, bytes), o2, bytes);
            std::printf("%s mode %u %016llx\n", name.c_str(), mode,
                        static_cast<unsigned long long>(h));
        }
    }
    BixStream *s = nullptr;
    if (bixNewStream(&s, BIX_BRNG_MT19937, 42) != 0) return 1;
    for (int method : {BIX_RNG_METHOD_GAUSSIAN_BOXMULLER, BIX_RNG_METHOD_GAUSSIAN_BOXMULLER2,
                       BIX_RNG_METHOD_GAUSSIAN_ICDF}) {
        if (bixdRngGaussian(method, s, n, r1.data(), 1.0, 2.0) != 0) return 1;
        std::printf("gaussian %d %016llx\n", method,
                    static_cast<unsigned long long>(fnv(0xcbf29ce484222325ULL, r1.data(), 8 * n)));
    }
    if (bixdRngLognormal(0, s, n, r1.data(), 0.0, 1.0, 0.0, 1.0) != 0) return 1;
    std::printf("lognormal %016llx\n",
                static_cast<unsigned long long>(fnv(0xcbf29ce484222325ULL, r1.data(), 8 * n)));
    bixDeleteStream(&s);
    return 0;
}
