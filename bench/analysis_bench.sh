#!/usr/bin/env bash
# Times the analyses on a minute of natural speech, beside Praat on the same
# files in the same run, everything pinned to one core.
#
#   bench/analysis_bench.sh [BUILD_DIR]     (default: build)
#
# Needs sox, praat and pocketsphinx-testdata (Debian packages); the speech is
# the pocketsphinx test recordings joined (repeated) to 60 s and resampled to
# 11025 and 22050 Hz.
set -euo pipefail

here=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$here/build}
bench=$build/bench/analysis_bench
data=/usr/share/pocketsphinx/test/data
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

for tool in sox praat taskset; do
  command -v "$tool" >/dev/null || { echo "analysis_bench.sh: $tool is not installed" >&2; exit 1; }
done
[ -x "$bench" ] || { echo "analysis_bench.sh: build $bench first" >&2; exit 1; }
[ -d "$data" ] || { echo "analysis_bench.sh: pocketsphinx-testdata is not installed" >&2; exit 1; }

files=("$data"/librivox/*.wav "$data"/cards/*.wav)
for rate in 11025 22050; do
  sox "${files[@]}" "${files[@]}" "${files[@]}" -b 16 -c 1 "$work/speech-$rate.wav" gain -3 rate -h "$rate" trim 0 60
done

# Praat: the best of five runs of each analysis, timed inside the script so
# reading the file is not counted. Pitch with the same step and range as ours.
cat > "$work/time.praat" <<'PRAAT'
form args
  sentence file
endform
s = Read from file: file$
bestPitch = 1e9
bestSpec = 1e9
for run to 5
  selectObject: s
  stopwatch
  p = To Pitch (ac): 0.01, 50, 15, "no", 0.03, 0.45, 0.01, 0.35, 0.14, 500
  t = stopwatch
  bestPitch = min (bestPitch, t)
  removeObject: p
  selectObject: s
  stopwatch
  g = To Spectrogram: 0.005, 5000, 0.002, 20, "Gaussian"
  t = stopwatch
  bestSpec = min (bestSpec, t)
  removeObject: g
endfor
writeInfoLine: fixed$ (bestPitch * 1000, 1), " ", fixed$ (bestSpec * 1000, 1)
PRAAT

echo "Praat $(praat --version 2>/dev/null | head -1), best of 5, one core:"
for rate in 11025 22050; do
  read -r pitch spec < <(taskset -c 0 praat --run "$work/time.praat" "$work/speech-$rate.wav")
  printf '  %5d Hz: To Pitch (ac) %8s ms   To Spectrogram (2 ms step, 20 Hz bins) %8s ms\n' "$rate" "$pitch" "$spec"
done
echo
VANDREL_BENCH_SPEECH_11025="$work/speech-11025.wav" VANDREL_BENCH_SPEECH_22050="$work/speech-22050.wav" \
  taskset -c 0 "$bench" --benchmark_repetitions=3 --benchmark_report_aggregates_only=true
