// Multivariate normal: n vectors x = a + T z of dimension d, r[i d + j] element j of vector i,
// with mean a (d elements) and T the lower-triangular Cholesky factor of the covariance
// (Sigma = T T'), stored as mstorage says:
//   0  full, d x d row-major; the elements above the diagonal are not read;
//   1  packed, the lower triangle row by row, d (d + 1) / 2 elements;
//   2  diagonal, the d elements of the diagonal.
// z is n d standard normals drawn by the Gaussian kernel's method of the same id (0, 1 or 2),
// vector after vector; every method gives the same normals whatever the split of the count, so
// the vectors are those of one call for n d normals, and the both-variates method keeps its
// pending variate in the stream as it always does.
//
// The product is computed here, not by a BLAS: element i of a vector is
//   a_i + T_i0 z_0 + T_i1 z_1 + ... + T_ii z_i,
// added in that order with separate multiplications and additions, in every path and every
// processor class, so that a stream gives the same vectors everywhere. The work is vectorised
// across vectors: a block of them is transposed so that one lane follows one vector through
// the same sequence of operations, four rows of T at a time.
//
// Reproducibility: the normals consumed are exactly n d; n vectors in two calls give the
// vectors of one call (with the both-variates method, as long as nothing else draws from the
// stream in between). A dimension below 1 or a storage code other than 0, 1, 2 gives
// BIX_ERROR_BADARGS with nothing drawn (the dispatching layer refuses them first).
#include <cstddef>
#include <cstdint>

#include "distributions/rejection.h"
#include "frame/simd.h"

namespace korb::dist {
namespace {

// Elements of the transposed block: vectors of one block times d.
constexpr int kScratch = 4096;

template <class T>
constexpr int kLanes = static_cast<int>(sizeof(simd::Vec<T>) / sizeof(T));

// Row i of T: its first element's offset.
inline int64_t row_offset(int64_t i, int64_t d, int storage) {
    return storage == 0 ? i * d : i * (i + 1) / 2;
}

// x[i][b] = a_i + sum_{j <= i} T_ij zt[j][b] for the columns b of one lane group, rows i0 to
// i0 + R - 1, zt and x of row stride `stride`.
template <class T, int R>
[[gnu::always_inline]] inline void rows_product(const T *t, int64_t d, int storage, const T *a,
                                                const T *zt, T *x, int64_t stride, int64_t i0) {
    using V = simd::Vec<T>;
    const T *row[R];
    V acc[R];
    for (int q = 0; q < R; ++q) {
        row[q] = t + row_offset(i0 + q, d, storage);
        acc[q] = V{} + a[i0 + q];
    }
    // The columns every row of the group takes, then the triangle of the group.
    for (int64_t j = 0; j <= i0; ++j) {
        const V zj = simd::load_lanes(zt + j * stride);
        for (int q = 0; q < R; ++q) acc[q] = acc[q] + row[q][j] * zj;
    }
    for (int q = 1; q < R; ++q) {
        for (int64_t j = i0 + 1; j <= i0 + q; ++j) {
            acc[q] = acc[q] + row[q][j] * simd::load_lanes(zt + j * stride);
        }
    }
    for (int q = 0; q < R; ++q) simd::store_lanes(x + (i0 + q) * stride, acc[q]);
}

// The vectors of one block, held transposed in zt (d rows of `stride` columns, stride a
// multiple of the lane count), become a + T z in x, laid out alike.
template <class T>
void block_product(const T *t, int64_t d, int storage, const T *a, const T *zt, T *x,
                   int64_t stride) {
    for (int64_t b = 0; b < stride; b += kLanes<T>) {
        int64_t i = 0;
        for (; i + 4 <= d; i += 4) rows_product<T, 4>(t, d, storage, a, zt + b, x + b, stride, i);
        for (; i < d; ++i) rows_product<T, 1>(t, d, storage, a, zt + b, x + b, stride, i);
    }
}

template <class T>
int gaussian_mv(int method, BixStream *stream, int n, T *r, int dimen, int mstorage, const T *a,
                const T *t) {
    if (method < 0 || method > 2) return BIX_ERROR_BADMETHOD;
    if (dimen < 1 || mstorage < 0 || mstorage > 2) return BIX_ERROR_BADARGS;
    if (n < 1) return BIX_ERROR_OK;
    const int64_t d = dimen;
    // Vectors of one block: as many as the scratch holds, in whole lane groups when it holds a
    // group (then transposed), else the few it holds (at least one), each worked in place.
    int64_t block = kScratch / d;
    if (block >= kLanes<T>) block -= block % kLanes<T>;
    if (block < 1) block = 1;
    int status = BIX_ERROR_OK;
    if (mstorage == 2) {
        // Diagonal: x_j = a_j + T_jj z_j, no transposition needed.
        for (int64_t v = 0; v < n;) {
            const int64_t count = n - v < block ? n - v : block;
            T *x = r + v * d;
            status = gaussian_kernel<T>(method, stream, static_cast<int>(count * d), x, T(0), T(1));
            if (status < 0) return status;
            for (int64_t i = 0; i < count; ++i) {
                T *xi = x + i * d;
                for (int64_t j = 0; j < d; ++j) xi[j] = a[j] + t[j] * xi[j];
            }
            v += count;
        }
        return status;
    }
    const int64_t stride = (block + kLanes<T> - 1) / kLanes<T> * kLanes<T>;
    alignas(64) T zt[kScratch + 64];
    alignas(64) T xt[kScratch + 64];
    for (int64_t v = 0; v < n;) {
        const int64_t count = n - v < block ? n - v : block;
        T *x = r + v * d;
        status = gaussian_kernel<T>(method, stream, static_cast<int>(count * d), x, T(0), T(1));
        if (status < 0) return status;
        if (d * stride > kScratch + 64) {
            // Fewer vectors than a lane group fill the scratch: the product runs on each vector
            // in place, last row first so that every z_j is still there when a row needs it.
            for (int64_t b = 0; b < count; ++b) {
                T *xb = x + b * d;
                for (int64_t i = d - 1; i >= 0; --i) {
                    const T *row = t + row_offset(i, d, mstorage);
                    T acc = a[i];
                    for (int64_t j = 0; j <= i; ++j) acc = acc + row[j] * xb[j];
                    xb[i] = acc;
                }
            }
            v += count;
            continue;
        }
        for (int64_t j = 0; j < d; ++j) {
            for (int64_t b = 0; b < count; ++b) zt[j * stride + b] = x[b * d + j];
            for (int64_t b = count; b < stride; ++b) zt[j * stride + b] = T(0);
        }
        block_product(t, d, mstorage, a, zt, xt, stride);
        for (int64_t b = 0; b < count; ++b) {
            for (int64_t j = 0; j < d; ++j) x[b * d + j] = xt[j * stride + b];
        }
        v += count;
    }
    return status;
}

}  // namespace
}  // namespace korb::dist

#define KORB_DIST_MV_ENTRY(letter, T)                                                             \
    extern "C" int _bix##letter##RngGaussianMV(int method, BixStream *stream, int n, T r[],       \
                                               int dimen, int mstorage, const T *a, const T *t) { \
        return korb::dist::gaussian_mv<T>(method, stream, n, r, dimen, mstorage, a, t);           \
    }
KORB_DIST_MV_ENTRY(d, double)
KORB_DIST_MV_ENTRY(s, float)
