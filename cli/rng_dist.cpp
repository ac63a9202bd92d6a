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
