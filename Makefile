# Everything starts here: `make run` and `make test` install what is missing, configure and build.
BUILD_DIR ?= build
JOBS ?= $(shell nproc)
FILES ?=

.PHONY: all setup configure build run test bench fuzz clean

all: build

setup:
	@scripts/setup.sh

$(BUILD_DIR)/CMakeCache.txt: | setup
	cmake -S . -B $(BUILD_DIR) -DCMAKE_BUILD_TYPE=Release

configure: setup $(BUILD_DIR)/CMakeCache.txt

build: configure
	cmake --build $(BUILD_DIR) -j $(JOBS)

run: build
	$(BUILD_DIR)/Marlode $(FILES)

test: build
	scripts/with-test-env.sh ctest --test-dir $(BUILD_DIR) --output-on-failure --timeout 600

bench: build
	$(BUILD_DIR)/marlode_bench --benchmark_color=false

# libFuzzer over outside XML, in its own clang tree, for FUZZ_SECONDS; new inputs go to
# $(FUZZ_DIR)/corpus, crashes and timeouts to $(FUZZ_DIR)/findings. Not part of `make test`.
FUZZ_DIR ?= build-fuzz
FUZZ_SECONDS ?= 600
FUZZ_SEEDS = tests/state/xml-corpus

fuzz: setup
	CC=clang CXX=clang++ cmake -S . -B $(FUZZ_DIR) -DMARLODE_FUZZ=ON -DCMAKE_BUILD_TYPE=RelWithDebInfo
	cmake --build $(FUZZ_DIR) -j $(JOBS)
	mkdir -p $(FUZZ_DIR)/corpus $(FUZZ_DIR)/findings
	$(FUZZ_DIR)/fuzz/marlode_xml_fuzz -max_total_time=$(FUZZ_SECONDS) -timeout=10 -rss_limit_mb=2048 -max_len=16384 \
	    -dict=fuzz/xml.dict -artifact_prefix=$(FUZZ_DIR)/findings/ -print_final_stats=1 $(FUZZ_DIR)/corpus $(FUZZ_SEEDS)

clean:
	rm -rf $(BUILD_DIR)
