// The distributions korb rng can draw from: their names, parameter options, methods and
// kernels, and the summary that --stats prints.
#pragma once

#include <korb/rng.h>

#include <cstdint>
#include <limits>
#include <span>
#include <string_view>
#include <vector>

namespace korb::cli {

constexpr int kMaxDistParams = 4;
constexpr int kMaxDistMethods = 4;

struct DistParam {
    const char *option;  // "--sigma"
    double fallback;     // the value when the option is not given
};

struct DistMethod {
    const char *name;
    int id;
};

// Kernels take the parameters in the distribution's order; a null kernel is a precision the
// distribution does not have.
struct Distribution {
    const char *name;
    DistParam params[kMaxDistParams];     // unused entries have a null option
    DistMethod methods[kMaxDistMethods];  // the first is the default; unused entries null
    int (*d)(int method, BixStream *s, int n, double *r, const double *p);
    int (*s)(int method, BixStream *s, int n, float *r, const double *p);
    int (*i)(int method, BixStream *s, int n, int32_t *r, const double *p);
    // Null when the parameters are acceptable, else what is wrong with them.
    const char *(*check)(const double *p);
    // Unsigned output words of word_elements 32-bit elements each (0: the generator's own).
    int (*w)(int method, BixStream *s, int n, uint32_t *r) = nullptr;
    int word_elements = 0;
};

std::span<const Distribution> distributions();
const Distribution *find_distribution(std::string_view name);

// Whether some distribution has a parameter option of this name.
bool is_param_option(std::string_view option);

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
