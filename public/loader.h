// The kernel library behind the public entry points: chosen by processor class on first use,
// loaded from the public library's own directory, and reached through the addresses it exports.
#pragma once

namespace korb::pub {

// The loaded kernel library's handle, loading it on the first call (thread-safe). A kernel
// library that cannot be loaded is fatal: message 1 naming the default class's file, exit 1.
void *kernel_library();

// The class of the loaded kernel library (its dll_cpu_version()).
int kernel_class();

// The address of `symbol` in the kernel library; fatal (message 3, exit 1) when it is missing.
void *kernel_symbol(const char *symbol);

// A kernel entry point by name, typed as Fn. Each call site keeps the result in a function-local
// static, so the look-up runs once and later calls pay one guard check.
template <class Fn>
Fn kernel_function(const char *symbol) {
    return reinterpret_cast<Fn>(kernel_symbol(symbol));
}

// The file a class's kernel library has: "libkorb_avx512.so" for 4, "libkorb_avx2.so" for 3,
// "libkorb_def.so" for every lower class; null for a class no library serves.
const char *class_file(int cls);

// The class to load for the class in force, `cls`: the highest of 4, 3 and 0 at or below it.
int class_to_load(int cls);

}  // namespace korb::pub
