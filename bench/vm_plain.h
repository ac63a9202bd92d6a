// The plain loops of bench_vm_plain.cpp, by function name, for bench_vm.cpp.
#pragma once

#include <cstdint>

namespace korb::bench {

// n elements of a (and b) into r1 (and r2), the benchmark's subject signature.
using PlainLoop = void (*)(int n, const void *a, const void *b, void *r1, void *r2);

struct PlainEntry {
    const char *function;  // "dAdd", "zMul", ...
    const char *subject;   // "loop", or "glibc" where the loop is the C library's function
    PlainLoop loop;
};

extern const PlainEntry kPlainLoops[];
extern const int kPlainLoopCount;

// The mask or the index vector of the Pack and Unpack loops (set by the benchmark before a run).
extern const std::int64_t *g_vm_selector;

}  // namespace korb::bench
