#!/usr/bin/env bash
# Times the analyses on a minute of natural speech, beside Praat on the same
# files in the same run, everything pinned to one core; then compares the
# autocorrelation pitch track with Praat's on each test recording.
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
cli=$build/src/cli/vandrel-cli
data=/usr/share/pocketsphinx/test/data
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

for tool in sox praat taskset; do
  command -v "$tool" >/dev/null || { echo "analysis_bench.sh: $tool is not installed" >&2; exit 1; }
done
[ -x "$bench" ] && [ -x "$cli" ] || { echo "analysis_bench.sh: build $bench and $cli first" >&2; exit 1; }
[ -d "$data" ] || { echo "analysis_bench.sh: pocketsphinx-testdata is not installed" >&2; exit 1; }

files=("$data"/librivox/*.wav "$data"/cards/*.wav)
for rate in 11025 22050; do
  sox "${files[@]}" "${files[@]}" "${files[@]}" -b 16 -c 1 "$work/speech-$rate.wav" gain -3 rate -h "$rate" trim 0 60
done

# Praat: each analysis run five times in one process. The wall time is the
# best single run (timed inside the script, so reading the file is not
# counted); the CPU time is the process's user + system time less that of a
# run that only reads the file, divided by five: on a busy machine this is
# the figure to set beside the benchmarks' CPU column.
cat > "$work/time.praat" <<'PRAAT'
form args
  sentence file
  word what
  integer runs
endform
s = Read from file: file$
best = 1e9
for run to runs
  selectObject: s
  stopwatch
  if what$ = "pitch"
    r = To Pitch (ac): 0.01, 50, 15, "no", 0.03, 0.45, 0.01, 0.35, 0.14, 500
  elsif what$ = "formants"
    f = To Formant (burg): 0.01, 5, 5500, 0.025, 50
    r = Track: 3, 550, 1650, 2750, 3850, 4950, 1, 1, 1
    removeObject: f
  else
    r = To Spectrogram: 0.005, 5000, 0.002, 20, "Gaussian"
  endif
  t = stopwatch
  best = min (best, t)
  removeObject: r
endfor
writeInfoLine: fixed$ (best * 1000, 1)
PRAAT

# Runs praat once; sets $wall (its output) and $cpums (user + system, ms).
run_praat() {
  local TIMEFORMAT='%3U %3S'
  { time taskset -c 0 praat --run "$work/time.praat" "$@" >"$work/out" 2>/dev/null; } 2>"$work/time"
  wall=$(cat "$work/out")
  cpums=$(awk '{printf "%.0f", ($1 + $2) * 1000}' "$work/time")
}

echo "Praat $(praat --version 2>/dev/null | head -1), one core, 5 runs each:"
for rate in 11025 22050; do
  f="$work/speech-$rate.wav"
  run_praat "$f" pitch 0
  base=$cpums
  for what in pitch formants spectrogram; do
    run_praat "$f" "$what" 5
    printf '  %5d Hz %-12s best wall %8s ms   CPU %6.1f ms per run\n' "$rate" "$what" "$wall" \
      "$(echo "($cpums - $base) / 5" | bc -l)"
  done
done
echo "  (pitch: To Pitch (ac), 10 ms step, 50-500 Hz; formants: To Formant (burg), 10 ms step, 5 formants"
echo "   up to 5500 Hz, 25 ms, then Track with 3 tracks; spectrogram: To Spectrogram, 5 ms window, 2 ms step, 20 Hz bins)"
echo
VANDREL_BENCH_SPEECH_11025="$work/speech-11025.wav" VANDREL_BENCH_SPEECH_22050="$work/speech-22050.wav" \
  taskset -c 0 "$bench" --benchmark_repetitions=3 --benchmark_report_aggregates_only=true

# Agreement of the autocorrelation pitch with Praat's To Pitch (ac), same
# settings (10 ms, 50-500 Hz), on each recording at its own rate. Praat's
# track is read at the centre of each of our frames (start + 30 ms, half the
# window of three periods of 50 Hz): linear between its two neighbouring
# frames when both are voiced, else the nearer one.
cat > "$work/pitch.praat" <<'PRAAT'
form args
  sentence file
endform
s = Read from file: file$
p = To Pitch (ac): 0.01, 50, 15, "no", 0.03, 0.45, 0.01, 0.35, 0.14, 500
n = Get number of frames
for i to n
  t = Get time from frame number: i
  f = Get value in frame: i, "Hertz"
  if f = undefined
    f = 0
  endif
  appendInfoLine: fixed$ (t, 4), tab$, fixed$ (f, 3)
endfor
PRAAT
echo
echo "Autocorrelation pitch against Praat (targets: v/uv equal >= 90%, f0 within 3% on >= 95% of frames both voice):"
for f in "${files[@]}"; do
  praat --run "$work/pitch.praat" "$f" >"$work/praat.tsv"
  "$cli" analyse "$f" --pitch --method ac -o "$work/ours.tsv"
  printf '  %-48s %s\n' "$(basename "$f")" "$(awk -v half=0.030 -v dt=0.01 '
    NR == FNR { t[FNR] = $1; f[FNR] = $2; n = FNR; next }
    FNR > 1 {
      tc = $1 / 1000 + half; j = int((tc - t[1]) / dt) + 1; if (j < 1 || j >= n) next
      u = (tc - t[j]) / dt
      p = (f[j] > 0 && f[j + 1] > 0) ? f[j] + u * (f[j + 1] - f[j]) : (u < 0.5 ? f[j] : f[j + 1])
      tot++; a = ($2 > 0); b = (p > 0); if (a == b) same++
      if (a && b) { both++; r = $2 / p; if (r > 0.97 && r < 1.03) near++ }
    }
    END { printf "frames %4d  v/uv equal %5.1f%%  both voiced %4d  f0 within 3%% %5.1f%%", tot, 100 * same / tot, both, both ? 100 * near / both : 0 }
  ' "$work/praat.tsv" "$work/ours.tsv")"
done
