// The distributions korb rng can draw from, one per entry of the distribution list
// (distributions/distributions.def): their names, parameter options, methods and kernels, their
// part of the help, and the summary that --stats prints.
#pragma once

#include <korb/korb.h>

#include <cstdint>
#include <limits>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "distributions/list_kernels.h"

namespace korb::cli {

constexpr int kMaxDistParams = dist::list::kMaxParams;
constexpr int kMaxDistMethods = dist::list::kMaxMethods;

// A parameter: its option ("--sigma", null past the last) and the value when it is not given.
using DistParam = dist::list::Param;
// A method: its name (null past the last) and id.
using DistMethod = dist::list::Method;

// The kernels d, s, i take the parameters in the distribution's order, as doubles; a null kernel
// is a precision the distribution does not have. w writes unsigned words of word_elements 32-bit
// elements each (0: the generator's own).
struct Distribution : dist::list::Kernels {
    const char *name = nullptr;
    DistParam params[kMaxDistParams] = {};
    DistMethod methods[kMaxDistMethods] = {};  // the first is the default
    const dist::list::Entry *entry = nullptr;

    // Null when the parameters are in their domains, else what is wrong with the first that is
    // not (valid until the next call).
    const char *check(const double *p) const;
};

// The arrays of a distribution's array parameters, in both precisions: read from the command
// line (a vector as a comma-separated list, or one number for every element), from a file of
// numbers (a matrix), or their defaults. pointers(single) gives the kernel's `arrays`.
struct DistArrays {
    std::vector<double> values[kMaxDistParams];
    std::vector<float> singles[kMaxDistParams];
    const void *doubles_at[kMaxDistParams] = {};
    const void *floats_at[kMaxDistParams] = {};

    // An array of one element per variate holds the list given, repeated: variate i takes
    // element i modulo its length. cycle() points such arrays at the elements of `count`
    // variates from variate `from`, before each kernel call.
    bool cycled[kMaxDistParams] = {};
    std::vector<double> block_doubles[kMaxDistParams];
    std::vector<float> block_floats[kMaxDistParams];

    const void *const *pointers(bool single) const { return single ? floats_at : doubles_at; }
    void cycle(long long from, int count) {
        for (int k = 0; k < kMaxDistParams; ++k) {
            if (!cycled[k]) continue;
            const auto length = static_cast<long long>(values[k].size());
            block_doubles[k].resize(static_cast<size_t>(count));
            block_floats[k].resize(static_cast<size_t>(count));
            for (int i = 0; i < count; ++i) {
                const auto at = static_cast<size_t>((from + i) % length);
                block_doubles[k][i] = values[k][at];
                block_floats[k][i] = singles[k][at];
            }
            doubles_at[k] = block_doubles[k].data();
            floats_at[k] = block_floats[k].data();
        }
    }
};

// Fills `arrays` for distribution d whose scalar parameters `values` are admitted, from the
// option texts given (`texts`: option -> text, "--cov" for a matrix given as the covariance it
// factors), each element checked against its domain in the output precision (`single`). Null
// on success, else the message of the usage error (valid until the next call).
const char *read_arrays(const Distribution &d, const double *values,
                        const std::map<std::string, std::string, std::less<>> &texts, bool single,
                        DistArrays *arrays);

std::span<const Distribution> distributions();
const Distribution *find_distribution(std::string_view name);

// Whether some distribution has a parameter option of this name.
bool is_param_option(std::string_view option);

// The --dist part of korb rng --help: one entry per distribution with its options, their
// defaults, its methods and what it draws.
void print_distribution_help();

// Running count, mean, variance, minimum and maximum of the numbers drawn, computed by the
// library's estimators on blocks of the numbers, merged as portions.
class Summary {
  public:
    void add(double x);
    void print();

  private:
    void flush();

    std::vector<double> block_;
    long long count_ = 0;
    double weights_[2] = {0, 0};  // the accumulated-weights slot
    double mean_ = 0, raw2_ = 0, variance_ = 0;
    double min_ = std::numeric_limits<double>::infinity();
    double max_ = -std::numeric_limits<double>::infinity();
    int status_ = 0;
};

}  // namespace korb::cli
