/* A European call by Monte Carlo over MPI. The paths are cut into a fixed number of blocks, the
   blocks shared out among the ranks; each block draws its normals from a stream of its own:
   - skip-ahead mode (the default): one MRG32K3A stream, advanced to the block's first number
     (the inversion method takes one uniform per normal, so block b starts b * block_paths
     numbers in);
   - members mode: MT2203 member b for block b.
   A block's payoff sum is the same whichever rank computes it. The ranks reduce a vector of one
   sum per block with MPI_Reduce (each element has a single non-zero contribution, so the
   reduction adds zeros and is exact) and rank 0 adds the blocks in order: the printed estimate
   is bit-identical for any number of ranks.

   mpirun -np 4 ./example_mpi_option [skip-ahead|members] [paths] */
#include <korb/korb.h>
#include <math.h>
#include <mpi.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { kBlocks = 64, kChunk = 1 << 14 };

static const double s0 = 100, strike = 105, rate = 0.03, sigma = 0.2, t = 1;
static const uint32_t seed = 2024;

/* The discounted payoff sum of `count` paths from `stream`, in chunks of kChunk; NAN on a
   failed draw. */
static double block_sum(BixStream *stream, long count, double *z) {
    const double drift = (rate - sigma * sigma / 2) * t, vol = sigma * sqrt(t);
    const double discount = exp(-rate * t);
    double sum = 0;
    for (long done = 0; done < count; done += kChunk) {
        const int m = (int)(count - done < kChunk ? count - done : kChunk);
        if (bixdRngGaussian(BIX_RNG_METHOD_GAUSSIAN_ICDF, stream, m, z, drift, vol) != 0) {
            return NAN;
        }
        vdExp(m, z, z);
        for (int i = 0; i < m; ++i) sum += fmax(s0 * z[i] - strike, 0) * discount;
    }
    return sum;
}

int main(int argc, char **argv) {
    MPI_Init(&argc, &argv);
    int rank = 0, size = 1;
    MPI_Comm_rank(MPI_COMM_WORLD, &rank);
    MPI_Comm_size(MPI_COMM_WORLD, &size);

    const int members = argc > 1 && strcmp(argv[1], "members") == 0;
    if (argc > 1 && !members && strcmp(argv[1], "skip-ahead") != 0) {
        if (rank == 0) fprintf(stderr, "usage: mpi_option [skip-ahead|members] [paths]\n");
        MPI_Finalize();
        return 2;
    }
    const long paths = argc > 2 ? atol(argv[2]) : 1L << 22;
    if (paths < kBlocks || paths % kBlocks != 0) {
        if (rank == 0) fprintf(stderr, "mpi_option: paths must be a multiple of %d\n", kBlocks);
        MPI_Finalize();
        return 2;
    }
    const long per_block = paths / kBlocks;

    double partial[kBlocks] = {0}, total[kBlocks] = {0};
    double *z = malloc(kChunk * sizeof *z);
    int failed = z == NULL;
    /* Rank r takes blocks r, r + size, r + 2 size, ... */
    for (int b = rank; b < kBlocks && !failed; b += size) {
        BixStream *stream = NULL;
        int status;
        if (members) {
            status = bixNewStream(&stream, BIX_BRNG_MT2203 + b, seed);
        } else {
            status = bixNewStream(&stream, BIX_BRNG_MRG32K3A, seed);
            if (status == 0) status = bixSkipAheadStream(stream, (long long)b * per_block);
        }
        if (status != 0) {
            fprintf(stderr, "rank %d block %d: %s\n", rank, b,
                    korbStatusText(KORB_FAMILY_RNG, status));
            failed = 1;
        } else {
            partial[b] = block_sum(stream, per_block, z);
            failed = isnan(partial[b]);
        }
        bixDeleteStream(&stream);
    }
    free(z);

    int any_failed = 0;
    MPI_Reduce(&failed, &any_failed, 1, MPI_INT, MPI_MAX, 0, MPI_COMM_WORLD);
    MPI_Reduce(partial, total, kBlocks, MPI_DOUBLE, MPI_SUM, 0, MPI_COMM_WORLD);
    if (rank == 0) {
        double sum = 0;
        for (int b = 0; b < kBlocks; ++b) sum += total[b];
        const double d1 = (log(s0 / strike) + (rate + sigma * sigma / 2) * t) / (sigma * sqrt(t));
        const double exact = s0 * erfc(-d1 / sqrt(2)) / 2 -
                             strike * exp(-rate * t) * erfc(-(d1 - sigma * sqrt(t)) / sqrt(2)) / 2;
        printf("%s mode, %ld paths in %d blocks on %d rank(s)\n",
               members ? "members" : "skip-ahead", paths, kBlocks, size);
        printf("estimate %.17g (closed form %.6f)\n", sum / paths, exact);
    }
    MPI_Finalize();
    return rank == 0 ? any_failed : failed;
}
