// The distribution list (distributions/distributions.def) as constant data: every kernel with its
// output precisions, its parameters in argument order (type, domain, korb rng option and default)
// and its methods. Header-only and constexpr, so that korb rng, the tests, the benchmarks and the
// argument checks of a dispatching layer read one set of facts; distributions/list_kernels.h
// adds the kernels themselves.
//
// A domain is written as an interval, "(0, inf)", "[0, 1]", "(a, inf)", "[0, l]": each end is a
// number, -inf, inf or another parameter of the same kernel by name, with "(" or ")" for an open
// end and "[" or "]" for a closed one. It is parsed when this header is compiled (a malformed
// one, or one naming an unknown parameter, does not compile) and evaluated by admits():
// - a Real must be finite (so NaN and both infinities are refused) and lie inside;
// - an Int must be a whole number within the 32-bit signed range and lie inside;
// - an array parameter (KORB_ARRAY) has a length rule, "n" (one element per variate), a
//   parameter's name (that many elements) or "matrix(d, s)" (a d x d matrix in the storage
//   coded by parameter s: 0 full, d * d elements; 1 packed triangle, d (d + 1) / 2; 2 the
//   diagonal, d), and its domain holds for every element the kernel reads (a full matrix is
//   read in its lower triangle only: refused_element()). An array may have a korb rng option
//   and a default: a vector's default fills every element, a matrix's is that times the
//   identity.
// - KORB_DIMENSION declares the Int parameter that makes each variate a vector of that many
//   elements: the kernel writes n times its value into r (Entry::dimension).
// Bounds that name parameters express the relations between them: "b in (a, inf)" is a < b,
// "s in [0, l]" is 0 <= s <= l.
//
// An entry may end with KORB_RANGE("support", reach): the support is an interval in the same
// syntax that every variate lies in ("[a, inf)"), read by the tests; reach, a C++ expression of
// the parameters, bounds the magnitude of every variate the kernel can produce, and the public
// library refuses parameters whose reach the output type cannot hold (see public/rng.cpp).
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string_view>

namespace korb::dist::list {

constexpr int kMaxParams = 6;
constexpr int kMaxMethods = 8;

// Output precisions of a kernel, the bits of Entry::precisions.
enum Precision : unsigned {
    kDouble = 1u << 0,   // _bixdRng<Kernel>: double variates, double parameters
    kSingle = 1u << 1,   // _bixsRng<Kernel>: float variates, float parameters
    kInteger = 1u << 2,  // _bixiRng<Kernel>: int variates, double parameters
    kWords = 1u << 3,    // _bixiRng<Kernel>: the generator's own output words, as uint32_t
    kWords32 = 1u << 4,  // _bixiRng<Kernel>: uint32_t words
    kWords64 = 1u << 5,  // _bixiRng<Kernel>: uint64_t words
};
constexpr unsigned kAnyWords = kWords | kWords32 | kWords64;

enum class Type {
    kReal,       // float for the single-precision kernel, double for the others
    kInt,        // int
    kRealArray,  // const pointer to reals
};

// One end of a domain.
struct Bound {
    enum Kind { kUnbounded, kConstant, kParameter };
    Kind kind = kUnbounded;
    bool closed = false;  // the end itself belongs to the domain
    double value = 0;     // kConstant
    int param = -1;       // kParameter: the position of that parameter
};

// How many elements an array parameter has.
struct Length {
    enum Kind { kScalar, kVariates, kParameter, kMatrix };
    Kind kind = kScalar;
    int param = -1;    // kParameter: that parameter's value; kMatrix: the dimension
    int storage = -1;  // kMatrix: the parameter holding the storage code
};

struct Param {
    const char *name = nullptr;  // as in the kernel's prototype
    Type type = Type::kReal;
    const char *domain = nullptr;  // as written in the list
    Bound low, high;
    Length length;
    const char *option = nullptr;  // korb rng's option for it, null for none
    double fallback = 0;           // korb rng's value when the option is not given
    bool dimension = false;        // KORB_DIMENSION: the elements of one variate
};

struct Method {
    const char *constant = nullptr;  // the id's name in korb/kernel/rng.h, less BIX_RNG_METHOD_
    int id = 0;
    const char *name = nullptr;  // korb rng --method NAME
};

struct Entry {
    const char *id = nullptr;      // unique within the list
    const char *kernel = nullptr;  // _bix<p>Rng<kernel>
    const char *name = nullptr;    // korb rng --dist NAME
    unsigned precisions = 0;
    Param params[kMaxParams] = {};
    int param_count = 0;
    Method methods[kMaxMethods] = {};
    int method_count = 0;
    const char *about = nullptr;  // one line on what the variates are
    int dimension = -1;           // the KORB_DIMENSION parameter, -1 when variates are scalars
    // The interval every variate lies in, or null when the list does not say; low and high as
    // for a domain (for the words kernels, which take no parameter, only numbers).
    const char *support = nullptr;
    Bound support_low, support_high;
};

// --- Evaluation ---------------------------------------------------------------------------

constexpr double kIntMin = -2147483648.0;
constexpr double kIntMax = 2147483647.0;

constexpr bool is_finite(double x) {
    return x - x == 0;  // false for NaN and both infinities
}

constexpr bool is_int(double x) {
    return x >= kIntMin && x <= kIntMax && x == static_cast<double>(static_cast<int64_t>(x));
}

// Whether x satisfies the bound `end` (the low end when `low`), the parameters' values being
// `values` in argument order. A comparison with NaN on either side fails.
constexpr bool within(const Bound &end, bool low, double x, const double *values) {
    double limit = end.value;
    if (end.kind == Bound::kUnbounded) return true;
    if (end.kind == Bound::kParameter) limit = values[end.param];
    if (low) return end.closed ? x >= limit : x > limit;
    return end.closed ? x <= limit : x < limit;
}

// Whether x is an admissible value of parameter p (of one element, for an array parameter).
constexpr bool admits(const Param &p, double x, const double *values) {
    if (!is_finite(x)) return false;
    if (p.type == Type::kInt && !is_int(x)) return false;
    return within(p.low, true, x, values) && within(p.high, false, x, values);
}

// Whether x lies in the entry's support for the parameters `values` (true when the list gives no
// support). NaN lies in none.
constexpr bool supports(const Entry &e, double x, const double *values) {
    if (e.support == nullptr) return true;
    if (x != x) return false;
    return within(e.support_low, true, x, values) && within(e.support_high, false, x, values);
}

// The position of the first scalar parameter whose value is refused, or -1 when all are
// admitted. Array parameters are left to the caller (their elements through admits(), their
// size through length()).
constexpr int refused(const Entry &e, const double *values) {
    for (int k = 0; k < e.param_count; ++k) {
        if (e.params[k].length.kind == Length::kScalar && !admits(e.params[k], values[k], values)) {
            return k;
        }
    }
    return -1;
}

// The number of elements of array parameter p for n variates, or -1 when the parameters it
// depends on do not give one (each must be an admitted value).
constexpr int64_t length(const Param &p, int n, const double *values) {
    switch (p.length.kind) {
        case Length::kScalar:
            return 1;
        case Length::kVariates:
            return n;
        case Length::kParameter:
            return static_cast<int64_t>(values[p.length.param]);
        case Length::kMatrix: {
            const auto d = static_cast<int64_t>(values[p.length.param]);
            const double storage = values[p.length.storage];
            if (storage == 0) return d * d;
            if (storage == 1) return d * (d + 1) / 2;
            if (storage == 2) return d;
            return -1;
        }
    }
    return -1;
}

// The position of the first element of array parameter p (of `count` elements, `count` as
// length() gives it) that the kernel reads and that is refused, or -1 when all are admitted. A
// full matrix is read in its lower triangle only: the elements above the diagonal may hold
// anything.
template <class R>
constexpr int64_t refused_element(const Param &p, const R *x, int64_t count, const double *values) {
    const bool full = p.length.kind == Length::kMatrix && values[p.length.storage] == 0;
    const int64_t d = full ? static_cast<int64_t>(values[p.length.param]) : 0;
    for (int64_t k = 0; k < count; ++k) {
        if (full && k % d > k / d) continue;
        if (!admits(p, static_cast<double>(x[k]), values)) return k;
    }
    return -1;
}

// --- Reading the list ---------------------------------------------------------------------

// An entry's parameter as the list writes it.
struct WrittenParam {
    const char *name;
    Type type;
    const char *length;  // null for a scalar
    const char *domain;
    const char *option = nullptr;
    double fallback = 0;
    bool dimension = false;
};

namespace read {

// Called only when the list is malformed: a constant evaluation reaching it fails, and the
// compiler names this function in its message.
void distributions_def_is_malformed();

constexpr bool is_space(char c) {
    return c == ' ' || c == '\t';
}
constexpr bool is_name_char(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

struct Cursor {
    std::string_view text;
    size_t at = 0;

    constexpr void skip_spaces() {
        while (at < text.size() && is_space(text[at])) ++at;
    }
    constexpr char peek() {
        skip_spaces();
        return at < text.size() ? text[at] : '\0';
    }
    constexpr void expect(char c) {
        if (peek() != c) distributions_def_is_malformed();
        ++at;
    }
    constexpr std::string_view word() {
        skip_spaces();
        const size_t begin = at;
        while (at < text.size() &&
               (is_name_char(text[at]) || text[at] == '.' ||
                ((text[at] == '-' || text[at] == '+') &&
                 (at == begin || text[at - 1] == 'e' || text[at - 1] == 'E')))) {
            ++at;
        }
        if (at == begin) distributions_def_is_malformed();
        return text.substr(begin, at - begin);
    }
};

// A decimal number: digits with an optional sign, point and exponent. Its digits must form an
// integer below 2^53 and its power of ten lie within 10^+-22, so that the value is one exact
// product or quotient, correctly rounded.
constexpr double number(std::string_view w) {
    bool negative = false;
    size_t i = 0;
    if (w[0] == '-' || w[0] == '+') negative = w[i++] == '-';
    uint64_t digits = 0;
    int scale = 0, count = 0;
    bool point = false;
    for (; i < w.size() && w[i] != 'e' && w[i] != 'E'; ++i) {
        if (w[i] == '.' && !point) {
            point = true;
            continue;
        }
        if (w[i] < '0' || w[i] > '9') distributions_def_is_malformed();
        digits = digits * 10 + static_cast<uint64_t>(w[i] - '0');
        if (digits >= (uint64_t{1} << 53)) distributions_def_is_malformed();
        scale -= point ? 1 : 0;
        ++count;
    }
    if (count == 0) distributions_def_is_malformed();
    if (i < w.size()) {
        int exponent = 0, sign = 1;
        if (++i < w.size() && (w[i] == '-' || w[i] == '+')) sign = w[i++] == '-' ? -1 : 1;
        if (i == w.size()) distributions_def_is_malformed();
        for (; i < w.size(); ++i) {
            if (w[i] < '0' || w[i] > '9' || exponent > 400) distributions_def_is_malformed();
            exponent = exponent * 10 + (w[i] - '0');
        }
        scale += sign * exponent;
    }
    if (scale < -22 || scale > 22) distributions_def_is_malformed();
    double power = 1;
    for (int k = 0; k < (scale < 0 ? -scale : scale); ++k) power *= 10;
    const double magnitude =
        scale < 0 ? static_cast<double>(digits) / power : static_cast<double>(digits) * power;
    return negative ? -magnitude : magnitude;
}

// The position of the parameter called `name` among `params`, other than `self`.
constexpr int position(std::string_view name, std::initializer_list<WrittenParam> params,
                       int self) {
    int k = 0;
    for (const WrittenParam &p : params) {
        if (k != self && name == p.name) return k;
        ++k;
    }
    distributions_def_is_malformed();
    return -1;
}

constexpr Bound end_of(std::string_view w, std::initializer_list<WrittenParam> params, int self,
                       bool low) {
    Bound b;
    if (w == (low ? "-inf" : "inf")) return b;
    if ((w[0] >= '0' && w[0] <= '9') || w[0] == '-' || w[0] == '+' || w[0] == '.') {
        b.kind = Bound::kConstant;
        b.value = number(w);
    } else {
        b.kind = Bound::kParameter;
        b.param = position(w, params, self);
    }
    return b;
}

constexpr void interval(const char *text, Bound *low, Bound *high,
                        std::initializer_list<WrittenParam> params, int self) {
    Cursor c{text};
    const char open = c.peek();
    if (open != '(' && open != '[') distributions_def_is_malformed();
    ++c.at;
    *low = end_of(c.word(), params, self, true);
    c.expect(',');
    *high = end_of(c.word(), params, self, false);
    const char close = c.peek();
    if (close != ')' && close != ']') distributions_def_is_malformed();
    ++c.at;
    if (c.peek() != '\0') distributions_def_is_malformed();
    low->closed = open == '[';
    high->closed = close == ']';
    // An infinite end is never reached: "[-inf" and "inf]" are not domains of finite numbers.
    if ((low->kind == Bound::kUnbounded && low->closed) ||
        (high->kind == Bound::kUnbounded && high->closed)) {
        distributions_def_is_malformed();
    }
}

constexpr void domain(Param *p, std::initializer_list<WrittenParam> params, int self) {
    interval(p->domain, &p->low, &p->high, params, self);
}

constexpr Length length_of(std::string_view text, std::initializer_list<WrittenParam> params,
                           int self) {
    Length l;
    Cursor c{text};
    const std::string_view w = c.word();
    if (w == "n") {
        l.kind = Length::kVariates;
    } else if (w == "matrix") {
        l.kind = Length::kMatrix;
        c.expect('(');
        l.param = position(c.word(), params, self);
        c.expect(',');
        l.storage = position(c.word(), params, self);
        c.expect(')');
    } else {
        l.kind = Length::kParameter;
        l.param = position(w, params, self);
    }
    if (c.peek() != '\0') distributions_def_is_malformed();
    return l;
}

constexpr bool same(const char *a, const char *b) {
    return std::string_view(a) == std::string_view(b);
}

}  // namespace read

// One entry from its fields as the list writes them, checked: every domain and length parses,
// the default of every option lies in its domain, method names and ids are unique, and the
// word kernels take no parameter.
consteval Entry make_entry(const char *id, const char *kernel, const char *name,
                           unsigned precisions, std::initializer_list<WrittenParam> params,
                           std::initializer_list<Method> methods, const char *about,
                           const char *support = nullptr) {
    using read::distributions_def_is_malformed;
    Entry e;
    e.id = id;
    e.kernel = kernel;
    e.name = name;
    e.precisions = precisions;
    e.about = about;
    if (params.size() > kMaxParams || methods.size() == 0 || methods.size() > kMaxMethods) {
        distributions_def_is_malformed();
    }
    if ((precisions & kAnyWords) != 0 && params.size() != 0) distributions_def_is_malformed();
    int k = 0;
    for (const WrittenParam &w : params) {
        Param &p = e.params[k];
        p.name = w.name;
        p.type = w.type;
        p.domain = w.domain;
        p.option = w.option;
        p.fallback = w.fallback;
        p.dimension = w.dimension;
        read::domain(&p, params, k);
        if (w.length != nullptr) p.length = read::length_of(w.length, params, k);
        if ((w.type == Type::kRealArray) != (w.length != nullptr)) distributions_def_is_malformed();
        // One dimension at most, an Int of at least 1 whatever its value.
        if (w.dimension) {
            if (e.dimension >= 0 || w.type != Type::kInt || p.low.kind != Bound::kConstant ||
                p.low.value < (p.low.closed ? 1 : 0)) {
                distributions_def_is_malformed();
            }
            e.dimension = k;
        }
        ++k;
    }
    // Vector variates carry real parameters only in the real precisions.
    if (e.dimension >= 0 && (precisions & ~(kDouble | kSingle)) != 0) {
        distributions_def_is_malformed();
    }
    e.param_count = k;
    double fallbacks[kMaxParams] = {};
    for (int j = 0; j < e.param_count; ++j) fallbacks[j] = e.params[j].fallback;
    for (int j = 0; j < e.param_count; ++j) {
        const Param &p = e.params[j];
        if (p.option != nullptr && !admits(p, p.fallback, fallbacks)) {
            distributions_def_is_malformed();
        }
    }
    k = 0;
    for (const Method &m : methods) {
        for (int j = 0; j < k; ++j) {
            if (e.methods[j].id == m.id || read::same(e.methods[j].name, m.name)) {
                distributions_def_is_malformed();
            }
        }
        e.methods[k++] = m;
    }
    e.method_count = k;
    if (support != nullptr) {
        e.support = support;
        read::interval(support, &e.support_low, &e.support_high, params, -1);
    }
    return e;
}

// The precision sets of the list, as bits and as a sequence M(letter, Precision, ...) per
// precision, letter being the kernel name's precision letter.
#define KORB_DIST_SET_SD (::korb::dist::list::kDouble | ::korb::dist::list::kSingle)
#define KORB_DIST_SET_I ::korb::dist::list::kInteger
#define KORB_DIST_SET_WORDS ::korb::dist::list::kWords
#define KORB_DIST_SET_WORDS32 ::korb::dist::list::kWords32
#define KORB_DIST_SET_WORDS64 ::korb::dist::list::kWords64
#define KORB_DIST_EACH_SD(M, ...) M(d, kDouble, __VA_ARGS__) M(s, kSingle, __VA_ARGS__)
#define KORB_DIST_EACH_I(M, ...) M(i, kInteger, __VA_ARGS__)
#define KORB_DIST_EACH_WORDS(M, ...) M(i, kWords, __VA_ARGS__)
#define KORB_DIST_EACH_WORDS32(M, ...) M(i, kWords32, __VA_ARGS__)
#define KORB_DIST_EACH_WORDS64(M, ...) M(i, kWords64, __VA_ARGS__)
// (a, b, c) -> a, b, c: the parenthesised groups of an entry, unpacked.
#define KORB_DIST_UNPACK(...) __VA_ARGS__

#define KORB_PARAM(name, T, domain, option, fallback)                                    \
    ::korb::dist::list::WrittenParam {                                                   \
#name, ::korb::dist::list::Type::k##T, nullptr, domain, option, double(fallback) \
    }
// KORB_ARRAY(name, T, "length", "domain"[, "--option", default])
#define KORB_ARRAY(name, T, length, domain, ...)              \
    ::korb::dist::list::WrittenParam {                        \
#name, ::korb::dist::list::Type::k##T##Array, length, \
            domain KORB_DIST_ARRAY_OPTION(__VA_ARGS__)        \
    }
#define KORB_DIST_ARRAY_OPTION(...) __VA_OPT__(, KORB_DIST_ARRAY_OPTION2(__VA_ARGS__))
#define KORB_DIST_ARRAY_OPTION2(option, fallback) option, double(fallback)
#define KORB_DIMENSION(name, domain, option, fallback)                                         \
    ::korb::dist::list::WrittenParam {                                                         \
#name, ::korb::dist::list::Type::kInt, nullptr, domain, option, double(fallback), true \
    }
#define KORB_METHOD(constant, id, name) \
    ::korb::dist::list::Method {        \
#constant, id, name             \
    }
// KORB_RANGE(support, reach) gives make_entry the support; the reach is for the public library.
#define KORB_RANGE(support, ...) support
#define KORB_DIST(Id, Kernel, name, precisions, params, methods, about, ...)              \
    ::korb::dist::list::make_entry(#Id, #Kernel, name, KORB_DIST_SET_##precisions,        \
                                   {KORB_DIST_UNPACK params}, {KORB_DIST_UNPACK methods}, \
                                   about __VA_OPT__(, ) __VA_ARGS__),
inline constexpr Entry kEntries[] = {
#include "distributions/distributions.def"
};
#undef KORB_DIST

constexpr int kEntryCount = static_cast<int>(sizeof kEntries / sizeof kEntries[0]);

// The position of the entry `id` (or -1).
constexpr int index_of(std::string_view id) {
    for (int i = 0; i < kEntryCount; ++i) {
        if (id == kEntries[i].id) return i;
    }
    return -1;
}

consteval bool ids_and_names_are_unique() {
    for (int i = 0; i < kEntryCount; ++i) {
        for (int j = 0; j < i; ++j) {
            if (read::same(kEntries[i].id, kEntries[j].id) ||
                read::same(kEntries[i].name, kEntries[j].name)) {
                return false;
            }
        }
    }
    return true;
}
static_assert(ids_and_names_are_unique(), "two entries of distributions.def share an id or name");

}  // namespace korb::dist::list
