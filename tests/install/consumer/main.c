/* A minimal user of an installed korb: includes the public header, links -lkorb only, and calls
   each family, so that the installed kernel and core libraries must be found beside libkorb. */
#include <korb/korb.h>
#include <math.h>
#include <stdio.h>

int main(void) {
    double a[3] = {0.0, 1.0, -1.0}, r[3];
    vdExp(3, a, r);
    BixStream *s = NULL;
    double g[4];
    int ok = bixNewStream(&s, BIX_BRNG_MCG31M1, 1) == BIX_ERROR_OK &&
             bixdRngGaussian(BIX_RNG_METHOD_GAUSSIAN_ICDF, s, 4, g, 0.0, 1.0) == BIX_ERROR_OK &&
             bixDeleteStream(&s) == BIX_ERROR_OK && r[0] == 1.0 && fabs(r[1] - M_E) < 1e-15 &&
             korb_arq_GetErrStatus() == ARQ_STATUS_OK && korbGetClass() >= 0;
    printf("consumer of korb %s (class %d): %s\n", korbGetVersion(), korbGetClass(),
           ok ? "ok" : "FAILED");
    return ok ? 0 : 1;
}
