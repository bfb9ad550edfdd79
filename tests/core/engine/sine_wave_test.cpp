// Sine-wave replicas: tones at the formants, as loud as the table makes
// each formant, silent without a source, never clipping, never clicking.

#include "editing/EditTransaction.h"
#include "engine/SineWave.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

#include "analysis/Fft.h"

namespace vandrel {
namespace {

// The level in dB of each FFT bin of samples [from, from + 2^m), Hann-windowed.
std::vector<double> spectrum(const std::vector<std::int16_t>& s, std::size_t from, int m) {
  const std::size_t n = std::size_t{1} << m;
  std::vector<double> re(n), im(n, 0.0);
  for (std::size_t i = 0; i < n; ++i)
    re[i] =
        s[from + i] * (0.5 - 0.5 * std::cos(2.0 * M_PI * static_cast<double>(i) / static_cast<double>(n)));
  FftTables fft;
  fft.transform(re.data(), im.data(), m);
  std::vector<double> db(n / 2);
  for (std::size_t k = 0; k < n / 2; ++k) db[k] = 10.0 * std::log10(re[k] * re[k] + im[k] * im[k] + 1e-9);
  return db;
}

TEST(SineWaveTest, TonesSitAtTheFormantsWithTheTablesLevels) {
  CVandrelDoc doc;
  doc.newTable(50, 10);
  for (int c = 0; c < 50; ++c) {
    vandrel::EditTransaction(doc).setValue(kF1, c, 530);
    vandrel::EditTransaction(doc).setValue(kF2, c, 1840);
    vandrel::EditTransaction(doc).setValue(kF3, c, 2480);
    vandrel::EditTransaction(doc).setValue(kA1f, c, 60);
    vandrel::EditTransaction(doc).setValue(kA2f, c, 50);
    vandrel::EditTransaction(doc).setValue(kA3f, c, 40);
    vandrel::EditTransaction(doc).setValue(kAv, c, c < 40 ? 87 : 0);  // the last 100 ms have no source
    vandrel::EditTransaction(doc).setValue(kGain, c, 87);
  }
  const SampleSet s = synthesizeSineWave(doc);
  ASSERT_EQ(s.sampleRate, 11025.0);
  ASSERT_EQ(s.samples.size(), 5513u);  // 5512.5 samples: the odd byte makes one more

  // Peaks within 3% of f1..f3, 10 and 20 dB apart as a1f..a3f are.
  const std::vector<double> db = spectrum(s.samples, 0, 12);
  const double binHz = 11025.0 / 4096.0;
  double level[3];
  const double formants[3] = {530, 1840, 2480};
  for (int k = 0; k < 3; ++k) {
    const auto lo = static_cast<long>(formants[k] * 0.8 / binHz),
               hi = static_cast<long>(formants[k] * 1.2 / binHz);
    const auto peak = std::max_element(db.begin() + lo, db.begin() + hi);
    EXPECT_NEAR(static_cast<double>(peak - db.begin()) * binHz, formants[k], formants[k] * 0.03) << k;
    level[k] = *peak;
  }
  EXPECT_NEAR(level[0] - level[1], 10.0, 1.0);
  EXPECT_NEAR(level[0] - level[2], 20.0, 1.0);

  // Never clipping (the loudest frame stays 1 dB below full scale), never a
  // jump: the steepest step of three tones is at most the sum of amplitude x
  // 2 pi f / rate, about 16000 here, where a restarted phase jumps further.
  int peak = 0, steepest = 0;
  for (std::size_t i = 1; i < s.samples.size(); ++i) {
    peak = std::max(peak, std::abs(s.samples[i]));
    steepest = std::max(steepest, std::abs(s.samples[i] - s.samples[i - 1]));
  }
  EXPECT_LE(peak, 29200);
  EXPECT_GT(peak, 18000);
  EXPECT_LT(steepest, 16100);
  // Silent from frame 41 on (frame 40 glides down to it).
  EXPECT_TRUE(
      std::all_of(s.samples.begin() + 41 * 110, s.samples.end(), [](std::int16_t v) { return v == 0; }));

  // A fourth tone on request, at f4.
  const std::vector<double> four = spectrum(synthesizeSineWave(doc, 4).samples, 0, 12);
  const auto at4 = static_cast<std::size_t>(3250 / binHz);
  EXPECT_GT(four[at4], db[at4] + 40.0);
}

}  // namespace
}  // namespace vandrel
