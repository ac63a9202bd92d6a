// The korb command's families. Each takes the arguments after its own name and returns the
// exit status: 0, 1 for a library status, 2 for a usage error.
#pragma once

#include <span>

namespace korb::cli {

constexpr int kExitStatus = 1;
constexpr int kExitUsage = 2;

bool wants_help(int argc, char **argv);
int usage_error(const char *what, const char *arg);

// A whole number in decimal or 0x hexadecimal, the whole text, within [lo, hi].
bool parse_integer(const char *s, long long lo, long long hi, long long *out);

// A library status and the name a family's header gives it.
struct NamedStatus {
    int code;
    const char *name;
};

// Prints "korb: <what>: <NAME> (<code>)" to standard error, the name looked up in `names`, and
// returns kExitStatus.
int library_error(const char *what, int status, std::span<const NamedStatus> names);

int cmd_rng(int argc, char **argv);
void print_rng_registry();

int cmd_stats(int argc, char **argv);

int cmd_fit(int argc, char **argv);

}  // namespace korb::cli
