# Everything starts here: `make run` and `make test` install what is missing, configure and build.
BUILD_DIR ?= build
JOBS ?= $(shell nproc)
FILES ?=

.PHONY: all setup configure build run test bench clean

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

clean:
	rm -rf $(BUILD_DIR)
