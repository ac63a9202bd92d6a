// The distribution table of korb rng, built from the distribution list, its help and its --stats
// summary.
#include "rng_dist.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <string>

namespace korb::cli {
namespace {

using dist::list::Bound;
using dist::list::Entry;
using dist::list::kEntries;
using dist::list::kEntryCount;
using dist::list::Param;

constexpr auto kDistributions = [] {
    std::array<Distribution, kEntryCount> table{};
    for (int k = 0; k < kEntryCount; ++k) {
        const Entry &e = kEntries[k];
        Distribution &d = table[k];
        static_cast<dist::list::Kernels &>(d) = dist::list::kKernels[k];
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

// Welford's update, so that a long run of large numbers keeps its variance.
void Summary::add(double x) {
    if (count_ == 0) min_ = max_ = x;
    ++count_;
    const double delta = x - mean_;
    mean_ += delta / static_cast<double>(count_);
    m2_ += delta * (x - mean_);
    if (x < min_) min_ = x;
    if (x > max_) max_ = x;
}

void Summary::print() const {
    const double variance = count_ > 1 ? m2_ / static_cast<double>(count_ - 1) : 0.0;
    std::printf("count %lld\nmean %.17g\nvariance %.17g\nmin %.17g\nmax %.17g\n", count_, mean_,
                variance, min_, max_);
}

}  // namespace korb::cli
