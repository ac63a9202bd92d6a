# Thin wrapper over CMake. Every target first makes sure the build dependencies are there.
JOBS ?= $(shell nproc)
CTEST_FLAGS ?= --output-on-failure -j $(JOBS) --timeout 300
FUZZ_SECONDS ?= 600

.PHONY: all build run test test-sanitize test-tsan bench accuracy stream-check costs tables \
        verify-tables vm-header python-lists digests fuzz fuzz-smoke quality deps format clean

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
	cmake -S . -B build-asan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKORB_SANITIZE=ON -DKORB_BUILD_BENCH=OFF
	cmake --build build-asan -j $(JOBS)
	cd build-asan && ASAN_OPTIONS=allocator_may_return_null=1:detect_leaks=1 \
	    UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 ctest $(CTEST_FLAGS)

# The threaded tests under ThreadSanitizer: the library and only those tests, in build-tsan/.
test-tsan: deps
	cmake -S . -B build-tsan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKORB_TSAN=ON -DKORB_BUILD_BENCH=OFF
	cmake --build build-tsan -j $(JOBS) --target korb_threads_tests
	cd build-tsan && TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1 ctest $(CTEST_FLAGS)

bench: build
	@sh .ci/deps bench
	./build/bin/korb_bench --benchmark_repetitions=5 --benchmark_report_aggregates_only=true
	/usr/bin/python3 bench/numpy_minmax.py
	/usr/bin/python3 bench/scipy_sobol.py
	/usr/bin/python3 bench/numpy_stats.py
	/usr/bin/python3 bench/scipy_splines.py
	/usr/bin/python3 bench/numpy_quantiles.py
	/usr/bin/python3 bench/numpy_vm.py
	/usr/bin/python3 bench/numpy_gamma_beta_mv.py
	/usr/bin/python3 bench/numpy_counting.py
	/usr/bin/python3 bench/python_binding.py

# The Python package's tables of the vector-math functions and the distributions, rewritten
# from the two lists.
python-lists: deps
	cmake -S . -B build -DCMAKE_BUILD_TYPE=Release
	cmake --build build -j $(JOBS) --target gen_python_lists
	./build/bin/gen_python_lists > python/korb/_lists.py

# The public header's vector-math declarations, rewritten from vecmath/functions.def.
vm-header: build
	./build/bin/gen_vm_header > include/korb/vm_functions.h

# The long accuracy run against MPFR: every float for the single-precision functions, then
# 10^8 points per double function.
accuracy: build
	./build/bin/korb_vm_accuracy --all-floats
	./build/bin/korb_vm_accuracy --points 100000000

# The streaming quantiles over 10^8 observations per input order and method: the rank guarantee
# against exact ranks, the speed and the state's size (a few minutes).
stream-check: build
	./build/bin/korb_stream_check 100000000 0.001 1000000

# The long goodness-of-fit run of the gamma, beta, multivariate Gaussian and counting kernels: ten million
# variates per case, kernel, method and precision (make test draws a million).
gof: build
	KORB_GOF_VARIATES=10000000 ./build/bin/korb_distributions_tests \
	    --gtest_filter='GammaBeta/ScipyFit.*:GaussianMV/MultivariateFit.*:Counting/CountFit.*'

# Measures the vector-math cost weights on this machine and writes them into the function list.
costs: build
	@sh .ci/deps bench
	python3 tools/arq_costs.py build/bin/korb_bench

# Rewrites the committed sweep digests (tests/data/*_sweep_digests.inc) from the class-0 kernel
# library, after a change that moves results on purpose; every class's library is then held to
# them by make test.
digests: build
	KORB_DIGEST_WRITE=tests/data ./build/bin/korb_abi_tests \
	    --gtest_filter='VmSweepDigests.*:RngSweepDigests.*'

# The fuzz targets under libFuzzer (clang), one after the other, one worker each, FUZZ_SECONDS
# apiece: the stream-image loader, the vector-math mode setting, a summary-statistics task and a
# data-fitting task. Each grows its corpus in build-fuzz/corpus/TARGET from the committed inputs
# in tests/fuzz/corpus/TARGET (the loader also from saved images of every generator); a failing
# input is left in build-fuzz/ as crash-* (or leak-*, timeout-*). Keep each failing input in
# tests/fuzz/corpus/TARGET, where `make test` replays it.
FUZZ_TARGETS = load_stream vm_mode ss_task df_task

fuzz:
	@sh .ci/deps fuzz
	cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_C_COMPILER=clang \
	    -DCMAKE_CXX_COMPILER=clang++ -DKORB_FUZZ=ON -DKORB_BUILD_TESTS=OFF -DKORB_BUILD_BENCH=OFF
	cmake --build build-fuzz -j $(JOBS) --target korb_fuzz_seeds \
	    $(addprefix korb_fuzz_,$(FUZZ_TARGETS))
	rm -rf build-fuzz/seeds && mkdir -p build-fuzz/seeds
	./build-fuzz/bin/korb_fuzz_seeds build-fuzz/seeds
	for t in $(FUZZ_TARGETS); do \
	    mkdir -p build-fuzz/corpus/$$t && \
	    seeds=tests/fuzz/corpus/$$t; [ $$t = load_stream ] && seeds="$$seeds build-fuzz/seeds"; \
	    ./build-fuzz/bin/korb_fuzz_$$t -max_total_time=$(FUZZ_SECONDS) -print_final_stats=1 \
	        -artifact_prefix=build-fuzz/ build-fuzz/corpus/$$t $$seeds || exit 1; \
	done

# Every fuzz target for a minute.
fuzz-smoke:
	$(MAKE) fuzz FUZZ_SECONDS=60

# The statistical quality report's run: dieharder's whole battery on every generator of
# tools/quality.sh, hours each (never in CI). Results in build-quality/; a summary with
# `tools/quality.sh summary`.
quality: build
	@sh .ci/deps quality
	sh tools/quality.sh run
	sh tools/quality.sh summary

# The committed MT2203 parameter table: regenerate it (tens of minutes), or re-check every row.
MT2203_TABLE = rng/brng/mt2203_params.inc

# Regenerates the committed kernel tables from their rules.
tables: build
	./build/bin/exp_ln_tables > vecmath/kernels/exp_ln_tables.inc
	./build/bin/two_over_pi > vecmath/kernels/two_over_pi.inc
	./build/bin/atan_table > vecmath/kernels/atan_table.inc
	nice ./build/bin/gen_mt2203_params generate --threads $(JOBS) --out $(MT2203_TABLE)

verify-tables: build
	./build/bin/gen_mt2203_params verify $(MT2203_TABLE) --threads $(JOBS)

format:
	find include frame core rng vecmath stats datafit cli tests bench tools -name '*.[ch]' -o -name '*.[ch]pp' | xargs clang-format -i

clean:
	rm -rf build build-asan build-tsan build-fuzz build-quality
