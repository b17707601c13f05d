# Everything starts here: `make run` and `make test` install what is missing, configure and build.
# build/ holds the release the user runs and the benchmarks measure; the tests build elsewhere:
# build-check/ (optimised, JUCE assertions and leak detection live), build-asan/ and build-tsan/.
BUILD_DIR ?= build
CHECK_DIR ?= build-check
ASAN_DIR ?= build-asan
TSAN_DIR ?= build-tsan
JOBS ?= $(shell nproc)
FILES ?=
PREFIX ?= /usr/local
CTEST_ARGS ?=
# `make test FORMAT_CHECK=0` skips the layout check, for a tree not yet run through `make format`.
FORMAT_CHECK ?= 1

TEST_CONFIG = -DCMAKE_BUILD_TYPE=Release -DMARLODE_CHECKED=ON -DMARLODE_BENCHMARKS=OFF
CTEST = scripts/with-test-env.sh ctest --output-on-failure $(CTEST_ARGS) --test-dir

.PHONY: all setup configure build run install uninstall deb format check-format test asan tsan bench conformance fuzz clean

all: build

setup:
	@scripts/setup.sh

$(BUILD_DIR)/CMakeCache.txt: | setup
	cmake -S . -B $(BUILD_DIR) -DCMAKE_BUILD_TYPE=Release

$(CHECK_DIR)/CMakeCache.txt: | setup
	cmake -S . -B $(CHECK_DIR) $(TEST_CONFIG)

$(ASAN_DIR)/CMakeCache.txt: | setup
	cmake -S . -B $(ASAN_DIR) $(TEST_CONFIG) -DMARLODE_SANITIZE=address

$(TSAN_DIR)/CMakeCache.txt: | setup
	cmake -S . -B $(TSAN_DIR) $(TEST_CONFIG) -DMARLODE_SANITIZE=thread

configure: setup $(BUILD_DIR)/CMakeCache.txt

build: configure
	cmake --build $(BUILD_DIR) -j $(JOBS)

run: build
	$(BUILD_DIR)/Marlode $(FILES)

# Into PREFIX (needs root for /usr/local: `sudo make install` after `make build`); `make uninstall`
# removes exactly what the last install from this build put there.
install: build
	cmake --install $(BUILD_DIR) --prefix $(PREFIX)

uninstall:
	scripts/uninstall.sh $(BUILD_DIR)/install_manifest.txt

# build/marlode_<version>_<arch>.deb, its dependencies read off the programs.
deb: build
	cd $(BUILD_DIR) && cpack -G DEB

format: setup
	scripts/check-format.sh --fix

check-format: setup
	scripts/check-format.sh

# The end-to-end tests measure what a real-time player sends to JACK on two cores shared with
# everything else; one more try absorbs a scheduling stall, while a real fault fails both.
test: setup $(if $(filter 0,$(FORMAT_CHECK)),,check-format) $(CHECK_DIR)/CMakeCache.txt
	cmake --build $(CHECK_DIR) -j $(JOBS)
	$(CTEST) $(CHECK_DIR) --timeout 600 --repeat until-pass:2

# The sanitizers slow the code several times over, hence the longer per-test limit.
asan: setup $(ASAN_DIR)/CMakeCache.txt
	cmake --build $(ASAN_DIR) -j $(JOBS)
	ASAN_OPTIONS=detect_leaks=1:abort_on_error=0:detect_stack_use_after_return=0 \
	UBSAN_OPTIONS=print_stacktrace=1:suppressions=$(CURDIR)/tests/sanitizers/ubsan.supp \
	LSAN_OPTIONS=suppressions=$(CURDIR)/tests/sanitizers/lsan.supp:print_suppressions=0 \
	$(CTEST) $(ASAN_DIR) --timeout 1200

tsan: setup $(TSAN_DIR)/CMakeCache.txt
	cmake --build $(TSAN_DIR) -j $(JOBS)
	TSAN_OPTIONS=suppressions=$(CURDIR)/tests/sanitizers/tsan.supp:second_deadlock_stack=1:print_suppressions=0 \
	$(CTEST) $(TSAN_DIR) --timeout 1200

bench: build
	$(BUILD_DIR)/marlode_bench --benchmark_color=false

# The EBU loudness test signals through marlode-analyse; `make conformance MARKDOWN=1` prints the README's table.
conformance: build
	$(BUILD_DIR)/marlode-conformance $(if $(MARKDOWN),--markdown) $(BUILD_DIR)/marlode-analyse

# libFuzzer in its own clang tree, FUZZ_SECONDS for each target: outside XML, outside bytes as
# audio files of every format, then as the session file. New inputs go to $(FUZZ_DIR)/*corpus,
# crashes and timeouts to $(FUZZ_DIR)/findings. Undefined behaviour stops a run like a crash,
# except what tests/sanitizers/ubsan.supp leaves to the framework. Not part of `make test`.
FUZZ_DIR ?= build-fuzz
FUZZ_SECONDS ?= 600
FUZZ_SEEDS = tests/state/xml-corpus
FUZZ_ENV = UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1:suppressions=$(CURDIR)/tests/sanitizers/ubsan.supp \
	ASAN_OPTIONS=detect_leaks=1:detect_stack_use_after_return=0
FUZZ_ARGS = -max_total_time=$(FUZZ_SECONDS) -rss_limit_mb=2048 -print_final_stats=1

fuzz: setup
	CC=clang CXX=clang++ cmake -S . -B $(FUZZ_DIR) -DMARLODE_FUZZ=ON -DCMAKE_BUILD_TYPE=RelWithDebInfo
	cmake --build $(FUZZ_DIR) -j $(JOBS) --target marlode_xml_fuzz marlode_audio_fuzz marlode_session_fuzz \
	    marlode_audio_seeds
	mkdir -p $(FUZZ_DIR)/corpus $(FUZZ_DIR)/audio-corpus $(FUZZ_DIR)/findings
	$(FUZZ_DIR)/fuzz/marlode_audio_seeds $(FUZZ_DIR)/audio-seeds
	$(FUZZ_ENV) $(FUZZ_DIR)/fuzz/marlode_xml_fuzz $(FUZZ_ARGS) -timeout=10 -max_len=16384 -dict=fuzz/xml.dict \
	    -artifact_prefix=$(FUZZ_DIR)/findings/ $(FUZZ_DIR)/corpus $(FUZZ_SEEDS)
	$(FUZZ_ENV) $(FUZZ_DIR)/fuzz/marlode_audio_fuzz $(FUZZ_ARGS) -timeout=30 -max_len=65536 \
	    -artifact_prefix=$(FUZZ_DIR)/findings/audio- $(FUZZ_DIR)/audio-corpus $(FUZZ_DIR)/audio-seeds
	mkdir -p $(FUZZ_DIR)/session-corpus
	$(FUZZ_ENV) $(FUZZ_DIR)/fuzz/marlode_session_fuzz $(FUZZ_ARGS) -timeout=10 -max_len=16384 -dict=fuzz/xml.dict \
	    -artifact_prefix=$(FUZZ_DIR)/findings/session- $(FUZZ_DIR)/session-corpus fuzz/session-seeds

clean:
	rm -rf $(BUILD_DIR) $(CHECK_DIR) $(ASAN_DIR) $(TSAN_DIR)
