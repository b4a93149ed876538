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
    local terminal=0
    [[ ! -t 1 ]] || terminal=1
    awk -v label="$1" -v terminal="$terminal" '
        match($0, /^\[[0-9]+\/[0-9]+\]/) {
            split(substr($0, 2, RLENGTH - 2), step, "/")
            if (terminal) {
                printf "\r%s: %d of %d", label, step[1], step[2]
            } else if (int(10 * step[1] / step[2]) > tenths) {
                tenths = int(10 * step[1] / step[2])
                printf "%s: %d of %d\n", label, step[1], step[2]
            }
            shown = 1
            fflush()
        }
        END { if (terminal && shown) printf "\n" }'
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
