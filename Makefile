# Thin wrapper over CMake. Every target first makes sure the build dependencies are there.
JOBS ?= $(shell nproc)
CTEST_FLAGS ?= --output-on-failure -j $(JOBS) --timeout 300

.PHONY: all build run test test-sanitize bench deps format clean tables verify-tables

all: build

deps:
	@sh .ci/deps

build: deps
	cmake -S . -B build -DCMAKE_BUILD_TYPE=Release
	cmake --build build -j $(JOBS)

run: build
	./build/bin/korb info
	./build/bin/korb rng --brng MCG31M1 --seed 7 --n 5
	./build/bin/korb rng --brng MCG31M1 --seed 7 --n 5 --format double --a -1 --b 1

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

# The committed MT2203 parameter table: regenerate it (tens of minutes), or re-check every row.
MT2203_TABLE = rng/brng/mt2203_params.inc

tables: build
	nice ./build/bin/gen_mt2203_params generate --threads $(JOBS) --out $(MT2203_TABLE)

verify-tables: build
	./build/bin/gen_mt2203_params verify $(MT2203_TABLE) --threads $(JOBS)

format:
	find include frame core rng vecmath stats datafit cli tests bench tools -name '*.[ch]' -o -name '*.[ch]pp' | xargs clang-format -i

clean:
	rm -rf build build-asan
