# Runs what was built. Sourced by ./test.

# run_tests PRESET... -- CTEST-ARGUMENT...: one run of ctest over all presets, so that there is one summary.
run_tests() {
    local folder="$root/build/tests" presets=()
    while [ "$1" != "--" ]; do
        presets+=("\"$root/build/$1\"")
        shift
    done
    shift
    mkdir -p "$folder"
    printf 'subdirs(%s)\n' "${presets[*]}" > "$folder/CTestTestfile.cmake"
    say "Running the tests"
    exec ctest --test-dir "$folder" --parallel "$(nproc)" --output-on-failure --no-tests=error "$@"
}

# drive_vendors ARGUMENT...: the vendors' real programs, installed and driven through the window; the last lines are a table.
drive_vendors() {
    build debug tessarin
    say "Driving the vendors' programs"
    exec /usr/bin/python3 -B "$root/Tests/Vendors/run.py" --program "$root/build/debug/tessarin" --folder "$root/build/vendors" \
        --pictures "$root/build/vendors/pictures" "$@"
}

# Prints what the benchmarks say as the table of the README: their lines read "what: ratio (bar ...)".
run_benchmarks() {
    local program line lines="" failed=""
    build release all
    while IFS= read -r program; do
        say "Running $(basename "$program")" >&2
        if ! line=$("$program"); then failed="$failed $(basename "$program")"; fi
        lines+=$(sed -nE 's/^([^:]+): *([^(]+) \(bar:? *(.+)\)$/| \1 | \2 | \3 |/p' <<< "$line")$'\n'
    done < <(find "$root/build/release/Benchmarks" -maxdepth 1 -type f -name '*Benchmark' -perm -u+x | sort)
    printf '| what | measured | bar |\n|---|---|---|\n%s' "$lines"
    [ -z "$failed" ] || fail "A bar was missed: look at:$failed, and run ./test --benchmarks again on a machine that does nothing else."
}

# Installs the package in a system of its own, runs it there and removes it again.
try_package() {
    say "Trying the package in a fresh system"
    exec /usr/bin/python3 -B "$root/Tests/Packaging/FreshSystem/package_in_a_fresh_system.py" "$root/build/release/package" "$root/build/fresh-system"
}
