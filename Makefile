# The two commands: `make demo` and `make test`. Both install what is missing first.
JOBS ?= $(shell nproc)
NATIVE := build/native
WIN32  := build/win32
WIN64  := build/win64

.PHONY: all deps native win32 win64 dist test fuzz bench demo clean

all: native win32 win64

deps:
	@scripts/install-deps.sh

native: deps
	@cmake -S . -B $(NATIVE) -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
	@cmake --build $(NATIVE) -j $(JOBS)

win32: deps
	@cmake -S . -B $(WIN32) -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-i686.cmake -DCMAKE_BUILD_TYPE=Release -DKES_UNIT_TESTS=ON >/dev/null
	@cmake --build $(WIN32) -j $(JOBS)

win64: deps
	@cmake -S . -B $(WIN64) -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-x86_64.cmake -DCMAKE_BUILD_TYPE=Release >/dev/null
	@cmake --build $(WIN64) -j $(JOBS)

# The release package for hosts' developers: build/dist/KesDataPrint-VERSION.zip, the version
# being project()'s in CMakeLists.txt.
dist: win32 win64
	@scripts/make-dist.sh

test: native win32 win64
	@ctest --test-dir $(NATIVE) --output-on-failure -j $(JOBS)
	@FUZZ_SECONDS=$(FUZZ_TEST_SECONDS) scripts/fuzz.sh
	@/usr/bin/python3 tests/interop/interop.py $(NATIVE)/bin/kesprint
	@/usr/bin/python3 tests/interop/producers.py $(NATIVE)/bin/kesprint
	@/usr/bin/python3 tests/interop/formula_oracle.py $(NATIVE)/bin/kesprint
	@/usr/bin/python3 tests/interop/corpus_excel.py $(NATIVE)/bin/kesprint
	@scripts/check-windows-builds.sh
	@scripts/e2e.sh
	@scripts/unit-tests-i686.sh
	@scripts/e2e.sh win32
	@scripts/check-dist.sh

# Every reader under libFuzzer for FUZZ_SECONDS each; `make test` gives them FUZZ_TEST_SECONDS.
FUZZ_SECONDS ?= 300
FUZZ_TEST_SECONDS ?= 7
fuzz: native
	@FUZZ_SECONDS=$(FUZZ_SECONDS) scripts/fuzz.sh

bench: native win32 win64
	@scripts/run-benchmarks.sh

demo: native win64
	@scripts/demo.sh

clean:
	rm -rf build
