# SPDX-FileCopyrightText: 2026 Ferrowick developers
# SPDX-License-Identifier: GPL-3.0-or-later

BUILD ?= build
JOBS ?= $(shell nproc)
CMAKE_FLAGS ?=

.PHONY: all deps build run test test-asan test-tsan soak bench screenshots fuzz package format clean

all: build

deps:
	@bash scripts/install-deps.sh

$(BUILD)/CMakeCache.txt:
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo $(CMAKE_FLAGS)

build: deps $(BUILD)/CMakeCache.txt
	cmake --build $(BUILD) -j$(JOBS)

run: build
	@bash scripts/run.sh $(BUILD)

test: build
	cd $(BUILD) && ctest --output-on-failure -j$(JOBS)

test-asan:
	$(MAKE) test BUILD=build-asan CMAKE_FLAGS="-DFERROWICK_SANITIZE=address"

# The tests start servers and helper processes, which TSan would otherwise
# refuse to let a threaded process fork; Qt itself is not instrumented, so
# what it synchronises internally is listed in scripts/tsan.supp.
test-tsan:
	TSAN_OPTIONS="die_after_fork=0 second_deadlock_stack=1 suppressions=$(CURDIR)/scripts/tsan.supp" \
	$(MAKE) test BUILD=build-tsan CMAKE_FLAGS="-DFERROWICK_SANITIZE=thread"

# The network faults of the suite, 20 trials each with 64 MiB and fresh
# random cut points; prints "N of N byte-identical" per scenario. Each trial
# has its own bound; the test library's five minutes per test function would
# cut the soak short.
soak: build
	cd $(BUILD) && CI=true QT_QPA_PLATFORM=offscreen QTEST_FUNCTION_TIMEOUT=86400000 \
	FERROWICK_SOAK_TRIALS=$(or $(SOAK_TRIALS),20) \
	FERROWICK_SOAK_BYTES=$(or $(SOAK_BYTES),67108864) ./tests/tst_ZKFaultScenarios -silent

bench: build
	bash bench/speed-bench.sh $(BUILD)
	bash bench/copy-bench.sh $(BUILD)
	bash bench/ftp-bench.sh $(BUILD)
	bash bench/sftp-bench.sh $(BUILD)
	bash bench/queue-bench.sh $(BUILD)
	bash bench/cli-sources-bench.sh $(BUILD)
	bash bench/window-bench.sh $(BUILD)

# The pictures of docs/, from real windows under Xvfb.
screenshots: build
	bash scripts/screenshots.sh $(BUILD) docs

# FUZZ_TARGET=ftp_listing|ftp_reply|ftp_passive|ftp_url|http_head|queue_loader|--all, FUZZ_SECONDS=300
fuzz:
	bash scripts/fuzz.sh $(or $(FUZZ_TARGET),ftp_listing) $(or $(FUZZ_SECONDS),60)

# The Debian package, built from what it installs only (not the tests).
package: deps $(BUILD)/CMakeCache.txt
	cmake --build $(BUILD) -j$(JOBS) --target ferrowick-installables
	cd $(BUILD) && cpack -G DEB

format:
	git ls-files '*.cpp' '*.h' | xargs clang-format -i

clean:
	rm -rf build build-asan build-tsan
