# Thin wrapper over CMake. Every target first makes sure the build dependencies are there.
JOBS ?= $(shell nproc)
CTEST_FLAGS ?= --output-on-failure -j $(JOBS) --timeout 300
FUZZ_SECONDS ?= 600

.PHONY: all build run test test-sanitize bench accuracy stream-check costs tables verify-tables \
        fuzz deps format clean

all: build

deps:
	@sh .ci/deps

build: deps
	cmake -S . -B build -DCMAKE_BUILD_TYPE=Release
	cmake --build build -j $(JOBS)

# The demo needs only the command and the libraries it loads (tests and benchmarks build under
# make test and make bench).
run: deps
	cmake -S . -B build -DCMAKE_BUILD_TYPE=Release
	cmake --build build -j $(JOBS) --target korb
	./build/bin/korb info
	./build/bin/korb rng --brng MCG31M1 --seed 7 --n 5
	./build/bin/korb rng --brng MCG31M1 --seed 7 --n 5 --format double --a -1 --b 1
	./build/bin/korb rng --brng MT19937 --seed 7 --n 100000 --dist gaussian --mean 2 --sigma 3 --stats

test: build
	cd build && ctest $(CTEST_FLAGS)

test-sanitize: deps
	cmake -S . -B build-asan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKORB_SANITIZE=ON
	cmake --build build-asan -j $(JOBS)
	cd build-asan && ASAN_OPTIONS=allocator_may_return_null=1:detect_leaks=1 \
	    UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 ctest $(CTEST_FLAGS)

bench: build
	@sh .ci/deps bench
	./build/bin/korb_bench --benchmark_repetitions=5 --benchmark_report_aggregates_only=true
	/usr/bin/python3 bench/numpy_minmax.py
	/usr/bin/python3 bench/scipy_sobol.py
	/usr/bin/python3 bench/numpy_stats.py
	/usr/bin/python3 bench/scipy_splines.py
	/usr/bin/python3 bench/numpy_quantiles.py

# The long accuracy run against MPFR: every float for the single-precision functions, then
# 10^8 points per double function.
accuracy: build
	./build/bin/korb_vm_accuracy --all-floats
	./build/bin/korb_vm_accuracy --points 100000000

# The streaming quantiles over 10^8 observations per input order and method: the rank guarantee
# against exact ranks, the speed and the state's size (a few minutes).
stream-check: build
	./build/bin/korb_stream_check 100000000 0.001 1000000

# Measures the vector-math cost weights on this machine and writes them into the function list.
costs: build
	@sh .ci/deps bench
	python3 tools/arq_costs.py build/bin/korb_bench

# Regenerates the committed kernel tables from their rules.
# The stream-image loader under libFuzzer (clang), one worker, for FUZZ_SECONDS; the seeds are
# saved images of every generator that can be made, the corpus grows in build-fuzz/corpus and a
# crashing input is left in build-fuzz/ as crash-*.
fuzz:
	@sh .ci/deps fuzz
	cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_C_COMPILER=clang \
	    -DCMAKE_CXX_COMPILER=clang++ -DKORB_FUZZ=ON -DKORB_BUILD_TESTS=OFF -DKORB_BUILD_BENCH=OFF
	cmake --build build-fuzz -j $(JOBS) --target korb_fuzz_load_stream korb_fuzz_seeds
	rm -rf build-fuzz/seeds && mkdir -p build-fuzz/seeds build-fuzz/corpus
	./build-fuzz/bin/korb_fuzz_seeds build-fuzz/seeds
	./build-fuzz/bin/korb_fuzz_load_stream -max_total_time=$(FUZZ_SECONDS) -print_final_stats=1 \
	    -artifact_prefix=build-fuzz/ build-fuzz/corpus build-fuzz/seeds

# The committed MT2203 parameter table: regenerate it (tens of minutes), or re-check every row.
MT2203_TABLE = rng/brng/mt2203_params.inc

tables: build
	./build/bin/exp_ln_tables > vecmath/kernels/exp_ln_tables.inc
	./build/bin/two_over_pi > vecmath/kernels/two_over_pi.inc
	nice ./build/bin/gen_mt2203_params generate --threads $(JOBS) --out $(MT2203_TABLE)

verify-tables: build
	./build/bin/gen_mt2203_params verify $(MT2203_TABLE) --threads $(JOBS)

format:
	find include frame core rng vecmath stats datafit cli tests bench tools -name '*.[ch]' -o -name '*.[ch]pp' | xargs clang-format -i

clean:
	rm -rf build build-asan build-fuzz
