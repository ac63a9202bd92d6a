/* Four threads, each drawing from a stream of its own, made three ways: blocks of one sequence by
   skip-ahead, every fourth number of one sequence by leapfrog, and four members of a generator
   family. The first two must together reproduce one stream's numbers exactly. */
#include <korb/korb.h>
#include <pthread.h>
#include <stdio.h>
#include <string.h>

enum { kThreads = 4, kEach = 250000 };

struct Job {
    BixStream *stream;
    double out[kEach];
    int status;
};
static struct Job jobs[kThreads];

static void *draw(void *arg) {
    struct Job *job = arg;
    job->status = bixdRngUniform(BIX_RNG_METHOD_UNIFORM_STD, job->stream, kEach, job->out, 0, 1);
    return NULL;
}

/* Runs the four jobs on four threads; 0 when all succeeded. */
static int run(void) {
    pthread_t t[kThreads];
    for (int k = 0; k < kThreads; ++k) pthread_create(&t[k], NULL, draw, &jobs[k]);
    int failed = 0;
    for (int k = 0; k < kThreads; ++k) {
        pthread_join(t[k], NULL);
        failed |= jobs[k].status != BIX_ERROR_OK;
        bixDeleteStream(&jobs[k].stream);
    }
    return failed;
}

static double whole[kThreads * kEach];

int main(void) {
    BixStream *one = NULL;
    int bad = bixNewStream(&one, BIX_BRNG_MCG59, 2025) != BIX_ERROR_OK ||
              bixdRngUniform(0, one, kThreads * kEach, whole, 0, 1) != BIX_ERROR_OK;
    bixDeleteStream(&one);

    /* Skip-ahead: thread k takes numbers k*kEach .. (k+1)*kEach - 1. */
    for (int k = 0; k < kThreads; ++k) {
        bad |= bixNewStream(&jobs[k].stream, BIX_BRNG_MCG59, 2025) != BIX_ERROR_OK;
        bad |= bixSkipAheadStream(jobs[k].stream, (long long)k * kEach) != BIX_ERROR_OK;
    }
    bad |= run();
    int same = 1;
    for (int k = 0; k < kThreads; ++k) {
        same &= memcmp(jobs[k].out, whole + k * kEach, sizeof jobs[k].out) == 0;
    }
    printf("skip-ahead: %s\n", same ? "the blocks are the single stream's" : "MISMATCH");
    bad |= !same;

    /* Leapfrog: thread k takes numbers k, k + 4, k + 8, ... */
    for (int k = 0; k < kThreads; ++k) {
        bad |= bixNewStream(&jobs[k].stream, BIX_BRNG_MCG59, 2025) != BIX_ERROR_OK;
        bad |= bixLeapfrogStream(jobs[k].stream, k, kThreads) != BIX_ERROR_OK;
    }
    bad |= run();
    same = 1;
    for (int k = 0; k < kThreads; ++k) {
        for (int i = 0; i < kEach; ++i) same &= jobs[k].out[i] == whole[i * kThreads + k];
    }
    printf("leapfrog: %s\n", same ? "the interleaved numbers are the single stream's" : "MISMATCH");
    bad |= !same;
    /* A stream count the leapfrog cannot honour is refused. */
    BixStream *s = NULL;
    bixNewStream(&s, BIX_BRNG_MCG59, 1);
    printf("leapfrog k = 5 of 4: %s\n",
           korbStatusText(KORB_FAMILY_RNG, bixLeapfrogStream(s, 5, 4)));
    bixDeleteStream(&s);

    /* Generator family: members 0..3 of MT2203, independent sequences of one seed. */
    for (int k = 0; k < kThreads; ++k) {
        bad |= bixNewStream(&jobs[k].stream, BIX_BRNG_MT2203 + k, 2025) != BIX_ERROR_OK;
    }
    bad |= run();
    double means[kThreads];
    for (int k = 0; k < kThreads; ++k) {
        double sum = 0;
        for (int i = 0; i < kEach; ++i) sum += jobs[k].out[i];
        means[k] = sum / kEach;
        bad |= means[k] < 0.49 || means[k] > 0.51;
    }
    printf("MT2203 members 0-3: means %.3f %.3f %.3f %.3f\n", means[0], means[1], means[2],
           means[3]);
    return bad;
}
