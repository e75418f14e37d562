#!/usr/bin/env bash
# Checks the tree without running it: format, clang-tidy (see .clang-tidy), cppcheck, the device build's file.
# Takes one argument, a build folder with a compile_commands.json; without it, configures build-dev.
set -u
cd "$(dirname "$0")/.."
build=${1:-build-dev}
[ -f "$build/compile_commands.json" ] || cmake --preset dev -B "$build" >/dev/null || exit 2

failed=0
check() {
    local name=$1
    shift
    if "$@"; then echo "ok      $name"; else echo "FAILED  $name"; failed=1; fi
}
optional() { if command -v "$2" >/dev/null; then check "$1" "$3"; else echo "skipped $1: no $2 here"; fi }

# The checkout may belong to somebody else, as in a container.
files() { git -c safe.directory="$PWD" ls-files "$@"; }
mapfile -t sources < <(files '*.cpp' '*.h')
[ ${#sources[@]} -gt 0 ] || exit 2
# What the compilation database knows, so that every file is read with its own flags.
mapfile -t units < <(files '*.cpp' | while read -r file; do
    grep -qF "$PWD/$file\"" "$build/compile_commands.json" && echo "$file"
done)
tidy() { printf '%s\n' "${units[@]}" | xargs -P "$(nproc)" -n 4 clang-tidy -p "$build" --quiet 2>/dev/null; }
format_blueprint() { local told; told=$(bpfmt -l Android.bp 2>&1) && [ -z "$told" ] || { echo "$told"; return 1; }; }

check clang-format clang-format --dry-run --Werror "${sources[@]}"
check clang-tidy tidy
# passedByValue: handles and source positions go by value on purpose. ctuOneDefinitionRuleViolation: one test is a core
# with declarations of its own. throwInNoexceptFunction: takes a function's address for a call.
check cppcheck cppcheck --quiet --std=c++17 --language=c++ --enable=warning,performance,portability \
    --suppress=passedByValue --suppress=ctuOneDefinitionRuleViolation --suppress=throwInNoexceptFunction \
    --error-exitcode=1 --library=googletest -I . -I host/include "${units[@]}"
optional blueprint bpfmt format_blueprint
exit $failed
