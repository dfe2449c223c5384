# Thin front of the CMake build. CONFIGURE adds options of the configure step, JOBS sets how many compilers run at once.
PRESET ?= release
CONFIGURE ?=
JOBS ?= 2

.PHONY: build run test format lint clean dependencies

build: dependencies
	cmake --preset $(PRESET) $(CONFIGURE)
	cmake --build --preset $(PRESET) --target vesk -- -j$(JOBS)

# Two seconds of search on the start position, as a GUI would ask for it.
run: build
	printf 'uci\nisready\nposition startpos\ngo movetime 2000\n' | build/$(PRESET)/vesk

test: dependencies
	cmake --preset $(PRESET) $(CONFIGURE)
	cmake --build --preset $(PRESET) -- -j$(JOBS)
	ctest --preset $(PRESET) -j$(JOBS) -LE slow

format:
	tools/format.sh

lint: dependencies
	tools/lint.sh

clean:
	rm -rf build

dependencies:
	@tools/install_dependencies.sh
