// The per-thread vector-math state and the mode and status services.
//
// A thread's state lives in a small block from the core library's allocator (korbMalloc),
// created by the first service call in that thread. A thread_local owner frees it when the
// thread exits; glibc runs that destructor before the thread's join completes and keeps this
// library mapped while any thread still has it pending. The main thread's block is freed by the
// same destructor during exit().
#include "mode.h"

#include <cstdlib>
#include <cstring>
#include <new>

#include "frame/process.h"
#include "korb/kernel/frame.h"
#include "korb/kernel/vm.h"

namespace korb::vecmath {
namespace {

constexpr std::uint32_t kSettableGroups[] = {ARQ_ACCURACY_MASK, ARQ_ERRMODE_MASK,
                                             ARQ_DENORMALS_MASK};

struct Keyword {
    const char *text;
    std::uint32_t value;
};

// Tried in this order; the first that is a prefix of the rest of the token wins, so the order
// is part of the syntax (no keyword here is a prefix of a later one, but a token such as
// "ARQ_DOUBLE_CONSISTENT" matches "DOUBLE_CONSISTEN" and then fails on the character after it).
constexpr Keyword kKeywords[] = {
    {"LA", ARQ_LA},
    {"HA", ARQ_HA},
    {"EP", ARQ_EP},
    {"DEFAULT_PRECISION", ARQ_DEFAULT_PRECISION},
    {"FLOAT_CONSISTENT", ARQ_FLOAT_CONSISTENT},
    {"DOUBLE_CONSISTEN", ARQ_DOUBLE_CONSISTENT},
    {"RESTORE", ARQ_RESTORE},
    {"ERRMODE_IGNORE", ARQ_ERRMODE_IGNORE},
    {"ERRMODE_ERRNO", ARQ_ERRMODE_ERRNO},
    {"ERRMODE_STDERR", ARQ_ERRMODE_STDERR},
    {"ERRMODE_EXCEPT", ARQ_ERRMODE_EXCEPT},
    {"ERRMODE_CALLBACK", ARQ_ERRMODE_CALLBACK},
    {"ERRMODE_DEFAULT", ARQ_ERRMODE_DEFAULT},
};

constexpr char kTokenPrefix[] = "ARQ_";
constexpr std::size_t kTokenPrefixLen = sizeof kTokenPrefix - 1;

const Keyword *match_keyword(const char *p) {
    for (const Keyword &k : kKeywords) {
        if (std::strncmp(p, k.text, std::strlen(k.text)) == 0) return &k;
    }
    return nullptr;
}

// Frees the thread's block when the thread exits.
struct BlockOwner {
    ThreadState *block = nullptr;
    ~BlockOwner() {
        korbFree(block);
        block = nullptr;
    }
};

thread_local BlockOwner t_owner;

[[gnu::noinline, gnu::cold]] ThreadState *create_block() {
    void *p = korbMalloc(sizeof(ThreadState), 64);
    if (p == nullptr) {
        korbMessage(4, KORB_MSG_MEMORY_ERROR, 0);
        frame::terminate_process(1);
    }
    // The vector base starts null too, so that an unset base never shifts an index.
    t_owner.block = new (p) ThreadState{0, ARQ_STATUS_OK, nullptr, nullptr};
    return t_owner.block;
}

}  // namespace

ThreadState &thread_state() {
    ThreadState *block = t_owner.block;
    if (block == nullptr) [[unlikely]]
        block = create_block();
    return *block;
}

std::optional<std::uint32_t> parse_mode_setting(const char *text) {
    if (text == nullptr || text[0] != 'A') return std::nullopt;
    std::uint32_t mode = 0;
    const char *p = text;
    for (;;) {
        if (std::strncmp(p, kTokenPrefix, kTokenPrefixLen) != 0) return std::nullopt;
        p += kTokenPrefixLen;
        const Keyword *k = match_keyword(p);
        if (k == nullptr) return std::nullopt;
        mode |= k->value;
        p += std::strlen(k->text);
        if (*p == '\0') return mode;
        if (*p != ',') return std::nullopt;
        ++p;  // the next token starts right after the comma
    }
}

std::uint32_t initial_mode() {
    char buffer[kModeBufferSize] = {};
    if (const char *value = std::getenv(kModeVariable)) {
        std::strncpy(buffer, value, sizeof buffer - 1);
    }
    return parse_mode_setting(buffer).value_or(ARQ_MODE_DEFAULT);
}

std::uint32_t current_mode(ThreadState &state) {
    if (state.mode == 0) state.mode = initial_mode();
    return state.mode;
}

std::uint32_t merge_mode(std::uint32_t mode, std::uint32_t requested) {
    for (std::uint32_t group : kSettableGroups) {
        if ((requested & group) != 0) mode = (mode & ~group) | (requested & group);
    }
    return mode;
}

void restore_mode(std::uint32_t mode) {
    thread_state().mode = mode;
}

namespace {

unsigned int set_mode(ThreadState &state, unsigned int requested) {
    const std::uint32_t old = current_mode(state);
    state.mode = merge_mode(old, requested);
    return old;
}

int table_index(std::uint32_t mode) {
    return static_cast<int>(mode & ARQ_ACCURACY_MASK) - 1;
}

// Turns the callback bit on or off through SetMode, so an error-mode group that would become 0
// is kept as it is.
void set_callback_bit(ThreadState &state, bool on) {
    const std::uint32_t mode = current_mode(state);
    set_mode(state, on ? mode | ARQ_ERRMODE_CALLBACK : mode & ~ARQ_ERRMODE_CALLBACK);
}

}  // namespace
}  // namespace korb::vecmath

using korb::vecmath::thread_state;

extern "C" {

unsigned int korb_arq_kernel_GetMode(void) {
    return korb::vecmath::current_mode(thread_state());
}

unsigned int korb_arq_kernel_SetMode(unsigned int mode) {
    return korb::vecmath::set_mode(thread_state(), mode);
}

int korb_arq_kernel_GetTTableIndex(void) {
    return korb::vecmath::table_index(korb::vecmath::current_mode(thread_state()));
}

int korb_arq_kernel_GetTTableIndexM(const void *, unsigned int mode) {
    return korb::vecmath::table_index(mode);
}

int korb_arq_kernel_SetErrStatus(int status) {
    korb::vecmath::ThreadState &s = thread_state();
    const int old = s.status;
    s.status = status;
    return old;
}

int korb_arq_kernel_GetErrStatus(void) {
    return thread_state().status;
}

int korb_arq_kernel_ClearErrStatus(void) {
    return korb_arq_kernel_SetErrStatus(ARQ_STATUS_OK);
}

ArqErrorCallBack korb_arq_kernel_SetErrorCallBack(ArqErrorCallBack callback) {
    korb::vecmath::ThreadState &s = thread_state();
    const ArqErrorCallBack old = s.callback;
    s.callback = callback;
    korb::vecmath::set_callback_bit(s, callback != nullptr);
    return old;
}

ArqErrorCallBack korb_arq_kernel_GetErrorCallBack(void) {
    return thread_state().callback;
}

ArqErrorCallBack korb_arq_kernel_ClearErrorCallBack(void) {
    return korb_arq_kernel_SetErrorCallBack(nullptr);
}

const void *korb_arq_kernel_SetInterfInputVectorPointer(const void *base) {
    thread_state().vector_base = base;
    return base;
}

unsigned int korb_arq_kernel_RestoreMode(unsigned int mode) {
    korb::vecmath::ThreadState &s = thread_state();
    const unsigned int old = korb::vecmath::current_mode(s);
    s.mode = mode;
    return old;
}

// The _arq names are the same functions.
#define KORB_ARQ_ALIAS(op) \
    decltype(korb_arq_kernel_##op) _arq##op __attribute__((alias("korb_arq_kernel_" #op)));
KORB_ARQ_ALIAS(GetMode)
KORB_ARQ_ALIAS(SetMode)
KORB_ARQ_ALIAS(SetErrStatus)
KORB_ARQ_ALIAS(GetErrStatus)
KORB_ARQ_ALIAS(ClearErrStatus)
KORB_ARQ_ALIAS(SetErrorCallBack)
KORB_ARQ_ALIAS(GetErrorCallBack)
KORB_ARQ_ALIAS(ClearErrorCallBack)
KORB_ARQ_ALIAS(SetInterfInputVectorPointer)
#undef KORB_ARQ_ALIAS
}
