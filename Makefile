# The front door. Every command needs nothing but a Debian machine with make: it installs what it needs itself.

JOBS    ?= $(shell nproc)
PREFIX  ?= /usr/local
POINTS  ?= 1000000
BUILD   := build/release
PACKAGES := tools/install-packages packages.txt

.PHONY: all lib plugins doc deb reproducible bare demo check sanitizers fuzz bench accuracy dieharder abi install uninstall format clean

all: lib

## lib: the layer, the open core and its direct solvers, the adapter and qnm-run, without tests
lib:
	@$(PACKAGES) lib
	@tools/configure release -DQNM_TESTS=OFF
	@cmake --build $(BUILD) --parallel $(JOBS) --target lib

## plugins: engines under other licences, to be opened at run time; nothing links or installs them (docs/open-core.md)
plugins:
	@$(PACKAGES) lib plug-ins
	@tools/configure release -DQNM_TESTS=OFF -DQNM_PLUGINS=ON
	@cmake --build $(BUILD) --parallel $(JOBS) --target qnm_core plugins

## doc: the reference, a page for each routine: build/release/doc/man3 for man, build/release/doc/html/index.html
doc:
	@$(PACKAGES) lib doc
	@tools/configure release -DQNM_TESTS=OFF
	@cmake --build $(BUILD) --parallel $(JOBS) --target qnm_doc
	@mandb --quiet --create --user-db $(CURDIR)/$(BUILD)/doc # by it man finds names that are no file's
	@echo "$(BUILD)/doc/html/index.html; man -M $(BUILD)/doc dgemm_64"

## demo: real programs through the layer
demo:
	@$(PACKAGES) lib demo
	@tools/configure release -DQNM_TESTS=OFF
	@cmake --build $(BUILD) --parallel $(JOBS) --target lib examples
	@examples/demo.sh $(BUILD)

## check: everything built and every test passed; house rules and leaks included
check:
	@$(PACKAGES) lib demo check
	@tools/check

## sanitizers: the tests under the address, undefined behaviour and thread sanitizers
sanitizers:
	@$(PACKAGES) lib demo check
	@tools/sanitizers

## fuzz: for SECONDS each, calls by chance and fuzzers of what reads files; no part of check, which runs what they keep
fuzz:
	@$(PACKAGES) lib check fuzz
	@tools/fuzz $(SECONDS)

## bench: instructions and time beside a direct call of the engine
bench:
	@$(PACKAGES) lib bench
	@tools/configure release -DQNM_TESTS=OFF -DQNM_BENCH=ON -DQNM_PLUGINS=ON
	@cmake --build $(BUILD) --parallel $(JOBS) --target qnm_layer qnm_core qnm_core_fftw qnm_bench_cost qnm_bench_copies \
	  qnm_bench_transforms qnm_bench_vectors qnm_bench_statistics qnm_bench_sparse qnm_bench_load \
	  qnm_bench_trace qnm_run qnm_gnu qnm_watch \
	  $$(cmake --build $(BUILD) --target help | grep -o '^qnm_bench_direct' || true)
	@bench/run.sh $(BUILD)

## accuracy: docs/accuracy.md, from POINTS points a function, or FULL=1: every number of single precision
accuracy:
	@$(PACKAGES) lib check
	@tools/configure release -DQNM_TESTS=ON
	@cmake --build $(BUILD) --parallel $(JOBS) --target accuracy
	@$(BUILD)/bin/accuracy $(POINTS) $(if $(FULL),all-floats) > $(BUILD)/accuracy.md; \
	  missed=$$?; [ ! -s $(BUILD)/accuracy.md ] || mv $(BUILD)/accuracy.md docs/accuracy.md; exit $$missed

## dieharder: generators and distributions by a battery of tests, SOURCES and TESTS or all; hours, and no part of check
dieharder:
	@$(PACKAGES) lib check dieharder
	@tools/configure release -DQNM_TESTS=ON
	@cmake --build $(BUILD) --parallel $(JOBS) --target words
	@tools/dieharder $(BUILD) $(SOURCES)

## abi: adds what the tables have besides to abi/2.txt, the promise of names that check holds
abi:
	@$(PACKAGES) lib
	@tools/configure release -DQNM_TESTS=OFF
	@cmake --build $(BUILD) --target abi

## install: libraries, qnm-run, headers, package files, pages, licence (PREFIX, DESTDIR; STRIP=1: without line tables)
install: installable
	@cmake --build $(BUILD) --parallel $(JOBS) --target lib
	@cmake --install $(BUILD) $(if $(STRIP),--strip)
	@[ -n "$(DESTDIR)" ] || ldconfig 2>/dev/null || true

## uninstall: takes back what this tree installs (PREFIX, DESTDIR)
uninstall: installable
	@tools/uninstall $(BUILD) $(PREFIX)
	@[ -n "$(DESTDIR)" ] || ldconfig 2>/dev/null || true

# The folder of libraries is the distribution's, which depends on the prefix.
.PHONY: installable
installable:
	@$(PACKAGES) lib
	@tools/configure release -DQNM_TESTS=OFF -DCMAKE_INSTALL_PREFIX=$(PREFIX)

## deb: packages for Debian, in build/deb, and what lintian says of them
deb:
	@$(PACKAGES) lib doc deb
	@tools/deb

## reproducible: builds those packages once more, as another user in another folder: the same bytes (root; after deb)
reproducible:
	@$(PACKAGES) lib doc deb
	@tools/reproducible

## bare: the packages of deb in a Debian system that has nothing but compilers, made for it: installed, used, taken away (root)
bare:
	@$(PACKAGES) bare
	@tools/bare

## format: put all sources into the house's format
format:
	@tools/format

clean:
	@rm -rf build
