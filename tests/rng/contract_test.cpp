// Contracts every generator of the list keeps, checked through its registry row only: split
// draws, copies, skip-ahead, leapfrog, refused methods, saved images. The parameters come from
// rng/generators.def: every generator that can be made by id, its first and (for a family) its
// last member.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <ostream>
#include <string>
#include <vector>

#include "files.h"
#include "rng/generators.h"
#include "rng/stream.h"
#include "rng_test.h"

namespace {

using korb::rng::BrngKind;
using korb::rng::GeneratorInfo;
using korb::test::Stream;

struct Generator {
    int id;
    const GeneratorInfo *info;
    uint32_t seed;  // the quasi-random generators take the dimension here
};

// How test names and failures show a generator: its name, and the member after an underscore.
std::string name_of(const Generator &g) {
    std::string name = g.info->name;
    if (const int member = g.id - g.info->id; member > 0) {
        name += '_';
        name += std::to_string(member);
    }
    return name;
}

void PrintTo(const Generator &g, std::ostream *os) {
    *os << name_of(g);
}

std::vector<Generator> generators() {
    std::vector<Generator> list;
    for (const GeneratorInfo &g : korb::rng::kGenerators) {
        if (!g.generates()) continue;
        const uint32_t seed = g.kind == BrngKind::quasi_random ? 7 : 20261121;
        list.push_back({g.id, &g, seed});
        if (g.members > 1) list.push_back({g.id + g.members - 1, &g, seed});
    }
    return list;
}

class Contract : public ::testing::TestWithParam<Generator> {
  protected:
    BrngProperties row() const {
        BrngProperties p{};
        EXPECT_EQ(__bixGetBrngProperties(GetParam().id, &p), BIX_ERROR_OK);
        return p;
    }
    Stream fresh() const { return korb::test::make_stream(GetParam().id, GetParam().seed); }
    std::vector<uint32_t> ints(BixStream *s, int n) const {
        const BrngProperties p = row();
        std::vector<uint32_t> r(static_cast<size_t>(n) * (p.wordSize / 4));
        EXPECT_EQ(p.iGen(s, n, r.data()), BIX_ERROR_OK);
        return r;
    }
    std::vector<double> doubles(BixStream *s, int n) const {
        std::vector<double> r(static_cast<size_t>(n));
        EXPECT_EQ(row().dGen(s, n, r.data(), -1.0, 3.0), BIX_ERROR_OK);
        return r;
    }
    std::vector<float> floats(BixStream *s, int n) const {
        std::vector<float> r(static_cast<size_t>(n));
        EXPECT_EQ(row().sGen(s, n, r.data(), 2.0f, 10.0f), BIX_ERROR_OK);
        return r;
    }
};

// Draws k then n - k numbers with `draw` and returns them in order.
template <class Draw>
auto split_draw(Draw draw, int k, int n) {
    auto first = draw(k);
    auto second = draw(n - k);
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

TEST_P(Contract, EverySplitGivesTheSameNumbers) {
    for (int n : {1, 2, 7, 8, 9, 15, 16, 17, 24, 33, 40, 1001}) {
        Stream whole = fresh();
        const std::vector<uint32_t> iw = ints(whole.get(), n);
        Stream dw = fresh(), fw = fresh();
        const std::vector<double> dwhole = doubles(dw.get(), n);
        const std::vector<float> fwhole = floats(fw.get(), n);
        for (int k = 1; k<n; k += n> 40 ? 97 : 1) {
            Stream s = fresh();
            ASSERT_EQ(split_draw([&](int m) { return ints(s.get(), m); }, k, n), iw)
                << n << " split at " << k;
            Stream d = fresh();
            ASSERT_EQ(split_draw([&](int m) { return doubles(d.get(), m); }, k, n), dwhole) << k;
            Stream f = fresh();
            ASSERT_EQ(split_draw([&](int m) { return floats(f.get(), m); }, k, n), fwhole) << k;
        }
    }
}

TEST_P(Contract, CopiesContinueAlike) {
    Stream s = fresh();
    ints(s.get(), 13);
    BixStream *c = nullptr;
    ASSERT_EQ(__bixCopyStream(&c, s.get()), BIX_ERROR_OK);
    Stream copy(c);
    EXPECT_EQ(ints(c, 50), ints(s.get(), 50));

    Stream other = fresh();
    ASSERT_EQ(__bixCopyStreamState(other.get(), s.get()), BIX_ERROR_OK);
    EXPECT_EQ(ints(other.get(), 50), ints(s.get(), 50));
}

TEST_P(Contract, SkipAheadEqualsDiscarding) {
    if (!GetParam().info->skip_ahead) GTEST_SKIP() << "no skip-ahead";
    for (long long nskip : {0LL, 1LL, 8LL, 1000LL, 65537LL}) {
        Stream s = fresh(), t = fresh();
        ASSERT_EQ(__bixSkipAheadStream(s.get(), nskip), BIX_ERROR_OK);
        if (nskip > 0) ints(t.get(), static_cast<int>(nskip));
        EXPECT_EQ(ints(s.get(), 20), ints(t.get(), 20)) << nskip;
    }
}

// The quasi-random generators leapfrog to one coordinate only (tests/rng/qrng_test.cpp).
TEST_P(Contract, LeapfrogEqualsStriding) {
    const GeneratorInfo &g = *GetParam().info;
    if (!g.leapfrog || g.kind == BrngKind::quasi_random) GTEST_SKIP() << "no striding leapfrog";
    Stream plain = fresh();
    const std::vector<uint32_t> all = ints(plain.get(), 2000);
    const int words = row().wordSize / 4;
    for (auto [k, nstreams] : {std::pair{0, 1}, {0, 5}, {4, 5}, {3, 16}}) {
        Stream s = fresh();
        ASSERT_EQ(__bixLeapfrogStream(s.get(), k, nstreams), BIX_ERROR_OK);
        const std::vector<uint32_t> got = ints(s.get(), 100);
        for (int i = 0; i < 100; ++i) {
            for (int w = 0; w < words; ++w) {
                ASSERT_EQ(got[i * words + w], all[(k + i * nstreams) * words + w]) << i;
            }
        }
    }
}

// Unknown methods, and the splits the list says a generator does not offer, are refused and
// change nothing.
TEST_P(Contract, RefusedMethodsChangeNothing) {
    const BrngProperties p = row();
    Stream s = fresh(), twin = fresh();
    ints(s.get(), 13);
    ints(twin.get(), 13);
    const auto *state = korb::rng::state_of<unsigned char>(s.get());
    const std::vector<unsigned char> before(state, state + p.stateSize - 16);
    const uint32_t args[2] = {1, 0};
    for (int method : {3, -1, 1000}) {
        EXPECT_EQ(p.initStream(method, s.get(), 2, args), BIX_ERROR_BADMETHOD) << method;
    }
    if (!GetParam().info->leapfrog) {
        EXPECT_EQ(__bixLeapfrogStream(s.get(), 1, 2), BIX_ERROR_LEAPFROG_UNSUPPORTED);
    }
    if (!GetParam().info->skip_ahead) {
        EXPECT_EQ(__bixSkipAheadStream(s.get(), 5), BIX_ERROR_SKIPAHEAD_UNSUPPORTED);
    }
    EXPECT_EQ(std::memcmp(before.data(), state, before.size()), 0);
    EXPECT_EQ(ints(s.get(), 700), ints(twin.get(), 700));
}

// A chunk key that no generator uses for its own tables.
constexpr int kSharedKey = 90;

// An image, through memory or a file, continues the stream exactly and brings its chunks back:
// a private one (a Gaussian kernel's pending pair) as a copy, a shared one as the same block.
TEST_P(Contract, ImagesRoundTrip) {
    Stream s = fresh();
    ints(s.get(), 13);
    const int own_chunks = __bixGetNumChunks(s.get());  // a generator's own tables, if any
    auto *pair = static_cast<double *>(korbMalloc(16, 32));
    pair[0] = 0.25;
    pair[1] = 0.75;
    ASSERT_EQ(__bixAddChunk(s.get(), 2, nullptr, pair, 16), BIX_ERROR_OK);
    const uint64_t id[2] = {0x5EED, static_cast<uint64_t>(GetParam().id)};
    void *table = korbMalloc(100, 64);
    std::memset(table, 7, 100);
    ASSERT_EQ(__bixAddChunk(s.get(), kSharedKey, id, table, 100), BIX_ERROR_OK);

    std::vector<char> image(static_cast<size_t>(__bixGetStreamSize(s.get())));
    ASSERT_EQ(__bixSaveStreamM(s.get(), image.data()), BIX_ERROR_OK);
    korb::test::TempDir dir;
    const std::string path = dir / "stream.bin";
    ASSERT_EQ(__bixSaveStreamF(s.get(), path.c_str(), -1), BIX_ERROR_OK);
    ASSERT_EQ(korb::test::read_file(path), std::string(image.begin(), image.end()));

    for (bool from_file : {false, true}) {
        BixStream *l = nullptr;
        ASSERT_EQ(
            from_file ? __bixLoadStreamF(&l, path.c_str(), -1) : __bixLoadStreamM(&l, image.data()),
            BIX_ERROR_OK);
        Stream loaded(l);
        EXPECT_EQ(l->brng, GetParam().id);
        EXPECT_EQ(__bixGetNumChunks(l), own_chunks + 2);
        EXPECT_EQ(__bixGetStreamSize(l), static_cast<int>(image.size()));
        const void *p = __bixSearchChunk(l, 2);
        ASSERT_NE(p, nullptr);
        EXPECT_NE(p, pair);
        EXPECT_EQ(std::memcmp(p, pair, 16), 0);
        EXPECT_EQ(__bixSearchChunk(l, kSharedKey), table);
        BixStream *c = nullptr;
        ASSERT_EQ(__bixCopyStream(&c, s.get()), BIX_ERROR_OK);
        Stream original(c);
        EXPECT_EQ(ints(l, 50), ints(c, 50)) << (from_file ? "file" : "memory");
        EXPECT_EQ(doubles(l, 9), doubles(c, 9));
    }
}

INSTANTIATE_TEST_SUITE_P(Generators, Contract, ::testing::ValuesIn(generators()),
                         [](const auto &info) { return name_of(info.param); });

}  // namespace
