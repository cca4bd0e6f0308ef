# Configures and builds a preset, and says so. Sourced by ./run and ./test.

say() { printf '%s\n' "$*"; }

# One plain sentence that says what to do, and the end.
fail() {
    printf '%s\n' "$*" >&2
    exit 1
}

# build PRESET TARGET...: quick when nothing changed. Ninja configures again by itself when a CMake file changed.
build() {
    local preset=$1 folder="$root/build/$1"
    shift
    if [ ! -f "$folder/build.ninja" ]; then
        say "Configuring build/$preset"
        mkdir -p "$folder"
        if ! (cd "$root" && cmake --preset "$preset") > "$folder/configure.log" 2>&1; then
            tail -n 25 "$folder/configure.log" >&2
            # A half-made folder would be taken for a configured one the next time.
            rm -f "$folder/build.ninja"
            fail "Configuring build/$preset failed: see the lines above; the whole log is build/$preset/configure.log."
        fi
    fi
    say "Building build/$preset"
    (cd "$root" && ninja -C "build/$preset" "$@") || fail "Building build/$preset failed: mend the first error above, then call this again."
}
