# Shared by the scripts of this folder; sourced, not run.
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

# need_packages PACKAGE...: installs what is missing of these Debian packages, as root or through sudo; where neither is
# possible it prints the line to run and ends. Says nothing when all is there.
need_packages() {
    local missing=() package
    for package in "$@"; do
        [[ $(dpkg-query -W -f='${db:Status-Abbrev}' "$package" 2>/dev/null) == ii* ]] || missing+=("$package")
    done
    ((${#missing[@]})) || return 0
    local install="apt-get install -y --no-install-recommends ${missing[*]}"
    local become=()
    if [[ $(id -u) != 0 ]]; then
        if ! sudo -n true 2>/dev/null; then
            echo "Missing packages. Run:  sudo $install" >&2
            exit 1
        fi
        become=(sudo -n)
    fi
    echo "Installing: ${missing[*]}"
    local log
    log=$(mktemp)
    if ! { "${become[@]}" apt-get update && "${become[@]}" env DEBIAN_FRONTEND=noninteractive $install; } >"$log" 2>&1; then
        cat "$log" >&2
        echo "Could not install: ${missing[*]}" >&2
        exit 1
    fi
    rm -f "$log"
}

# build PRESET [CMAKE-OPTION...] [-- TARGET...]: configures a preset when it is not yet, and builds it. Prints only what went
# wrong, and a line while there is something to do.
build() {
    local preset=$1 options=() log
    shift
    while (($#)) && [[ $1 != -- ]]; do
        options+=("$1")
        shift
    done
    (($#)) && shift
    mkdir -p "$root/build"
    log=$root/build/$preset.log
    # The name of the folder may have changed since (a moved checkout): CMake refuses, so begin anew.
    if [[ -e $root/build/$preset/CMakeCache.txt ]] && ! grep -qxF "CMAKE_HOME_DIRECTORY:INTERNAL=$root" "$root/build/$preset/CMakeCache.txt"; then
        rm -rf "$root/build/$preset"
    fi
    if [[ ! -e $root/build/$preset/build.ninja || $root/CMakePresets.json -nt $root/build/$preset/CMakeCache.txt ]]; then
        if ! (cd "$root" && cmake --preset "$preset" "${options[@]}") >"$log" 2>&1; then
            cat "$log" >&2
            echo "Configuring $preset failed." >&2
            exit 1
        fi
    fi
    if [[ $(ninja -C "$root/build/$preset" -n "$@" 2>/dev/null) != *"no work to do"* ]]; then
        echo "Building $preset ..."
        if ! ninja -C "$root/build/$preset" "$@" >"$log" 2>&1; then
            grep -vE '^\[[0-9]+/[0-9]+\]' "$log" >&2
            echo "Building $preset failed." >&2
            exit 1
        fi
    fi
}
