# Makes the Debian package. Sourced by ./run and ./test.

# The last line that it prints is the path of the package.
make_package() {
    local folder="$root/build/release/package" log="$root/build/release/package.log"
    build release tessarin desktop-files
    # Of an older version there may be one: what stands there afterwards is the one of now.
    rm -f "$folder"/tessarin_*.deb
    (cd "$root/build/release" && cpack) > "$log" 2>&1 || {
        tail -n 25 "$log" >&2
        fail "The package could not be made: see the lines above; the whole log is build/release/package.log."
    }
    say "The package is"
    ls "$folder"/tessarin_*.deb
}
