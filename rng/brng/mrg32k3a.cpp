// MRG32K3A: the combined multiple recursive generator of two order-3 recurrences,
//   x(n) = (1403580 x(n-2) - 810728 x(n-3)) mod m1,  m1 = 2^32 - 209,
//   y(n) = (527612 y(n-1) - 1370589 y(n-3)) mod m2,  m2 = 2^32 - 22853,
// with output z(n) = (x(n) - y(n)) mod m1, in 0 to m1 - 1. Period about 2^191. Skip-ahead
// raises each recurrence's companion matrix to the skip; there is no leapfrog.
//
// A step needs no division: 2^32 is congruent to 209 (mod m1) and to 22853 (mod m2), so the high
// 32 bits of a sum of products fold onto the low ones; one fold (x) or two (y) and one
// conditional subtraction give the residue.
//
// Large requests run in lanes: a chunk of kLanes * S outputs (kLanes four native vectors of
// 64-bit lanes: 8, 16 or 32) is cut into kLanes segments of S consecutive outputs, lane j starting from the state advanced by j * S steps (matrices computed
// at compile time), each lane running the plain recurrence in its own vector lane. The last lane
// ends where the chunk ends, so its state carries on. Results equal the one-step recurrence.
#include <array>
#include <bit>
#include <iterator>

#include "frame/simd.h"
#include "generator.h"

namespace korb::rng {
namespace {

constexpr uint32_t kOffset1 = 209;
constexpr uint32_t kOffset2 = 22853;
constexpr uint64_t kM1 = (uint64_t{1} << 32) - kOffset1;  // 4294967087
constexpr uint64_t kM2 = (uint64_t{1} << 32) - kOffset2;  // 4294944443
constexpr uint64_t kX1 = 1403580, kX0 = 810728;           // x(n) = kX1 x(n-2) - kX0 x(n-3)
constexpr uint64_t kY2 = 527612, kY0 = 1370589;           // y(n) = kY2 y(n-1) - kY0 y(n-3)
// The companion matrices' first rows: the coefficients of the newest, middle and oldest word.
constexpr uint32_t kRowX[3] = {0, kX1, kM1 - kX0};
constexpr uint32_t kRowY[3] = {kY2, 0, kM2 - kY0};

// The double nearest 1 / m1.
constexpr double kInverseM1 = 2.328306549837829e-10;
static_assert(std::bit_cast<uint64_t>(kInverseM1) == 0x3DF000000D10000Bull);

struct State {
    uint32_t x[3];  // first component, oldest to newest, each below m1
    uint32_t y[3];  // second component, oldest to newest, each below m2
};

// ---- Modular arithmetic on 3-word components (skip-ahead and lane starts) ----

// Reduction modulo 2^32 - offset of any 64-bit value. Small offsets fold (three folds bring a
// 64-bit value below 2^32 + offset when offset < 2^16); other moduli take a remainder.
struct Modulus {
    uint32_t offset;
    constexpr uint64_t m() const { return (uint64_t{1} << 32) - offset; }
    constexpr uint64_t reduce(uint64_t p) const {
        if (offset >= 0x10000) return p % m();
        for (int i = 0; i < 3; ++i) p = (p >> 32) * offset + (p & 0xFFFFFFFF);
        return p >= m() ? p - m() : p;
    }
    constexpr uint64_t mul(uint64_t a, uint64_t b) const { return reduce(a * b); }
};

// A 3x3 matrix over the residues, acting on a component stored oldest to newest.
using Mat3 = std::array<std::array<uint64_t, 3>, 3>;
using Vec3 = std::array<uint64_t, 3>;

constexpr Mat3 mat_mul(const Mat3 &a, const Mat3 &b, Modulus mod) {
    Mat3 c{};
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            uint64_t sum = 0;  // three residues below 2^32: no overflow
            for (int k = 0; k < 3; ++k) sum += mod.mul(a[i][k], b[k][j]);
            c[i][j] = mod.reduce(sum);
        }
    }
    return c;
}

constexpr Vec3 mat_apply(const Mat3 &a, const Vec3 &v, Modulus mod) {
    Vec3 r{};
    for (int i = 0; i < 3; ++i) {
        uint64_t sum = 0;
        for (int k = 0; k < 3; ++k) sum += mod.mul(a[i][k], v[k]);
        r[i] = mod.reduce(sum);
    }
    return r;
}

// One step of the recurrence whose first row (newest, middle, oldest coefficients) is `row`:
// (v0, v1, v2) -> (v1, v2, row . (v2, v1, v0)).
constexpr Mat3 companion(const uint32_t (&row)[3], Modulus mod) {
    Mat3 c{};
    c[0][1] = 1;
    c[1][2] = 1;
    for (int k = 0; k < 3; ++k) c[2][2 - k] = mod.reduce(row[k]);
    return c;
}

constexpr Mat3 mat_pow(Mat3 base, uint64_t power, Modulus mod) {
    Mat3 result{};
    for (int i = 0; i < 3; ++i) result[i][i] = 1;
    for (; power != 0; power >>= 1) {
        if (power & 1) result = mat_mul(result, base, mod);
        base = mat_mul(base, base, mod);
    }
    return result;
}

// ---- The step ----

using U64 = simd::Vec<uint64_t>;
constexpr int kNativeLanes = simd::kCount<simd::Vec<double>>;

// 32x32-bit products of the low halves, for one scalar or for each lane.
inline uint64_t mul32(uint64_t a, uint64_t b) {
    return (a & 0xFFFFFFFF) * (b & 0xFFFFFFFF);
}
inline U64 mul32(U64 a, uint64_t b) {
    return simd::mul_lo32(a, U64{} + b);
}

// The two recurrences: next = (newest * kNewest + middle * kMiddle - oldest * kOldest) mod m,
// m = 2^32 - kOffset, with kFolds folds in the reduction below.
struct RecurrenceX {
    static constexpr uint32_t kOffset = kOffset1;
    static constexpr int kFolds = 1;
    static constexpr uint64_t kNewest = 0, kMiddle = kX1, kOldest = kX0;
};
struct RecurrenceY {
    static constexpr uint32_t kOffset = kOffset2;
    static constexpr int kFolds = 2;
    static constexpr uint64_t kNewest = kY2, kMiddle = 0, kOldest = kY0;
};

// p mod (2^32 - Offset) for p < 2^54. A fold replaces the high part h = p >> 32 by h * Offset.
// One fold (Offset 209) leaves p below 2^32 + 2^30, two (Offset 22853) below 2^32 + 2^19: below
// twice the modulus either way, so m is subtracted once if p reached it, which is exactly when
// p + Offset carries into bit 32.
template <uint32_t Offset, int Folds, class V>
inline V reduce(V p) {
    constexpr uint64_t kLow = 0xFFFFFFFF;
    for (int i = 0; i < Folds; ++i) p = mul32(p >> 32, Offset) + (p & kLow);
    const V carry = (p + Offset) >> 32;
    return p - ((0 - carry) & ((uint64_t{1} << 32) - Offset));
}

// The next word of recurrence R from its last three, in one word or in each lane. The oldest
// term enters as kOldest * (m - oldest), which keeps the sum positive (and below 2^54).
template <class R, class V>
inline V next(V oldest, V middle, V newest) {
    constexpr uint64_t m = (uint64_t{1} << 32) - R::kOffset;
    V p = mul32(m - oldest, R::kOldest);
    if constexpr (R::kMiddle != 0) p += mul32(middle, R::kMiddle);
    if constexpr (R::kNewest != 0) p += mul32(newest, R::kNewest);
    return reduce<R::kOffset, R::kFolds>(p);
}

// The output from the two new words: x - y, plus m1 when that is negative (it wraps then).
template <class V>
inline V combine(V x, V y) {
    const V d = x - y;
    return d + ((0 - (d >> 63)) & kM1);
}

// One generator's six words, one step at a time.
struct Words {
    uint64_t x[3], y[3];  // oldest to newest

    uint64_t step() {
        const uint64_t xn = next<RecurrenceX>(x[0], x[1], x[2]);
        const uint64_t yn = next<RecurrenceY>(y[0], y[1], y[2]);
        x[0] = x[1], x[1] = x[2], x[2] = xn;
        y[0] = y[1], y[1] = y[2], y[2] = yn;
        return combine(xn, yn);
    }
};

// ---- Lanes ----

// Four independent vectors hide the latency of a step, whatever the width.
constexpr int kVectors = 4;
constexpr int kLanes = kVectors * kNativeLanes;

// Segment lengths: long ones for the bulk, shorter ones so that mid-sized requests and the
// remainder use lanes too (the one-at-a-time step is bound by its latency).
constexpr int kPass = 24;
constexpr int kSegments[] = {960, 24, 6};
constexpr bool segments_fit_passes() {
    for (int length : kSegments) {
        if (length % 3 != 0 || (length > kPass && length % kPass != 0)) return false;
    }
    return true;
}
static_assert(segments_fit_passes(), "a segment is a multiple of 3, and of kPass when longer");

// For each segment length S and lane j, the matrices advancing each component by j * S steps.
struct LaneJumps {
    Mat3 x[kLanes];
    Mat3 y[kLanes];
};

constexpr std::array<LaneJumps, std::size(kSegments)> make_lane_jumps() {
    std::array<LaneJumps, std::size(kSegments)> jumps{};
    const Modulus mx{kOffset1}, my{kOffset2};
    for (size_t s = 0; s < std::size(kSegments); ++s) {
        const Mat3 bx = mat_pow(companion(kRowX, mx), kSegments[s], mx);
        const Mat3 by = mat_pow(companion(kRowY, my), kSegments[s], my);
        jumps[s].x[0] = mat_pow(bx, 0, mx);
        jumps[s].y[0] = mat_pow(by, 0, my);
        for (int j = 1; j < kLanes; ++j) {
            jumps[s].x[j] = mat_mul(bx, jumps[s].x[j - 1], mx);
            jumps[s].y[j] = mat_mul(by, jumps[s].y[j - 1], my);
        }
    }
    return jumps;
}

constexpr auto kLaneJumps = make_lane_jumps();

// One component of every lane: w[0..2] hold the words oldest to newest, vector j holding lanes
// j * kNativeLanes and up.
using LaneWords = U64[3][kVectors];

// Runs `steps` steps (a multiple of 3) of recurrence R in every lane and writes the new words
// to out[t]. The three words rotate roles instead of moving: each new word replaces the oldest,
// and after three steps w[0] is the oldest again.
template <class R>
void run_component(LaneWords &w, U64 (*out)[kVectors], int steps) {
    for (int t = 0; t < steps; t += 3) {
        for (int j = 0; j < kVectors; ++j) out[t][j] = w[0][j] = next<R>(w[0][j], w[1][j], w[2][j]);
        for (int j = 0; j < kVectors; ++j) {
            out[t + 1][j] = w[1][j] = next<R>(w[1][j], w[2][j], w[0][j]);
        }
        for (int j = 0; j < kVectors; ++j) {
            out[t + 2][j] = w[2][j] = next<R>(w[2][j], w[0][j], w[1][j]);
        }
    }
}

// Produces `length` outputs in each lane: lane l writes outputs first + l * length + t, t = 0,
// 1, ...; then moves s past the whole chunk. The components run separately, kPass steps at a
// time, so that each one's lanes stay in registers.
template <class Sink>
void run_lanes(Words &s, const LaneJumps &jumps, int length, int first, const Sink &shared_sink) {
    Sink sink = shared_sink;  // a local copy: its fields cannot alias the output
    const Modulus mx{kOffset1}, my{kOffset2};
    const Vec3 x{s.x[0], s.x[1], s.x[2]}, y{s.y[0], s.y[1], s.y[2]};
    LaneWords wx, wy;
    for (int l = 0; l < kLanes; ++l) {
        const Vec3 lx = mat_apply(jumps.x[l], x, mx);
        const Vec3 ly = mat_apply(jumps.y[l], y, my);
        for (int k = 0; k < 3; ++k) {
            wx[k][l / kNativeLanes][l % kNativeLanes] = lx[k];
            wy[k][l / kNativeLanes][l % kNativeLanes] = ly[k];
        }
    }
    U64 new_x[kPass][kVectors], new_y[kPass][kVectors];
    for (int t0 = 0; t0 < length; t0 += kPass) {
        const int steps = length - t0 < kPass ? length - t0 : kPass;
        run_component<RecurrenceX>(wx, new_x, steps);
        run_component<RecurrenceY>(wy, new_y, steps);
        for (int t = 0; t < steps; ++t) {
            for (int j = 0; j < kVectors; ++j) {
                sink.lanes(first + t0 + t, length, j * kNativeLanes,
                           combine(new_x[t][j], new_y[t][j]));
            }
        }
    }
    constexpr int j = kVectors - 1, k = kNativeLanes - 1;
    s = {{wx[0][j][k], wx[1][j][k], wx[2][j][k]}, {wy[0][j][k], wy[1][j][k], wy[2][j][k]}};
}

// Runs the recurrence for n outputs, handing each to the sink: one at a time through
// sink.one(i, z), and from the lanes through sink.lanes(i, stride, lane, z), where lane l of z
// is output i + (lane + l) * stride.
template <class Sink>
void generate(State *st, int n, Sink &sink) {
    Words s{{st->x[0], st->x[1], st->x[2]}, {st->y[0], st->y[1], st->y[2]}};
    int i = 0;
    for (size_t k = 0; k < std::size(kSegments); ++k) {
        const int chunk = kLanes * kSegments[k];
        for (; n - i >= chunk; i += chunk) run_lanes(s, kLaneJumps[k], kSegments[k], i, sink);
    }
    for (; i < n; ++i) sink.one(i, s.step());
    for (int k = 0; k < 3; ++k) {
        st->x[k] = static_cast<uint32_t>(s.x[k]);
        st->y[k] = static_cast<uint32_t>(s.y[k]);
    }
}

inline ptrdiff_t lane_index(int i, int stride, int lane) {
    return i + static_cast<ptrdiff_t>(lane) * stride;
}

struct IntSink {
    uint32_t *r;
    void one(int i, uint64_t z) { r[i] = static_cast<uint32_t>(z); }
    void lanes(int i, int stride, int lane, U64 z) {
        for (int l = 0; l < kNativeLanes; ++l) {
            r[lane_index(i, stride, lane + l)] = static_cast<uint32_t>(z[l]);
        }
    }
};

template <class T>
struct RealSink {
    T *r;
    double s;
    double a;
    void one(int i, uint64_t z) {
        r[i] = static_cast<T>(simd::to_double_exact(static_cast<uint32_t>(z)) * s + a);
    }
    void lanes(int i, int stride, int lane, U64 z) {
        const simd::Vec<double> d = simd::to_double_exact(z) * s + a;
        for (int l = 0; l < kNativeLanes; ++l) {
            r[lane_index(i, stride, lane + l)] = static_cast<T>(d[l]);
        }
    }
};

void vect3_pow_mod(uint32_t v[3], const uint32_t (&row)[3], uint32_t offset, uint64_t power) {
    const Modulus mod{offset};
    const Vec3 r = mat_apply(mat_pow(companion(row, mod), power, mod),
                             {mod.reduce(v[0]), mod.reduce(v[1]), mod.reduce(v[2])}, mod);
    for (int k = 0; k < 3; ++k) v[k] = static_cast<uint32_t>(r[k]);
}

struct Mrg32k3a {
    static constexpr int kId = BIX_BRNG_MRG32K3A;

    // Up to six seed words, the rest 1; each word reduced by one subtraction of its modulus; a
    // component left all zero gets 1 in its oldest word.
    static int seed(BixStream *stream, Seeds seeds) {
        State *st = state_of<State>(stream);
        uint32_t w[6] = {1, 1, 1, 1, 1, 1};
        for (int k = 0; k < seeds.count() && k < 6; ++k) w[k] = seeds[k];
        for (int k = 0; k < 3; ++k) {
            st->x[k] = w[k] >= kM1 ? static_cast<uint32_t>(w[k] - kM1) : w[k];
            st->y[k] = w[3 + k] >= kM2 ? static_cast<uint32_t>(w[3 + k] - kM2) : w[3 + k];
        }
        if ((st->x[0] | st->x[1] | st->x[2]) == 0) st->x[0] = 1;
        if ((st->y[0] | st->y[1] | st->y[2]) == 0) st->y[0] = 1;
        return BIX_ERROR_OK;
    }

    static int skip_ahead(BixStream *stream, uint64_t nskip) {
        State *st = state_of<State>(stream);
        vect3_pow_mod(st->x, kRowX, kOffset1, nskip);
        vect3_pow_mod(st->y, kRowY, kOffset2, nskip);
        return BIX_ERROR_OK;
    }

    static int ints(BixStream *stream, int n, uint32_t r[]) {
        IntSink sink{r};
        generate(state_of<State>(stream), n, sink);
        return BIX_ERROR_OK;
    }

    static int doubles(BixStream *stream, int n, double r[], double a, double b) {
        RealSink<double> sink{r, (b - a) * kInverseM1, a};
        generate(state_of<State>(stream), n, sink);
        return BIX_ERROR_OK;
    }

    static int floats(BixStream *stream, int n, float r[], float a, float b) {
        const double da = a;
        RealSink<float> sink{r, (static_cast<double>(b) - da) * kInverseM1, da};
        generate(state_of<State>(stream), n, sink);
        return BIX_ERROR_OK;
    }
};

}  // namespace

constexpr RowLayout layout_MRG32K3A = {
    .stateSize = 40, .stateWords = 6, .includesZero = 1, .nBits = 32};
static_assert(sizeof(State) + kStreamHeaderBytes <= layout_MRG32K3A.stateSize);

}  // namespace korb::rng

KORB_BRNG_ENTRY_POINTS(MRG32K3A, korb::rng::Mrg32k3a)

extern "C" void __bixiVect3PowMod(uint32_t vector[3], const uint32_t row[3], uint32_t offset,
                                  uint64_t power) {
    const uint32_t r[3] = {row[0], row[1], row[2]};
    korb::rng::vect3_pow_mod(vector, r, offset, power);
}
