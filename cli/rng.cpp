// korb rng: draw numbers from a basic generator and print them, optionally from a stream saved
// by an earlier run and saving it again afterwards; the registry listing of korb info.
#include <korb/korb.h>

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "commands.h"
#include "rng/generators.h"
#include "rng_dist.h"

namespace korb::cli {
namespace {

using rng::BrngKind;
using rng::GeneratorInfo;
using rng::kGenerators;

constexpr NamedStatus kStatuses[] = {
    {BIX_ERROR_BADMETHOD, "BIX_ERROR_BADMETHOD"},
    {BIX_ERROR_BADARGS, "BIX_ERROR_BADARGS"},
    {BIX_ERROR_MEM_FAILURE, "BIX_ERROR_MEM_FAILURE"},
    {BIX_ERROR_NULL_PTR, "BIX_ERROR_NULL_PTR"},
    {BIX_ERROR_INVALID_BRNG, "BIX_ERROR_INVALID_BRNG"},
    {BIX_ERROR_LEAPFROG_UNSUPPORTED, "BIX_ERROR_LEAPFROG_UNSUPPORTED"},
    {BIX_ERROR_SKIPAHEAD_UNSUPPORTED, "BIX_ERROR_SKIPAHEAD_UNSUPPORTED"},
    {BIX_ERROR_QRNG_PERIOD_ELAPSED, "BIX_ERROR_QRNG_PERIOD_ELAPSED"},
    {BIX_ERROR_LEAPFROG_NSTREAMS_TOO_BIG, "BIX_ERROR_LEAPFROG_NSTREAMS_TOO_BIG"},
    {BIX_ERROR_BRNG_NOT_SUPPORTED, "BIX_ERROR_BRNG_NOT_SUPPORTED"},
    {BIX_ERROR_ARS_UNSUPPORTED_PRECISION, "BIX_ERROR_ARS_UNSUPPORTED_PRECISION"},
    {BIX_ERROR_NONDETERM_NOT_SUPPORTED, "BIX_ERROR_NONDETERM_NOT_SUPPORTED"},
    {BIX_ERROR_FILE_CLOSE, "BIX_ERROR_FILE_CLOSE"},
    {BIX_ERROR_FILE_OPEN, "BIX_ERROR_FILE_OPEN"},
    {BIX_ERROR_FILE_WRITE, "BIX_ERROR_FILE_WRITE"},
    {BIX_ERROR_FILE_READ, "BIX_ERROR_FILE_READ"},
    {BIX_ERROR_BAD_FILE_FORMAT, "BIX_ERROR_BAD_FILE_FORMAT"},
    {BIX_ERROR_UNSUPPORTED_FILE_VER, "BIX_ERROR_UNSUPPORTED_FILE_VER"},
};

int library_error(const char *what, int status) {
    return cli::library_error(what, status, kStatuses);
}

// The list's entry of a generator id's row (any member), or null for rows the list does not
// hold.
const GeneratorInfo *generator_of(int id) {
    for (const GeneratorInfo &g : kGenerators) {
        if (g.id == (id & ~0xFFFFF)) return &g;
    }
    return nullptr;
}

const GeneratorInfo *generator_named(std::string_view name) {
    for (const GeneratorInfo &g : kGenerators) {
        if (name.size() == std::strlen(g.name) &&
            strncasecmp(name.data(), g.name, name.size()) == 0) {
            return &g;
        }
    }
    return nullptr;
}

// The generators of a kind, as "A, B and C" (empty when there are none).
std::string names_of_kind(BrngKind kind, const char *suffix) {
    std::vector<std::string> names;
    for (const GeneratorInfo &g : kGenerators) {
        if (g.kind == kind) names.push_back(std::string(g.name) + suffix);
    }
    std::string text;
    for (size_t k = 0; k < names.size(); ++k) {
        text += (k == 0 ? "" : k + 1 == names.size() ? " and " : ", ") + names[k];
    }
    return text;
}

bool parse_real(const char *s, double *out) {
    if (*s == '\0' || std::isspace(static_cast<unsigned char>(*s))) return false;
    char *end = nullptr;
    errno = 0;
    double v = std::strtod(s, &end);
    if (errno != 0 || *end != '\0' || !std::isfinite(v)) return false;
    *out = v;
    return true;
}

// A generator by name (optionally NAME+member or NAME:member) or by numeric id.
bool parse_brng(const char *s, int *id) {
    std::string_view text = s;
    std::string_view member_text;
    if (size_t plus = text.find_first_of("+:"); plus != std::string_view::npos) {
        member_text = text.substr(plus + 1);
        text = text.substr(0, plus);
    }
    if (const GeneratorInfo *g = generator_named(text)) {
        long long member = 0;
        if (!member_text.empty() &&
            !parse_integer(std::string(member_text).c_str(), 0, 0xFFFFF, &member)) {
            return false;
        }
        *id = g->id + static_cast<int>(member);
        return true;
    }
    long long v = 0;
    if (!member_text.empty() || !parse_integer(s, INT32_MIN, INT32_MAX, &v)) return false;
    *id = static_cast<int>(v);
    return true;
}

bool parse_seeds(const char *s, std::vector<uint32_t> *seeds) {
    seeds->clear();
    std::string text = s;
    size_t start = 0;
    for (;;) {
        size_t comma = text.find(',', start);
        std::string part = text.substr(start, comma - start);
        long long v = 0;
        if (!parse_integer(part.c_str(), 0, UINT32_MAX, &v)) return false;
        seeds->push_back(static_cast<uint32_t>(v));
        if (comma == std::string::npos) return true;
        start = comma + 1;
    }
}

enum class Format { Int, Double, Float };

struct Options {
    int brng = kGenerators[0].id;
    std::vector<uint32_t> seeds{1};
    long long n = 10;
    Format format = Format::Int;
    double a = 0.0;
    double b = 1.0;
    bool bounds_given = false;
    long long skip = -1;
    long long leap_k = -1;
    long long leap_nstreams = 0;
    bool binary = false;
    bool brng_or_seed_given = false;
    bool seeds_given = false;
    long long dimension = 0;     // NAME:D of a quasi-random generator: seed D, D numbers a line
    const char *load = nullptr;  // a saved stream to continue instead of a fresh one
    const char *save = nullptr;  // where to save the stream after drawing
    bool format_given = false;
    const Distribution *dist = nullptr;  // --dist: variates instead of the generator's output
    int method = 0;
    const char *method_text = nullptr;
    std::map<std::string, double, std::less<>> params;      // --a, --sigma, ... that are numbers
    std::map<std::string, std::string, std::less<>> texts;  // every parameter option as given
    double dist_params[kMaxDistParams] = {};
    DistArrays arrays;          // the array parameters, in both precisions
    long long per_variate = 1;  // numbers of one variate: its dimension for vector variates
    bool stats = false;         // print a summary of the numbers instead of the numbers
};

// NAME:D, the dimension of a quasi-random generator's points, split off the generator's name.
bool parse_dimension(std::string *brng, long long *dimension) {
    const size_t colon = brng->find(':');
    if (colon == std::string::npos) return true;
    // Any other NAME:MEMBER names a member of a generator set.
    const GeneratorInfo *g = generator_named(std::string_view(*brng).substr(0, colon));
    if (g == nullptr || g->kind != BrngKind::quasi_random) return true;
    const bool ok = parse_integer(brng->c_str() + colon + 1, 1, UINT32_MAX, dimension);
    brng->resize(colon);
    return ok;
}

bool parse_leapfrog(const char *s, Options *o) {
    const char *comma = std::strchr(s, ',');
    if (comma == nullptr) return false;
    std::string k(s, comma);
    return parse_integer(k.c_str(), 0, INT32_MAX, &o->leap_k) &&
           parse_integer(comma + 1, 1, INT32_MAX, &o->leap_nstreams);
}

// x rounded to single precision. Out of line: g++ 12 at -O3 vectorises the narrowing of the
// parameter array below and loses it for all but the last element.
[[gnu::noinline]] double to_single(double x) {
    return static_cast<float>(x);
}

// The distribution's method and parameters, and the output precision it gives.
bool check_distribution(Options *o, int *exit) {
    const Distribution &d = *o->dist;
    if (o->dimension > 0) {
        *exit = usage_error("rng: --dist draws from a stream, not points of", "NAME:D");
        return false;
    }
    o->method = d.methods[0].id;
    if (const char *m = o->method_text; m != nullptr) {
        bool found = false;
        for (const DistMethod &dm : d.methods) {
            if (dm.name != nullptr && std::strcmp(m, dm.name) == 0) {
                o->method = dm.id;
                found = true;
            }
        }
        if (!found) {
            const std::string what = std::string("rng: ") + d.name + " has no method";
            *exit = usage_error(what.c_str(), m);
            return false;
        }
    }
    for (const auto &[name, text] : o->texts) {
        bool takes = false;
        for (const DistParam &p : d.params) {
            takes = takes || (p.option != nullptr && name == p.option) ||
                    (name == "--cov" && p.length.kind == dist::list::Length::kMatrix);
        }
        if (!takes) {
            const std::string what = std::string("rng: ") + d.name + " takes no";
            *exit = usage_error(what.c_str(), name.c_str());
            return false;
        }
    }
    for (int k = 0; k < d.entry->param_count; ++k) {
        const DistParam &p = d.params[k];
        if (p.option == nullptr || p.type == dist::list::Type::kRealArray) continue;
        const auto given = o->params.find(p.option);
        if (given == o->params.end() && o->texts.count(p.option) != 0) {
            const std::string what = "rng: bad value for " + std::string(p.option) + ":";
            *exit = usage_error(what.c_str(), o->texts.find(p.option)->second.c_str());
            return false;
        }
        o->dist_params[k] = given != o->params.end() ? given->second : p.fallback;
    }
    if (!o->format_given) {
        o->format = d.i != nullptr || d.w != nullptr ? Format::Int : Format::Double;
    }
    const bool has = o->format == Format::Int      ? d.i != nullptr || d.w != nullptr
                     : o->format == Format::Double ? d.d != nullptr
                                                   : d.s != nullptr;
    if (!has) {
        const std::string what = std::string("rng: ") + d.name + " has no output format";
        *exit = usage_error(what.c_str(), o->format == Format::Int      ? "int"
                                          : o->format == Format::Double ? "double"
                                                                        : "float");
        return false;
    }
    // The float kernels get the parameters in single precision, so check them as such.
    double narrowed[kMaxDistParams];
    for (int k = 0; k < kMaxDistParams; ++k) {
        narrowed[k] = o->format == Format::Float ? to_single(o->dist_params[k]) : o->dist_params[k];
    }
    if (const char *wrong = d.check(narrowed); wrong != nullptr) {
        const std::string what = std::string("rng: ") + d.name + " parameters: " + wrong + ", got";
        std::string values;
        for (const auto &[name, value] : o->params) {
            char text[32];
            std::snprintf(text, sizeof text, "%.17g", value);
            values += (values.empty() ? "" : " ") + name + " " + text;
        }
        *exit = usage_error(what.c_str(), values.c_str());
        return false;
    }
    const bool single = o->format == Format::Float;
    if (const char *wrong = read_arrays(d, narrowed, o->texts, single, &o->arrays)) {
        const std::string what = std::string("rng: ") + d.name + ":";
        *exit = usage_error(what.c_str(), wrong);
        return false;
    }
    if (d.entry->dimension >= 0) {
        o->per_variate = static_cast<long long>(o->dist_params[d.entry->dimension]);
        if (o->n > INT64_MAX / o->per_variate) {
            *exit = usage_error("rng: too many numbers for --n", std::to_string(o->n).c_str());
            return false;
        }
    }
    return true;
}

// Parses the options; on a usage error prints it and returns false with *exit set.
bool parse_options(int argc, char **argv, Options *o, int *exit) {
    for (int i = 0; i < argc; ++i) {
        std::string_view opt = argv[i];
        if (opt == "--binary" || opt == "--stats") {
            (opt == "--binary" ? o->binary : o->stats) = true;
            continue;
        }
        const bool known = opt == "--brng" || opt == "--seed" || opt == "--n" ||
                           opt == "--format" || opt == "--skip" || opt == "--leapfrog" ||
                           opt == "--load" || opt == "--save" || opt == "--dist" ||
                           opt == "--method" || opt == "--cov" || is_param_option(opt);
        if (!known) {
            *exit = usage_error("rng: unknown option", argv[i]);
            return false;
        }
        if (i + 1 >= argc) {
            *exit = usage_error("rng: missing value after", argv[i]);
            return false;
        }
        const char *v = argv[++i];
        bool ok = true;
        if (opt == "--brng") {
            std::string name = v;
            ok = parse_dimension(&name, &o->dimension) && parse_brng(name.c_str(), &o->brng);
            o->brng_or_seed_given = true;
        } else if (opt == "--seed") {
            ok = parse_seeds(v, &o->seeds);
            o->seeds_given = true;
            o->brng_or_seed_given = true;
        } else if (opt == "--load" || opt == "--save") {
            ok = *v != '\0';
            (opt == "--load" ? o->load : o->save) = v;
        } else if (opt == "--n") {
            ok = parse_integer(v, 1, INT64_MAX, &o->n);
        } else if (opt == "--format") {
            std::string_view f = v;
            ok = f == "int" || f == "double" || f == "float";
            o->format = f == "double" ? Format::Double : f == "float" ? Format::Float : Format::Int;
            o->format_given = true;
        } else if (opt == "--dist") {
            ok = (o->dist = find_distribution(v)) != nullptr;
        } else if (opt == "--method") {
            o->method_text = v;
        } else if (is_param_option(opt) || opt == "--cov") {
            // A number for a scalar parameter, a list or a file for an array one: which, the
            // distribution says, so the text is kept and read once it is known.
            o->texts[std::string(opt)] = v;
            double x = 0;
            if (parse_real(v, &x)) o->params[std::string(opt)] = x;
            if (opt == "--a" || opt == "--b") {
                ok = parse_real(v, &x);
                (opt == "--a" ? o->a : o->b) = x;
                o->bounds_given = true;
            }
        } else if (opt == "--skip") {
            ok = parse_integer(v, 0, INT64_MAX, &o->skip);
        } else {
            ok = parse_leapfrog(v, o);
        }
        if (!ok) {
            std::string what = "rng: bad value for " + std::string(opt) + ":";
            *exit = usage_error(what.c_str(), v);
            return false;
        }
    }
    if (o->load != nullptr && o->brng_or_seed_given) {
        *exit = usage_error("rng: the generator and its state come from the file of --load, got",
                            "--brng/--seed");
        return false;
    }
    if (o->dimension > 0) {
        if (o->seeds_given) {
            *exit = usage_error("rng: the dimension of NAME:D is the seed; drop", "--seed");
            return false;
        }
        if (o->n > INT64_MAX / o->dimension) {
            *exit = usage_error("rng: too many numbers for --n", std::to_string(o->n).c_str());
            return false;
        }
        o->seeds = {static_cast<uint32_t>(o->dimension)};
    }
    if (o->stats && o->binary) {
        *exit = usage_error("rng: --stats prints a summary, not raw values; drop", "--binary");
        return false;
    }
    if (o->dist != nullptr) return check_distribution(o, exit);
    if (o->method_text != nullptr) {
        *exit = usage_error("rng: --method needs --dist, got", o->method_text);
        return false;
    }
    for (const auto &[name, text] : o->texts) {
        if (name != "--a" && name != "--b") {
            *exit = usage_error("rng: this option needs --dist:", name.c_str());
            return false;
        }
    }
    if (o->bounds_given && o->format == Format::Int) {
        *exit = usage_error("rng: --a and --b need --format double or float, got", "int");
        return false;
    }
    const bool ordered = o->format == Format::Float
                             ? static_cast<float>(o->a) < static_cast<float>(o->b)
                             : o->a < o->b;
    if (!ordered) {
        const std::string bounds = std::to_string(o->a) + " >= " + std::to_string(o->b);
        *exit =
            usage_error("rng: --a must be below --b in the output precision, got", bounds.c_str());
        return false;
    }
    return true;
}

// Prints n values, `per_line` to a line separated by blanks; *printed counts values so far.
// With a summary the values go into it instead.
template <class T, class Print>
void emit(const std::vector<T> &r, size_t n, bool binary, long long per_line, long long *printed,
          Print print, Summary *summary) {
    if (summary != nullptr) {
        for (size_t i = 0; i < n; ++i) summary->add(static_cast<double>(r[i]));
        return;
    }
    if (binary) {
        std::fwrite(r.data(), sizeof(T), n, stdout);
        return;
    }
    for (size_t i = 0; i < n; ++i) {
        print(r[i]);
        std::putchar(++*printed % per_line == 0 ? '\n' : ' ');
    }
}

void print_help() {
    std::printf(
        "usage: korb rng [--brng NAME|ID] [--seed S[,S...]] [--n N]\n"
        "                [--format int|double|float] [--a A --b B]\n"
        "                [--skip N] [--leapfrog K,NSTREAMS] [--binary]\n"
        "                [--load FILE] [--save FILE]\n"
        "                [--dist DIST [--method M] [parameters]] [--stats]\n"
        "Draws N numbers (default 10) from a stream of the generator (default %s,\n"
        "seed 1) and prints one per line: raw output words for int, numbers on [A, B)\n"
        "(default [0, 1)) for double and float. --skip and --leapfrog split the stream\n"
        "first (skip-ahead, then leapfrog). --binary writes the raw values instead.\n"
        "NAME is a generator of 'korb info', optionally NAME+MEMBER or NAME:MEMBER.\n"
        "%s draw points of dimension D, one per line: N counts\n"
        "points (--leapfrog K,D keeps coordinate K, one number per line).\n",
        kGenerators[0].name, names_of_kind(BrngKind::quasi_random, ":D").c_str());
    std::puts(
        "--load continues a stream saved by --save (generator, state and chunks come\n"
        "from FILE, so no --brng or --seed); --save writes the stream as it stands after\n"
        "the N numbers, so that a later run with --load continues where this one stopped.\n"
        "FILE may be the same for both.\n"
        "--dist DIST draws variates of a distribution from the stream instead, as\n"
        "doubles (--format float for single precision; integer distributions print\n"
        "signed integers, the bits ones unsigned words, which --binary writes as raw\n"
        "little-endian words, e.g. for a test battery reading standard input). Its\n"
        "parameters are the options shown with their defaults; --method M picks one of\n"
        "the methods listed, the first by default:");
    print_distribution_help();
    std::puts(
        "A distribution of vectors (gaussian-mv) prints one vector of --dimen numbers a\n"
        "line, --n of them. A vector parameter takes numbers separated by commas, or one\n"
        "number for every element (--mean 1,2,3); a matrix parameter takes a file of\n"
        "numbers in the storage that --mstorage names (--factor FILE: 0 the full matrix,\n"
        "rows in order, 1 its lower triangle row by row, 2 its diagonal; the default is\n"
        "the identity), or --cov FILE, the full covariance, whose Cholesky factor korb rng\n"
        "computes.");
    std::puts(
        "--stats prints count, mean, variance, min and max of the N numbers instead of\n"
        "the numbers.");
}

}  // namespace

int cmd_rng(int argc, char **argv) {
    if (wants_help(argc, argv)) {
        print_help();
        return 0;
    }
    Options o;
    int exit = 0;
    if (!parse_options(argc, argv, &o, &exit)) return exit;

    BixStream *stream = nullptr;
    int status = BIX_ERROR_OK;
    if (o.load != nullptr) {
        status = bixLoadStreamF(&stream, o.load, -1);
        if (status != BIX_ERROR_OK) {
            bixDeleteStream(&stream);
            return library_error(("loading " + std::string(o.load)).c_str(), status);
        }
        o.brng = bixGetStreamStateBrng(stream);
        // An abstract stream's state points into the memory of the process that saved it.
        if (const GeneratorInfo *g = generator_of(o.brng);
            g != nullptr && g->kind == BrngKind::abstract) {
            bixDeleteStream(&stream);
            return usage_error("rng: cannot draw from the abstract stream saved in", o.load);
        }
    }
    BrngProperties row{};
    if (int s = bixGetBrngProperties(o.brng, &row); s != BIX_ERROR_OK) {
        bixDeleteStream(&stream);
        return library_error("bixGetBrngProperties", s);
    }
    if (o.load == nullptr) {
        status = bixNewStreamEx(&stream, o.brng, static_cast<int>(o.seeds.size()), o.seeds.data());
    }
    if (status == BIX_ERROR_OK && o.skip >= 0) status = bixSkipAheadStream(stream, o.skip);
    if (status == BIX_ERROR_OK && o.leap_k >= 0) {
        status = bixLeapfrogStream(stream, static_cast<int>(o.leap_k),
                                   static_cast<int>(o.leap_nstreams));
    }
    if (status != BIX_ERROR_OK) {
        bixDeleteStream(&stream);
        return library_error("making the stream", status);
    }

    // Blocks bound the memory; every split of n gives the same numbers.
    constexpr long long kBlock = 1 << 16;
    const int words = row.wordSize / 4;
    std::vector<uint32_t> ints;
    std::vector<int32_t> signed_ints;
    std::vector<double> doubles;
    std::vector<float> floats;
    // A leapfrog keeps one coordinate of each point, so its numbers are printed one per line.
    const long long per_line = o.dimension > 0 && o.leap_k < 0 ? o.dimension : o.per_variate;
    const long long total = o.n * per_line;
    // A block of whole variates: a vector variate's numbers come from one kernel call.
    const long long block = std::max(o.per_variate, kBlock - kBlock % o.per_variate);
    const dist::list::Params dist_args(o.dist_params, o.arrays.pointers(o.format == Format::Float));
    long long printed = 0;
    const auto print_int = [](uint32_t v) { std::printf("%" PRIu32, v); };
    const auto print_double = [](double v) { std::printf("%.17g", v); };
    const auto print_float = [](float v) { std::printf("%.9g", static_cast<double>(v)); };
    const auto print_signed = [](int32_t v) { std::printf("%" PRId32, v); };
    Summary summary;
    Summary *const sum = o.stats ? &summary : nullptr;
    const Distribution *d = o.dist;
    // 32-bit elements per output word: the generator's own, or the bits kernel's.
    const int per_word = d != nullptr && d->word_elements > 0 ? d->word_elements : words;
    for (long long done = 0; done < total && status == BIX_ERROR_OK;) {
        const int m = static_cast<int>(total - done < block ? total - done : block);
        const size_t count = static_cast<size_t>(m);
        const int variates = static_cast<int>(m / o.per_variate);
        o.arrays.cycle(done / o.per_variate, variates);
        switch (o.format) {
            case Format::Int:
                if (d != nullptr && d->i != nullptr) {
                    signed_ints.resize(count);
                    status = d->i(o.method, stream, m, signed_ints.data(), dist_args);
                    if (status < 0) break;
                    emit(signed_ints, count, o.binary, per_line, &printed, print_signed, sum);
                    break;
                }
                ints.resize(count * per_word);
                status = d != nullptr ? d->w(o.method, stream, m, ints.data())
                                      : row.iGen(stream, m, ints.data());
                if (status != BIX_ERROR_OK) break;
                if (per_word == 2 && !o.binary) {
                    // 64-bit words (word size 8, bits64) print as one number each, low half
                    // first.
                    for (size_t k = 0; k < count; ++k) {
                        const uint64_t w = ints[2 * k] | static_cast<uint64_t>(ints[2 * k + 1])
                                                             << 32;
                        if (sum != nullptr) {
                            sum->add(static_cast<double>(w));
                        } else {
                            std::printf("%" PRIu64 "\n", w);
                        }
                    }
                } else {
                    emit(ints, ints.size(), o.binary, per_line, &printed, print_int, sum);
                }
                break;
            case Format::Double:
                doubles.resize(count);
                status = d != nullptr ? d->d(o.method, stream, variates, doubles.data(), dist_args)
                                      : row.dGen(stream, m, doubles.data(), o.a, o.b);
                if (status == BIX_ERROR_OK) {
                    emit(doubles, count, o.binary, per_line, &printed, print_double, sum);
                }
                break;
            case Format::Float:
                floats.resize(count);
                status = d != nullptr ? d->s(o.method, stream, variates, floats.data(), dist_args)
                                      : row.sGen(stream, m, floats.data(), static_cast<float>(o.a),
                                                 static_cast<float>(o.b));
                if (status == BIX_ERROR_OK) {
                    emit(floats, count, o.binary, per_line, &printed, print_float, sum);
                }
                break;
        }
        done += m;
    }
    if (status != BIX_ERROR_OK) {
        bixDeleteStream(&stream);
        return library_error("generating", status);
    }
    if (sum != nullptr) summary.print();
    if (o.save != nullptr) status = bixSaveStreamF(stream, o.save, -1);
    bixDeleteStream(&stream);
    if (status != BIX_ERROR_OK) {
        return library_error(("saving " + std::string(o.save)).c_str(), status);
    }
    return std::fflush(stdout) == 0 ? 0 : kExitStatus;
}

void print_rng_registry() {
    const int rows = bixGetNumRegBrngs();
    std::printf("random generators: %d rows\n", rows);
    std::puts("  row  id        name       stateSize words zero wordSize bits members  built");
    for (int r = 0; r < rows; ++r) {
        const int id = (r + 1) * 0x100000;
        BrngProperties p{};
        if (bixGetBrngProperties(id, &p) != BIX_ERROR_OK) continue;
        const GeneratorInfo *g = generator_of(id);
        // A registered generator has one member.
        const int members = g != nullptr ? g->members : 1;
        const char *built = "yes";
        if (g != nullptr && g->kind == BrngKind::abstract) {
            built = "abstract";
        } else {
            BixStream *s = nullptr;
            const uint32_t seed = 1;
            int status = bixNewStreamEx(&s, id, 1, &seed);
            double d = 0;
            if (status == BIX_ERROR_OK) status = p.dGen(s, 1, &d, 0.0, 1.0);
            if (status == BIX_ERROR_INVALID_BRNG) built = "not yet";
            if (status == BIX_ERROR_NONDETERM_NOT_SUPPORTED) built = "seeds only";
            bixDeleteStream(&s);
        }
        std::printf("  %3d  0x%06X  %-10s %9d %5d %4d %8d %4d %7d  %s\n", r, id,
                    g != nullptr ? g->name : "registered", p.stateSize, p.stateWords,
                    p.includesZero, p.wordSize, p.nBits, members, built);
    }
}

}  // namespace korb::cli
