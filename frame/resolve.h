// Services resolved by name at run time.
//
// A Resolved<Fn, Module> is a callable slot: it starts empty, is filled with the address of its
// symbol on the first call and is never cleared. Two threads racing on an empty slot look up the
// same address and store it; the store is a relaxed atomic pointer write, so the race is benign.
// A module or symbol that cannot be found is fatal: message 1 or 3, exit code 1.
#pragma once

#include <atomic>

namespace korb::frame {

enum class Module {
    core,  // libkorb_core.so: memory and other core services
    blas,  // the BLAS/LAPACK provider
};

// The module's handle, loading it on first use (fatal when it cannot be had).
void *module_handle(Module m);

// Looks `symbol` up in the module (fatal when missing). Every call performs one look-up.
void *lookup(Module m, const char *symbol);

// Number of look-ups performed so far in this process (tests use it to prove slots are kept).
unsigned long lookup_count();

// The handle of libkorb_core.so: already loaded, else beside this library, else by the dynamic
// loader's search for `file_name`. Fatal with message 1 naming `file_name` when all fail.
void *load_core_module(const char *file_name);

// The BLAS/LAPACK provider: the first of `loaded_candidates` (a null-terminated list) already in
// the process, else `fallback` loaded by name. Fatal with message 1 "<korb-thread-layer>".
void *load_blas_provider(const char *const *loaded_candidates, const char *fallback);

// Looks `symbol` up in `handle`; fatal with message 3 naming it when it is missing.
void *lookup_in(void *handle, const char *symbol);

template <class Fn, Module M>
class Resolved;

template <class R, class... A, Module M>
class Resolved<R(A...), M> {
  public:
    using Pointer = R (*)(A...);

    explicit constexpr Resolved(const char *symbol) : symbol_(symbol) {}
    Resolved(const Resolved &) = delete;
    Resolved &operator=(const Resolved &) = delete;

    R operator()(A... args) const { return address()(args...); }

    Pointer address() const {
        void *p = slot_.load(std::memory_order_relaxed);
        if (p == nullptr) {
            p = lookup(M, symbol_);
            slot_.store(p, std::memory_order_relaxed);
        }
        return reinterpret_cast<Pointer>(p);
    }

    const char *symbol() const { return symbol_; }

  private:
    const char *symbol_;
    mutable std::atomic<void *> slot_{nullptr};
};

}  // namespace korb::frame
