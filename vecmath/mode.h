// The per-thread vector-math state: mode word, error status, error callback and vector base.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "korb/kernel/vm.h"

namespace korb::vecmath {

struct ThreadState {
    std::uint32_t mode;   // 0 until initialised, and again while the environment says 0
    std::int32_t status;  // last reported status
    ArqErrorCallBack callback;
    const void *vector_base;  // null: indices are not shifted
};

// Name of the environment variable holding the initial mode, and the size of the buffer its
// value is copied into (longer values are cut to one character less).
inline constexpr const char *kModeVariable = "KORB_ARQ_MODE";
inline constexpr std::size_t kModeBufferSize = 256;

// The calling thread's state, created on first use and released when the thread exits. When it
// cannot be created, message 760 is printed and the process ends with exit code 1.
ThreadState &thread_state();

// The thread's mode word, first read from the environment when it is 0.
std::uint32_t current_mode(ThreadState &state);

// The mode word that a setting such as "ARQ_HA,ARQ_ERRMODE_STDERR" stands for: the OR of its
// keywords' values. Empty when the text is not a valid setting.
std::optional<std::uint32_t> parse_mode_setting(const char *text);

// The initial mode of a thread: the environment's setting when valid, else ARQ_MODE_DEFAULT.
std::uint32_t initial_mode();

// Stores a mode word as it is, for callers that bracket a kernel call with SetMode and must give
// the thread back exactly the word they found: SetMode keeps a group that is 0 in its argument,
// so it cannot undo a change to a group that was 0 before.
void restore_mode(std::uint32_t mode);

// `mode` with each settable group in which `requested` has a bit replaced by requested's bits.
std::uint32_t merge_mode(std::uint32_t mode, std::uint32_t requested);

}  // namespace korb::vecmath
