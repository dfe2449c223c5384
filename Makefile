# Thin front of the CMake build. CONFIGURE adds options of the configure step, JOBS sets how many compilers run at once.
PRESET ?= release
CONFIGURE ?=
JOBS ?= 2

.PHONY: build tools pgo run test format lint clean dependencies

build: dependencies
	cmake --preset $(PRESET) $(CONFIGURE)
	cmake --build --preset $(PRESET) --target vesk -- -j$(JOBS)

# What the workshop needs besides the engine.
tools: dependencies
	cmake --preset $(PRESET) $(CONFIGURE)
	cmake --build --preset $(PRESET) --target checkmatch -- -j$(JOBS)

# The engine optimised by a profile of its own benchmark: build/pgo/vesk. CONFIGURE=-DCMAKE_CXX_COMPILER=clang++ takes the
# other compiler, which needs lld and llvm-profdata (Debian: lld, llvm).
pgo: dependencies
	rm -rf build/pgo
	cmake --preset pgo $(CONFIGURE) -DVESK_PROFILE=write
	cmake --build --preset pgo --target vesk -- -j$(JOBS)
	build/pgo/vesk -pbench -nolog
	if [ -f build/pgo/profile/vesk.profraw ]; then \
	  llvm-profdata merge -o build/pgo/profile/vesk.profdata build/pgo/profile/vesk.profraw; fi
	cmake --preset pgo $(CONFIGURE) -DVESK_PROFILE=use
	cmake --build --preset pgo --target vesk -- -j$(JOBS)

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
