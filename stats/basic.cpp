// The basic-statistics estimator: means, raw and central moments of orders 2 to 4, skewness,
// kurtosis, coefficient of variation, covariance and correlation of the selected variables,
// computed in one call or merged over portions of the data given in successive calls.
//
// Every method works on a running record of the data seen so far: the weight sums W = sum w and
// W2 = sum w^2, and per variable the mean (kept as an unevaluated sum hi + lo of two doubles), the
// raw sums R_k = sum w x^k, the central sums M_k = sum w (x - mean)^k, and the co-moment matrix
// C = sum w (x - mean)(x - mean)^T. A block of observations is summed about a centre c close to
// the running mean: S_k = sum w (x - c)^k and D D^T (D the centred block, through the resolved
// dsyrk, or dgemm for negative weights). With the block's own mean c + S_1/W_b, its central sums
// follow from the S_k by the binomial shift, and the block joins the record by the pairwise
// update formulas of Chan, Golub and LeVeque (means, second sums, co-moments) and Pebay (third
// and fourth sums), with delta the block mean minus the running mean:
//   M2 = M2a + M2b + delta^2 Wa Wb / W
//   M3 = M3a + M3b + delta^3 Wa Wb (Wa - Wb) / W^2 + 3 delta (Wa M2b - Wb M2a) / W
//   M4 = M4a + M4b + delta^4 Wa Wb (Wa^2 - Wa Wb + Wb^2) / W^3
//        + 6 delta^2 (Wa^2 M2b + Wb^2 M2a) / W^2 + 4 delta (Wa M3b - Wb M3a) / W
//   C  = Ca + Cb + (Wa Wb / W) delta delta^T
// Method 0x1 makes the whole portion one block: a first pass finds the mean (summing x - x0, the
// first finite observation, so that a mean far from zero costs no digits), a second pass sums
// about it, and the small remainder S_1/W corrects the centre (the corrected two-pass
// algorithm). Method 0x2 reads the data once, in cache-sized blocks centred on the running mean.
// Method 0x100 sums about the caller's mean, which is then not a result but an input.
//
// With the accumulated-weights slot set, the record of the earlier portions is rebuilt from the
// result slots (M2 = cen2 (W - W2/W), M3 = cen3 W, C = cov (W - W2/W), ...) and the portion is
// merged into it the same way. docs/stats.md derives the formulas and gives the error analysis.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <utility>

#include "frame/blas.h"
#include "korb/kernel/ss.h"
#include "stats/basic_sums.h"
#include "stats/task.h"

namespace korb::stats {
namespace {

// Result slots in the order the checks report them.
enum Slot : int {
    kMean,
    kRaw2,
    kRaw3,
    kRaw4,
    kCen2,
    kCen3,
    kCen4,
    kCov,
    kCor,
    kKurtosis,
    kSkewness,
    kVariation,
    kSlotCount
};
constexpr unsigned bit(Slot s) {
    return 1u << s;
}

constexpr int kNullStatus[kSlotCount] = {
    BIX_SS_ERROR_NULL_MEAN,     BIX_SS_ERROR_NULL_RAW2,     BIX_SS_ERROR_NULL_RAW3,
    BIX_SS_ERROR_NULL_RAW4,     BIX_SS_ERROR_NULL_CEN2,     BIX_SS_ERROR_NULL_CEN3,
    BIX_SS_ERROR_NULL_CEN4,     BIX_SS_ERROR_NULL_COV,      BIX_SS_ERROR_NULL_COR,
    BIX_SS_ERROR_NULL_KURTOSIS, BIX_SS_ERROR_NULL_SKEWNESS, BIX_SS_ERROR_NULL_VARIATION,
};

void *slot(const BixSSTask *t, int s) {
    switch (s) {
        case kMean:
            return t->mean;
        case kRaw2:
            return t->raw2;
        case kRaw3:
            return t->raw3;
        case kRaw4:
            return t->raw4;
        case kCen2:
            return t->cen2;
        case kCen3:
            return t->cen3;
        case kCen4:
            return t->cen4;
        case kCov:
            return t->cov;
        case kCor:
            return t->cor;
        case kKurtosis:
            return t->kurtosis;
        case kSkewness:
            return t->skewness;
        default:
            return t->variation;
    }
}

// The result slots a request fills: the estimates asked for and those they are computed from.
// Merging portions also needs the lower central moments behind the third and fourth, and the
// variances behind a correlation.
unsigned expand(uint64_t est, bool portions) {
    const unsigned mean = bit(kMean), r2 = bit(kRaw2), r3 = bit(kRaw3), r4 = bit(kRaw4);
    unsigned s = 0;
    if (est & BIX_SS_EST_MEAN) s |= mean;
    if (est & BIX_SS_EST_RAW2) s |= r2;
    if (est & BIX_SS_EST_RAW3) s |= r3;
    if (est & BIX_SS_EST_RAW4) s |= r4;
    if (est & BIX_SS_EST_CEN2) s |= mean | r2 | bit(kCen2);
    if (est & BIX_SS_EST_CEN3) s |= mean | r2 | r3 | bit(kCen3);
    if (est & BIX_SS_EST_CEN4) s |= mean | r2 | r3 | r4 | bit(kCen4);
    if (est & BIX_SS_EST_COV) s |= mean | bit(kCov);
    if (est & BIX_SS_EST_COR) s |= mean | bit(kCor);
    if (est & BIX_SS_EST_KURTOSIS) {
        s |= mean | r2 | r3 | r4 | bit(kCen2) | bit(kCen4) | bit(kKurtosis);
    }
    if (est & BIX_SS_EST_SKEWNESS) s |= mean | r2 | r3 | bit(kCen2) | bit(kCen3) | bit(kSkewness);
    if (est & BIX_SS_EST_VARIATION) s |= mean | r2 | bit(kCen2) | bit(kVariation);
    if (portions) {
        if (s & bit(kCen4)) s |= bit(kCen3);
        if (s & bit(kCen3)) s |= bit(kCen2);
        if ((s & bit(kCor)) && !(s & bit(kCov))) s |= bit(kCen2);
    }
    return s;
}

constexpr int kTwoPass = BIX_SS_METHOD_TWO_PASS;
constexpr int kOnePass = BIX_SS_METHOD_ONE_PASS;
constexpr int kGivenMean = BIX_SS_METHOD_GIVEN_MEAN;

// Cache budget of one centred block of the covariance (the dsyrk operand).
constexpr size_t kCovBlockBytes = size_t{1} << 20;

// s + err = a + b exactly (Knuth's two-sum).
inline void two_sum(double a, double b, double *s, double *err) {
    const double sum = a + b;
    const double bb = sum - a;
    *s = sum;
    *err = (a - (sum - bb)) + (b - bb);
}

// A sum of block totals with Neumaier's compensation.
struct CompensatedSum {
    double s = 0, c = 0;
    void add(double x) {
        const double t = s + x;
        if (std::fabs(s) >= std::fabs(x)) {
            c += (s - t) + x;
        } else {
            c += (x - t) + s;
        }
        s = t;
    }
    // An infinite or NaN sum is its plain value: the compensation would turn inf into NaN.
    double value() const { return std::isfinite(s) ? s + c : s; }
};

// The running record. Arrays are indexed by position in the list of selected variables; C is
// q x q column-major, lower triangle (row >= column) meaningful.
struct Record {
    double w = 0, w2 = 0;
    double *hi, *lo;
    double *m[kMaxCenOrder + 1];  // m[2], m[3], m[4]
    double *r[kMaxRawOrder + 1];  // r[2], r[3], r[4]
    double *c;
};

// Everything one call needs beside the caller's arrays, carved out of one allocation.
struct Work {
    void *block = nullptr;
    size_t *vars;
    Record rec;
    double *centre, *sums, *delta;
    double *raw_kept;        // the raw sums of method 0x1's first pass, during its second
    CompensatedSum *totals;  // kMaxSums x q, the portion totals of methods 0x1 and 0x100
    double *d, *e, *root_w;  // centred block, weighted copy for dgemm, square roots of weights
};

template <class T>
struct Call {
    BixSSTask *task;
    Observations<T> obs;
    size_t q, nb;
    unsigned fill;
    int method;
    SumOrders orders;  // what the record keeps: raw sums up to orders.raw, central up to .cen
    bool comoments, portions;
    int64_t cov_storage, cor_storage;
    Work wk;
};

// Layout of a symmetric result: full row-major p x p, or the lower triangle packed by rows.
inline size_t sym_index(int64_t storage, size_t p, size_t i, size_t j) {
    if (storage & BIX_SS_COV_FULL) return i * p + j;
    if (i < j) std::swap(i, j);
    return i * (i + 1) / 2 + j;
}

template <class T>
int allocate(Call<T> &k) {
    const size_t q = k.q;
    const size_t nb = k.nb;
    // Overflow of the sizes below is an allocation that cannot be had.
    constexpr size_t kMax = std::numeric_limits<size_t>::max() / 64;
    if (q > kMax / (q + 32) || (k.comoments && nb > kMax / (q + 1))) {
        return BIX_SS_ERROR_MEM_FAILURE;
    }
    const size_t doubles = q * (2 + 3 + 3 + 2 + kMaxSums + kMaxRawOrder) + 2 * kMaxSums * q +
                           (k.comoments ? q * q + (k.obs.w ? 2 * q * nb + nb : q * nb) : 0);
    const size_t bytes = q * sizeof(size_t) + doubles * sizeof(double);
    auto *base = static_cast<unsigned char *>(korbAlignedAlloc(bytes, 128));
    if (base == nullptr) return BIX_SS_ERROR_MEM_FAILURE;
    Work &w = k.wk;
    w.block = base;
    w.vars = reinterpret_cast<size_t *>(base);
    auto *f = reinterpret_cast<double *>(base + q * sizeof(size_t));
    const auto take = [&f](size_t count) {
        double *p = f;
        f += count;
        return p;
    };
    w.rec.hi = take(q);
    w.rec.lo = take(q);
    for (int o = 2; o <= kMaxCenOrder; ++o) w.rec.m[o] = take(q);
    for (int o = 2; o <= kMaxRawOrder; ++o) w.rec.r[o] = take(q);
    w.centre = take(q);
    w.delta = take(q);
    w.sums = take(kMaxSums * q);
    w.raw_kept = take(kMaxRawOrder * q);
    w.totals = reinterpret_cast<CompensatedSum *>(take(2 * kMaxSums * q));
    w.rec.c = k.comoments ? take(q * q) : nullptr;
    w.d = k.comoments ? take(q * nb) : nullptr;
    w.e = k.comoments && k.obs.w ? take(q * nb) : nullptr;
    w.root_w = k.comoments && k.obs.w ? take(nb) : nullptr;
    return BIX_ERROR_OK;
}

// The first finite observation of each selected variable in [j0, j1) (0 if none): the centre of
// a first block, close enough to the data that x - centre keeps its digits.
template <class T>
void first_finite(const Call<T> &k, size_t j0, size_t j1, double *out) {
    const Observations<T> &o = k.obs;
    for (size_t v = 0; v < k.q; ++v) {
        out[v] = 0;
        for (size_t j = j0; j < j1; ++j) {
            const T x = o.by_variable ? o.x[k.wk.vars[v] * o.n + j] : o.x[j * o.p + k.wk.vars[v]];
            if (std::isfinite(x)) {
                out[v] = static_cast<double>(x);
                break;
            }
        }
    }
}

// Stripe of the first central sum of a contiguous run (see basic_sums.h).
constexpr size_t kStripe1 = 8;

// Adds sum w (x - centre)(x - centre)^T over [j0, j1) to the record's C. With s1 non-null it
// also leaves there the first central sums of the block, with the same bits as block_sums
// gives them (the same additions in the same order), so that a request that needs no other sum
// reads the block once.
template <class T>
void add_comoments(Call<T> &k, size_t j0, size_t j1, const double *centre, double *s1) {
    const Observations<T> &o = k.obs;
    const size_t q = k.q, m = j1 - j0;
    const size_t *vars = k.wk.vars;
    double *d = k.wk.d;
    // Weighted rows are scaled by sqrt(w) for dsyrk; a negative weight sends the block to dgemm
    // against a copy scaled by w instead.
    bool gemm = false;
    const double *rw = nullptr;
    const T *w = o.w != nullptr ? o.w + j0 : nullptr;
    if (w != nullptr) {
        for (size_t t = 0; t < m; ++t) {
            const double wt = static_cast<double>(w[t]);
            gemm = gemm || wt < 0;
            k.wk.root_w[t] = std::sqrt(wt);
        }
        rw = gemm ? nullptr : k.wk.root_w;
    }
    const bool by_var = o.by_variable || o.p == 1;
    if (by_var) {  // D is m x q, column v the run of variable vars[v]
        for (size_t v = 0; v < q; ++v) {
            const T *run = (o.by_variable ? o.x + vars[v] * o.n : o.x) + j0;
            const double c = centre[v];
            double *col = d + v * m;
            if (rw != nullptr) {
                for (size_t t = 0; t < m; ++t) col[t] = (static_cast<double>(run[t]) - c) * rw[t];
            } else {
                for (size_t t = 0; t < m; ++t) col[t] = static_cast<double>(run[t]) - c;
            }
            if (s1 == nullptr) continue;
            double acc[kStripe1] = {};
            size_t t = 0;
            for (; t + kStripe1 <= m; t += kStripe1) {
                for (size_t l = 0; l < kStripe1; ++l) {
                    const double dv = static_cast<double>(run[t + l]) - c;
                    acc[l] += w != nullptr ? static_cast<double>(w[t + l]) * dv : dv;
                }
            }
            for (; t < m; ++t) {
                const double dv = static_cast<double>(run[t]) - c;
                acc[t % kStripe1] += w != nullptr ? static_cast<double>(w[t]) * dv : dv;
            }
            for (size_t h = kStripe1 / 2; h >= 1; h /= 2) {
                for (size_t l = 0; l < h; ++l) acc[l] += acc[l + h];
            }
            s1[v] = acc[0];
        }
    } else {  // D is q x m, column t observation j0 + t
        if (s1 != nullptr) std::fill_n(s1, q, 0.0);
        const bool contiguous = vars[q - 1] - vars[0] == q - 1;
        for (size_t t = 0; t < m; ++t) {
            const T *row = o.x + (j0 + t) * o.p;
            double *col = d + t * q;
            if (contiguous) {
                row += vars[0];
                for (size_t v = 0; v < q; ++v) col[v] = static_cast<double>(row[v]) - centre[v];
            } else {
                for (size_t v = 0; v < q; ++v) {
                    col[v] = static_cast<double>(row[vars[v]]) - centre[v];
                }
            }
            if (s1 != nullptr) {
                if (w != nullptr) {
                    const double wt = static_cast<double>(w[t]);
                    for (size_t v = 0; v < q; ++v) s1[v] += wt * col[v];
                } else {
                    for (size_t v = 0; v < q; ++v) s1[v] += col[v];
                }
            }
            if (rw != nullptr) {
                for (size_t v = 0; v < q; ++v) col[v] *= rw[t];
            }
        }
    }
    const int qi = static_cast<int>(q), mi = static_cast<int>(m);
    const double one = 1.0;
    if (!gemm) {
        if (by_var) {
            frame::korb_blas_dsyrk("L", "T", &qi, &mi, &one, d, &mi, &one, k.wk.rec.c, &qi, 1, 1);
        } else {
            frame::korb_blas_dsyrk("L", "N", &qi, &mi, &one, d, &qi, &one, k.wk.rec.c, &qi, 1, 1);
        }
        return;
    }
    double *e = k.wk.e;
    for (size_t v = 0; v < q; ++v) {
        for (size_t t = 0; t < m; ++t) {
            const double wt = static_cast<double>(o.w[j0 + t]);
            if (by_var) {
                e[v * m + t] = d[v * m + t] * wt;
            } else {
                e[t * q + v] = d[t * q + v] * wt;
            }
        }
    }
    if (by_var) {
        frame::korb_blas_dgemm("T", "N", &qi, &qi, &mi, &one, d, &mi, e, &mi, &one, k.wk.rec.c, &qi,
                               1, 1);
    } else {
        frame::korb_blas_dgemm("N", "T", &qi, &qi, &mi, &one, d, &qi, e, &qi, &one, k.wk.rec.c, &qi,
                               1, 1);
    }
}

// Whether the block sums are only the first central sums, which the co-moment pass makes too.
template <class T>
bool fused(const Call<T> &k, SumOrders orders) {
    return k.comoments && orders.raw == 0 && orders.cen == 1;
}

// Weight sums of [j0, j1).
template <class T>
void block_weights(const Call<T> &k, size_t j0, size_t j1, double *w, double *w2) {
    if (k.obs.w == nullptr) {
        *w = *w2 = static_cast<double>(j1 - j0);
        return;
    }
    weight_sums(k.obs.w, j0, j1, w, w2);
}

// Merges a block of weight wb (squares w2b), summed about centre into sums (central sums of
// orders 1 .. cen, then raw sums, each q entries), into the record. When the record keeps
// co-moments, sum w (x - centre)(x - centre)^T of the block has already been added to rec.c.
template <class T>
void merge_block(Call<T> &k, double wb, double w2b, const double *centre, const double *sums,
                 SumOrders orders) {
    Record &rec = k.wk.rec;
    const size_t q = k.q;
    const double wa = rec.w, w = wa + wb;
    const double f = wb / w, g = wa * f;
    const int cen = orders.cen;
    const double *s1 = sums;
    for (size_t v = 0; v < q; ++v) {
        for (int o = 2; o <= orders.raw; ++o) {
            rec.r[o][v] += sums[static_cast<size_t>(cen + o - 2) * q + v];
        }
        if (cen < 1) continue;
        const double c = s1[v] / wb;
        double delta;
        if (std::isfinite(centre[v]) && (wa == 0 || std::isfinite(rec.hi[v]))) {
            if (wa == 0) {
                rec.hi[v] = centre[v];
                rec.lo[v] = 0;
            }
            delta = ((centre[v] - rec.hi[v]) - rec.lo[v]) + c;
        } else {
            // An infinite observation, now or earlier: the mean takes the plain sum of the
            // infinities (inf, -inf or NaN) and the central sums become NaN.
            const double mb = std::isfinite(centre[v]) ? centre[v] + c : centre[v];
            rec.hi[v] = wa == 0 ? mb : rec.hi[v] + mb;
            rec.lo[v] = 0;
            delta = std::numeric_limits<double>::quiet_NaN();
        }
        k.wk.delta[v] = delta;
        if (cen >= 2) {
            const double s2 = sums[q + v];
            const double m2b = s2 - c * s1[v];
            const double m2a = rec.m[2][v];
            if (cen >= 3) {
                const double s3 = sums[2 * q + v];
                const double c2 = c * c;
                const double m3b = s3 - 3 * c * s2 + 2 * c2 * c * wb;
                const double m3a = rec.m[3][v];
                if (cen >= 4) {
                    const double s4 = sums[3 * q + v];
                    const double m4b = s4 - 4 * c * s3 + 6 * c2 * s2 - 3 * c2 * c2 * wb;
                    const double d2 = delta * delta;
                    rec.m[4][v] += m4b + d2 * d2 * g * ((wa * wa - wa * wb + wb * wb) / (w * w)) +
                                   6 * d2 * ((wa * wa * m2b + wb * wb * m2a) / (w * w)) +
                                   4 * delta * ((wa * m3b - wb * m3a) / w);
                }
                rec.m[3][v] += m3b + delta * delta * delta * g * ((wa - wb) / w) +
                               3 * delta * ((wa * m2b - wb * m2a) / w);
            }
            rec.m[2][v] += m2b + delta * delta * g;
        }
        if (std::isfinite(delta)) {
            two_sum(rec.hi[v], rec.lo[v] + delta * f, &rec.hi[v], &rec.lo[v]);
        } else if (!std::isnan(rec.hi[v]) && std::isfinite(rec.hi[v])) {
            rec.hi[v] += delta;  // this block brought the first infinity or NaN
            rec.lo[v] = 0;
        }
    }
    if (k.comoments) {
        // C += Cb + g delta delta^T, with Cb = sum w d d^T - S1 S1^T / wb; the first term is in.
        for (size_t u = 0; u < q; ++u) {
            double *col = rec.c + u * q;
            const double su = s1[u] / wb, du = k.wk.delta[u] * g;
            for (size_t v = u; v < q; ++v) col[v] += k.wk.delta[v] * du - s1[v] * su;
        }
    }
    rec.w = w;
    rec.w2 += w2b;
}

// Method 0x2: one pass in blocks, each centred on the running mean and merged at once.
template <class T>
void one_pass(Call<T> &k) {
    const size_t n = k.obs.n, q = k.q;
    Record &rec = k.wk.rec;
    double *centre = k.wk.centre;
    for (size_t j0 = 0; j0 < n; j0 += k.nb) {
        const size_t j1 = n - j0 < k.nb ? n : j0 + k.nb;
        double wb, w2b;
        block_weights(k, j0, j1, &wb, &w2b);
        if (wb == 0) continue;  // observations of no weight change nothing
        if (k.orders.cen > 0) {
            bool fresh = rec.w == 0;
            for (size_t v = 0; v < q && !fresh; ++v) fresh = !std::isfinite(rec.hi[v]);
            if (fresh) first_finite(k, j0, j1, centre);
            for (size_t v = 0; v < q; ++v) {
                if (rec.w != 0 && std::isfinite(rec.hi[v])) centre[v] = rec.hi[v];
            }
        }
        if (fused(k, k.orders)) {
            add_comoments(k, j0, j1, centre, k.wk.sums);
        } else {
            block_sums(k.obs, k.wk.vars, q, j0, j1, centre, k.orders, k.wk.sums);
            if (k.comoments) add_comoments(k, j0, j1, centre, nullptr);
        }
        merge_block(k, wb, w2b, centre, k.wk.sums, k.orders);
    }
}

// Sums of the whole portion about centre, in blocks whose totals are added with compensation,
// into k.wk.sums; the co-moments about the same centre go to the record block by block.
template <class T>
void portion_sums(Call<T> &k, const double *centre, SumOrders orders, bool comoments, double *wp,
                  double *w2p) {
    const size_t n = k.obs.n, q = k.q;
    const size_t count = static_cast<size_t>(orders.count()) * q;
    for (size_t i = 0; i < count; ++i) k.wk.totals[i] = CompensatedSum{};
    CompensatedSum w, w2;
    for (size_t j0 = 0; j0 < n; j0 += k.nb) {
        const size_t j1 = n - j0 < k.nb ? n : j0 + k.nb;
        double wb, w2b;
        block_weights(k, j0, j1, &wb, &w2b);
        w.add(wb);
        w2.add(w2b);
        if (comoments && fused(k, orders)) {
            add_comoments(k, j0, j1, centre, k.wk.sums);
        } else {
            block_sums(k.obs, k.wk.vars, q, j0, j1, centre, orders, k.wk.sums);
            if (comoments) add_comoments(k, j0, j1, centre, nullptr);
        }
        for (size_t i = 0; i < count; ++i) k.wk.totals[i].add(k.wk.sums[i]);
    }
    for (size_t i = 0; i < count; ++i) k.wk.sums[i] = k.wk.totals[i].value();
    *wp = w.value();
    *w2p = w2.value();
}

// Method 0x1: the mean of the portion first (summing about its first finite observations), then
// the sums about that mean; the portion joins the record as one block.
template <class T>
void two_pass(Call<T> &k) {
    const size_t q = k.q;
    double *centre = k.wk.centre, *sums = k.wk.sums;
    double wp, w2p;
    first_finite(k, 0, k.obs.n, centre);
    const SumOrders first{k.orders.raw, k.orders.cen > 0 ? 1 : 0};
    portion_sums(k, centre, first, false, &wp, &w2p);
    if (wp == 0) return;
    if (k.orders.cen < 2 && !k.comoments) {
        merge_block(k, wp, w2p, centre, sums, first);
        return;
    }
    const size_t raw_count = static_cast<size_t>(first.count() - first.cen) * q;
    std::memcpy(k.wk.raw_kept, sums + q, raw_count * sizeof(double));
    for (size_t v = 0; v < q; ++v) centre[v] += sums[v] / wp;
    const SumOrders second{0, k.orders.cen};
    portion_sums(k, centre, second, k.comoments, &wp, &w2p);
    std::memcpy(sums + static_cast<size_t>(second.cen) * q, k.wk.raw_kept,
                raw_count * sizeof(double));
    merge_block(k, wp, w2p, centre, sums, k.orders);
}

// Method 0x100: sums about the caller's mean (already in centre), added to the record.
template <class T>
void given_mean(Call<T> &k) {
    Record &rec = k.wk.rec;
    const size_t q = k.q;
    double wp, w2p;
    portion_sums(k, k.wk.centre, k.orders, k.comoments, &wp, &w2p);
    for (size_t v = 0; v < q; ++v) {
        for (int o = 2; o <= k.orders.cen; ++o) {
            rec.m[o][v] += k.wk.sums[static_cast<size_t>(o - 1) * q + v];
        }
        for (int o = 2; o <= k.orders.raw; ++o) {
            rec.r[o][v] += k.wk.sums[static_cast<size_t>(k.orders.cen + o - 2) * q + v];
        }
    }
    rec.w += wp;
    rec.w2 += w2p;
}

template <class T>
const T *in(const BixSSTask *t, int s) {
    return static_cast<const T *>(slot(t, s));
}

// The record of the earlier portions, rebuilt from the result slots (an empty one without the
// accumulated-weights slot or before the first portion).
template <class T>
void read_record(Call<T> &k) {
    Record &rec = k.wk.rec;
    const size_t q = k.q;
    const size_t *vars = k.wk.vars;
    const BixSSTask *t = k.task;
    for (size_t v = 0; v < q; ++v) {
        rec.hi[v] = rec.lo[v] = 0;
        for (int o = 2; o <= kMaxCenOrder; ++o) rec.m[o][v] = 0;
        for (int o = 2; o <= kMaxRawOrder; ++o) rec.r[o][v] = 0;
    }
    if (k.comoments) std::memset(rec.c, 0, q * q * sizeof(double));
    if (k.method == kGivenMean && (k.orders.cen > 0 || k.comoments)) {
        for (size_t v = 0; v < q; ++v)
            k.wk.centre[v] = static_cast<double>(in<T>(t, kMean)[vars[v]]);
    }
    if (!k.portions) return;
    const T *acc = static_cast<const T *>(t->accum_weights);
    rec.w = static_cast<double>(acc[0]);
    rec.w2 = static_cast<double>(acc[1]);
    if (rec.w == 0) {
        rec.w2 = 0;
        return;
    }
    const double w = rec.w;
    const double den = w - rec.w2 / w;
    const auto has = [&k](Slot s) { return (k.fill & bit(s)) != 0; };
    for (size_t v = 0; v < q; ++v) {
        const size_t i = vars[v];
        if (has(kMean) && k.method != kGivenMean)
            rec.hi[v] = static_cast<double>(in<T>(t, kMean)[i]);
        for (int o = 2; o <= kMaxRawOrder; ++o) {
            if (has(static_cast<Slot>(kRaw2 + o - 2))) {
                rec.r[o][v] = static_cast<double>(in<T>(t, kRaw2 + o - 2)[i]) * w;
            }
        }
        // One observation of non-zero weight: no spread, whatever the slot says (0/0).
        if (has(kCen2)) rec.m[2][v] = den == 0 ? 0 : static_cast<double>(in<T>(t, kCen2)[i]) * den;
        if (has(kCen3)) rec.m[3][v] = static_cast<double>(in<T>(t, kCen3)[i]) * w;
        if (has(kCen4)) rec.m[4][v] = static_cast<double>(in<T>(t, kCen4)[i]) * w;
    }
    if (!k.comoments) return;
    const size_t p = k.obs.p;
    for (size_t u = 0; u < q; ++u) {
        for (size_t v = u; v < q; ++v) {
            double c;
            if (has(kCov)) {
                const T x = in<T>(t, kCov)[sym_index(k.cov_storage, p, vars[v], vars[u])];
                c = den == 0 ? 0 : static_cast<double>(x) * den;
            } else {
                // From the correlation and the variances; a variable without spread has none in
                // common with any other.
                const double mu = rec.m[2][u], mv = rec.m[2][v];
                const T x = in<T>(t, kCor)[sym_index(k.cor_storage, p, vars[v], vars[u])];
                c = u == v                 ? mu
                    : (mu == 0 || mv == 0) ? 0
                                           : static_cast<double>(x) * std::sqrt(mu) * std::sqrt(mv);
            }
            rec.c[u * q + v] = c;
        }
    }
}

template <class T>
T *out(const BixSSTask *t, int s) {
    return static_cast<T *>(slot(t, s));
}

// The estimates from the record, into the filled slots of the selected variables.
template <class T>
void write_results(const Call<T> &k) {
    const Record &rec = k.wk.rec;
    const BixSSTask *t = k.task;
    const size_t q = k.q, p = k.obs.p;
    const size_t *vars = k.wk.vars;
    const double w = rec.w, den = w - rec.w2 / w;
    const auto has = [&k](Slot s) { return (k.fill & bit(s)) != 0; };
    for (size_t v = 0; v < q; ++v) {
        const size_t i = vars[v];
        double mean = k.method == kGivenMean ? k.wk.centre[v] : rec.hi[v] + rec.lo[v];
        if (w == 0 && k.method != kGivenMean) mean = std::numeric_limits<double>::quiet_NaN();
        if (has(kMean) && k.method != kGivenMean) out<T>(t, kMean)[i] = static_cast<T>(mean);
        for (int o = 2; o <= kMaxRawOrder; ++o) {
            if (has(static_cast<Slot>(kRaw2 + o - 2))) {
                out<T>(t, kRaw2 + o - 2)[i] = static_cast<T>(rec.r[o][v] / w);
            }
        }
        const double m2 = rec.m[2][v];
        const double c2 = m2 / den, c3 = rec.m[3][v] / w, c4 = rec.m[4][v] / w;
        const double s2 = m2 / w;  // the biased variance of skewness and kurtosis
        if (has(kCen2)) out<T>(t, kCen2)[i] = static_cast<T>(c2);
        if (has(kCen3)) out<T>(t, kCen3)[i] = static_cast<T>(c3);
        if (has(kCen4)) out<T>(t, kCen4)[i] = static_cast<T>(c4);
        if (has(kSkewness)) out<T>(t, kSkewness)[i] = static_cast<T>(c3 / (s2 * std::sqrt(s2)));
        if (has(kKurtosis)) out<T>(t, kKurtosis)[i] = static_cast<T>(c4 / (s2 * s2) - 3);
        if (has(kVariation)) out<T>(t, kVariation)[i] = static_cast<T>(std::sqrt(c2) / mean);
    }
    if (k.portions) {
        T *acc = static_cast<T *>(t->accum_weights);
        acc[0] = static_cast<T>(rec.w);
        acc[1] = static_cast<T>(rec.w2);
    }
    if (!k.comoments) return;
    for (size_t u = 0; u < q; ++u) {
        const double cu = rec.c[u * q + u];
        for (size_t v = u; v < q; ++v) {
            const double cuv = rec.c[u * q + v];
            if (has(kCov)) {
                const T x = static_cast<T>(cuv / den);
                T *cov = out<T>(t, kCov);
                cov[sym_index(k.cov_storage, p, vars[v], vars[u])] = x;
                if (k.cov_storage & BIX_SS_COV_FULL) cov[vars[u] * p + vars[v]] = x;
            }
            if (has(kCor)) {
                double r;
                if (u == v) {
                    r = cuv / cuv;
                } else {
                    r = cuv / (std::sqrt(cu) * std::sqrt(rec.c[v * q + v]));
                    // Rounding can carry a perfect correlation just past 1.
                    if (r > 1) r = 1;
                    if (r < -1) r = -1;
                }
                const T x = static_cast<T>(r);
                T *cor = out<T>(t, kCor);
                cor[sym_index(k.cor_storage, p, vars[v], vars[u])] = x;
                if (k.cor_storage & BIX_SS_COV_FULL) cor[vars[u] * p + vars[v]] = x;
            }
        }
    }
}

inline bool selected(const BixSSTask *task, size_t i) {
    return task->indices == nullptr || read_int(task, task->indices, static_cast<int64_t>(i)) != 0;
}

// The storage code of a covariance or correlation result: null or with neither form's bit
// refused.
int storage_code(const BixSSTask *task, const void *code, int64_t *out) {
    if (code == nullptr) return BIX_SS_ERROR_NULL_STORAGE;
    *out = read_int(task, code);
    if ((*out & (BIX_SS_COV_FULL | BIX_SS_COV_LOWER_PACKED)) == 0) return BIX_SS_ERROR_BAD_STORAGE;
    return BIX_ERROR_OK;
}

template <class T>
int basic(BixSSTask *task, uint64_t estimates, int method) {
    if (task == nullptr) return BIX_SS_ERROR_NULL_TASK;
    const int64_t storage = task->x_storage != nullptr ? read_int(task, task->x_storage) : 0;
    if ((storage & (BIX_SS_MATRIX_STORAGE_ROWS | BIX_SS_MATRIX_STORAGE_COLS)) == 0) {
        return BIX_SS_ERROR_BAD_STORAGE;
    }
    Call<T> k{};
    k.task = task;
    k.portions = task->accum_weights != nullptr;
    k.fill = expand(estimates, k.portions);
    for (int s = 0; s < kSlotCount; ++s) {
        if ((k.fill & (1u << s)) != 0 && slot(task, s) == nullptr) return kNullStatus[s];
    }
    if (k.fill & bit(kCov)) {
        if (const int st = storage_code(task, task->cov_storage, &k.cov_storage)) return st;
    }
    if (k.fill & bit(kCor)) {
        if (const int st = storage_code(task, task->cor_storage, &k.cor_storage)) return st;
    }
    const int methods = method & (kTwoPass | kOnePass | kGivenMean);
    if (methods != kTwoPass && methods != kOnePass && methods != kGivenMean) {
        return BIX_SS_ERROR_BAD_METHOD;
    }
    k.method = methods;

    const int64_t p = task->p != nullptr ? read_int(task, task->p) : 0;
    const int64_t n = task->n != nullptr ? read_int(task, task->n) : 0;
    if (p < 1 || n < 1 || k.fill == 0) return BIX_ERROR_OK;
    if (task->x == nullptr) return BIX_SS_ERROR_NULL_X;
    k.obs = {static_cast<const T *>(task->x), static_cast<const T *>(task->weights),
             static_cast<size_t>(p), static_cast<size_t>(n),
             (storage & BIX_SS_MATRIX_STORAGE_ROWS) != 0};
    for (size_t i = 0; i < k.obs.p; ++i) k.q += selected(task, i) ? 1 : 0;
    if (k.q == 0) return BIX_ERROR_OK;
    if (k.q > static_cast<size_t>(std::numeric_limits<int>::max())) return BIX_SS_ERROR_MEM_FAILURE;

    const auto has = [&k](Slot s) { return (k.fill & bit(s)) != 0; };
    k.orders.raw = has(kRaw4) ? 4 : has(kRaw3) ? 3 : has(kRaw2) ? 2 : 0;
    k.orders.cen = has(kCen4) ? 4 : has(kCen3) ? 3 : has(kCen2) ? 2 : 0;
    k.comoments = has(kCov) || has(kCor);
    if (k.method != kGivenMean && k.orders.cen == 0 && (has(kMean) || k.comoments)) {
        k.orders.cen = 1;
    }
    if (k.method == kGivenMean && k.orders.cen == 1) k.orders.cen = 0;
    k.nb = kMaxBlock;
    if (k.comoments) {
        const size_t rows = kCovBlockBytes / (k.q * sizeof(double));
        k.nb = rows < 16 ? 16 : rows > kMaxBlock ? kMaxBlock : rows;
    }
    if (const int st = allocate(k)) return st;
    for (size_t i = 0, v = 0; i < k.obs.p; ++i) {
        if (selected(task, i)) k.wk.vars[v++] = i;
    }
    read_record(k);
    switch (k.method) {
        case kTwoPass:
            two_pass(k);
            break;
        case kOnePass:
            one_pass(k);
            break;
        default:
            given_mean(k);
            break;
    }
    write_results(k);
    korbAlignedFree(k.wk.block);
    return BIX_ERROR_OK;
}

}  // namespace
}  // namespace korb::stats

extern "C" {

int _bixdSSBasic(BixSSTask *task, uint64_t estimates, int method) {
    return korb::stats::basic<double>(task, estimates, method);
}

int _bixsSSBasic(BixSSTask *task, uint64_t estimates, int method) {
    return korb::stats::basic<float>(task, estimates, method);
}

}  // extern "C"
