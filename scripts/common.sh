# Sourced by all scripts. Makes them stop at errors, and changes to the root of the checkout, $root. A script's
# leading comment is its help.
set -euo pipefail

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

# Handles -h and --help; rejects other options and more than $1 arguments.
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

# Runs a command with its output in the log $1, which is shown if the command fails.
quietly() {
    local log=$1
    mkdir -p "${log%/*}"
    if ! "${@:2}" >"$log" 2>&1; then
        cat "$log" >&2
        echo "${script##*/}: failed; the output above is in $log" >&2
        return 1
    fi
}

# Builds the preset $1, or only the targets that --target NAME... after it names.
build() {
    quietly "build/$1.log" configure_and_build "$@"
}

configure_and_build() {
    cmake --preset "$1" && cmake --build --preset "$@"
}
