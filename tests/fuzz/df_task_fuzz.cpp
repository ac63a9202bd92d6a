// Fuzz target: a data-fitting task built, its spline constructed, then searched, interpolated
// and integrated, all from fuzzed input.
//
// The input chooses the precision, the partition (increasing from fuzzed steps, or raw values,
// which construction must refuse when they do not increase), its hint, the functions and their
// layout, the spline's order, type and conditions, a few editor calls, and the sites, derivative
// orders, limits and layouts of the evaluation calls. Arrays have exactly the sizes their
// layouts need. The checks: every status is 0 or a data-fitting code; a refused call writes
// nothing; cells lie in [0, nx]; after a successful construction of a spline whose cells start
// at the partition points, the value at each point but the last is the function's value there;
// deleting the task returns every block.
#include <cmath>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <vector>

#include "bytes.h"
#include "korb/kernel/df.h"
#include "korb_core.h"

namespace {

using korb::fuzz::Bytes;
using korb::fuzz::require;

bool valid_status(int64_t status) {
    return status == 0 || (status <= -1000 && status >= -1039);
}

int64_t hint(Bytes &in, std::initializer_list<int64_t> good) {
    const uint8_t k = in.byte();
    if (k < 240) return good.begin()[k % good.size()];
    return in.take<int8_t>();
}

template <class T>
struct Api;

template <>
struct Api<double> {
    static constexpr auto new_task = korb_df_kernel_dNewTask1D;
    static constexpr auto edit_ptr = korb_df_kernel_dEditPtr;
    static constexpr auto edit_idx = korb_df_kernel_dEditIdxPtr;
    static constexpr auto edit_spline = korb_df_kernel_dEditPPSpline1D;
    static constexpr auto construct = korb_df_kernel_dConstruct1D;
    static constexpr auto search = korb_df_kernel_dSearchCells1D;
    static constexpr auto interpolate = korb_df_kernel_dInterpolate1D;
    static constexpr auto integrate = korb_df_kernel_dIntegrate1D;
};

template <>
struct Api<float> {
    static constexpr auto new_task = korb_df_kernel_sNewTask1D;
    static constexpr auto edit_ptr = korb_df_kernel_sEditPtr;
    static constexpr auto edit_idx = korb_df_kernel_sEditIdxPtr;
    static constexpr auto edit_spline = korb_df_kernel_sEditPPSpline1D;
    static constexpr auto construct = korb_df_kernel_sConstruct1D;
    static constexpr auto search = korb_df_kernel_sSearchCells1D;
    static constexpr auto interpolate = korb_df_kernel_sInterpolate1D;
    static constexpr auto integrate = korb_df_kernel_sIntegrate1D;
};

template <class T>
void run(Bytes &in) {
    using A = Api<T>;
    const int64_t nx = in.one_in(16) ? in.range(-1, 2) : in.range(2, 40);
    const size_t nxs = nx > 0 ? static_cast<size_t>(nx) : 0;
    const int64_t xhint = hint(in, {DF_X_ANY, DF_X_SORTED, DF_X_NEARLY_UNIFORM, DF_X_UNIFORM});
    std::vector<T> x(nxs);
    const bool raw_x = in.one_in(8);
    if (raw_x) {
        for (T &v : x) v = static_cast<T>(in.number());
    } else {
        double at = static_cast<double>(static_cast<int8_t>(in.byte()));
        for (T &v : x) {
            v = static_cast<T>(at);
            at += (1 + in.byte()) / 16.0;
        }
    }
    const int64_t ny = in.one_in(16) ? in.range(-1, 0) : in.range(1, 3);
    const size_t nys = ny > 0 ? static_cast<size_t>(ny) : 0;
    const int64_t yhint =
        hint(in, {DF_NO_HINT, DF_HINT_CONTIGUOUS, DF_HINT_SINGLE_POINTER, DF_HINT_PER_FUNCTION});
    std::vector<T> y(nxs * nys);
    for (T &v : y) v = static_cast<T>(in.number());
    const int64_t order = in.one_in(16) ? in.range(-1, 6) : in.range(2, 4);
    const int64_t type = in.one_in(16) ? in.range(-1, 7) : in.range(0, 5);
    const int64_t bc_type =
        hint(in, {0, DF_BC_NOT_A_KNOT, DF_BC_FREE_END, DF_BC_VALUES, DF_BC_VALUES | DF_BC_2ND_LEFT,
                  DF_BC_VALUES | DF_BC_2ND_RIGHT, DF_BC_PERIODIC});
    std::vector<T> bc = {static_cast<T>(in.number()), static_cast<T>(in.number())};
    const int64_t ic_type = hint(in, {0, DF_IC_1ST_DER});
    std::vector<T> ic(nxs * nys);
    for (T &v : ic) v = static_cast<T>(in.number());
    const int64_t coeff_hint = hint(in, {DF_NO_HINT, DF_HINT_PER_FUNCTION});
    const size_t per_function = nxs * static_cast<size_t>(order > 0 ? order : 0);
    std::vector<T> coeffs(per_function * (nys > 0 ? nys : 1));
    const bool periodic_fix = in.one_in(2);
    if (periodic_fix && nxs > 0) {
        for (size_t i = 0; i < nys; ++i) y[i * nxs + nxs - 1] = y[i * nxs];
    }

    const long live = korb_serv_live_blocks();
    DfTask *task = nullptr;
    int64_t st = A::new_task(&task, nx, in.one_in(32) ? nullptr : x.data(), xhint, ny,
                             in.one_in(32) ? nullptr : y.data(), yhint, 0);
    require(valid_status(st));
    if (task == nullptr) {
        require(korb_serv_live_blocks() == live);
        return;
    }
    st = A::edit_spline(task, order, type, ic_type, in.one_in(8) ? nullptr : ic.data(), bc_type,
                        bc_type == 0 || in.one_in(8) ? nullptr : bc.data(),
                        in.one_in(16) ? nullptr : coeffs.data(), coeff_hint);
    require(valid_status(st));
    // Per-function blocks for the layouts that want them.
    for (int64_t i = 1; i < ny; ++i) {
        if (yhint == DF_HINT_PER_FUNCTION) {
            require(valid_status(A::edit_idx(task, DF_PTR_Y, i, y.data() + i * nx)));
        }
        if (coeff_hint == DF_HINT_PER_FUNCTION) {
            require(valid_status(A::edit_idx(
                task, DF_PTR_COEFF, i, coeffs.data() + static_cast<size_t>(i) * per_function)));
        }
    }
    // A few edits that must be refused (an edit the task accepts would make it describe arrays
    // other than the ones made here): unknown attributes and null pointers.
    // A half-made task (NewTask1D failed after storing it) ignores these edits.
    const bool editable = task->editable != 0;
    for (int k = in.byte() % 4; k > 0; --k) {
        const uint8_t what = in.byte() % 3;
        if (what == 0) {
            const int64_t id = in.one_in(2) ? in.range(-2, 13) : in.range(23, 40);
            const int64_t st1 = korb_df_kernel_iEditVal(task, id, in.take<int8_t>());
            require(st1 == DF_ERROR_BAD_PARAM_ID || (!editable && st1 == 0));
        } else if (what == 1) {
            const int64_t st1 = A::edit_ptr(task, in.range(0, 6), nullptr);
            require(st1 < 0 || (!editable && st1 == 0));
        } else {
            const int64_t st1 = A::edit_idx(task, in.range(0, 6), in.range(-1, 3), nullptr);
            require(st1 < 0 || (!editable && st1 == 0));
        }
    }
    const DfTask before_construct = *task;
    const std::vector<T> coeffs_before = coeffs;
    st = A::construct(task, in.one_in(16) ? 0 : DF_PP_SPLINE, in.one_in(16) ? 1 : DF_METHOD_STD);
    require(valid_status(st));
    if (st != 0) require(korb::fuzz::same_bits(coeffs.data(), coeffs_before.data(), coeffs.size()));
    const bool edited = std::memcmp(&before_construct, task, sizeof *task) != 0;
    require(!edited);

    // Evaluation: sites, derivative orders, layouts.
    const int64_t nsite = in.one_in(32) ? -1 : in.range(0, 24);
    const size_t ns = nsite > 0 ? static_cast<size_t>(nsite) : 0;
    const int64_t sitehint = hint(in, {DF_SITES_ANY, DF_SITES_SORTED, DF_SITES_UNIFORM});
    std::vector<T> sites(ns > 2 ? ns : 2);
    for (T &s : sites)
        s = in.one_in(4) ? static_cast<T>(in.number()) : x.empty() ? T(0) : x[in.byte() % nxs];
    const int64_t ndorder = in.range(0, 5);
    std::vector<int64_t> dorder(static_cast<size_t>(ndorder > 0 ? ndorder : 1));
    size_t nd = 0;
    for (int64_t &d : dorder) nd += (d = in.byte() % 2);
    const int64_t itype =
        hint(in, {DF_INTERP_VALUES, DF_INTERP_CELLS, DF_INTERP_VALUES | DF_INTERP_CELLS});
    const int64_t rhint = hint(in, {DF_R_FUNC_SITE_DER, DF_R_FUNC_DER_SITE, DF_R_SITE_FUNC_DER});
    std::vector<T> r(ns * nys * (nd > 0 ? nd : 1), T(-7));
    std::vector<int64_t> cells(ns, -7);
    const std::vector<T> r_before = r;
    const std::vector<int64_t> cells_before = cells;
    st = A::interpolate(task, itype, DF_METHOD_STD, nsite, sites.data(), sitehint,
                        static_cast<int64_t>(dorder.size()), dorder.data(), r.data(), rhint,
                        cells.data());
    require(valid_status(st));
    if (st != 0) {
        require(korb::fuzz::same_bits(r.data(), r_before.data(), r.size()) &&
                cells == cells_before);
    } else if ((itype & DF_INTERP_CELLS) != 0) {
        for (int64_t c : cells) require(c >= 0 && c <= nx);
    }
    st = A::search(task, DF_METHOD_STD, nsite, sites.data(), sitehint, cells.data());
    require(valid_status(st));
    if (st == 0) {
        for (int64_t c : cells) require(c >= 0 && c <= nx);
    }

    // The value at each partition point but the last is the point's own value, for constructed
    // splines whose cells start at the points (every type but Subbotin's), on tame data: one
    // infinite value, derivative or boundary value makes every coefficient of some splines NaN,
    // and so do huge ones that overflow, and the NaN higher terms then spoil the value too.
    const auto tame = [&](size_t) {
        for (const std::vector<T> *v : {&y, &ic, &bc}) {
            for (T a : *v) {
                if (!(std::fabs(a) <= T(1e6))) return false;
            }
        }
        return !raw_x;
    };
    if (A::construct(task, DF_PP_SPLINE, DF_METHOD_STD) == 0 &&
        task->splineType != DF_PP_SUBBOTIN && task->xHint != DF_X_UNIFORM &&
        (task->yHint == DF_NO_HINT || task->yHint == DF_HINT_CONTIGUOUS) && nx >= 2) {
        const int64_t values[] = {1};
        std::vector<T> at(static_cast<size_t>(nx - 1)), got(at.size() * nys);
        for (size_t j = 0; j + 1 < nxs; ++j) at[j] = x[j];
        require(A::interpolate(task, DF_INTERP_VALUES, DF_METHOD_STD, nx - 1, at.data(),
                               DF_SITES_ANY, 1, values, got.data(), DF_R_FUNC_SITE_DER,
                               nullptr) == 0);
        for (size_t i = 0; i < nys; ++i) {
            for (size_t j = 0; j + 1 < nxs && tame(i); ++j) {
                require(got[i * (nxs - 1) + j] == y[i * nxs + j]);
            }
        }
    }

    const int64_t nlim = in.one_in(32) ? -1 : in.range(0, 8);
    const size_t nl = nlim > 0 ? static_cast<size_t>(nlim) : 0;
    std::vector<T> llim(nl > 2 ? nl : 2), rlim(nl > 2 ? nl : 2), integrals(nl * nys, T(-7));
    for (T &v : llim) v = static_cast<T>(in.number());
    for (T &v : rlim) v = static_cast<T>(in.number());
    const std::vector<T> integrals_before = integrals;
    st = A::integrate(task, DF_METHOD_STD, nlim, llim.data(),
                      hint(in, {DF_SITES_ANY, DF_SITES_SORTED, DF_SITES_UNIFORM}), rlim.data(),
                      hint(in, {DF_SITES_ANY, DF_SITES_SORTED, DF_SITES_UNIFORM}), integrals.data(),
                      rhint);
    require(valid_status(st));
    if (st != 0) {
        require(korb::fuzz::same_bits(integrals.data(), integrals_before.data(), integrals.size()));
    }
    require(korb_df_kernel_DeleteTask(&task) == 0 && task == nullptr);
    require(korb_serv_live_blocks() == live);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Bytes in(data, size);
    if (in.byte() & 1) {
        run<double>(in);
    } else {
        run<float>(in);
    }
    return 0;
}
