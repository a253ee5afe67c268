# Thin front end: the real steps live in scripts/.
.PHONY: demo test native windows sanitize fuzz bench mutate clean format

demo:
	bash scripts/demo.sh

test:
	bash scripts/test-all.sh

native:
	cmake --preset native && cmake --build --preset native -j$$(nproc) && ctest --preset native -j$$(nproc)

# The 32-bit build, or the 64-bit one where this machine does not run 32-bit programs.
windows:
	p=$$(bash scripts/runs-i386.sh && echo windows || echo windows64); \
	cmake --preset $$p && cmake --build --preset $$p -j$$(nproc) && bash scripts/wine-server.sh start build/$$p || exit 1; \
	ctest --preset $$p -j$$(nproc); status=$$?; bash scripts/wine-server.sh stop build/$$p; exit $$status

sanitize:
	cmake --preset sanitize && cmake --build --preset sanitize -j$$(nproc) && ctest --preset sanitize -j$$(nproc)

fuzz:
	bash scripts/fuzz.sh

bench:
	bash scripts/bench.sh

# Deliberate faults, one at a time, in a scratch copy; slow, so not part of `make test`.
mutate:
	bash scripts/mutate.sh

format:
	git ls-files '*.cpp' '*.h' | xargs clang-format -i

clean:
	rm -rf build
