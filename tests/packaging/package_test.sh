#!/usr/bin/env bash
# The Debian package: built from the finished build folder, it holds every
# piece a desktop installation needs, declares its libraries, stays small,
# and its vandrel-cli runs from an unpacked copy.
#   package_test.sh BUILD_DIR VERSION
set -euo pipefail
build=$1
version=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
fail=0
check() {  # check WHAT COMMAND...
  local what=$1
  shift
  if ! "$@"; then
    echo "FAILED: $what"
    fail=1
  fi
}

cpack --config "$build/CPackConfig.cmake" -B "$scratch/out" >"$scratch/cpack.log" 2>&1 ||
  { cat "$scratch/cpack.log"; exit 1; }
deb="$scratch/out/vandrel_${version}_$(dpkg --print-architecture).deb"
[ -f "$deb" ] || { echo "no $deb"; ls "$scratch/out"; exit 1; }

size=$(stat -c %s "$deb")
echo "package: $(basename "$deb"), $((size / 1024)) KiB"
check "package under 10 MB" test "$size" -lt $((10 * 1024 * 1024))

dpkg-deb -c "$deb" | awk '{print $NF}' | sed 's|^\./|/|' >"$scratch/contents"
expected=(
  /usr/bin/vandrel /usr/bin/vandrel-cli
  /usr/share/applications/vandrel.desktop
  /usr/share/mime/packages/vandrel.xml
  /usr/share/metainfo/org.vandrel.Vandrel.metainfo.xml
  /usr/share/icons/hicolor/scalable/apps/vandrel.svg
  /usr/share/icons/hicolor/scalable/mimetypes/application-x-vandrel.svg
  /usr/share/doc/vandrel/Manual/HelpIndex.html
  /usr/share/doc/vandrel/copyright /usr/share/doc/vandrel/changelog.gz
  /usr/share/man/man1/vandrel.1.gz /usr/share/man/man1/vandrel-cli.1.gz
)
for size in 16 22 24 32 48 64 128 256; do
  expected+=("/usr/share/icons/hicolor/${size}x${size}/apps/vandrel.png")
done
for f in "${expected[@]}"; do
  check "$f in the package" grep -qxF "$f" "$scratch/contents"
done
# Nothing of the build's own: tests, tools, static libraries.
check "only /usr in the package" test -z "$(grep -v '^/usr' "$scratch/contents" | grep -v '^/$')"
check "no test or tool binaries" test -z "$(grep -E '_test$|render_icon|\.a$' "$scratch/contents")"

# Libraries come from the binaries (shlibdeps), with versions.
depends=$(dpkg-deb -f "$deb" Depends)
echo "Depends: $depends"
for lib in 'libqt6widgets6 (>=' 'libsndfile1 (>=' 'libc6 (>='; do
  check "depends on $lib" grep -qF "$lib" <<<"$depends"
done

root="$scratch/root"
dpkg -x "$deb" "$root"
cli="$root/usr/bin/vandrel-cli"
check "vandrel-cli --version" test "$("$cli" --version)" = "vandrel-cli $version"
check "vandrel-cli synth --default" "$cli" synth --default -o "$scratch/default.wav"
check "synthesized a WAV file" test "$(head -c 4 "$scratch/default.wav" 2>/dev/null)" = RIFF
check "binaries stripped" test -z "$(file "$cli" "$root/usr/bin/vandrel" | grep -v ', stripped')"

# The editor looks for its guide at ../share/doc/vandrel/Manual from its folder.
check "guide where the editor looks" test -f "$root/usr/bin/../share/doc/vandrel/Manual/HelpIndex.html"
man=$(gzip -dc "$root/usr/share/man/man1/vandrel-cli.1.gz")
check "man page from --help" grep -q 'synthesize parameter tables to WAV files' <<<"$man"
check "man page names its version" grep -qF "$version" <<<"$man"
for size in 16 256; do
  check "${size}px icon" grep -qF "${size} x ${size}" \
    <<<"$(file "$root/usr/share/icons/hicolor/${size}x${size}/apps/vandrel.png")"
done
if command -v appstreamcli >/dev/null; then
  check "AppStream metadata valid" appstreamcli validate --no-net \
    "$root/usr/share/metainfo/org.vandrel.Vandrel.metainfo.xml"
fi
exit $fail
