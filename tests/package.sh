#!/usr/bin/env bash
# Makes the Debian package, unpacks it into an empty folder and tries what lies there; the folder may be moved.
# Usage: package.sh CPACK BUILD-FOLDER; exits 77 where the tools for packages are missing.
set -euo pipefail
cpack=$1
build=$2
for tool in dpkg dpkg-shlibdeps file gzip; do
  command -v $tool >/dev/null || { echo "no $tool" >&2; exit 77; }
done
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
failures=0
fail() {
  echo "$*" >&2
  failures=$((failures + 1))
}

"$cpack" -G DEB --config "$build/CPackConfig.cmake" -B "$folder" >"$folder/cpack.log" 2>&1 || { cat "$folder/cpack.log" >&2; exit 1; }
dpkg -x "$folder"/zsl-replay_*.deb "$folder/unpacked"
rm -rf "$folder/_CPack_Packages"

# replays BIN SHARE: from nowhere near the build folder, and from a log as well.
replays() {
  local chosen='chosen .*1204 1205 1207 1208 1209 1210' found
  cd /
  found=$("$1/zsl-replay" "$2/zsl-replay/cases/jump-shot.yaml" --log) || fail "$1: exit status $?"
  [[ $found =~ $chosen ]] || fail "$1: the jump shot differs: $found"
  found=$(grep -E '^[0-9]{2}-[0-9]{2} ' <<<"$found" | "$1/zsl-replay" -) || fail "$1: exit status $? from a log"
  [[ $found =~ $chosen ]] || fail "$1: the jump shot's log differs: $found"
  "$1/zsl-replay" "$2"/zsl-replay/cases/*.yaml >"$folder/cases.log" || fail "$1: $(<"$folder/cases.log")"
}
replays "$folder/unpacked/usr/bin" "$folder/unpacked/usr/share"
mv "$folder/unpacked/usr" "$folder/moved"
mkdir "$folder/bin"
ln -s ../moved/bin/zsl-replay "$folder/bin"
replays "$folder/bin" "$folder/moved/share"
leftover=$(grep -rlF "$build" "$folder/moved") && fail "paths into the build folder: $leftover"

options=$("$folder/bin/zsl-replay" --help | grep -oE '^ +-[^ ]+' | tr -d ' ' | tr ',' '\n')
[[ $(wc -l <<<"$options") -gt 10 ]] || fail "hardly an option in --help: $options"
source "$folder/moved/share/bash-completion/completions/zsl-replay"
# completed WORD...: what is offered for the last word
completed() {
  COMP_WORDS=("$folder/bin/zsl-replay" "$@") COMP_CWORD=$#
  _zsl_replay "$folder/bin/zsl-replay" "${@: -1}"
  printf '%s\n' "${COMPREPLY[@]}"
}
[[ $(completed - | sort) == "$(sort <<<"$options")" ]] || fail "completion offers $(completed -)"
[[ $(completed --exp) == --explain ]] || fail "completion of --exp: $(completed --exp)"
[[ $(completed --log off) == offline ]] || fail "completion of --log off: $(completed --log off)"
[[ $(completed "$folder/mov") == "$folder/moved" ]] || fail "completion of a file: $(completed "$folder/mov")"

if command -v help2man >/dev/null; then
  page=$(zcat "$folder/moved/share/man/man1/zsl-replay.1.gz" | sed 's/\\-/-/g; s/\\f.//g')
  for option in $options; do
    grep -qE -- "(^|,)$option\b" <<<"$page" || fail "the manual page lacks $option"
  done
fi
if command -v lintian >/dev/null; then
  lintian --allow-root --fail-on error "$folder"/zsl-replay_*.deb >"$folder/lintian.log" 2>&1 || fail "$(<"$folder/lintian.log")"
fi
exit $((failures > 0))
