# Thin front of the CMake build. CONFIGURE adds options of the configure step, JOBS sets how many compilers run at once.
PRESET ?= release
CONFIGURE ?=
JOBS ?= 2
# Where "make install" takes the program from, and where it puts it; DESTDIR before that, for packages, as usual.
BUILD ?= build/$(PRESET)
PREFIX ?= /usr/local
export DESTDIR

.PHONY: exe build tools pgo run test test_windows install uninstall format lint clean dependencies test_dependencies

# "make EXE=path", as programs that test engines call it: the engine, at that path. Installs nothing, and takes the
# compiler from CXX, or from CC by its C name, and the number of jobs from -j.
ifdef EXE
ifneq ($(origin CC), default)
cxx_of = $(filter-out ./,$(dir $(1)))$(subst gcc,g++,$(subst clang,clang++,$(patsubst cc,c++,$(notdir $(1)))))
exe_compiler = $(if $(findstring ++,$(CC)),$(CC),$(call cxx_of,$(CC)))
endif
ifneq ($(origin CXX), default)
exe_compiler = $(CXX)
endif
exe:
	$(if $(exe_compiler),CXX="$(exe_compiler)") cmake --fresh -S . -B build/exe -G "Unix Makefiles" \
	  -DCMAKE_BUILD_TYPE=Release -DVESK_TESTS=OFF $(CONFIGURE)
	+cmake --build build/exe --target vesk
	cp build/exe/vesk "$(EXE)"
endif

build: dependencies
	cmake --preset $(PRESET) $(CONFIGURE)
	cmake --build --preset $(PRESET) --target vesk -- -j$(JOBS)

# What the workshop needs besides the engine.
tools: dependencies
	cmake --preset $(PRESET) $(CONFIGURE)
	cmake --build --preset $(PRESET) --target checkmatch -- -j$(JOBS)

# The engine optimised by a profile of its own benchmark: build/pgo/vesk. CONFIGURE=-DCMAKE_CXX_COMPILER=clang++ takes
# the other compiler, which needs lld and llvm-profdata (Debian: lld, llvm).
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

# The tests, and then those of the program for Windows, under wine. Where its compiler or wine cannot be had, that is
# said.
test: test_dependencies
	cmake --preset $(PRESET) -DVESK_TESTS=ON $(CONFIGURE)
	cmake --build --preset $(PRESET) -- -j$(JOBS)
	ctest --preset $(PRESET) -j$(JOBS) -LE slow
	@if tools/install_dependencies.sh windows; then $(MAKE) test_windows; \
	  else echo "The program for Windows was not tested."; fi

test_windows:
	cmake --preset windows -DVESK_TESTS=ON -DVESK_PLAYER=$(CURDIR)/build/$(PRESET)/tests/sessions/test_script \
	  $(filter -DVESK_WERROR=%,$(CONFIGURE))
	cmake --build --preset windows -- -j$(JOBS)
	ctest --preset windows -j$(JOBS) -LE slow

# Builds only if that was not done yet, so that root need not build.
install: | $(BUILD)/vesk
	cmake --install $(BUILD) --prefix "$(PREFIX)"

$(BUILD)/vesk:
	$(MAKE) build

uninstall:
	cmake -DBUILD=$(BUILD) -DPREFIX="$(PREFIX)" -P cmake/uninstall.cmake

format:
	tools/format.sh

lint:
	tools/lint.sh

clean:
	rm -rf build

dependencies:
	@tools/install_dependencies.sh

test_dependencies:
	@tools/install_dependencies.sh googletest python3-matplotlib
