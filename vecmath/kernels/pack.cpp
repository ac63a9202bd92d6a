// Pack and Unpack in the four precisions: gathers and scatters by a stride, a mask or an index
// vector.
//
//   PackI    y[i] = a[i·stride]            UnpackI   y[i·stride] = a[i]
//   PackM    y[k++] = a[i] where mask[i]   UnpackM   y[i] = a[k++] where mask[i]
//   PackV    y[i] = a[index[i]]            UnpackV   y[index[i]] = a[i]
//
// for i < n. Elements are moved as bits, as words of their own size (a complex element as one
// unit), so a signalling NaN stays signalling. Bit 0 of the flag makes the indices of PackV and
// UnpackV 1-based; the other bits are reserved, and a call that sets any of them moves nothing and
// returns 0. The kernels return n, PackM and UnpackM the number of elements moved (0 for n <= 0).
// Like the other bit-level kernels they neither read the mode nor touch the control register.
//
// Strides, mask entries and indices are 64-bit; a unit stride is a copy, which the compiler
// turns into vector moves, and PackM and UnpackM walk the mask with a branch per element, since
// the caller's arrays hold only the elements moved (a branch-free compaction would store past
// them).
#include <cstdint>

namespace korb::vecmath {
namespace {

constexpr int kOneBased = 1;
constexpr int kReserved = ~kOneBased;

// The words a precision's elements are moved as, allowed to alias the caller's element types.
typedef std::uint32_t __attribute__((may_alias)) Word4;
typedef std::uint64_t __attribute__((may_alias)) Word8;
struct __attribute__((may_alias)) Word16 {
    std::uint64_t lo, hi;
};

template <class W>
int pack_stride(int n, const W *a, std::int64_t stride, W *y, int flag) {
    if ((flag & kReserved) != 0) return 0;
    if (stride == 1) {
        for (int i = 0; i < n; ++i) y[i] = a[i];
    } else {
        for (int i = 0; i < n; ++i) y[i] = a[i * stride];
    }
    return n;
}

template <class W>
int unpack_stride(int n, const W *a, W *y, std::int64_t stride, int flag) {
    if ((flag & kReserved) != 0) return 0;
    if (stride == 1) {
        for (int i = 0; i < n; ++i) y[i] = a[i];
    } else {
        for (int i = 0; i < n; ++i) y[i * stride] = a[i];
    }
    return n;
}

template <class W>
int pack_mask(int n, const W *a, const std::int64_t *mask, W *y, int flag) {
    if ((flag & kReserved) != 0) return 0;
    int k = 0;
    for (int i = 0; i < n; ++i) {
        if (mask[i] != 0) y[k++] = a[i];
    }
    return k;
}

template <class W>
int unpack_mask(int n, const W *a, W *y, const std::int64_t *mask, int flag) {
    if ((flag & kReserved) != 0) return 0;
    int k = 0;
    for (int i = 0; i < n; ++i) {
        if (mask[i] != 0) y[i] = a[k++];
    }
    return k;
}

template <class W>
int pack_index(int n, const W *a, const std::int64_t *index, W *y, int flag) {
    if ((flag & kReserved) != 0) return 0;
    const W *base = (flag & kOneBased) != 0 ? a - 1 : a;
    for (int i = 0; i < n; ++i) y[i] = base[index[i]];
    return n;
}

template <class W>
int unpack_index(int n, const W *a, W *y, const std::int64_t *index, int flag) {
    if ((flag & kReserved) != 0) return 0;
    W *base = (flag & kOneBased) != 0 ? y - 1 : y;
    for (int i = 0; i < n; ++i) base[index[i]] = a[i];
    return n;
}

}  // namespace

// The entry points take the element types of their precision and move them as words of the same
// size.
#define KORB_ARQ_PACK(p, W)                                                                    \
    extern "C" __attribute__((visibility("hidden"))) int korb_vm_##p##PackI_A(                 \
        int n, const void *a, std::int64_t stride, void *y, int flag) {                        \
        return pack_stride(n, static_cast<const W *>(a), stride, static_cast<W *>(y), flag);   \
    }                                                                                          \
    extern "C" __attribute__((visibility("hidden"))) int korb_vm_##p##UnpackI_A(               \
        int n, const void *a, void *y, std::int64_t stride, int flag) {                        \
        return unpack_stride(n, static_cast<const W *>(a), static_cast<W *>(y), stride, flag); \
    }                                                                                          \
    extern "C" __attribute__((visibility("hidden"))) int korb_vm_##p##PackM_A(                 \
        int n, const void *a, const std::int64_t *mask, void *y, int flag) {                   \
        return pack_mask(n, static_cast<const W *>(a), mask, static_cast<W *>(y), flag);       \
    }                                                                                          \
    extern "C" __attribute__((visibility("hidden"))) int korb_vm_##p##UnpackM_A(               \
        int n, const void *a, void *y, const std::int64_t *mask, int flag) {                   \
        return unpack_mask(n, static_cast<const W *>(a), static_cast<W *>(y), mask, flag);     \
    }                                                                                          \
    extern "C" __attribute__((visibility("hidden"))) int korb_vm_##p##PackV_A(                 \
        int n, const void *a, const std::int64_t *index, void *y, int flag) {                  \
        return pack_index(n, static_cast<const W *>(a), index, static_cast<W *>(y), flag);     \
    }                                                                                          \
    extern "C" __attribute__((visibility("hidden"))) int korb_vm_##p##UnpackV_A(               \
        int n, const void *a, void *y, const std::int64_t *index, int flag) {                  \
        return unpack_index(n, static_cast<const W *>(a), static_cast<W *>(y), index, flag);   \
    }

KORB_ARQ_PACK(s, Word4)
KORB_ARQ_PACK(d, Word8)
KORB_ARQ_PACK(c, Word8)
KORB_ARQ_PACK(z, Word16)

#undef KORB_ARQ_PACK

}  // namespace korb::vecmath
