# Set-up, build, run and test in one place. `make run` and `make test` install
# whatever Debian packages are missing, configure and build in build/.

BUILD     ?= build
JOBS      ?= $(shell nproc 2>/dev/null || echo 2)
EXAMPLE   ?= examples/rutile.prf
PACKAGES  := cmake make g++ pkg-config libfftw3-dev libopenblas-dev libgtest-dev gemmi-dev tao-pegtl-dev libpng-dev \
             python3-gemmi parallel
TABLE_PACKAGES := python3 python3-cctbx python3-spglib python3-gemmi python3-numpy python3-pymatgen
SUDO      := $(shell [ "$$(id -u)" = 0 ] || echo sudo)

FUZZ_PACKAGES := clang libclang-rt-14-dev libomp-14-dev
FUZZ_SECONDS ?= 600

.PHONY: all deps configure build run test asan bench bench-algorithms prior-evidence fuzz tables examples clean

all: build

# apt-get runs only for packages that dpkg does not know, so a second call is quick and offline-safe.
deps:
	@missing=""; for p in $(PACKAGES); do dpkg -s $$p >/dev/null 2>&1 || missing="$$missing $$p"; done; \
	if [ -n "$$missing" ]; then \
	  echo "Installing:$$missing"; \
	  $(SUDO) env DEBIAN_FRONTEND=noninteractive apt-get update -qq && \
	  $(SUDO) env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq $$missing; \
	fi

configure: deps
	@[ -f $(BUILD)/CMakeCache.txt ] || cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=Release

build: configure
	cmake --build $(BUILD) -j $(JOBS)

run: build
	./$(BUILD)/halvorin $(EXAMPLE) < /dev/null

test: build
	cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

# The whole test suite under AddressSanitizer and UndefinedBehaviorSanitizer.
asan: deps
	@[ -f build-asan/CMakeCache.txt ] || cmake -S . -B build-asan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DHALVORIN_SANITIZE=ON
	cmake --build build-asan -j $(JOBS)
	cd build-asan && ASAN_OPTIONS=detect_leaks=0 ctest --output-on-failure -j $(JOBS)

# Cost of a cycle against its floor on four generated data sets (a few minutes).
bench: build
	cmake --build $(BUILD) -j $(JOBS) --target cycle_bench
	sh bench/run_bench.sh $(BUILD)

# Whole analyses of every algorithm on the examples and the 192^3 set: takes tens of minutes.
bench-algorithms: build
	cmake --build $(BUILD) -j $(JOBS) --target cycle_bench
	sh bench/run_algorithms.sh $(BUILD)

# Developer-time only: the table and plot of docs/prior_evidence.* (about a minute):
# exact maximum-entropy densities of two crystals with priors of every uniform fraction W.
prior-evidence: build
	/usr/bin/python3 tools/prior_evidence.py $(BUILD) docs

# Each fuzz target for FUZZ_SECONDS (clang's libFuzzer with AddressSanitizer and
# UndefinedBehaviorSanitizer), one thread per run. New inputs gather in
# build-fuzz/corpus; those that reach new code are merged into the committed
# corpus in tests/fuzz/corpus, which `make test` replays. Crashes are left in
# build-fuzz/artifacts.
fuzz: deps
	@missing=""; for p in $(FUZZ_PACKAGES); do dpkg -s $$p >/dev/null 2>&1 || missing="$$missing $$p"; done; \
	if [ -n "$$missing" ]; then $(SUDO) env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq $$missing; fi
	@[ -f build-fuzz/CMakeCache.txt ] || CC=clang CXX=clang++ cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DHALVORIN_FUZZ=ON
	cmake --build build-fuzz -j $(JOBS)
	@mkdir -p build-fuzz/artifacts; status=0; \
	for target in build-fuzz/tests/fuzz/*_fuzz; do \
	  name=$$(basename $$target _fuzz); mkdir -p build-fuzz/corpus/$$name; \
	  echo "== $$name for $(FUZZ_SECONDS) s"; \
	  OMP_NUM_THREADS=1 $$target -max_total_time=$(FUZZ_SECONDS) -timeout=120 -rss_limit_mb=4096 \
	    -artifact_prefix=build-fuzz/artifacts/$$name- build-fuzz/corpus/$$name tests/fuzz/corpus/$$name \
	    2>build-fuzz/$$name.log || status=1; \
	  tail -n 2 build-fuzz/$$name.log; \
	  OMP_NUM_THREADS=1 $$target -merge=1 tests/fuzz/corpus/$$name build-fuzz/corpus/$$name 2>/dev/null; \
	done; exit $$status

# Developer-time only: regenerate the space-group and element tables.
tables:
	@missing=""; for p in $(TABLE_PACKAGES); do dpkg -s $$p >/dev/null 2>&1 || missing="$$missing $$p"; done; \
	if [ -n "$$missing" ]; then $(SUDO) env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq $$missing; fi
	/usr/bin/python3 tools/make_tables.py data

# Developer-time only: regenerate the bundled example data sets.
examples:
	/usr/bin/python3 tools/make_examples.py examples
	/usr/bin/python3 tools/make_patterson_data.py

clean:
	rm -rf $(BUILD) build-asan build-fuzz
