# Functions shared by the scripts in this folder. Sourced, not run.
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

# need_packages PACKAGE...: installs the Debian packages that are missing, as root or through sudo. Without either it prints the
# command to run and exits. Prints nothing when no package is missing.
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

# show_progress LABEL: reads the output of ninja and shows its progress: on a terminal in one line that is overwritten,
# otherwise in one line for each tenth of the work.
show_progress() {
    local line done_steps all_steps tenths=0
    while IFS= read -r line; do
        [[ $line =~ ^\[([0-9]+)/([0-9]+)\] ]] || continue
        done_steps=${BASH_REMATCH[1]}
        all_steps=${BASH_REMATCH[2]}
        if [[ -t 1 ]]; then
            printf '\r%s: %d of %d' "$1" "$done_steps" "$all_steps"
            ((done_steps < all_steps)) || echo
        elif ((10 * done_steps / all_steps > tenths)); then
            tenths=$((10 * done_steps / all_steps))
            echo "$1: $done_steps of $all_steps"
        fi
    done
}

# build PRESET [CMAKE-OPTION...] [-- TARGET...]: configures a preset if necessary, and builds it. Shows the progress; the
# output of the tools is printed only if a step fails.
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
    # CMake refuses a build folder of a checkout that was moved: start again.
    if [[ -e $root/build/$preset/CMakeCache.txt ]] && ! grep -qxF "CMAKE_HOME_DIRECTORY:INTERNAL=$root" "$root/build/$preset/CMakeCache.txt"; then
        rm -rf "$root/build/$preset"
    fi
    if [[ ! -e $root/build/$preset/build.ninja || $root/CMakePresets.json -nt $root/build/$preset/CMakeCache.txt ]]; then
        echo "Configuring $preset"
        if ! (cd "$root" && cmake --preset "$preset" "${options[@]}") >"$log" 2>&1; then
            cat "$log" >&2
            echo "Configuring $preset failed." >&2
            exit 1
        fi
    fi
    if [[ $(ninja -C "$root/build/$preset" -n "$@" 2>/dev/null) != *"no work to do"* ]]; then
        if ! ninja -C "$root/build/$preset" "$@" 2>&1 | tee "$log" | show_progress "Building $preset"; then
            grep -vE '^\[[0-9]+/[0-9]+\]' "$log" >&2
            echo "Building $preset failed." >&2
            exit 1
        fi
    fi
}
