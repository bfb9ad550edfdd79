#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string>

#include "CliSupport.h"
#include "Commands.h"
#include "SndfileDecoder.h"
#include "analysis/AnalysisOptions.h"
#include "analysis/AnalysisTracks.h"
#include "analysis/PitchTrack.h"
#include "analysis/Spectrogram.h"
#include "document/OpenFile.h"

namespace vandrel::cli {

const char* const kAnalyseHelp =
    "usage: vandrel-cli analyse AUDIO [--pitch] [--formants] [options] [-o OUT.tsv]\n"
    "\n"
    "Tracks the pitch and the five lowest formants of a recording, as the\n"
    "editor's spectrogram/pitch view does, and prints them as tab-separated\n"
    "values with a header row: time_ms, f0, f1 .. f5. There is one row per\n"
    "pitch frame; the formants come from a formant-tracking spectrogram with\n"
    "one column per pitch frame, so the two line up. 0 means no value (an\n"
    "unvoiced frame, or no formant found). time_ms is the frame's start.\n"
    "With --tracked the formants are estimated for copying instead, and\n"
    "b1 .. b5 (their bandwidths, Hz) follow f1 .. f5.\n"
    "\n"
    "AUDIO is a 16-bit mono PCM WAV file, or any other file the audio decoder\n"
    "reads (converted to 16-bit mono at its own rate).\n"
    "\n"
    "  --pitch          print the f0 column\n"
    "  --formants       print the f1 .. f5 columns (both when neither is given)\n"
    "  --method M       pitch method: cepstral (the default, as the editor's\n"
    "                   default) or ac (autocorrelation, best path through the\n"
    "                   candidates; --deviation and --threshold do not apply)\n"
    "  --tracked        formants that hold on high voices too: LPC paths under\n"
    "                   five vocal-tract lengths (ceilings 4500..6500 Hz), the\n"
    "                   one that fits the harmonics best and runs smoothest,\n"
    "                   refined where voiced by fitting the synthesizer's\n"
    "                   resonators to the harmonics; each frame measures the\n"
    "                   middle of a 25 ms window from its start; with b1 .. b5.\n"
    "                   --size, --preemph and --lpc-order do not apply\n"
    "  -o, --output F   write to F instead of standard output\n"
    "\n"
    "Pitch options (defaults as in the editor's pitch options):\n"
    "  --window-ms N    analysis window, ms (35); at most 4096 samples, longer\n"
    "                   windows are shortened with a note\n"
    "  --step-ms N      frame step, ms (10)\n"
    "  --deviation N    largest jump to a neighbouring frame, Hz (100)\n"
    "  --threshold N    voicing threshold, % of the loudest frame's energy (1)\n"
    "  --fmin N         lowest f0 searched, Hz (50)\n"
    "  --fmax N         highest f0 searched, Hz (500)\n"
    "\n"
    "Formant options (defaults as in the editor's spectrogram options, from\n"
    "the file's rate):\n"
    "  --size N         FFT analysis size, points: 32, 64, 128, 256 or 512 (64)\n"
    "  --preemph X      pre-emphasis coefficient 0..1, 0 adds nothing (0.98)\n"
    "  --lpc-order N    formant-tracking LPC coefficients; rounded down to even,\n"
    "                   at most 400 (2 x (2 + fs/2000), e.g. 14 at 11025 Hz,\n"
    "                   20 at 16000 Hz). It is also the LPC frame length in ms.\n"
    "\n"
    "Errors go to standard error with a non-zero exit: 1 for a file that cannot\n"
    "be read or is too short (a pitch track needs 1100 samples), 2 for bad\n"
    "options.\n";

namespace {

bool parseInt(const std::string& s, int& out) {
  if (s.empty()) return false;
  errno = 0;
  char* end = nullptr;
  const long v = std::strtol(s.c_str(), &end, 10);
  if (*end != '\0' || errno == ERANGE || v < -1000000000L || v > 1000000000L) return false;
  out = static_cast<int>(v);
  return true;
}

bool parseDouble(const std::string& s, double& out) {
  if (s.empty()) return false;
  char* end = nullptr;
  const double v = std::strtod(s.c_str(), &end);
  if (*end != '\0' || !std::isfinite(v)) return false;
  out = v;
  return true;
}

int fail(const char* fmt, const std::string& a, const std::string& b = {}) {
  std::fputs("vandrel-cli analyse: ", stderr);
  std::fprintf(stderr, fmt, a.c_str(), b.c_str());
  std::fputc('\n', stderr);
  return 2;
}

}  // namespace

int analyseCommand(const Args& args) {
  bool wantPitch = false;
  bool wantFormants = false;
  std::string input;
  std::string output;
  COptionPitch pitch;
  int size = -1;
  double preemph = -1.0;
  int lpcOrder = -1;
  PitchMethod method = PitchMethod::kCepstral;
  bool tracked = false;

  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (a == "--pitch") {
      wantPitch = true;
      continue;
    }
    if (a == "--formants") {
      wantFormants = true;
      continue;
    }
    if (a == "--tracked") {
      tracked = true;
      continue;
    }
    if (a.size() > 1 && a[0] == '-') {
      if (i + 1 >= args.size()) return fail("%s needs a value", a);
      const std::string& v = args[++i];
      int* intField = a == "--window-ms"   ? &pitch.windowMs
                      : a == "--step-ms"   ? &pitch.stepMs
                      : a == "--deviation" ? &pitch.deviationHz
                      : a == "--threshold" ? &pitch.thresholdPercent
                      : a == "--fmin"      ? &pitch.calcLowHz
                      : a == "--fmax"      ? &pitch.calcHighHz
                      : a == "--size"      ? &size
                      : a == "--lpc-order" ? &lpcOrder
                                           : nullptr;
      if (intField != nullptr) {
        if (!parseInt(v, *intField)) return fail("%s wants a whole number, not '%s'", a, v);
      } else if (a == "--preemph") {
        if (!parseDouble(v, preemph) || preemph < 0.0 || preemph > 1.0)
          return fail("%s wants a number from 0 to 1, not '%s'", a, v);
      } else if (a == "--method") {
        if (v == "cepstral") {
          method = PitchMethod::kCepstral;
        } else if (v == "ac") {
          method = PitchMethod::kAutocorrelation;
        } else {
          return fail("--method wants cepstral or ac, not '%s'", v);
        }
      } else if (a == "-o" || a == "--output") {
        output = v;
      } else {
        return fail("unknown option '%s' (try --help)", a);
      }
      continue;
    }
    if (!input.empty()) return fail("one audio file at a time ('%s' and '%s')", input, a);
    input = a;
  }
  if (!wantPitch && !wantFormants) wantPitch = wantFormants = true;
  if (input.empty()) return fail("name the audio file to analyse (try --help)", {});

  if (pitch.windowMs < 1) return fail("--window-ms must be 1 or more", {});
  if (pitch.stepMs < 1) return fail("--step-ms must be 1 or more", {});
  if (pitch.deviationHz < 0) return fail("--deviation must not be negative", {});
  if (pitch.thresholdPercent < 0) return fail("--threshold must not be negative", {});
  if (pitch.calcLowHz < 1 || pitch.calcHighHz <= pitch.calcLowHz)
    return fail("--fmin must be 1 Hz or more and below --fmax", {});
  if (size != -1 && size != 32 && size != 64 && size != 128 && size != 256 && size != 512)
    return fail("--size must be 32, 64, 128, 256 or 512, not %s", std::to_string(size));
  if (lpcOrder != -1 && (lpcOrder < 2 || lpcOrder > 100000))
    return fail("--lpc-order must be 2 or more, not %s", std::to_string(lpcOrder));

  const OpenedFile f = readAudioFile(input, sndfileDecoder());
  if (!f.ok()) {
    std::fprintf(stderr, "vandrel-cli analyse: %s: %s\n", input.c_str(), f.message.c_str());
    if (!f.detail.empty() && f.detail != f.message) std::fprintf(stderr, "  (%s)\n", f.detail.c_str());
    return 1;
  }
  const SampleSet& audio = f.audio;
  const double fs = audio.sampleRate;
  if (audio.samples.size() < static_cast<std::size_t>(CPitchTracker::kMinSamples)) {
    std::fprintf(stderr,
                 "vandrel-cli analyse: %s: too short to analyse (%zu samples; a pitch track needs %d)\n",
                 input.c_str(), audio.samples.size(), CPitchTracker::kMinSamples);
    return 1;
  }

  const int windowAsked = pitch.windowMs;
  const PitchTrackResult track = computePitchTrack(audio.samples, fs, pitch, method);
  if (track.status == PitchTrackResult::Status::kTooShort) {
    std::fprintf(stderr, "vandrel-cli analyse: %s: too short for a pitch window of %d samples\n",
                 input.c_str(), track.windowSamples);
    return 1;
  }
  if (track.status == PitchTrackResult::Status::kNoMemory) throw std::bad_alloc();  // said by main
  if (track.status != PitchTrackResult::Status::kOk) {
    std::fprintf(stderr,
                 "vandrel-cli analyse: %s: the pitch track could not be computed with these options\n",
                 input.c_str());
    return 1;
  }
  if (pitch.windowMs != windowAsked)
    std::fprintf(stderr, "vandrel-cli analyse: the window is shortened to %d ms (4096 samples at most)\n",
                 pitch.windowMs);
  const std::vector<double>& f0 = track.f0;

  auto spectrogram = std::make_unique<CSpectrogram>();
  FormantTrackResult formants;
  if (wantFormants && !f0.empty() && tracked) {
    formants = computeFormantTracks(
        audio.samples, fs, FormantTrackSettings::forFrames(static_cast<int>(f0.size()), track.stepSamples));
    if (formants.status == FormantTrackResult::Status::kNoMemory) throw std::bad_alloc();
    if (formants.status != FormantTrackResult::Status::kOk) {
      std::fprintf(stderr, "vandrel-cli analyse: %s: the formant tracks could not be computed\n",
                   input.c_str());
      return 1;
    }
  } else if (wantFormants && !f0.empty()) {
    COptionSpectrogram so(fs);
    if (size != -1) so.selectSize(static_cast<int>(std::log2(size)) - 5);
    if (preemph >= 0.0) so.preEmphasis = preemph;
    if (lpcOrder != -1) so.formantCoefficients = COptionSpectrogram::acceptFormantCoefficients(lpcOrder);
    so.displayFormants = true;
    // One row is enough: only the formant tracks are printed.
    const SpectrogramSettings settings = SpectrogramSettings::from(so, static_cast<int>(f0.size()), 1);
    const CSpectrogram::Status status = spectrogram->compute(audio.samples, fs, settings);
    if (status == CSpectrogram::Status::kNoMemory) throw std::bad_alloc();
    if (status != CSpectrogram::Status::kOk || !spectrogram->formantsComputed()) {
      std::fprintf(stderr, "vandrel-cli analyse: %s: the formant tracks could not be computed\n",
                   input.c_str());
      return 1;
    }
  }

  // The whole table first: a file is replaced in one piece or not at all.
  std::string o = "time_ms";
  if (wantPitch) o += "\tf0";
  if (wantFormants) o += "\tf1\tf2\tf3\tf4\tf5";
  if (wantFormants && tracked) o += "\tb1\tb2\tb3\tb4\tb5";
  o += '\n';
  char cell[40];
  const auto put = [&](const char* fmt, auto v) {
    std::snprintf(cell, sizeof cell, fmt, v);
    o += cell;
  };
  for (std::size_t i = 0; i < f0.size(); ++i) {
    put("%zu", i * static_cast<std::size_t>(pitch.stepMs));
    if (wantPitch) put("\t%.6g", f0[i]);
    if (wantFormants && tracked) {
      for (double v : formants.frequency[i]) put("\t%.0f", v);
      for (double v : formants.bandwidth[i]) put("\t%.0f", v);
    } else if (wantFormants) {
      const auto& fm = spectrogram->formants()[i];
      for (auto v : fm) put("\t%d", static_cast<int>(v));
    }
    o += '\n';
  }
  if (!output.empty()) {
    if (const std::string err = writeFileAtomically(output, o, writeOptions()); !err.empty()) {
      std::fprintf(stderr, "vandrel-cli analyse: %s\n", explained(err).c_str());
      return 1;
    }
  } else if (std::fwrite(o.data(), 1, o.size(), stdout) != o.size() || std::fflush(stdout) != 0) {
    std::fprintf(stderr, "vandrel-cli analyse: writing the output failed: %s\n", std::strerror(errno));
    return 1;
  }
  return 0;
}

}  // namespace vandrel::cli
