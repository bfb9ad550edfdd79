// Golden outputs: a few tables whose exact 16-bit synthesis is committed under
// tests/data/golden. Any change to the engine's arithmetic shows up here as a
// changed sample; if the change is meant, re-bless with `make bless` (which
// runs this test with VANDREL_BLESS=1) and review the diff of the files.

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "document/VandrelDoc.h"
#include "editing/EditTransaction.h"
#include "engine/Synthesizer.h"

namespace vandrel {
namespace {

void ramp(CVandrelDoc& d, int row, double from, double to) {
  const int n = d.table().columns();
  for (int c = 0; c < n; ++c) vandrel::EditTransaction(d).setValue(row, c, from + (to - from) * c / (n - 1));
}

void setLength(CVandrelDoc& d, double ms, int interval) {
  d.changeParams([&](vandrel::ParameterSet& ps) {
    ps.fileLengthMs = ms;
    ps.intervalMs = interval;
    ps.frameCount = ParameterSet::framesFor(ms, interval);
  });
  d.replaceTable(vandrel::FrameTable(d.params().frameCount, d.params()));
}

struct GoldenCase {
  const char* name;
  std::function<void(CVandrelDoc&)> setup;
};

const GoldenCase kCases[] = {
    {"default", [](CVandrelDoc&) {}},
    // /ai/-like glide with a falling pitch, 5 ms frames.
    {"diphthong",
     [](CVandrelDoc& d) {
       setLength(d, 300.0, 5);
       ramp(d, kF0, 1300, 950);
       ramp(d, kF1, 750, 350);
       ramp(d, kF2, 1200, 2100);
       ramp(d, kF3, 2500, 2800);
       ramp(d, kAv, 55, 62);
     }},
    // Voiceless fricative into a breathy vowel: frication, aspiration, tilt, skew.
    {"fricative_breathy",
     [](CVandrelDoc& d) {
       setLength(d, 250.0, 10);
       for (int c = 0; c < 10; ++c) {
         vandrel::EditTransaction(d).setValue(kAv, c, 0);
         vandrel::EditTransaction(d).setValue(kAf, c, 60);
         vandrel::EditTransaction(d).setValue(kA5f, c, 55);
         vandrel::EditTransaction(d).setValue(kAb, c, 40);
       }
       for (int c = 10; c < 25; ++c) {
         vandrel::EditTransaction(d).setValue(kAh, c, 45);
         vandrel::EditTransaction(d).setValue(kTl, c, 12);
         vandrel::EditTransaction(d).setValue(kSkew, c, 8);
         vandrel::EditTransaction(d).setValue(kOq, c, 40);
         vandrel::EditTransaction(d).setValue(kAtu, c, 50);
       }
     }},
    // Eight cascade formants at 22050 Hz (f6 shown) with a nasal murmur.
    {"high_rate_nasal",
     [](CVandrelDoc& d) {
       d.changeParams([&](vandrel::ParameterSet& ps) { ps.setSelected(kF6, true); });
       for (int c = 0; c < d.table().columns(); ++c) {
         vandrel::EditTransaction(d).setValue(kFnz, c, 450);
         vandrel::EditTransaction(d).setValue(kFnp, c, 270);
         vandrel::EditTransaction(d).setValue(kAnv, c, 50);
         vandrel::EditTransaction(d).setValue(kApv, c, 40);
       }
     }},
    {"all_parallel",
     [](CVandrelDoc& d) {
       d.changeParams([&](vandrel::ParameterSet& ps) { ps.cascadeParallel = 0; });
       for (int c = 0; c < d.table().columns(); ++c) {
         vandrel::EditTransaction(d).setValue(kApv, c, 60);
         vandrel::EditTransaction(d).setValue(kA1f, c, 60);
         vandrel::EditTransaction(d).setValue(kA2f, c, 55);
         vandrel::EditTransaction(d).setValue(kA3f, c, 50);
       }
     }},
};

std::string goldenPath(const char* name) {
  return std::string(VANDREL_TEST_DATA) + "/golden/" + name + ".txt";
}

// One sample a line, after a header line with rate and count: diffs stay readable.
std::string render(const SampleSet& s) {
  std::ostringstream o;
  o << "# rate " << s.sampleRate << " samples " << s.samples.size() << "\n";
  for (auto v : s.samples) o << v << "\n";
  return o.str();
}

class GoldenTest : public ::testing::TestWithParam<GoldenCase> {};

TEST_P(GoldenTest, SynthesisMatchesCommittedSamples) {
  const GoldenCase& g = GetParam();
  CVandrelDoc doc;
  g.setup(doc);
  KlattState state;  // a fresh process's noise
  ASSERT_TRUE(synthesize(doc, {}, state));
  const std::string got = render(doc.synthesized());

  const std::string path = goldenPath(g.name);
  if (const char* b = std::getenv("VANDREL_BLESS"); b && std::string(b) == "1") {
    std::ofstream(path, std::ios::binary) << got;
    GTEST_SKIP() << "blessed " << path;
  }
  std::ifstream f(path, std::ios::binary);
  ASSERT_TRUE(f) << "missing " << path << " (run make bless)";
  std::stringstream want;
  want << f.rdbuf();
  if (want.str() == got) return;

  // Point at the first differing sample rather than dumping both files.
  std::istringstream a(want.str()), b(got);
  std::string la, lb;
  for (int line = 1; std::getline(a, la) && std::getline(b, lb); ++line)
    ASSERT_EQ(la, lb) << g.name << ": first difference at line " << line;
  FAIL() << g.name << ": lengths differ";
}

INSTANTIATE_TEST_SUITE_P(Tables, GoldenTest, ::testing::ValuesIn(kCases),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace vandrel
