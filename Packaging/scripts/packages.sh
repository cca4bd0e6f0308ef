# Installs what is missing of the packages that Packaging/packages names. Sourced by ./run and ./test.

# The lines of the given sections, without comments.
packages_of() {
    local wanted=" $* " section="" line
    while IFS= read -r line; do
        case "$line" in
            "" | "#"*) ;;
            "["*"]") section=${line//[\[\]]/} ;;
            *) case "$wanted" in *" $section "*) printf '%s\n' "$line" ;; esac ;;
        esac
    done < "$root/Packaging/packages"
}

# The names of those that are not installed. One question for all of them, so that the answer is quick when nothing is missing.
missing_packages() {
    local line name command wanted=() installed
    while IFS= read -r line; do
        name=${line%% *}
        command=${line#"$name"}
        command=${command# or }
        if [ -n "$command" ] && command -v "$command" > /dev/null; then continue; fi
        wanted+=("$name")
    done < <(packages_of "$@")
    # dpkg-query fails when it does not know one of the names, which is no failure here.
    installed=$(dpkg-query -W -f '${db:Status-Abbrev}|${Package}\n' "${wanted[@]}" 2> /dev/null | sed -n 's/^ii *|//p') || true
    printf '%s\n' "${wanted[@]}" | grep -vxF -e "$installed" || true
}

install_packages() {
    [ "${TESSARIN_PACKAGES:-}" = "installed" ] && return
    if ! command -v dpkg-query > /dev/null || ! command -v apt-get > /dev/null; then
        fail "This is no Debian: install the counterparts of the packages in Packaging/packages, then call this again with TESSARIN_PACKAGES=installed."
    fi
    local missing as_root=()
    mapfile -t missing < <(missing_packages "$@")
    [ "${#missing[@]}" -eq 0 ] && return
    say "Installing ${#missing[@]} Debian packages that are missing: ${missing[*]}"
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo > /dev/null || fail "Packages are missing and there is no sudo: run this once as root: apt-get install ${missing[*]}"
        as_root=(sudo)
    fi
    as_root+=(env DEBIAN_FRONTEND=noninteractive apt-get -y -o DPkg::Lock::Timeout=300)
    # Lists that are absent or old lead to files that the mirror no longer has.
    if lists_are_stale; then "${as_root[@]}" -q update || fail "apt-get update failed: see the lines above, mend the package sources or the network, then call this again."; fi
    "${as_root[@]}" -q install --no-install-recommends "${missing[@]}" && return
    "${as_root[@]}" -q update && "${as_root[@]}" -q install --no-install-recommends "${missing[@]}" && return
    fail "apt-get could not install the packages: see the lines above, mend the package sources or the network, then call this again."
}

lists_are_stale() {
    [ -z "$(find /var/lib/apt/lists -maxdepth 1 -name '*_Packages*' -mtime -7 -print -quit 2> /dev/null)" ]
}
