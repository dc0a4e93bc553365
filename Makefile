# make demo | make test | make bench | make fuzz | make deb | make docs
# Each target installs what is missing, configures, builds and runs.
BUILD_DIR ?= build
BUILD_TYPE ?= Release
CMAKE_ARGS ?=
JOBS ?= $(shell nproc)
FUZZ_SECONDS ?= 60

.PHONY: all deps build demo test bench fuzz deb docs clean

all: build

deps:
	@sh scripts/install-deps.sh

build: deps
	cmake -S . -B $(BUILD_DIR) -DCMAKE_BUILD_TYPE=$(BUILD_TYPE) $(CMAKE_ARGS)
	cmake --build $(BUILD_DIR) -j $(JOBS)

# The build's own output goes to a log, shown only when the build fails.
demo: deps
	@mkdir -p $(BUILD_DIR)
	@echo "Building nqdom (log: $(BUILD_DIR)/demo-build.log)"
	@{ cmake -S . -B $(BUILD_DIR) -DCMAKE_BUILD_TYPE=$(BUILD_TYPE) $(CMAKE_ARGS) && \
		cmake --build $(BUILD_DIR) -j $(JOBS) --target nqdom_tool; } >$(BUILD_DIR)/demo-build.log 2>&1 || \
		{ cat $(BUILD_DIR)/demo-build.log; exit 1; }
	@sh scripts/demo.sh $(BUILD_DIR)/tools/nqdom/nqdom

# The tool's tests read the DocBook and SVG DTDs through the system catalog.
test: build
	@sh scripts/install-deps.sh docbook-xml w3c-sgml-lib
	ctest --test-dir $(BUILD_DIR) --output-on-failure -j $(JOBS)

# BENCH_ARGS go to the comparison benchmark, e.g. --benchmark_repetitions=3.
bench:
	@sh scripts/install-deps.sh libpugixml-dev libxml2-dev
	cmake -S . -B build-bench -DCMAKE_BUILD_TYPE=Release -DNQDOM_BUILD_TESTS=OFF -DNQDOM_BUILD_TOOLS=ON \
		-DNQDOM_BUILD_BENCH=ON
	cmake --build build-bench -j $(JOBS)
	sh scripts/bench.sh build-bench $(BENCH_ARGS)

fuzz:
	@sh scripts/install-deps.sh clang libclang-rt-14-dev
	CXX=clang++ cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DNQDOM_BUILD_TESTS=OFF \
		-DNQDOM_BUILD_TOOLS=OFF -DNQDOM_FUZZ=ON -DNQDOM_WERROR=ON
	cmake --build build-fuzz -j $(JOBS)
	sh scripts/fuzz.sh build-fuzz $(FUZZ_SECONDS)

# The API reference from the public headers and docs/, in build/docs/html;
# any Doxygen warning fails it.
docs:
	@sh scripts/install-deps.sh doxygen
	cmake -S . -B $(BUILD_DIR) -DCMAKE_BUILD_TYPE=$(BUILD_TYPE) $(CMAKE_ARGS)
	cmake --build $(BUILD_DIR) --target docs

# The Debian packages, built from a copy of the tree so that the clone stays
# clean; the .deb files and lintian's report end up in build/deb/.
# DEB_BUILD_OPTIONS=nocheck leaves the tests out.
deb:
	@sh scripts/install-deps.sh debhelper dpkg-dev lintian groff-base
	rm -rf build/deb
	mkdir -p build/deb/src
	tar -cf - --exclude=./build --exclude='./build-*' --exclude=./.git . | tar -xf - -C build/deb/src
	cd build/deb/src && env -u MAKEFLAGS -u MAKELEVEL \
		DEB_BUILD_OPTIONS="noautodbgsym parallel=$(JOBS) $(DEB_BUILD_OPTIONS)" dpkg-buildpackage -us -uc -b
	rm -rf build/deb/src
	lintian --display-info build/deb/*.changes | tee build/deb/lintian.txt
	@! grep -q '^E: ' build/deb/lintian.txt

clean:
	rm -rf build build-*
