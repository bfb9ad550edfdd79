#include <unistd.h>

#include <cstdio>
#include <string>

#include "CliSupport.h"
#include "Commands.h"
#include "SndfileDecoder.h"
#include "batch/CopyIntoDocument.h"
#include "batch/CopySynthesis.h"
#include "document/OpenFile.h"
#include "document/VandrelDoc.h"
#include "document/VdrFile.h"
#include "labels/TextGrid.h"

namespace vandrel::cli {

const char* const kCopyHelp =
    "usage: vandrel-cli copy AUDIO -o OUT.vdr [--interval MS] [--rate 11025|22050]\n"
    "                        [--tolerances F0,FORMANT,BANDWIDTH,AMPLITUDE]\n"
    "                        [--textgrid FILE] [--quiet]\n"
    "\n"
    "Copy synthesis: a parameter table that imitates a recording, with anchor\n"
    "cells only where its tracks bend.\n"
    "\n"
    "The recording (any file the audio decoder reads, analysed at its own\n"
    "rate) gives, per frame: f0 from the autocorrelation pitch track, tracked\n"
    "again within the speaker's range (0.75 x the first quartile to 1.5 x\n"
    "the third) and taken one period later (a synthesized period takes the\n"
    "f0 of the frame it starts in and is heard about a period later; 0 and\n"
    "av 0 where unvoiced); f1..f5 and b1..b5 from the formant tracks (a\n"
    "voiced frame's b2 at most 400 Hz, so that F2 keeps a peak); av from\n"
    "the level of voiced frames; af (frication) or ah (aspiration) from the\n"
    "level above 2.5 kHz in unvoiced frames; ab and a1f..a6f where there\n"
    "is noise, fitted so that the parallel branch gives the noise the\n"
    "recording's spectral shape; oq from the open quotient of the glottal\n"
    "pulse that fits the harmonics. Values are held to their limits. The\n"
    "amplitudes, and the tilt tl where voiced, are then matched to the\n"
    "recording's level and brightness by synthesizing the table and\n"
    "comparing frame by frame. Then, in voiced frames, the tilt is chosen\n"
    "among a few values by synthesizing the table with each and keeping,\n"
    "per frame, the one whose spectral envelope (24 mel bands, over the\n"
    "frame and its neighbours) comes closest to the recording's; in\n"
    "aspiration away from voicing, b1 widened or f1 at 200 Hz, chosen the\n"
    "same way. On a high voice (a fifth or more of the voiced frames above\n"
    "150 Hz), F1 and F2 are then moved until the copy, synthesized and\n"
    "analysed again, reads them where the recording reads them.\n"
    "\n"
    "Each of those rows is then simplified (Ramer-Douglas-Peucker) to the\n"
    "fewest anchors whose straight lines stay, in the units a listener\n"
    "hears, within 0.5 semitone of f0, 0.3 Bark of a formant, a third of a\n"
    "bandwidth (0.3 in ln B) and 2 dB of an amplitude; a row that would\n"
    "still hold more than 35% of its frames as anchors gets wider\n"
    "tolerances. The anchors of formants and bandwidths then take the\n"
    "values whose lines come closest (least squares) to all the row's\n"
    "frames, and those of the parallel amplitudes the values whose lines\n"
    "best match the shape of the recording's noise, frame by frame. The\n"
    "frames between anchors are refilled by the editor's Interpolate All.\n"
    "When the thinned copy's spectral distance to the\n"
    "recording (the median over its frames of the fit meter's LPC envelope\n"
    "distance) exceeds the dense copy's by more than 0.5 dB, the tolerances\n"
    "are narrowed and the rows thinned again. It prints how many anchors\n"
    "each row got and the copy's distance to the recording.\n"
    "\n"
    "  -o, --output F   the parameter file to write (all parameters), replaced\n"
    "                   atomically\n"
    "  --interval MS    frame interval, 1..100 ms (10)\n"
    "  --rate R         synthesis rate: 11025 (default) or 22050, which shows\n"
    "                   f6 and so synthesizes eight cascade formants\n"
    "  --tolerances T   the four tolerances: semitones, Bark, ln B and dB\n"
    "                   (0.5,0.3,0.3,2);\n"
    "                   wider ones give fewer anchors (oq keeps 2 samples)\n"
    "  --textgrid FILE  the recording's labels (a Praat TextGrid), when they\n"
    "                   are not beside it as AUDIO's name with .TextGrid;\n"
    "                   they are written beside the table as OUT.TextGrid\n"
    "  --quiet          print nothing on success (and no progress on a\n"
    "                   terminal)\n"
    "\n"
    "Exit codes: 0 success, 1 an unreadable, unusable or too short recording,\n"
    "labels that cannot be read, or an output that cannot be written (nothing\n"
    "is left behind), 2 bad options.\n";

int copyCommand(const Args& args) {
  constexpr const char* kCmd = "copy";
  std::string input, output, textgrid;
  CopySettings settings;
  bool quiet = false;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (a == "--quiet") {
      quiet = true;
    } else if (a == "--textgrid") {
      if (i + 1 >= args.size()) return complain(kExitOptions, kCmd, "%s needs a value", a.c_str());
      textgrid = args[++i];
    } else if (a == "-o" || a == "--output" || a == "--interval" || a == "--rate" || a == "--tolerances") {
      if (i + 1 >= args.size()) return complain(kExitOptions, kCmd, "%s needs a value", a.c_str());
      const std::string& v = args[++i];
      long n = 0;
      if (a == "--interval") {
        if (!parseInt(v, 1, 100, n))
          return complain(kExitOptions, kCmd, "--interval wants a whole number of ms from 1 to 100, not '%s'",
                          v.c_str());
        settings.intervalMs = static_cast<int>(n);
      } else if (a == "--tolerances") {
        double t[4];
        char tail = 0;
        if (std::sscanf(v.c_str(), "%lf,%lf,%lf,%lf%c", &t[0], &t[1], &t[2], &t[3], &tail) != 4 ||
            !(t[0] >= 0 && t[1] >= 0 && t[2] >= 0 && t[3] >= 0 && t[0] + t[1] + t[2] + t[3] < 1e6))
          return complain(
              kExitOptions, kCmd,
              "--tolerances wants four numbers 0 or more, F0,FORMANT,BANDWIDTH,AMPLITUDE, not '%s'",
              v.c_str());
        settings.tolerances.f0Semitones = t[0];
        settings.tolerances.formantBark = t[1];
        settings.tolerances.bandwidthRatio = t[2];
        settings.tolerances.amplitudeDb = t[3];
      } else if (a == "--rate") {
        if (v != "11025" && v != "22050")
          return complain(kExitOptions, kCmd, "--rate wants 11025 or 22050, not '%s'", v.c_str());
        settings.sampleRate = std::stoi(v);
      } else {
        output = v;
      }
    } else if (!a.empty() && a[0] != '-' && input.empty()) {
      input = a;
    } else {
      return complain(kExitOptions, kCmd, "unknown option or extra file '%s' (try --help)", a.c_str());
    }
  }
  if (input.empty()) return complain(kExitOptions, kCmd, "name the recording to copy (try --help)");
  if (output.empty()) return complain(kExitOptions, kCmd, "name the table to write with -o OUT.vdr");
  if (InputFiles({input}).wouldOverwrite(output))
    return complain(kExitOptions, kCmd, "%s would be written over the recording", output.c_str());

  if (textgrid.empty()) textgrid = findSidecar(input);
  TextGridRead labels;
  if (!textgrid.empty()) {
    labels = readTextGridFile(textgrid);
    if (!labels.ok()) return complain(kExitInput, kCmd, "%s", labels.message.c_str());
    if (InputFiles({textgrid}).wouldOverwrite(sidecarPath(output)))
      return complain(kExitOptions, kCmd, "%s would be written over the labels", sidecarPath(output).c_str());
  }
  const OpenedFile f = readAudioFile(input, sndfileDecoder());
  if (!f.ok()) {
    const std::string why = f.detail.empty() || f.detail == f.message ? "" : " (" + f.detail + ")";
    return complain(kExitInput, kCmd, "%s: %s%s", input.c_str(), f.message.c_str(), why.c_str());
  }
  CVandrelDoc doc;
  // On a terminal a long copy (a minute of a high voice takes seconds, an
  // hour a quarter of an hour) shows how far it is, on one line that goes
  // when it ends; to a file or a pipe nothing is written.
  const bool showProgress = !quiet && ::isatty(2) == 1;
  int shown = -1;
  const auto progress = [&](int percent) {
    if (!showProgress || percent == shown) return;
    shown = percent;
    std::fprintf(stderr, "\rvandrel-cli copy: %s: %d%%", input.c_str(), percent);
    std::fflush(stderr);
  };
  const CopyResult r = copySynthesis(f.audio, settings, doc, progress);
  if (shown >= 0) std::fputs("\r\033[K", stderr);
  if (r.status != CopyResult::Status::kOk)
    return complain(kExitInput, kCmd, "%s: %s", input.c_str(), r.message.c_str());
  OutputSet out(writeOptions());
  if (const std::string err = out.add(output, writeVdr(doc, VdrKind::kAllParameters)); !err.empty())
    return complain(kExitInput, kCmd, "%s", explained(err).c_str());
  if (!textgrid.empty())
    if (const std::string err = out.add(sidecarPath(output), writeTextGrid(labels.labels)); !err.empty())
      return complain(kExitInput, kCmd, "%s", explained(err).c_str());
  if (const std::string err = out.commit(); !err.empty())
    return complain(kExitInput, kCmd, "%s", explained(err).c_str());
  if (quiet) return kExitOk;
  int total = 0;
  for (int n : r.anchors) total += n;
  std::printf("wrote %s: %d frames of %d ms, %d voiced, %d anchors\n", output.c_str(), r.frames,
              settings.intervalMs, r.voicedFrames, total);
  std::printf("%s\n", copyReport(r).c_str());
  std::printf("row\tanchors\n");
  for (std::size_t k = 0; k < r.anchors.size(); ++k)
    std::printf("%s\t%d\n", builtinParams()[static_cast<std::size_t>(copiedRows()[k])].name.data(),
                r.anchors[k]);
  return kExitOk;
}

}  // namespace vandrel::cli
