# What the scripts begin with: they go to the root of the checkout, $root, and their head is their help.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
script=$root/scripts/${BASH_SOURCE[1]##*/}
cd "$root"

usage() {
    awk 'NR > 1 { if (!/^#/) exit; sub(/^# ?/, ""); print }' "$script"
}

misused() {
    usage >&2
    exit 2
}

# Answers -h and --help, and refuses other options and more arguments than $1.
take_arguments() {
    local argument
    for argument in "${@:2}"; do
        case $argument in
        -h | --help) usage && exit 0 ;;
        -?*) misused ;;
        esac
    done
    [[ $(($# - 1)) -le $1 ]] || misused
}

# Runs a command; what it says goes into the log $1, and is shown when it fails.
quietly() {
    local log=$1
    mkdir -p "${log%/*}"
    if ! "${@:2}" >"$log" 2>&1; then
        cat "$log" >&2
        return 1
    fi
}

# Builds the preset $1, or of it what follows: --target NAME.
build() {
    quietly "build/$1.log" configure_and_build "$@" || {
        echo "${script##*/}: the build of $1 failed (build/$1.log)" >&2
        return 1
    }
}

configure_and_build() {
    cmake --preset "$1" && cmake --build --preset "$@"
}

# The first of these commands that is there.
first_of() {
    local name
    for name in "$@"; do
        if command -v "$name" >/dev/null; then
            echo "$name"
            return
        fi
    done
    echo "$1"
}
