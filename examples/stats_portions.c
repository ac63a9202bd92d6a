/* Summary statistics of data that arrive in portions: each portion is merged into the running
   mean, variance, minimum and maximum through the accumulated-weights slot, and the result
   equals that of all the data at once. */
#include <korb/korb.h>
#include <math.h>
#include <stdio.h>

enum { kVariables = 2, kPortion = 1000, kPortions = 10 };

int main(void) {
    BixStream *stream = NULL;
    bixNewStream(&stream, BIX_BRNG_MRG32K3A, 11);
    static double all[kVariables][kPortion * kPortions];
    bixdRngGaussian(BIX_RNG_METHOD_GAUSSIAN_BOXMULLER2, stream, kPortion * kPortions, all[0], 5, 2);
    bixdRngExponential(BIX_RNG_METHOD_ICDF, stream, kPortion * kPortions, all[1], 0, 3);
    bixDeleteStream(&stream);

    /* The task reads n and x at each Compute: the portion moves, the result arrays stay. */
    double portion[kVariables * kPortion];
    double mean[kVariables], raw2[kVariables], var[kVariables], weights[2] = {0, 0};
    double lo[kVariables] = {INFINITY, INFINITY}, hi[kVariables] = {-INFINITY, -INFINITY};
    const int p = kVariables, n = kPortion, storage = BIX_SS_MATRIX_STORAGE_ROWS;
    BixSSTask *task = NULL;
    int status = bixdSSNewTask(&task, &p, &n, &storage, portion, NULL, NULL);
    if (status == 0) status = bixdSSEditMoments(task, mean, raw2, NULL, NULL, var, NULL, NULL);
    if (status == 0) status = bixdSSEditTask(task, BIX_SS_ID_ACCUM_WEIGHTS, weights);
    if (status == 0) status = bixdSSEditTask(task, BIX_SS_ID_MIN, lo);
    if (status == 0) status = bixdSSEditTask(task, BIX_SS_ID_MAX, hi);
    const unsigned long long estimates =
        BIX_SS_EST_MEAN | BIX_SS_EST_CEN2 | BIX_SS_EST_MIN | BIX_SS_EST_MAX;
    for (int k = 0; k < kPortions && status == 0; ++k) {
        for (int v = 0; v < kVariables; ++v) {
            for (int i = 0; i < kPortion; ++i) portion[v * kPortion + i] = all[v][k * kPortion + i];
        }
        status = bixdSSCompute(task, estimates, BIX_SS_METHOD_ONE_PASS);
    }
    bixSSDeleteTask(&task);
    printf("status %s after %d portions of %d\n", korbStatusText(KORB_FAMILY_SS, status), kPortions,
           kPortion);

    /* The same estimates over all the data in one call. */
    double mean1[kVariables], raw21[kVariables], var1[kVariables];
    const int n1 = kPortion * kPortions;
    bixdSSNewTask(&task, &p, &n1, &storage, &all[0][0], NULL, NULL);
    bixdSSEditMoments(task, mean1, raw21, NULL, NULL, var1, NULL, NULL);
    status |= bixdSSCompute(task, BIX_SS_EST_MEAN | BIX_SS_EST_CEN2, BIX_SS_METHOD_TWO_PASS);
    bixSSDeleteTask(&task);

    int agree = status == 0;
    for (int v = 0; v < kVariables; ++v) {
        printf("variable %d: mean %.6f variance %.6f min %.4f max %.4f (at once: %.6f %.6f)\n", v,
               mean[v], var[v], lo[v], hi[v], mean1[v], var1[v]);
        agree &= fabs(mean[v] - mean1[v]) < 1e-12 * fabs(mean1[v]) + 1e-12 &&
                 fabs(var[v] - var1[v]) < 1e-10 * var1[v];
    }
    printf("portions and all at once %s\n", agree ? "agree" : "DISAGREE");
    return agree ? 0 : 1;
}
