#include "public/loader.h"

#include <dlfcn.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <string>

#include "frame/cpu.h"
#include "frame/process.h"
#include "korb/kernel/frame.h"

namespace korb::pub {
namespace {

struct Loaded {
    void *handle = nullptr;
    int cls = 0;
};

// This library's directory, with a trailing '/', or "" when the loader cannot tell.
std::string own_directory() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<const void *>(&own_directory), &info) == 0 ||
        info.dli_fname == nullptr) {
        return {};
    }
    const char *slash = std::strrchr(info.dli_fname, '/');
    if (slash == nullptr) return {};
    return std::string(info.dli_fname, static_cast<size_t>(slash - info.dli_fname) + 1);
}

// The first kernel library that loads, from the class to load downwards: each from this
// library's directory, then by the dynamic loader's search (run path, LD_LIBRARY_PATH, system
// directories). None: message 1 with the default class's file, exit code 1.
Loaded load() {
    bool forced = false;
    int cls = frame::processor_class(&forced);
    if (forced) {
        // A class the processor lacks would fault on its first instruction: say so, and serve
        // the detected class instead.
        const int detected = frame::detect_cpu_class();
        if (cls > detected) {
            korbMessage(2, KORB_MSG_CPU_TYPE_OVERRIDE, 1, cls);
            cls = detected;
        }
    }
    const std::string dir = own_directory();
    for (int c = class_to_load(cls);; c = class_to_load(c - 1)) {
        const char *file = class_file(c);
        void *h = nullptr;
        if (!dir.empty()) h = dlopen((dir + file).c_str(), RTLD_NOW | RTLD_LOCAL);
        if (h == nullptr) h = dlopen(file, RTLD_NOW | RTLD_LOCAL);
        if (h != nullptr) {
            auto version = reinterpret_cast<int (*)()>(dlsym(h, "dll_cpu_version"));
            if (version == nullptr) {
                korbMessage(4, KORB_MSG_FUNCTION_MISSING, 1, "dll_cpu_version");
                frame::terminate_process(1);
            }
            return {h, version()};
        }
        if (c == 0) break;
    }
    korbMessage(4, KORB_MSG_CANNOT_LOAD, 1, class_file(0));
    frame::terminate_process(1);
}

const Loaded &loaded() {
    static const Loaded l = load();
    return l;
}

}  // namespace

const char *class_file(int cls) {
    if (cls >= 4 && cls <= 5) return "libkorb_avx512.so";
    if (cls == 3) return "libkorb_avx2.so";
    if (cls >= 0 && cls < 3) return "libkorb_def.so";
    return nullptr;
}

int class_to_load(int cls) {
    if (cls >= 4) return 4;
    if (cls == 3) return 3;
    return 0;
}

void *kernel_library() {
    return loaded().handle;
}

int kernel_class() {
    return loaded().cls;
}

void *kernel_symbol(const char *symbol) {
    void *p = dlsym(kernel_library(), symbol);
    if (p == nullptr) {
        korbMessage(4, KORB_MSG_FUNCTION_MISSING, 1, symbol);
        frame::terminate_process(1);
    }
    return p;
}

}  // namespace korb::pub
