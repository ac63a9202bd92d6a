// Power sums over a block of observations (see basic_sums.h for the order of operations).
#include "stats/basic_sums.h"

#include <algorithm>
#include <type_traits>

#include "frame/simd.h"

namespace korb::stats {
namespace {

constexpr int count_sums(int raw, int cen) {
    return cen + (raw > 0 ? raw - 1 : 0);
}
// Logical accumulators per sum of a contiguous run: enough independent chains to hide the
// latency of the additions. The same for every set of sums, so that a sum has the same bits
// whatever else the request makes the pass compute.
constexpr int stripe_for(int) {
    return 8;
}
// Observation-major blocks are walked in slices of rows of about this many bytes, so that the
// passes over the variable groups of a slice read it from the first-level cache.
constexpr size_t kSliceBytes = 16384;

template <int Lanes>
struct LanesOf {
    typedef double type __attribute__((vector_size(Lanes * sizeof(double))));
    typedef float half __attribute__((vector_size(Lanes * sizeof(float))));
};
template <int Lanes>
using DoubleLanes = typename LanesOf<Lanes>::type;

// sizeof(VD) / 8 values of src, widened to double where src is single precision.
template <class VD, class T>
inline VD load_as_double(const T *src) {
    if constexpr (std::is_same_v<T, double>) {
        return simd::load<VD>(src);
    } else {
        using Half = typename LanesOf<static_cast<int>(sizeof(VD) / sizeof(double))>::half;
        return __builtin_convertvector(simd::load<Half>(src), VD);
    }
}

// Adds one observation's terms to the sums acc[0 .. count) (lanes or scalars alike).
template <bool Weighted, int Raw, int Cen, class A>
inline void add_terms(A *acc, A x, A w, A c) {
    if constexpr (Cen > 0) {
        const A d = x - c;
        A t = d;
        if constexpr (Weighted) t = w * d;
        acc[0] += t;
        if constexpr (Cen > 1) {
            t = t * d;
            acc[1] += t;
        }
        if constexpr (Cen > 2) {
            t = t * d;
            acc[2] += t;
        }
        if constexpr (Cen > 3) {
            t = t * d;
            acc[3] += t;
        }
    }
    if constexpr (Raw > 0) {
        A u;
        if constexpr (Weighted) {
            u = w * x;
            u = u * x;
        } else {
            u = x * x;
        }
        acc[Cen] += u;
        if constexpr (Raw > 2) {
            u = u * x;
            acc[Cen + 1] += u;
        }
        if constexpr (Raw > 3) {
            u = u * x;
            acc[Cen + 2] += u;
        }
    }
}

// A contiguous run x[0, len) (weights w[0, len)) about c, into out[s*stride].
template <class T, bool Weighted, int Raw, int Cen>
void run_sums(const T *x, const T *w, size_t len, double c, double *out, size_t stride) {
    constexpr int K = count_sums(Raw, Cen);
    constexpr int S = stripe_for(K);
    constexpr int Lv = std::min(S, simd::kLanes<double>);
    constexpr int NV = S / Lv;
    using VD = DoubleLanes<Lv>;
    VD acc[NV][K] = {};
    const VD cv = simd::splat<VD>(c);
    size_t t = 0;
    for (; t + S <= len; t += S) {
        for (int u = 0; u < NV; ++u) {
            const VD xv = load_as_double<VD>(x + t + u * Lv);
            VD wv{};
            if constexpr (Weighted) wv = load_as_double<VD>(w + t + u * Lv);
            add_terms<Weighted, Raw, Cen>(acc[u], xv, wv, cv);
        }
    }
    double a[S][K];
    for (int u = 0; u < NV; ++u) {
        for (int l = 0; l < Lv; ++l) {
            for (int k = 0; k < K; ++k) a[u * Lv + l][k] = acc[u][k][l];
        }
    }
    for (; t < len; ++t) {
        const double wt = Weighted ? static_cast<double>(w[t]) : 0.0;
        add_terms<Weighted, Raw, Cen>(a[t % S], static_cast<double>(x[t]), wt, c);
    }
    for (int h = S / 2; h >= 1; h /= 2) {
        for (int l = 0; l < h; ++l) {
            for (int k = 0; k < K; ++k) a[l][k] += a[l + h][k];
        }
    }
    for (int k = 0; k < K; ++k) out[static_cast<size_t>(k) * stride] = a[0][k];
}

// Observation-major rows [j0, j1), G vectors of consecutive variables starting at column col:
// the sums in memory (sums[k*stride + lane]) are loaded, advanced row by row and stored.
template <class T, bool Weighted, int Raw, int Cen, int G>
void rows_group(const Observations<T> &o, size_t col, size_t j0, size_t j1, const double *centre,
                double *sums, size_t stride) {
    constexpr int K = count_sums(Raw, Cen);
    constexpr int Lv = simd::kLanes<double>;
    using VD = DoubleLanes<Lv>;
    VD acc[G][K], cv[G];
    for (int g = 0; g < G; ++g) {
        cv[g] = simd::load<VD>(centre + g * Lv);
        for (int k = 0; k < K; ++k) acc[g][k] = simd::load<VD>(sums + k * stride + g * Lv);
    }
    for (size_t j = j0; j < j1; ++j) {
        const T *row = o.x + j * o.p + col;
        VD wv{};
        if constexpr (Weighted) wv = simd::splat<VD>(static_cast<double>(o.w[j]));
        for (int g = 0; g < G; ++g) {
            add_terms<Weighted, Raw, Cen>(acc[g], load_as_double<VD>(row + g * Lv), wv, cv[g]);
        }
    }
    for (int g = 0; g < G; ++g) {
        for (int k = 0; k < K; ++k) simd::store(sums + k * stride + g * Lv, acc[g][k]);
    }
}

// The same for one variable, element by element.
template <class T, bool Weighted, int Raw, int Cen>
void rows_single(const Observations<T> &o, size_t col, size_t j0, size_t j1, double c, double *sums,
                 size_t stride) {
    constexpr int K = count_sums(Raw, Cen);
    double a[K];
    for (int k = 0; k < K; ++k) a[k] = sums[k * stride];
    for (size_t j = j0; j < j1; ++j) {
        const double wt = Weighted ? static_cast<double>(o.w[j]) : 0.0;
        add_terms<Weighted, Raw, Cen>(a, static_cast<double>(o.x[j * o.p + col]), wt, c);
    }
    for (int k = 0; k < K; ++k) sums[k * stride] = a[k];
}

// Observation-major data, the consecutive variables [col, col + len) at list positions
// [pos, pos + len).
template <class T, bool Weighted, int Raw, int Cen>
void rows_run(const Observations<T> &o, size_t col, size_t len, size_t pos, size_t j0, size_t j1,
              const double *centre, double *sums, size_t stride) {
    constexpr int K = count_sums(Raw, Cen);
    constexpr int G = K >= 8 ? 1 : 8 / K;
    constexpr size_t Lv = simd::kLanes<double>;
    for (int k = 0; k < K; ++k) std::fill_n(sums + k * stride + pos, len, 0.0);
    const size_t slice = std::max<size_t>(1, kSliceBytes / (o.p * sizeof(T)));
    for (size_t s0 = j0; s0 < j1; s0 += slice) {
        const size_t s1 = std::min(j1, s0 + slice);
        size_t v = 0;
        for (; v + G * Lv <= len; v += G * Lv) {
            rows_group<T, Weighted, Raw, Cen, G>(o, col + v, s0, s1, centre + pos + v,
                                                 sums + pos + v, stride);
        }
        for (; v + Lv <= len; v += Lv) {
            rows_group<T, Weighted, Raw, Cen, 1>(o, col + v, s0, s1, centre + pos + v,
                                                 sums + pos + v, stride);
        }
        for (; v < len; ++v) {
            rows_single<T, Weighted, Raw, Cen>(o, col + v, s0, s1, centre[pos + v], sums + pos + v,
                                               stride);
        }
    }
}

template <class T, bool Weighted, int Raw, int Cen>
void sums_impl(const Observations<T> &o, const size_t *vars, size_t q, size_t j0, size_t j1,
               const double *centre, double *sums) {
    if constexpr (count_sums(Raw, Cen) > 0) {
        const T *w = Weighted ? o.w + j0 : nullptr;
        if (o.by_variable || o.p == 1) {
            for (size_t v = 0; v < q; ++v) {
                const T *run = o.by_variable ? o.x + vars[v] * o.n : o.x;
                run_sums<T, Weighted, Raw, Cen>(run + j0, w, j1 - j0, centre[v], sums + v, q);
            }
            return;
        }
        // Maximal runs of consecutive selected variables.
        for (size_t v = 0; v < q;) {
            size_t end = v + 1;
            while (end < q && vars[end] == vars[end - 1] + 1) ++end;
            rows_run<T, Weighted, Raw, Cen>(o, vars[v], end - v, v, j0, j1, centre, sums, q);
            v = end;
        }
    }
}

template <class T>
using SumsFn = void (*)(const Observations<T> &, const size_t *, size_t, size_t, size_t,
                        const double *, double *);

template <class T, bool Weighted, int Raw>
SumsFn<T> pick_cen(int cen) {
    switch (cen) {
        case 1:
            return &sums_impl<T, Weighted, Raw, 1>;
        case 2:
            return &sums_impl<T, Weighted, Raw, 2>;
        case 3:
            return &sums_impl<T, Weighted, Raw, 3>;
        case 4:
            return &sums_impl<T, Weighted, Raw, 4>;
        default:
            return &sums_impl<T, Weighted, Raw, 0>;
    }
}

template <class T, bool Weighted>
SumsFn<T> pick(SumOrders orders) {
    switch (orders.raw) {
        case 2:
            return pick_cen<T, Weighted, 2>(orders.cen);
        case 3:
            return pick_cen<T, Weighted, 3>(orders.cen);
        case 4:
            return pick_cen<T, Weighted, 4>(orders.cen);
        default:
            return pick_cen<T, Weighted, 0>(orders.cen);
    }
}

}  // namespace

template <class T>
void block_sums(const Observations<T> &obs, const size_t *vars, size_t q, size_t j0, size_t j1,
                const double *centre, SumOrders orders, double *sums) {
    const SumsFn<T> fn = obs.w != nullptr ? pick<T, true>(orders) : pick<T, false>(orders);
    fn(obs, vars, q, j0, j1, centre, sums);
}

template <class T>
void weight_sums(const T *w, size_t j0, size_t j1, double *sum_w, double *sum_w2) {
    // The weights as a run of data about 0: the first central sum is sum w, the raw one sum w^2.
    double out[2];
    run_sums<T, false, 2, 1>(w + j0, nullptr, j1 - j0, 0.0, out, 1);
    *sum_w = out[0];
    *sum_w2 = out[1];
}

template void block_sums<double>(const Observations<double> &, const size_t *, size_t, size_t,
                                 size_t, const double *, SumOrders, double *);
template void block_sums<float>(const Observations<float> &, const size_t *, size_t, size_t, size_t,
                                const double *, SumOrders, double *);
template void weight_sums<double>(const double *, size_t, size_t, double *, double *);
template void weight_sums<float>(const float *, size_t, size_t, double *, double *);

}  // namespace korb::stats
