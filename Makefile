# The front door. `make demo` and `make check` need nothing but a Debian machine with make: they install the rest.

JOBS    ?= $(shell nproc)
PREFIX  ?= /usr/local
BUILD   := build/release
LAYER_TARGETS := qnm_layer qnm_core qnm_gnu qnm_run qnm_headers

.PHONY: all lib demo check sanitizers bench install deps format clean

all: lib

## deps: install what is missing of the packages in packages.txt
deps:
	@tools/install-packages packages.txt

## lib: the layer, the open core, the adapter and qnm-run, without tests
lib: deps
	@cmake --preset release -DQNM_TESTS=OFF >/dev/null
	@cmake --build $(BUILD) --parallel $(JOBS) --target $(LAYER_TARGETS)

## demo: real programs through the layer
demo: lib
	@cmake --build $(BUILD) --parallel $(JOBS) --target examples
	@examples/demo.sh $(BUILD)

## check: everything built and every test passed; house rules and leaks included
check: deps
	@tools/check

## sanitizers: the tests under the address, undefined behaviour and thread sanitizers
sanitizers: deps
	@tools/sanitizers

## bench: instructions and time beside a direct call of the engine
bench: deps
	@cmake --preset release -DQNM_TESTS=OFF -DQNM_BENCH=ON >/dev/null
	@cmake --build $(BUILD) --parallel $(JOBS) --target qnm_layer qnm_core qnm_bench_cost qnm_bench_copies qnm_bench_load
	@bench/run.sh $(BUILD)

## install: library, open core, adapter, qnm-run, headers, package files (PREFIX, DESTDIR)
install: lib
	@cmake --install $(BUILD) --prefix $(PREFIX)

## format: put all sources into the house's format
format:
	@tools/format

clean:
	@rm -rf build
