// The core library's tridiagonal factor-and-solve: against LAPACK's dgtsv on plain systems,
// against a dense elimination on cyclic ones, in both right-hand-side layouts, and its refusals.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "korb_core.h"

namespace {

using Vec = std::vector<double>;

// A diagonally dominant system: |sub| + |sup| <= 0.9 |diag|, mixed signs; with `scaled`, rows
// of scales between 2^-20 and 2^20.
struct System {
    Vec sub, diag, sup;
};

System random_system(int64_t n, std::mt19937_64 &g, bool scaled = false) {
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    System s{Vec(n), Vec(n), Vec(n)};
    for (int64_t i = 0; i < n; ++i) {
        const double scale = scaled ? std::ldexp(1.0, static_cast<int>(20 * u(g))) : 1.0;
        s.sub[i] = 0.45 * u(g) * scale;
        s.sup[i] = 0.45 * u(g) * scale;
        s.diag[i] = (u(g) < 0 ? -1.0 : 1.0) * (1.0 + std::fabs(u(g))) * scale;
    }
    return s;
}

Vec random_vector(int64_t n, std::mt19937_64 &g) {
    std::normal_distribution<double> d;
    Vec v(n);
    for (double &x : v) x = d(g);
    return v;
}

// Dense solve by Gaussian elimination with partial pivoting, the reference of cyclic systems.
Vec dense_solve(std::vector<Vec> a, Vec b) {
    const size_t n = b.size();
    for (size_t c = 0; c < n; ++c) {
        size_t p = c;
        for (size_t i = c + 1; i < n; ++i) {
            if (std::fabs(a[i][c]) > std::fabs(a[p][c])) p = i;
        }
        std::swap(a[c], a[p]);
        std::swap(b[c], b[p]);
        for (size_t i = c + 1; i < n; ++i) {
            const double f = a[i][c] / a[c][c];
            for (size_t k = c; k < n; ++k) a[i][k] -= f * a[c][k];
            b[i] -= f * b[c];
        }
    }
    Vec x(n);
    for (size_t i = n; i-- > 0;) {
        double s = b[i];
        for (size_t k = i + 1; k < n; ++k) s -= a[i][k] * x[k];
        x[i] = s / a[i][i];
    }
    return x;
}

std::vector<Vec> dense(const System &s, bool cyclic) {
    const int64_t n = static_cast<int64_t>(s.diag.size());
    std::vector<Vec> a(n, Vec(n, 0.0));
    for (int64_t i = 0; i < n; ++i) {
        a[i][i] += s.diag[i];
        if (i > 0) a[i][i - 1] += s.sub[i];
        if (i + 1 < n) a[i][i + 1] += s.sup[i];
    }
    if (cyclic) {
        a[0][n - 1] += s.sub[0];
        a[n - 1][0] += s.sup[n - 1];
    }
    return a;
}

double max_rel_diff(const Vec &a, const Vec &b) {
    double scale = 0.0, diff = 0.0;
    for (size_t i = 0; i < a.size(); ++i) {
        scale = std::fmax(scale, std::fabs(b[i]));
        diff = std::fmax(diff, std::fabs(a[i] - b[i]));
    }
    return diff / scale;
}

using Dgtsv = void (*)(const int *n, const int *nrhs, double *dl, double *d, double *du, double *b,
                       const int *ldb, int *info);

Dgtsv lapack_dgtsv() {
    void *lib = dlopen("liblapack.so.3", RTLD_NOW | RTLD_LOCAL);
    return lib == nullptr ? nullptr : reinterpret_cast<Dgtsv>(dlsym(lib, "dgtsv_"));
}

// Solves nrhs right-hand sides (column k in rhs[k]) with the core library, in the layout chosen:
// each right-hand side contiguous (rhs stride n), or the rows contiguous (rhs stride 1).
std::vector<Vec> korb_solve(const System &s, bool cyclic, const std::vector<Vec> &rhs,
                            bool rows_together) {
    const int64_t n = static_cast<int64_t>(s.diag.size());
    const int64_t nrhs = static_cast<int64_t>(rhs.size());
    KorbTridiag *f = nullptr;
    EXPECT_EQ(korb_serv_dtridiag_factor(n, s.sub.data(), s.diag.data(), s.sup.data(),
                                        cyclic ? KORB_TRIDIAG_CYCLIC : 0, &f),
              KORB_TRIDIAG_OK);
    Vec b(n * nrhs);
    const int64_t rs = rows_together ? nrhs : 1, ks = rows_together ? 1 : n;
    for (int64_t k = 0; k < nrhs; ++k) {
        for (int64_t i = 0; i < n; ++i) b[i * rs + k * ks] = rhs[k][i];
    }
    const long live = korb_serv_live_blocks();
    korb_serv_fail_after(0);  // solving allocates nothing
    EXPECT_EQ(korb_serv_dtridiag_solve(f, nrhs, b.data(), rs, ks), KORB_TRIDIAG_OK);
    korb_serv_fail_after(-1);
    EXPECT_EQ(korb_serv_live_blocks(), live);
    korb_serv_dtridiag_release(f);
    std::vector<Vec> x(nrhs, Vec(n));
    for (int64_t k = 0; k < nrhs; ++k) {
        for (int64_t i = 0; i < n; ++i) x[k][i] = b[i * rs + k * ks];
    }
    return x;
}

TEST(Tridiag, MatchesLapackDgtsvInBothLayouts) {
    const Dgtsv dgtsv = lapack_dgtsv();
    ASSERT_NE(dgtsv, nullptr) << "liblapack.so.3 with dgtsv_";
    std::mt19937_64 g(35);
    for (int64_t n : {1, 2, 3, 4, 7, 64, 1001}) {
        const System s = random_system(n, g);
        for (int nrhs : {1, 3, 17}) {
            std::vector<Vec> rhs;
            for (int k = 0; k < nrhs; ++k) rhs.push_back(random_vector(n, g));
            // LAPACK: dl and du hold the n-1 off-diagonal entries; b is column-major.
            Vec dl(s.sub.begin() + 1, s.sub.end()), d = s.diag, du(s.sup.begin(), s.sup.end() - 1);
            Vec b;
            for (const Vec &r : rhs) b.insert(b.end(), r.begin(), r.end());
            const int ni = static_cast<int>(n);
            int info = -1;
            dgtsv(&ni, &nrhs, dl.data(), d.data(), du.data(), b.data(), &ni, &info);
            ASSERT_EQ(info, 0);
            for (bool rows_together : {false, true}) {
                const std::vector<Vec> x = korb_solve(s, false, rhs, rows_together);
                for (int k = 0; k < nrhs; ++k) {
                    const Vec ref(b.begin() + k * n, b.begin() + (k + 1) * n);
                    EXPECT_LT(max_rel_diff(x[k], ref), 1e-14)
                        << "n " << n << " rhs " << k << " rows together " << rows_together;
                }
            }
        }
    }
}

TEST(Tridiag, SolvesCyclicSystemsOfEverySize) {
    std::mt19937_64 g(7);
    for (int64_t n : {1, 2, 3, 4, 5, 33, 400}) {
        const System s = random_system(n, g);
        std::vector<Vec> rhs = {random_vector(n, g), random_vector(n, g), random_vector(n, g)};
        for (bool rows_together : {false, true}) {
            const std::vector<Vec> x = korb_solve(s, true, rhs, rows_together);
            for (size_t k = 0; k < rhs.size(); ++k) {
                EXPECT_LT(max_rel_diff(x[k], dense_solve(dense(s, true), rhs[k])), 1e-13)
                    << "n " << n << " rows together " << rows_together;
            }
        }
    }
}

// Rows of very different scales make the solution sensitive (the norm-wise condition number is
// large), but each row is still solved to its own rounding: the componentwise backward error
// |A x - b|_i / (|A| |x| + |b|)_i stays at a few units of rounding.
TEST(Tridiag, BadlyScaledRowsAreSolvedToTheirOwnAccuracy) {
    std::mt19937_64 g(3);
    for (bool cyclic : {false, true}) {
        const System s = random_system(500, g, true);
        const std::vector<Vec> rhs = {random_vector(500, g)};
        const Vec x = korb_solve(s, cyclic, rhs, false)[0];
        const std::vector<Vec> a = dense(s, cyclic);
        double worst = 0.0;
        for (size_t i = 0; i < x.size(); ++i) {
            long double r = -rhs[0][i], m = std::fabs(rhs[0][i]);
            for (size_t k = 0; k < x.size(); ++k) {
                r += static_cast<long double>(a[i][k]) * x[k];
                m += std::fabs(a[i][k] * x[k]);
            }
            worst = std::fmax(worst, static_cast<double>(std::fabs(r) / m));
        }
        EXPECT_LT(worst, 1e-15) << "cyclic " << cyclic;
    }
}

// Long systems find their pivots in interleaved pieces started from guesses and repaired where
// a guess was not forgotten in time. The result must be the plain recurrence's to the bit, for a
// matrix that forgets fast and for the discrete Laplacian (2, -1), whose pivots (i + 2) / (i + 1)
// forget their start so slowly that every piece is repaired.
TEST(Tridiag, LongSystemsGiveTheBitsOfThePlainRecurrence) {
    std::mt19937_64 g(21);
    const int64_t n = 30011;
    System laplacian{Vec(n, -1.0), Vec(n, 2.0), Vec(n, -1.0)};
    for (const System &s : {random_system(n, g), laplacian}) {
        const Vec b = random_vector(n, g);
        // The plain recurrences, in the operations the factor-and-solve documents: reciprocal
        // pivots, then both sweeps two rows at a time.
        Vec inv(n), l(n, 0.0), u(n, 0.0), x(n);
        inv[0] = 1.0 / s.diag[0];
        for (int64_t i = 1; i < n; ++i) {
            inv[i] = 1.0 / (s.diag[i] - (s.sub[i] * s.sup[i - 1]) * inv[i - 1]);
        }
        for (int64_t i = 1; i < n; ++i) l[i] = s.sub[i] * inv[i - 1];
        for (int64_t i = 0; i + 1 < n; ++i) u[i] = s.sup[i] * inv[i];
        double z = b[0];
        x[0] = z * inv[0];
        int64_t i = 1;
        for (; i + 1 < n; i += 2) {
            const double zi = b[i] - l[i] * z;
            const double zj = (b[i + 1] - l[i + 1] * b[i]) + (l[i + 1] * l[i]) * z;
            x[i] = zi * inv[i];
            x[i + 1] = zj * inv[i + 1];
            z = zj;
        }
        if (i < n) x[i] = (b[i] - l[i] * z) * inv[i];
        int64_t k = n - 2;
        for (; k >= 1; k -= 2) {
            const double xk = x[k] - u[k] * x[k + 1];
            x[k - 1] = (x[k - 1] - u[k - 1] * x[k]) + (u[k - 1] * u[k]) * x[k + 1];
            x[k] = xk;
        }
        if (k == 0) x[0] = x[0] - u[0] * x[1];
        EXPECT_EQ(korb_solve(s, false, {b}, false)[0], x);
    }
}

TEST(Tridiag, BothLayoutsGiveTheSameBits) {
    // The vector sweep across a row does per element what the one-at-a-time sweep does.
    std::mt19937_64 g(11);
    for (bool cyclic : {false, true}) {
        const System s = random_system(50, g);
        std::vector<Vec> rhs;
        for (int k = 0; k < 9; ++k) rhs.push_back(random_vector(50, g));
        EXPECT_EQ(korb_solve(s, cyclic, rhs, true), korb_solve(s, cyclic, rhs, false));
    }
}

TEST(Tridiag, RefusesBadArgumentsAndSingularMatrices) {
    const Vec one = {1.0, 1.0, 1.0}, zero = {0.0, 0.0, 0.0};
    const Vec nan = {1.0, std::nan(""), 1.0};
    KorbTridiag *f = reinterpret_cast<KorbTridiag *>(&f);
    const long live = korb_serv_live_blocks();
    EXPECT_EQ(korb_serv_dtridiag_factor(3, one.data(), one.data(), one.data(), 0, nullptr),
              KORB_TRIDIAG_BAD_ARGS);
    EXPECT_EQ(korb_serv_dtridiag_factor(0, one.data(), one.data(), one.data(), 0, &f),
              KORB_TRIDIAG_BAD_ARGS);
    EXPECT_EQ(f, nullptr);
    EXPECT_EQ(korb_serv_dtridiag_factor(3, nullptr, one.data(), one.data(), 0, &f),
              KORB_TRIDIAG_BAD_ARGS);
    EXPECT_EQ(korb_serv_dtridiag_factor(3, one.data(), nullptr, one.data(), 0, &f),
              KORB_TRIDIAG_BAD_ARGS);
    // A single plain row needs no off-diagonal entries.
    ASSERT_EQ(korb_serv_dtridiag_factor(1, nullptr, one.data(), nullptr, 0, &f), KORB_TRIDIAG_OK);
    double b = 5.0;
    EXPECT_EQ(korb_serv_dtridiag_solve(f, 1, &b, 1, 0), KORB_TRIDIAG_OK);
    EXPECT_EQ(b, 5.0);
    EXPECT_EQ(korb_serv_dtridiag_solve(f, 2, &b, 1, 0), KORB_TRIDIAG_BAD_ARGS);
    EXPECT_EQ(korb_serv_dtridiag_solve(f, 1, &b, 0, 1), KORB_TRIDIAG_BAD_ARGS);
    EXPECT_EQ(korb_serv_dtridiag_solve(f, 1, nullptr, 1, 1), KORB_TRIDIAG_BAD_ARGS);
    EXPECT_EQ(korb_serv_dtridiag_solve(nullptr, 1, &b, 1, 1), KORB_TRIDIAG_BAD_ARGS);
    EXPECT_EQ(korb_serv_dtridiag_solve(f, 0, nullptr, 1, 1), KORB_TRIDIAG_OK);
    korb_serv_dtridiag_release(f);
    korb_serv_dtridiag_release(nullptr);

    // [[1, 1, 0], [1, 1, 1], [0, 1, 1]]: the second pivot is 0. A NaN pivot is refused too, and
    // so is a cyclic matrix whose Schur complement vanishes (rows -1 2 -1, summing to 0).
    EXPECT_EQ(korb_serv_dtridiag_factor(3, one.data(), one.data(), one.data(), 0, &f),
              KORB_TRIDIAG_SINGULAR);
    EXPECT_EQ(korb_serv_dtridiag_factor(3, zero.data(), nan.data(), zero.data(), 0, &f),
              KORB_TRIDIAG_SINGULAR);
    const Vec minus = {-1.0, -1.0, -1.0}, two = {2.0, 2.0, 2.0};
    EXPECT_EQ(korb_serv_dtridiag_factor(3, minus.data(), two.data(), minus.data(),
                                        KORB_TRIDIAG_CYCLIC, &f),
              KORB_TRIDIAG_SINGULAR);
    EXPECT_EQ(f, nullptr);
    EXPECT_EQ(korb_serv_live_blocks(), live);
}

TEST(Tridiag, AnAllocationFailureIsReportedAndLeavesNothing) {
    const Vec one = {0.25, 0.25, 0.25, 0.25}, two = {2.0, 2.0, 2.0, 2.0};
    for (int flags : {0, KORB_TRIDIAG_CYCLIC}) {
        const long live = korb_serv_live_blocks();
        KorbTridiag *f = nullptr;
        korb_serv_fail_after(0);
        EXPECT_EQ(korb_serv_dtridiag_factor(4, one.data(), two.data(), one.data(), flags, &f),
                  KORB_TRIDIAG_MEM_FAILURE);
        korb_serv_fail_after(-1);
        EXPECT_EQ(f, nullptr);
        EXPECT_EQ(korb_serv_live_blocks(), live);
        ASSERT_EQ(korb_serv_dtridiag_factor(4, one.data(), two.data(), one.data(), flags, &f),
                  KORB_TRIDIAG_OK);
        EXPECT_EQ(korb_serv_live_blocks(), live + 1);
        korb_serv_dtridiag_release(f);
        EXPECT_EQ(korb_serv_live_blocks(), live);
    }
}

}  // namespace
