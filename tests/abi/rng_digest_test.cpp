// Every generator of rng/generators.def and every kernel, precision and method of
// distributions/distributions.def, over fixed sweeps, hashed against the committed digests
// (tests/data/rng_sweep_digests.inc), through the exported names of one kernel library (see
// abi/class_library.h: the build runs this once per processor class).
//
// A sweep draws, on one stream, every n up to 40 and some longer ones at four offsets into the
// output array, so that the vector loops of every width meet every tail and alignment; the
// digest takes each call's status and every variate's bits. Every call also leaves the caller's
// control register as it found it.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <xmmintrin.h>

#include <bit>
#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "abi/class_library.h"
#include "distributions/list_kernels.h"
#include "korb/kernel/rng.h"
#include "rng/generators.h"

namespace {

namespace list = korb::dist::list;

struct Digest {
    const char *what;
    std::uint64_t value;
};

const Digest kDigests[] = {
#include "data/rng_sweep_digests.inc"
};

// FNV-1a over 64-bit words.
struct Hash {
    std::uint64_t h = 0xcbf29ce484222325ull;
    void add(std::uint64_t w) {
        for (int i = 0; i < 8; ++i) {
            h ^= (w >> (8 * i)) & 0xFF;
            h *= 0x100000001b3ull;
        }
    }
    template <class T>
    void add_all(const T *v, int n) {
        for (int i = 0; i < n; ++i) {
            if constexpr (sizeof(T) == 8) {
                add(std::bit_cast<std::uint64_t>(v[i]));
            } else {
                add(std::bit_cast<std::uint32_t>(v[i]));
            }
        }
    }
};

// The generators by their entry-point stems: __bix[s|d|i]BRng<Stem>.
struct Generator {
    int id;
    const char *stem;
    int word_size;
    korb::rng::BrngKind kind;
};
#define KORB_BRNG(ID, Name, display, members, word_size, kind, ...) \
    {BIX_BRNG_##ID, #Name, word_size, korb::rng::BrngKind::kind},
constexpr Generator kGenerators[] = {
#include "rng/generators.def"
};
#undef KORB_BRNG

std::vector<int> sweep_lengths() {
    std::vector<int> lengths;
    for (int n = 0; n <= 40; ++n) lengths.push_back(n);
    for (int n : {63, 64, 65, 127, 257, 1000}) lengths.push_back(n);
    return lengths;
}

class Library {
  public:
    explicit Library(korb::test::ClassLibrary loaded) : loaded_(std::move(loaded)) {}

    const korb::test::ClassLibrary &loaded() const { return loaded_; }

    template <class F>
    F symbol(const std::string &name) const {
        return reinterpret_cast<F>(dlsym(loaded_.handle, name.c_str()));
    }

    // A stream of generator g seeded with 7 (a quasi-random one of dimension 3), or null.
    BixStream *stream(const Generator &g) const {
        const auto make =
            symbol<int (*)(BixStream **, int, int, const uint32_t *)>("__bixNewStreamEx");
        const uint32_t param = g.kind == korb::rng::BrngKind::quasi_random ? 3 : 7;
        BixStream *s = nullptr;
        return make(&s, g.id, 1, &param) == BIX_ERROR_OK ? s : nullptr;
    }
    void release(BixStream *s) const { symbol<int (*)(BixStream **)>("__bixDeleteStream")(&s); }

    // Every call of draw(n, out) over the sweeps, out at each offset into a fresh array of T of
    // `elements` per variate, hashed with its status.
    template <class T, class Draw>
    std::uint64_t sweep(int elements, Draw draw) {
        Hash h;
        for (int n : sweep_lengths()) {
            for (int offset = 0; offset < 4; ++offset) {
                std::vector<T> r(static_cast<size_t>((n + offset) * elements), T(0x5A));
                T *out = r.data() + offset * elements;
                const std::uint32_t saved = _mm_getcsr();
                _mm_setcsr(korb::test::kCallerControl);
                const int status = draw(n, out);
                control_changed_ += _mm_getcsr() != korb::test::kCallerControl;
                _mm_setcsr(saved);
                h.add(static_cast<std::uint64_t>(status));
                h.add_all(out, n * elements);
            }
        }
        return h.h;
    }

    int control_changed() const { return control_changed_; }

  private:
    korb::test::ClassLibrary loaded_;
    int control_changed_ = 0;
};

// The digests of every generator's three kernels.
void generator_digests(Library &lib, std::map<std::string, std::uint64_t> &got) {
    for (const Generator &g : kGenerators) {
        if (g.kind != korb::rng::BrngKind::basic && g.kind != korb::rng::BrngKind::quasi_random) {
            continue;
        }
        const std::string stem = g.stem;
        const auto d =
            lib.symbol<int (*)(BixStream *, int, double *, double, double)>("__bixdBRng" + stem);
        const auto s =
            lib.symbol<int (*)(BixStream *, int, float *, float, float)>("__bixsBRng" + stem);
        const auto i = lib.symbol<int (*)(BixStream *, int, uint32_t *)>("__bixiBRng" + stem);
        ASSERT_TRUE(d != nullptr && s != nullptr && i != nullptr) << stem;
        BixStream *stream = lib.stream(g);
        ASSERT_NE(stream, nullptr) << stem;
        got["gen/d" + stem] =
            lib.sweep<double>(1, [&](int n, double *r) { return d(stream, n, r, -2.0, 3.0); });
        got["gen/s" + stem] =
            lib.sweep<float>(1, [&](int n, float *r) { return s(stream, n, r, -2.0f, 3.0f); });
        got["gen/i" + stem] = lib.sweep<uint32_t>(
            g.word_size / 4, [&](int n, uint32_t *r) { return i(stream, n, r); });
        lib.release(stream);
    }
}

// The generators every distribution kernel draws from: a 31-bit one, a 59-bit one and one of
// 32-bit words, so that the bits kernels have words to take.
constexpr int kDistributionGenerators[] = {BIX_BRNG_MCG31M1, BIX_BRNG_MCG59, BIX_BRNG_MT19937};

const Generator &generator_of(int id) {
    for (const Generator &g : kGenerators) {
        if (g.id == id) return g;
    }
    return kGenerators[0];
}

// Whether a kernel takes only scalar parameters (the sweep fills them from the list's defaults).
template <class Out, class... A>
constexpr bool scalars_only(int (*)(int, BixStream *, int, Out *, A...)) {
    return (std::is_arithmetic_v<A> && ...);
}

// The digests of entry E's kernel of precision P, for each method and generator.
template <int E, unsigned P>
void distribution_digests(Library &lib, std::map<std::string, std::uint64_t> &got) {
    constexpr list::Entry entry = list::kEntries[E];
    if constexpr ((entry.precisions & P) != 0) {
        using Traits = list::Traits<P>;
        using Out = typename Traits::Out;
        using Kernel = list::Signature<E, P>;
        constexpr bool kWords = (P & list::kAnyWords) != 0;
        const char letter = P == list::kDouble ? 'd' : (P == list::kSingle ? 's' : 'i');
        const std::string name = std::string("_bix") + letter + "Rng" + entry.kernel;
        const Kernel kernel = lib.symbol<Kernel>(name);
        ASSERT_NE(kernel, nullptr) << name;
        if constexpr (!kWords && !scalars_only(Kernel{})) {
            return;  // array parameters: the distribution tests call these with their own
        } else {
            double params[list::kMaxParams] = {};
            for (int k = 0; k < entry.param_count; ++k) params[k] = entry.params[k].fallback;
            for (int m = 0; m < entry.method_count; ++m) {
                const int method = entry.methods[m].id;
                for (int id : kDistributionGenerators) {
                    const Generator &g = generator_of(id);
                    BixStream *stream = lib.stream(g);
                    ASSERT_NE(stream, nullptr) << g.stem;
                    // Output elements per variate: the generator's words for kWords, else one.
                    const int elements = P == list::kWords ? g.word_size / 4 : 1;
                    got["dist/" + std::string(1, letter) + entry.kernel + "/" +
                        entry.methods[m].name + "/" + g.stem] =
                        lib.sweep<Out>(elements, [&](int n, Out *r) {
                            if constexpr (kWords) {
                                return kernel(method, stream, n, r);
                            } else {
                                return list::call_with(kernel, method, stream, n, r, params);
                            }
                        });
                    lib.release(stream);
                }
            }
        }
    }
}

TEST(RngSweepDigests, EveryGeneratorAndDistributionGivesTheCommittedBits) {
    Library lib(korb::test::open_class_library());
    if (!lib.loaded().skip.empty()) GTEST_SKIP() << lib.loaded().skip;
    ASSERT_NE(lib.loaded().handle, nullptr) << lib.loaded().error;
    std::map<std::string, std::uint64_t> got;
    generator_digests(lib, got);
    [&]<int... E>(std::integer_sequence<int, E...>) {
        (
            [&] {
                distribution_digests<E, list::kDouble>(lib, got);
                distribution_digests<E, list::kSingle>(lib, got);
                distribution_digests<E, list::kInteger>(lib, got);
                distribution_digests<E, list::kWords>(lib, got);
                distribution_digests<E, list::kWords32>(lib, got);
                distribution_digests<E, list::kWords64>(lib, got);
            }(),
            ...);
    }
    (std::make_integer_sequence<int, static_cast<int>(list::kEntryCount)>{});

    korb::test::DigestTable table("rng_sweep_digests.inc", "rng_digest_test.cpp");
    std::map<std::string, std::uint64_t> committed;
    for (const Digest &d : kDigests) committed[d.what] = d.value;
    for (const auto &[what, digest] : got) {
        table.row("\"" + what + "\"", digest);
        const auto want = committed.find(what);
        if (want == committed.end()) {
            if (!table.writing()) ADD_FAILURE() << "no committed digest for " << what;
        } else {
            EXPECT_EQ(digest, want->second) << what << " now gives 0x" << std::hex << digest;
        }
    }
    for (const auto &[what, digest] : committed) {
        EXPECT_TRUE(got.count(what) != 0) << "committed digest of nothing built: " << what;
    }
    EXPECT_EQ(lib.control_changed(), 0) << "calls that changed the caller's control register";
}

// The sweeps stop at 1000 outputs a call, short of the longest lane segments of the wider
// classes (MRG32K3A runs 32 lanes of 960 outputs with 64-byte vectors). Here a long call of each
// generator that runs in lanes or blocks must give what calls of one output give: the one-step
// recurrence, which no vector path touches.
TEST(RngLongCalls, GiveTheOutputsOfOneAtATime) {
    Library lib(korb::test::open_class_library());
    if (!lib.loaded().skip.empty()) GTEST_SKIP() << lib.loaded().skip;
    ASSERT_NE(lib.loaded().handle, nullptr) << lib.loaded().error;
    constexpr int kLong = 2 * 32 * 960 + 32 * 24 + 32 * 6 + 17;  // every segment length, a tail
    for (const int id : {BIX_BRNG_MCG31M1, BIX_BRNG_MCG59, BIX_BRNG_MRG32K3A}) {
        const Generator &g = generator_of(id);
        const std::string stem = g.stem;
        const auto d =
            lib.symbol<int (*)(BixStream *, int, double *, double, double)>("__bixdBRng" + stem);
        const auto i = lib.symbol<int (*)(BixStream *, int, uint32_t *)>("__bixiBRng" + stem);
        ASSERT_TRUE(d != nullptr && i != nullptr) << stem;
        const int words = g.word_size / 4;
        BixStream *whole = lib.stream(g);
        BixStream *single = lib.stream(g);
        ASSERT_TRUE(whole != nullptr && single != nullptr) << stem;
        // Words, then doubles on the same streams, so that the second call starts mid-sequence.
        std::vector<uint32_t> w(static_cast<size_t>(kLong) * words), w1(w.size());
        ASSERT_EQ(i(whole, kLong, w.data()), BIX_ERROR_OK);
        for (int k = 0; k < kLong; ++k) ASSERT_EQ(i(single, 1, &w1[k * words]), BIX_ERROR_OK);
        EXPECT_TRUE(w == w1) << stem << ": words of one long call";
        std::vector<double> r(kLong), r1(kLong);
        ASSERT_EQ(d(whole, kLong, r.data(), -2.0, 3.0), BIX_ERROR_OK);
        for (int k = 0; k < kLong; ++k) ASSERT_EQ(d(single, 1, &r1[k], -2.0, 3.0), BIX_ERROR_OK);
        EXPECT_EQ(std::memcmp(r.data(), r1.data(), r.size() * sizeof(double)), 0)
            << stem << ": doubles of one long call";
        lib.release(whole);
        lib.release(single);
    }
}

}  // namespace
