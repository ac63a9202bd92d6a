/* Vector math with an error callback: the callback sees every special element (with its index
   and value) and may replace the result; refused calls report through the same channels. */
#include <korb/korb.h>
#include <math.h>
#include <stdio.h>

static int calls;

static int on_error(ArqErrorContext *c) {
    ++calls;
    printf("  %.*s: status %d at index %d, argument %g, result %g", c->name_len, c->name, c->code,
           c->index, c->a1, c->r1);
    if (c->code == ARQ_STATUS_SING) {
        c->r1 = -1e300; /* a finite stand-in for ln 0 */
        printf(", replaced by %g", c->r1);
    }
    printf("\n");
    return 0;
}

int main(void) {
    double a[6] = {1, 0, -1, 2.718281828459045, INFINITY, 1e-320}, r[6];
    korb_arq_SetErrorCallBack(on_error);
    printf("vdLn:\n");
    vdLn(6, a, r);
    for (int i = 0; i < 6; ++i) printf("  ln(%g) = %.17g\n", a[i], r[i]);
    printf("last status: %s\n", korbStatusText(KORB_FAMILY_VM, korb_arq_GetErrStatus()));

    printf("refused calls:\n");
    vdLn(0, a, r);
    vdLn(6, NULL, r);
    printf("last status: %s\n", korbStatusText(KORB_FAMILY_VM, korb_arq_GetErrStatus()));

    /* One call in low accuracy with errors ignored; the thread's mode is back afterwards. */
    const unsigned before = korb_arq_GetMode();
    vmdExp(6, a, r, ARQ_LA | ARQ_ERRMODE_IGNORE);
    const int restored = korb_arq_GetMode() == before;
    printf("vmdExp under ARQ_LA | ARQ_ERRMODE_IGNORE: exp(1) = %.17g, mode %s\n", r[0],
           restored ? "restored" : "CHANGED");
    korb_arq_ClearErrorCallBack();
    printf("%d reports reached the callback\n", calls);
    return calls == 4 && restored ? 0 : 1;
}
