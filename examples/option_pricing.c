/* A European call by Monte Carlo: S_T = S0 exp((r - sigma^2/2) T + sigma sqrt(T) z), z normal;
   the price is e^(-rT) times the mean payoff, beside the closed form. */
#include <korb/korb.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>

int main(void) {
    const double s0 = 100, strike = 105, rate = 0.03, sigma = 0.2, t = 1;
    const int n = 1000000, p = 1, storage = BIX_SS_MATRIX_STORAGE_ROWS;
    double *x = malloc(n * sizeof *x), mean = 0, raw2 = 0, variance = 0;
    BixStream *stream = NULL;
    BixSSTask *task = NULL;
    if (x == NULL || bixNewStream(&stream, BIX_BRNG_MT19937, 7) != BIX_ERROR_OK) return 1;
    /* ln S_T / S0 is normal: draw it directly, then take e^ of it in one vector call. */
    bixdRngGaussian(BIX_RNG_METHOD_GAUSSIAN_ICDF, stream, n, x, (rate - sigma * sigma / 2) * t,
                    sigma * sqrt(t));
    vdExp(n, x, x);
    for (int i = 0; i < n; ++i) x[i] = fmax(s0 * x[i] - strike, 0) * exp(-rate * t);
    bixdSSNewTask(&task, &p, &n, &storage, x, NULL, NULL);
    bixdSSEditMoments(task, &mean, &raw2, NULL, NULL, &variance, NULL, NULL);
    int status = bixdSSCompute(task, BIX_SS_EST_MEAN | BIX_SS_EST_CEN2, BIX_SS_METHOD_TWO_PASS);
    double d1 = (log(s0 / strike) + (rate + sigma * sigma / 2) * t) / (sigma * sqrt(t));
    double exact = s0 * erfc(-d1 / sqrt(2)) / 2 -
                   strike * exp(-rate * t) * erfc(-(d1 - sigma * sqrt(t)) / sqrt(2)) / 2;
    double error = sqrt(variance / n);
    printf("status %s\n", korbStatusText(KORB_FAMILY_SS, status));
    printf("Monte Carlo %.4f +- %.4f, closed form %.4f, %.2f standard errors apart\n", mean, error,
           exact, fabs(mean - exact) / error);
    bixSSDeleteTask(&task);
    bixDeleteStream(&stream);
    free(x);
    return status == BIX_ERROR_OK && fabs(mean - exact) < 4 * error ? 0 : 1;
}
