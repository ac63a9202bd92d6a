// The distribution table of korb rng, built from the distribution list, its help and its --stats
// summary.
#include "rng_dist.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#include "korb/korb.h"

namespace korb::cli {
namespace {

using dist::list::Bound;
using dist::list::Entry;
using dist::list::kEntries;
using dist::list::kEntryCount;
using dist::list::Param;

// The kernels of the list as libkorb exports them (bix<p>Rng<Kernel>, checked), in the
// signatures of dist::list::Kernels.
namespace public_kernels {
using namespace ::korb::dist::list;
#define KORB_CLI_KERNEL(letter, P, Kernel) \
    KORB_DIST_SLOT_##P(KORB_DIST_CALLER_##P<P, &bix##letter##Rng##Kernel>())
#define KORB_DIST(Id, Kernel, name, precisions, ...) \
    Kernels{KORB_DIST_EACH_##precisions(KORB_CLI_KERNEL, Kernel)},
constexpr Kernels kKernels[] = {
#include "distributions/distributions.def"
};
#undef KORB_DIST
#undef KORB_CLI_KERNEL
}  // namespace public_kernels

constexpr auto kDistributions = [] {
    std::array<Distribution, kEntryCount> table{};
    for (int k = 0; k < kEntryCount; ++k) {
        const Entry &e = kEntries[k];
        Distribution &d = table[k];
        static_cast<dist::list::Kernels &>(d) = public_kernels::kKernels[k];
        d.name = e.name;
        d.entry = &e;
        for (int j = 0; j < e.param_count; ++j) d.params[j] = e.params[j];
        for (int j = 0; j < e.method_count; ++j) d.methods[j] = e.methods[j];
    }
    return table;
}();

std::string number_text(double x) {
    char text[32];
    std::snprintf(text, sizeof text, "%.17g", x);
    return text;
}

// A parameter's domain with the other parameters by their options: "(--a, inf)".
std::string domain_text(const Entry &e, const Param &p) {
    const auto end = [&](const Bound &b, bool low) -> std::string {
        if (b.kind == Bound::kUnbounded) return low ? "-inf" : "inf";
        if (b.kind == Bound::kConstant) return number_text(b.value);
        const Param &other = e.params[b.param];
        return other.option != nullptr ? other.option : other.name;
    };
    std::string text = p.low.closed ? "[" : "(";
    text += end(p.low, true);
    text += ", ";
    text += end(p.high, false);
    text += p.high.closed ? "]" : ")";
    return text;
}

}  // namespace

const char *Distribution::check(const double *p) const {
    const int k = dist::list::refused(*entry, p);
    if (k < 0) return nullptr;
    const Param &param = entry->params[k];
    const bool unbounded =
        param.low.kind == Bound::kUnbounded && param.high.kind == Bound::kUnbounded;
    static std::string message;
    message = std::string(param.option != nullptr ? param.option : param.name);
    if (param.type == dist::list::Type::kInt) {
        message += " must be a 32-bit integer";
        if (!unbounded) message += " in " + domain_text(*entry, param);
    } else {
        message += unbounded ? " must be finite" : " must lie in " + domain_text(*entry, param);
    }
    return message.c_str();
}

namespace {

// Numbers separated by commas; an empty item is an error.
bool parse_list(const std::string &text, std::vector<double> *out) {
    out->clear();
    size_t start = 0;
    for (;;) {
        const size_t comma = text.find(',', start);
        const std::string item = text.substr(start, comma - start);
        char *end = nullptr;
        const double x = std::strtod(item.c_str(), &end);
        if (item.empty() || std::isspace(static_cast<unsigned char>(item[0])) || *end != '\0') {
            return false;
        }
        out->push_back(x);
        if (comma == std::string::npos) return true;
        start = comma + 1;
    }
}

// Every number of a text file, whatever its line layout.
const char *read_numbers(const std::string &path, std::vector<double> *out) {
    static std::string message;
    out->clear();
    std::FILE *f = std::fopen(path.c_str(), "r");
    if (f == nullptr) {
        message = "cannot open " + path;
        return message.c_str();
    }
    char word[128];
    bool bad = false;
    while (std::fscanf(f, "%127s", word) == 1) {
        char *end = nullptr;
        out->push_back(std::strtod(word, &end));
        if (*end != '\0') {
            message = path + " holds '" + word + "', not a number";
            bad = true;
            break;
        }
    }
    std::fclose(f);
    return bad ? message.c_str() : nullptr;
}

// The lower Cholesky factor T of the d x d row-major matrix m in place (T T' = m), the part
// above the diagonal cleared. A semi-definite m is accepted: a pivot within rounding of 0
// gives a zero column. False when m is not symmetric or not positive semi-definite.
bool cholesky(std::vector<double> &m, int64_t d) {
    double scale = 0;
    for (int64_t i = 0; i < d; ++i) scale = std::max(scale, std::fabs(m[i * d + i]));
    const double tiny = 1e-12 * scale * static_cast<double>(d);
    for (int64_t i = 0; i < d; ++i) {
        for (int64_t j = 0; j < i; ++j) {
            const double x = m[i * d + j], y = m[j * d + i];
            if (std::fabs(x - y) > 1e-12 * std::max(std::fabs(x), std::fabs(y))) return false;
        }
    }
    for (int64_t j = 0; j < d; ++j) {
        double pivot = m[j * d + j];
        for (int64_t k = 0; k < j; ++k) pivot -= m[j * d + k] * m[j * d + k];
        if (pivot < -tiny) return false;
        const double root = pivot > tiny ? std::sqrt(pivot) : 0.0;
        m[j * d + j] = root;
        for (int64_t i = j + 1; i < d; ++i) {
            double x = m[i * d + j];
            for (int64_t k = 0; k < j; ++k) x -= m[i * d + k] * m[j * d + k];
            if (root == 0.0) {
                if (std::fabs(x) > tiny) return false;
                m[i * d + j] = 0.0;
            } else {
                m[i * d + j] = x / root;
            }
        }
        for (int64_t i = 0; i < j; ++i) m[i * d + j] = 0.0;
    }
    return true;
}

// The full d x d matrix m in storage code `storage`; false when the diagonal storage would drop
// a non-zero element.
bool to_storage(const std::vector<double> &m, int64_t d, int storage, std::vector<double> *out) {
    out->clear();
    for (int64_t i = 0; i < d; ++i) {
        for (int64_t j = 0; j < d; ++j) {
            const double x = m[i * d + j];
            const bool kept = storage == 0 || (storage == 1 && j <= i) || (storage == 2 && j == i);
            if (kept) {
                out->push_back(x);
            } else if (storage == 2 && j < i && x != 0.0) {
                return false;
            }
        }
    }
    return true;
}

// Elements beyond which korb rng refuses an array: a matrix of 2^26 doubles is half a gigabyte.
constexpr int64_t kMaxArrayElements = int64_t{1} << 26;

}  // namespace

const char *read_arrays(const Distribution &d, const double *values,
                        const std::map<std::string, std::string, std::less<>> &texts, bool single,
                        DistArrays *arrays) {
    static std::string message;
    const Entry &e = *d.entry;
    for (int k = 0; k < e.param_count; ++k) {
        const Param &p = e.params[k];
        if (p.type != dist::list::Type::kRealArray) continue;
        const std::string option = p.option != nullptr ? p.option : p.name;
        const bool per_variate = p.length.kind == dist::list::Length::kVariates;
        // One element per variate: the list given (or the default) is repeated over the variates.
        const auto listed = p.option != nullptr ? texts.find(p.option) : texts.end();
        std::vector<double> list;
        if (per_variate && listed != texts.end() && !parse_list(listed->second, &list)) {
            message = option + " takes numbers separated by commas, got " + listed->second;
            return message.c_str();
        }
        const int64_t count = per_variate ? std::max<int64_t>(1, static_cast<int64_t>(list.size()))
                                          : dist::list::length(p, 0, values);
        arrays->cycled[k] = per_variate;
        if (count < 0 || count > kMaxArrayElements) {
            message = option + " would have " + std::to_string(count) + " elements";
            return message.c_str();
        }
        std::vector<double> &x = arrays->values[k];
        const auto given = p.option != nullptr ? texts.find(p.option) : texts.end();
        if (p.length.kind == dist::list::Length::kMatrix) {
            const int64_t dim = static_cast<int64_t>(values[p.length.param]);
            const int storage = static_cast<int>(values[p.length.storage]);
            const auto cov = texts.find("--cov");
            if (given != texts.end() && cov != texts.end()) {
                message = "give " + option + " or --cov, not both";
                return message.c_str();
            }
            if (cov != texts.end()) {
                std::vector<double> m;
                if (const char *wrong = read_numbers(cov->second, &m)) return wrong;
                if (static_cast<int64_t>(m.size()) != dim * dim) {
                    message = "--cov needs " + std::to_string(dim * dim) + " numbers, " +
                              cov->second + " holds " + std::to_string(m.size());
                    return message.c_str();
                }
                if (!cholesky(m, dim)) {
                    message = "the matrix of " + cov->second +
                              " is not a symmetric positive semi-definite covariance";
                    return message.c_str();
                }
                if (!to_storage(m, dim, storage, &x)) {
                    message = "the covariance of " + cov->second + " is not diagonal";
                    return message.c_str();
                }
            } else if (given != texts.end()) {
                if (const char *wrong = read_numbers(given->second, &x)) return wrong;
            } else {
                std::vector<double> identity(static_cast<size_t>(dim * dim), 0.0);
                for (int64_t i = 0; i < dim; ++i) identity[i * dim + i] = p.fallback;
                to_storage(identity, dim, storage, &x);
            }
        } else if (given != texts.end()) {
            if (!parse_list(given->second, &x)) {
                message = option + " takes numbers separated by commas, got " + given->second;
                return message.c_str();
            }
            if (x.size() == 1) x.assign(static_cast<size_t>(count), x[0]);
        } else {
            x.assign(static_cast<size_t>(count), p.fallback);
        }
        if (static_cast<int64_t>(x.size()) != count) {
            message = option + " needs " + std::to_string(count) + " numbers, got " +
                      std::to_string(x.size());
            return message.c_str();
        }
        arrays->singles[k].assign(x.begin(), x.end());
        const int64_t bad =
            single ? dist::list::refused_element(p, arrays->singles[k].data(), count, values)
                   : dist::list::refused_element(p, x.data(), count, values);
        if (bad >= 0) {
            message = option + ": element " + std::to_string(bad) + " must lie in " +
                      domain_text(e, p) + (single ? " in single precision" : "");
            return message.c_str();
        }
        arrays->doubles_at[k] = x.data();
        arrays->floats_at[k] = arrays->singles[k].data();
    }
    return nullptr;
}

std::span<const Distribution> distributions() {
    return kDistributions;
}

const Distribution *find_distribution(std::string_view name) {
    for (const Distribution &d : kDistributions) {
        if (name == d.name) return &d;
    }
    return nullptr;
}

bool is_param_option(std::string_view option) {
    for (const Distribution &d : kDistributions) {
        for (const DistParam &p : d.params) {
            if (p.option != nullptr && option == p.option) return true;
        }
    }
    return false;
}

void print_distribution_help() {
    std::string options[kEntryCount];
    int name_width = 0, options_width = 0;
    for (int k = 0; k < kEntryCount; ++k) {
        const Distribution &d = kDistributions[k];
        for (const DistParam &p : d.params) {
            if (p.option == nullptr) continue;
            char text[64];
            std::snprintf(text, sizeof text, "%s%s %g", options[k].empty() ? "" : " ", p.option,
                          p.fallback);
            options[k] += text;
        }
        name_width = std::max(name_width, static_cast<int>(std::strlen(d.name)));
        options_width = std::max(options_width, static_cast<int>(options[k].size()));
    }
    for (int k = 0; k < kEntryCount; ++k) {
        const Distribution &d = kDistributions[k];
        std::string methods;
        for (const DistMethod &m : d.methods) {
            if (m.name != nullptr) methods += (methods.empty() ? "" : ", ") + std::string(m.name);
        }
        std::printf("  %-*s  %-*s  %s\n", name_width, d.name, options_width, options[k].c_str(),
                    methods.c_str());
        std::printf("  %-*s    %s\n", name_width, "", d.entry->about);
    }
}

constexpr size_t kSummaryBlock = 4096;

void Summary::add(double x) {
    block_.push_back(x);
    ++count_;
    if (block_.size() == kSummaryBlock) flush();
}

// The block joins the earlier ones: the basic estimator merges it into the mean, raw moment and
// variance through the accumulated-weights slot, the min/max estimator lowers and raises.
void Summary::flush() {
    if (block_.empty() || status_ != 0) return;
    const int p = 1, n = static_cast<int>(block_.size());
    const int storage = BIX_SS_MATRIX_STORAGE_COLS;
    BixSSTask *task = nullptr;
    int status = bixdSSNewTask(&task, &p, &n, &storage, block_.data(), nullptr, nullptr);
    if (status == BIX_ERROR_OK) {
        bixdSSEditMoments(task, &mean_, &raw2_, nullptr, nullptr, &variance_, nullptr, nullptr);
        bixdSSEditTask(task, BIX_SS_ID_ACCUM_WEIGHTS, weights_);
        bixdSSEditTask(task, BIX_SS_ID_MIN, &min_);
        bixdSSEditTask(task, BIX_SS_ID_MAX, &max_);
        status = bixdSSCompute(task, BIX_SS_EST_MEAN | BIX_SS_EST_CEN2, BIX_SS_METHOD_ONE_PASS);
        if (status == BIX_ERROR_OK) {
            status = bixdSSCompute(task, BIX_SS_EST_MIN | BIX_SS_EST_MAX, BIX_SS_METHOD_ONE_PASS);
        }
        bixSSDeleteTask(&task);
    }
    status_ = status;
    block_.clear();
}

void Summary::print() {
    flush();
    if (status_ != 0) {
        std::fprintf(stderr, "korb: rng --stats: summary statistics status %d\n", status_);
        return;
    }
    // One number has no variance (0/0): print the NaN without the sign x86 gives it.
    const double variance = std::isnan(variance_) ? std::nan("") : variance_;
    std::printf("count %lld\nmean %.17g\nvariance %.17g\nmin %.17g\nmax %.17g\n", count_, mean_,
                variance, min_, max_);
}

}  // namespace korb::cli
