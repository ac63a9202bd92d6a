// Fuzz target: the vector-math mode setting (the KORB_ARQ_MODE value) and SetMode.
//
// The input up to its first NUL is the variable's value. The thread's mode is reset to 0, so
// that GetMode reads the variable again, and must then be what a plain model of the syntax says:
// the OR of the keywords' values when the value's first 255 characters are "ARQ_" keywords
// joined by single commas, the default mode otherwise. The rest of the input (after the NUL) is
// a sequence of 32-bit SetMode arguments, each of which may replace only the groups in which it
// has bits, and must return the mode from before.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

#include "korb/kernel/vm.h"
#include "vecmath/mode.h"

namespace {

void require(bool ok) {
    if (!ok) __builtin_trap();
}

struct Word {
    std::string_view text;
    uint32_t value;
};

constexpr Word kWords[] = {
    {"LA", 0x1},
    {"HA", 0x2},
    {"EP", 0x3},
    {"DEFAULT_PRECISION", 0x0},
    {"FLOAT_CONSISTENT", 0x10},
    {"DOUBLE_CONSISTEN", 0x20},
    {"RESTORE", 0x30},
    {"ERRMODE_IGNORE", 0x100},
    {"ERRMODE_ERRNO", 0x200},
    {"ERRMODE_STDERR", 0x400},
    {"ERRMODE_EXCEPT", 0x800},
    {"ERRMODE_CALLBACK", 0x1000},
    {"ERRMODE_DEFAULT", 0x1A00},
};

// The model: split at commas, every piece exactly "ARQ_" and a keyword.
std::optional<uint32_t> model(std::string_view value) {
    if (value.empty()) return std::nullopt;
    uint32_t mode = 0;
    for (;;) {
        const size_t comma = value.find(',');
        const std::string_view token = value.substr(0, comma);
        if (token.substr(0, 4) != "ARQ_") return std::nullopt;
        bool known = false;
        for (const Word &w : kWords) {
            if (token.substr(4) == w.text) {
                mode |= w.value;
                known = true;
                break;
            }
        }
        if (!known) return std::nullopt;
        if (comma == std::string_view::npos) return mode;
        value.remove_prefix(comma + 1);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const auto *text = reinterpret_cast<const char *>(data);
    const size_t length = strnlen(text, size);
    const std::string value(text, length);
    const std::optional<uint32_t> expected = model(std::string_view(value).substr(0, 255));

    require(korb::vecmath::parse_mode_setting(value.substr(0, 255).c_str()) == expected);
    require(setenv("KORB_ARQ_MODE", value.c_str(), 1) == 0);
    korb::vecmath::restore_mode(0);
    const uint32_t mode = korb_arq_kernel_GetMode();
    require(mode == expected.value_or(ARQ_MODE_DEFAULT));
    require(korb_arq_kernel_GetTTableIndex() == static_cast<int>(mode & 0xF) - 1);

    // SetMode with the words that follow. A stored mode of 0 is read from the variable again,
    // which says 0 once more, so GetMode always tells the mode SetMode starts from.
    constexpr uint32_t kGroups[] = {0xF, 0xFF00, 0x3C0000};
    for (size_t at = length + 1; at + 4 <= size; at += 4) {
        uint32_t word;
        std::memcpy(&word, data + at, 4);
        const uint32_t now = korb_arq_kernel_GetMode();
        require(korb_arq_kernel_SetMode(word) == now);
        uint32_t after = now;
        for (uint32_t g : kGroups) {
            if ((word & g) != 0) after = (after & ~g) | (word & g);
        }
        require(korb_arq_kernel_GetMode() == after);
    }
    unsetenv("KORB_ARQ_MODE");
    korb::vecmath::restore_mode(0);
    return 0;
}
