// Finding the core library and the BLAS/LAPACK provider, and looking symbols up in them.
#include "resolve.h"

#include <dlfcn.h>

#include <atomic>
#include <cstdio>
#include <cstring>

#include "korb/kernel/frame.h"
#include "process.h"

namespace korb::frame {
namespace {

constexpr const char *kCoreFile = "libkorb_core.so";
constexpr const char *kBlasLayerName = "<korb-thread-layer>";

// Providers checked in order of preference when already loaded: the threaded OpenBLAS, the
// sequential reference LAPACK (which pulls in the reference BLAS), FlexiBLAS.
constexpr const char *kBlasLoaded[] = {"libopenblas.so.0", "liblapack.so.3", "libflexiblas.so.3",
                                       nullptr};
constexpr const char *kBlasFallback = "liblapack.so.3";

std::atomic<void *> g_core_handle{nullptr};
std::atomic<void *> g_blas_handle{nullptr};
std::atomic<unsigned long> g_lookups{0};

[[noreturn]] void cannot_load(const char *what) {
    korbMessage(4, KORB_MSG_CANNOT_LOAD, 1, what);
    terminate_process(1);
}

// Loads `file_name` from the directory this library was loaded from. Returns null when that
// directory cannot be told or the file does not load.
void *load_beside_self(const char *file_name) {
    Dl_info info{};
    if (dladdr(reinterpret_cast<void *>(&load_beside_self), &info) == 0 ||
        info.dli_fname == nullptr) {
        return nullptr;
    }
    const char *slash = std::strrchr(info.dli_fname, '/');
    if (slash == nullptr) return nullptr;
    char path[4096];
    size_t dir_len = static_cast<size_t>(slash - info.dli_fname) + 1;
    size_t name_len = std::strlen(file_name);
    if (dir_len + name_len >= sizeof path) return nullptr;
    std::memcpy(path, info.dli_fname, dir_len);
    std::memcpy(path + dir_len, file_name, name_len + 1);
    return dlopen(path, RTLD_NOW | RTLD_LOCAL);
}

template <class Load>
void *cached(std::atomic<void *> &handle, Load load) {
    void *h = handle.load(std::memory_order_acquire);
    if (h == nullptr) {
        h = load();
        handle.store(h, std::memory_order_release);
    }
    return h;
}

}  // namespace

void *load_core_module(const char *file_name) {
    void *h = dlopen(file_name, RTLD_NOW | RTLD_NOLOAD);
    if (h == nullptr) h = load_beside_self(file_name);
    if (h == nullptr) h = dlopen(file_name, RTLD_NOW | RTLD_LOCAL);
    if (h == nullptr) cannot_load(file_name);
    return h;
}

void *load_blas_provider(const char *const *loaded_candidates, const char *fallback) {
    for (const char *const *name = loaded_candidates; *name != nullptr; ++name) {
        if (void *h = dlopen(*name, RTLD_NOW | RTLD_NOLOAD)) return h;
    }
    if (void *h = dlopen(fallback, RTLD_NOW | RTLD_LOCAL)) return h;
    cannot_load(kBlasLayerName);
}

void *module_handle(Module m) {
    switch (m) {
        case Module::core:
            return cached(g_core_handle, [] { return load_core_module(kCoreFile); });
        case Module::blas:
            return cached(g_blas_handle,
                          [] { return load_blas_provider(kBlasLoaded, kBlasFallback); });
    }
    return nullptr;
}

void *lookup_in(void *handle, const char *symbol) {
    g_lookups.fetch_add(1, std::memory_order_relaxed);
    void *p = dlsym(handle, symbol);
    if (p == nullptr) {
        korbMessage(4, KORB_MSG_FUNCTION_MISSING, 1, symbol);
        terminate_process(1);
    }
    return p;
}

void *lookup(Module m, const char *symbol) {
    return lookup_in(module_handle(m), symbol);
}

unsigned long lookup_count() {
    return g_lookups.load(std::memory_order_relaxed);
}

}  // namespace korb::frame
