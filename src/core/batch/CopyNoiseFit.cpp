#include "batch/CopyNoiseFit.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>

#include "batch/CopyShapeChoice.h"
#include "batch/LineSimplify.h"
#include "engine/KlattEngine.h"

namespace vandrel {

namespace {

constexpr double kPi = 3.1415927;  // the synthesizer's own value, which its coefficients use
// Bands more than 80 dB below the frame's strongest count as 80 dB below.
constexpr double kFloorRatio = 1e-8;

// 10 log10(x) for x > 0, to about 0.001 dB: the exponent, and a polynomial
// for log2 of the mantissa. The fit takes thousands of these per frame.
double fastDb(double x) {
  std::uint64_t bits = 0;
  std::memcpy(&bits, &x, sizeof bits);
  const auto exponent = static_cast<int>((bits >> 52) & 0x7ff) - 1023;
  bits = (bits & 0x000fffffffffffffULL) | 0x3ff0000000000000ULL;  // the mantissa, 1 <= m < 2
  double m = 0.0;
  std::memcpy(&m, &bits, sizeof m);
  // log2(m) on [1, 2) through t = (m - 1) / (m + 1): 2 / ln 2 (t + t^3/3 + t^5/5 + t^7/7)
  const double t = (m - 1.0) / (m + 1.0), t2 = t * t;
  const double log2m = 2.8853900817779268 * t * (1.0 + t2 * (1.0 / 3.0 + t2 * (0.2 + t2 / 7.0)));
  return 3.0102999566398120 * (exponent + log2m);
}

double mel(double hz) { return 2595.0 * std::log10(1.0 + hz / 700.0); }
double hzOfMel(double m) { return 700.0 * (std::pow(10.0, m / 2595.0) - 1.0); }

// Triangular mel band weights of points at frequencies hz(i), i < n.
template <class Hz>
std::vector<std::vector<std::pair<int, double>>> melWeights(double top, int n, const Hz& hz) {
  std::vector<std::vector<std::pair<int, double>>> out(CNoiseFit::kBands);
  for (int j = 0; j < CNoiseFit::kBands; ++j) {
    const double lo = hzOfMel(mel(top) * j / (CNoiseFit::kBands + 1));
    const double mid = hzOfMel(mel(top) * (j + 1) / (CNoiseFit::kBands + 1));
    const double hi = hzOfMel(mel(top) * (j + 2) / (CNoiseFit::kBands + 1));
    for (int i = 0; i < n; ++i) {
      const double f = hz(i);
      const double w = f > lo && f <= mid  ? (f - lo) / (mid - lo)
                       : f > mid && f < hi ? (hi - f) / (hi - mid)
                                           : 0.0;
      if (w > 0.0) out[static_cast<std::size_t>(j)].emplace_back(i, w);
    }
  }
  return out;
}

// The synthesizer's resonator at (f, bw) Hz, unit gain at 0 Hz: its
// response at z1 = e^(-jw) is a / (1 - b z1 - c z1^2).
struct Coefficients {
  double a, b, c;
  Coefficients(int f, int bw, double rate) {
    const double r = std::exp(-kPi * bw / rate);
    c = -r * r;
    b = 2.0 * r * std::cos(f * 2.0 * kPi / rate);
    a = 1.0 - b - c;
  }
  std::complex<double> at(std::complex<double> z1) const {
    // a / d through d's conjugate: the library's complex division guards
    // against overflow at several times the cost, and thousands are taken per frame.
    const std::complex<double> d = 1.0 - b * z1 - c * z1 * z1;
    return a * std::conj(d) / std::norm(d);
  }
};

}  // namespace

CNoiseFit::CNoiseFit(double synthesisRate, double recordingRate, int cascadeFormants, double measuredRate)
    : synthRate_(synthesisRate),
      measuredRate_(measuredRate > 0.0 ? measuredRate : recordingRate),
      top_(std::min(kTopShare * synthesisRate, 0.5 * recordingRate)),
      cascade_(cascadeFormants) {
  pointWeights_ = melWeights(top_, kPoints, [this](int i) { return (i + 0.5) * top_ / kPoints; });
  for (std::size_t i = 0; i < kPoints; ++i)
    z1_[i] = std::polar(1.0, -2.0 * kPi * (static_cast<double>(i) + 0.5) * top_ / kPoints / synthRate_);
  const int n = static_cast<int>(std::lround(kWindowMs * measuredRate_ / 1000.0));
  while ((1 << fftOrder_) < n) ++fftOrder_;
  const int size = 1 << fftOrder_;
  window_.resize(static_cast<std::size_t>(n));
  for (int i = 0; i < n; ++i)
    window_[static_cast<std::size_t>(i)] = 0.54 - 0.46 * std::cos(2.0 * kPi * i / (n - 1));
  re_.resize(static_cast<std::size_t>(size));
  im_.resize(static_cast<std::size_t>(size));
  binWeights_ = melWeights(top_, size / 2 + 1, [this, size](int k) { return k * measuredRate_ / size; });
}

bool CNoiseFit::measure(const std::vector<double>& x, double centre, std::array<double, kBands>& out) {
  return measureSamples(std::span<const double>(x), centre, out);
}

bool CNoiseFit::measure(std::span<const std::int16_t> x, double centre, std::array<double, kBands>& out) {
  return measureSamples(x, centre, out);
}

// Samples as doubles or as 16-bit integers (the same values).
template <class T>
bool CNoiseFit::measureSamples(std::span<const T> x, double centre, std::array<double, kBands>& out) {
  const auto n = static_cast<long>(window_.size());
  const long start = std::lround(centre) - n / 2;
  std::fill(re_.begin(), re_.end(), 0.0);
  std::fill(im_.begin(), im_.end(), 0.0);
  double mean = 0.0;
  long used = 0;
  for (long i = 0; i < n; ++i)
    if (start + i >= 0 && start + i < static_cast<long>(x.size())) {
      mean += static_cast<double>(x[static_cast<std::size_t>(start + i)]);
      ++used;
    }
  if (used == 0) return false;
  mean /= static_cast<double>(used);  // a DC offset is no part of the spectrum
  for (long i = 0; i < n; ++i)
    if (start + i >= 0 && start + i < static_cast<long>(x.size()))
      re_[static_cast<std::size_t>(i)] =
          (static_cast<double>(x[static_cast<std::size_t>(start + i)]) - mean) *
          window_[static_cast<std::size_t>(i)];
  fft_.transform(re_.data(), im_.data(), fftOrder_);
  double strongest = 0.0;
  std::array<double, kBands> e{};
  for (std::size_t j = 0; j < kBands; ++j) {
    for (const auto& [k, w] : binWeights_[j]) {
      const auto uk = static_cast<std::size_t>(k);
      e[j] += w * (re_[uk] * re_[uk] + im_[uk] * im_[uk]);
    }
    strongest = std::max(strongest, e[j]);
  }
  if (!(strongest > 0.0)) return false;
  for (std::size_t j = 0; j < kBands; ++j)
    out[j] = 10.0 * std::log10(std::max(e[j], strongest * kFloorRatio));
  return true;
}

std::array<double, CNoiseFit::kBands> CNoiseFit::bandsOf(const std::array<double, kPoints>& power) const {
  double strongest = 0.0;
  std::array<double, kBands> e{};
  for (std::size_t j = 0; j < kBands; ++j) {
    for (const auto& [i, w] : pointWeights_[j]) e[j] += w * power[static_cast<std::size_t>(i)];
    strongest = std::max(strongest, e[j]);
  }
  for (double& v : e) v = strongest > 0.0 ? fastDb(std::max(v, strongest * kFloorRatio)) : 0.0;
  return e;
}

double CNoiseFit::envelopeError(const std::array<double, kBands>& a, const std::array<double, kBands>& b) {
  static const auto basis = [] {
    std::array<std::array<double, kBands>, kEnvelopeTerms> m{};
    for (std::size_t k = 0; k < kEnvelopeTerms; ++k)
      for (std::size_t j = 0; j < kBands; ++j)
        m[k][j] = std::sqrt(2.0 / kBands) *
                  std::cos(kPi * static_cast<double>(k + 1) * (static_cast<double>(j) + 0.5) / kBands);
    return m;
  }();
  double sum = 0.0;
  for (const auto& row : basis) {
    double d = 0.0;
    for (std::size_t j = 0; j < kBands; ++j) d += row[j] * (a[j] - b[j]);
    sum += d * d;
  }
  return sum;
}

double CNoiseFit::shapeError(const std::array<double, kBands>& model,
                             const std::array<double, kBands>& target) {
  double mean = 0.0;
  for (std::size_t j = 0; j < kBands; ++j) mean += model[j] - target[j];
  mean /= kBands;
  double sum = 0.0;
  for (std::size_t j = 0; j < kBands; ++j)
    sum += (model[j] - target[j] - mean) * (model[j] - target[j] - mean);
  return sum / kBands;
}

namespace {

// The parts of the branch the amplitudes scale: the bypass and the parallel
// formants, each with its gain and its sign in the sum.
constexpr int kRows[] = {kAb, kA1f, kA2f, kA3f, kA4f, kA5f, kA6f};
constexpr double kPartGain[] = {0.05, 0.4, 0.15, 0.06, 0.04, 0.022, 0.03};
constexpr int kFreq[] = {-1, kF1, kF2, kF3, kF4, kF5, kF6};
constexpr int kBw[] = {-1, kB1f, kB2f, kB3f, kB4f, kB5f, kB6f};
constexpr double kSign[] = {1.0, 1.0, -1.0, 1.0, -1.0, 1.0, -1.0};

// The next value one step away in `dir`: off is one value, just below the
// table's quietest, and nothing goes above 80 dB.
int stepped(int was, int dir, int step) {
  int next = std::clamp(was + dir * step, CNoiseFit::kOff, 80);
  if (was == 0 && dir > 0) next = CNoiseFit::kOff + step;
  if (next <= CNoiseFit::kOff) next = 0;
  return next;
}

}  // namespace

CNoiseFit::Branch CNoiseFit::branchOf(const FrameTable& t, int c, Source source) const {
  const auto v = [&](int row) { return static_cast<int>(t.value(row, c)); };
  Branch b;
  b.aspiration = source == Source::kAspiration;
  const int cascadeRows[] = {kF1, kF2, kF3, kF4, kF5, kF6, kF7, kF8};
  const int cascadeBw[] = {kB1, kB2, kB3, kB4, kB5, kB6, kB7, kB8};
  const Coefficients lowPass(0, static_cast<int>(synthRate_ / 2), synthRate_);
  const Coefficients nasalPole(v(kFnp), v(kBnp), synthRate_),
      nasalZero(v(kFnz) > 0 ? v(kFnz) : 1, v(kBnz), synthRate_);
  std::vector<Coefficients> cascade, parallel;
  for (int k = 0; k < cascade_; ++k) cascade.emplace_back(v(cascadeRows[k]), v(cascadeBw[k]), synthRate_);
  for (int k = 0; k < kParts; ++k)
    parallel.emplace_back(k == 0 ? 0 : v(kFreq[k]), k == 0 ? 0 : v(kBw[k]), synthRate_);
  for (std::size_t i = 0; i < kPoints; ++i) {
    const std::complex<double> z1 = z1_[i];
    // The noise generator's memory, then the output low-pass.
    const std::complex<double> shape = 1.0 / (1.0 - 0.75 * z1) * lowPass.at(z1);
    // Frication enters the parallel formants as it is, aspiration first differenced.
    const std::complex<double> parallelSource = b.aspiration ? 1.0 - z1 : 1.0;
    if (b.aspiration) {
      const std::complex<double> zero = nasalZero.at(z1);
      std::complex<double> h = nasalPole.at(z1) * std::conj(zero) / std::norm(zero);
      for (const Coefficients& r : cascade) h *= r.at(z1);
      b.fixed[i] = shape * h;
    }
    for (std::size_t k = 0; k < kParts; ++k) {
      if (k == 1 && !b.aspiration) continue;  // the parallel F1 takes no frication
      const std::complex<double> r = k == 0 ? 1.0 : parallel[k].at(z1);
      b.part[k][i] =
          shape * kSign[k] * kPartGain[k] * r * (k == 1 ? std::complex<double>(1.0) : parallelSource);
    }
  }
  return b;
}

CNoiseFit::Response CNoiseFit::sumOf(const Branch& b, const std::array<int, kParts>& db) {
  Response sum = b.fixed;
  for (std::size_t k = 0; k < kParts; ++k) {
    const double lin = CKlattEngine::dbToLinear(db[k]);
    for (std::size_t i = 0; i < kPoints; ++i) sum[i] += lin * b.part[k][i];
  }
  return sum;
}

double CNoiseFit::errorOf(const Response& sum, const Response* part, double change,
                          const Bands& target) const {
  std::array<double, kPoints> power;
  for (std::size_t i = 0; i < kPoints; ++i)
    power[i] = std::norm(part != nullptr ? sum[i] + change * (*part)[i] : sum[i]);
  return shapeError(bandsOf(power), target);
}

double CNoiseFit::fit(FrameTable& t, int c, Source source, const Bands& target) {
  const Branch b = branchOf(t, c, source);
  // Coordinate descent from the table's amplitudes, in whole dB. The sum is
  // the branch's response for the amplitudes in db; a trial moves one
  // amplitude, so it adds that part's change to the current sum.
  std::array<int, kParts> db{};
  for (std::size_t k = 0; k < kParts; ++k) db[k] = static_cast<int>(t.value(kRows[k], c));
  if (!b.aspiration) db[1] = 0;
  Response sum = sumOf(b, db);
  double best = errorOf(sum, nullptr, 0.0, target);
  for (int step : kSteps)
    for (int sweep = 0; sweep < kMaxSweeps; ++sweep) {
      bool moved = false;
      for (std::size_t k = 0; k < kParts; ++k) {
        if (k == 1 && !b.aspiration) continue;
        for (int dir : {1, -1}) {
          const int was = db[k], next = stepped(was, dir, step);
          if (next == was) continue;
          const double change = CKlattEngine::dbToLinear(next) - CKlattEngine::dbToLinear(was);
          const double e = errorOf(sum, &b.part[k], change, target);
          if (e < best - 1e-9) {
            best = e;
            db[k] = next;
            for (std::size_t i = 0; i < kPoints; ++i) sum[i] += change * b.part[k][i];
            moved = true;
            break;
          }
        }
      }
      if (!moved) break;
    }
  // Frication scales every part alike, so only the amplitudes' differences
  // shape it: the strongest is set to kTopFrication (and af matched to the
  // level later), which keeps the weakest clear of the table's silent end.
  if (!b.aspiration) {
    const int strongest = *std::max_element(db.begin(), db.end());
    for (std::size_t k = 0; k < kParts; ++k)
      if (db[k] > 0) db[k] = std::max(0, db[k] + kTopFrication - strongest);
  }
  for (std::size_t k = 0; k < kParts; ++k)
    if (k != 1 || b.aspiration) t.setValue(kRows[k], c, db[k]);
  return best;
}

CNoiseFit::Bands CNoiseFit::target(const std::vector<Bands>& bands, const std::vector<char>& noisy, int c) {
  const int frames = static_cast<int>(bands.size());
  Bands out{};
  int n = 0;
  for (int k = std::max(0, c - 1); k <= std::min(frames - 1, c + 1); ++k) {
    if (noisy[static_cast<std::size_t>(k)] == 0) continue;
    ++n;
    for (std::size_t j = 0; j < out.size(); ++j)
      out[j] += std::pow(10.0, bands[static_cast<std::size_t>(k)][j] / 10.0);
  }
  for (double& v : out) v = 10.0 * std::log10(v / std::max(n, 1));
  return out;
}

void CNoiseFit::refitAnchors(FrameTable& t, const std::vector<Bands>& bands, const std::vector<char>& noisy,
                             const std::vector<char>& fricative, bool parallel) {
  const int frames = t.columns();
  struct Frame {
    Branch branch;
    Bands target;
    Response sum;
    double error = 0.0;
  };
  // The noisy unvoiced frames' branches, built for a block at a time (each
  // takes about 20 kB).
  std::vector<std::unique_ptr<Frame>> fitted(static_cast<std::size_t>(frames));
  std::vector<char> voiced(static_cast<std::size_t>(frames));
  for (int c = 0; c < frames; ++c) voiced[static_cast<std::size_t>(c)] = t.value(kF0, c) > 0.0 ? 1 : 0;
  const auto build = [&](int from, int to) {
    for (int c = from; c < to; ++c) {
      const auto uc = static_cast<std::size_t>(c);
      if (noisy[uc] == 0 || voiced[uc] != 0) continue;
      auto f = std::make_unique<Frame>();
      f->branch = branchOf(t, c, fricative[uc] != 0 ? Source::kFrication : Source::kAspiration);
      f->target = target(bands, noisy, c);
      std::array<int, kParts> db{};
      for (std::size_t k = 0; k < kParts; ++k) db[k] = static_cast<int>(t.value(kRows[k], c));
      f->sum = sumOf(f->branch, db);
      f->error = errorOf(f->sum, nullptr, 0.0, f->target);
      fitted[uc] = std::move(f);
    }
  };
  // Each frame counts its changes; an anchor that found no better value at a
  // step is tried again at that step only once a frame its lines reach has
  // changed (the count summed over them has grown).
  constexpr std::size_t kStepCount = std::size(kRefitSteps);
  std::vector<long> changes(static_cast<std::size_t>(frames));
  std::vector<long> triedAt(kParts * kStepCount * static_cast<std::size_t>(frames), -1);
  std::array<std::vector<int>, kParts> anchors;
  for (std::size_t k = 0; k < kParts; ++k)
    for (int c = 0; c < frames; ++c)
      if (t.anchor(kRows[k], c)) anchors[k].push_back(c);
  // Refits the anchors whose lines lie within frames from..to-1 (and, with
  // a cut, reach across it): runs over different frames touch different
  // values and frames, so two can run at once.
  const auto refit = [&](int from, int to, int cut) {
    // A trial's line over the anchor's frames: each frame's value, the
    // change of its part's linear amplitude, and its error with it.
    struct Point {
      double value = 0.0, change = 0.0, error = 0.0;
    };
    std::vector<Point> after;
    for (std::size_t s = 0; s < kStepCount; ++s)
      for (int sweep = 0; sweep < kRefitSweeps; ++sweep) {
        bool moved = false;
        for (std::size_t k = 0; k < kParts; ++k) {
          const int row = kRows[k];
          const std::vector<int>& at = anchors[k];
          for (auto it = std::lower_bound(at.begin(), at.end(), from); it != at.end() && *it < to; ++it) {
            const auto i = static_cast<std::size_t>(it - at.begin());
            const int a = at[i];
            const int prev = i > 0 ? at[i - 1] : a, next = i + 1 < at.size() ? at[i + 1] : a;
            // The frames whose values the anchor's lines set.
            const int lo = prev < a ? prev + 1 : a, hi = next > a ? next - 1 : a;
            if (lo < from || hi >= to || (cut >= 0 && (lo >= cut || hi < cut))) continue;
            bool heard = false, free = true;
            long changed = 0;
            for (int c = lo; c <= hi && free; ++c) {
              heard = heard || fitted[static_cast<std::size_t>(c)] != nullptr;
              free = voiced[static_cast<std::size_t>(c)] == 0;
              changed += changes[static_cast<std::size_t>(c)];
            }
            long& tried = triedAt[(k * kStepCount + s) * static_cast<std::size_t>(frames) +
                                  static_cast<std::size_t>(a)];
            if (!heard || !free || tried == changed) continue;
            const auto lineAt = [&](int c, double va) {
              if (c == a) return va;
              const int b = c < a ? prev : next;
              return roundedLineValue(b, t.value(row, b), a, va, c);
            };
            const int was = static_cast<int>(t.value(row, a));
            bool better = false;
            for (const int dir : {1, -1}) {
              const int value = stepped(was, dir, kRefitSteps[s]);
              if (value == was) continue;
              double gain = 0.0;
              after.assign(static_cast<std::size_t>(hi - lo + 1), Point{});
              for (int c = lo; c <= hi; ++c) {
                Point& p = after[static_cast<std::size_t>(c - lo)];
                p.value = lineAt(c, value);
                const Frame* f = fitted[static_cast<std::size_t>(c)].get();
                if (f == nullptr || p.value == t.value(row, c)) continue;
                p.change = CKlattEngine::dbToLinear(static_cast<int>(p.value)) -
                           CKlattEngine::dbToLinear(static_cast<int>(t.value(row, c)));
                p.error = errorOf(f->sum, &f->branch.part[k], p.change, f->target);
                gain += p.error - f->error;
              }
              if (!(gain < -1e-9)) continue;
              for (int c = lo; c <= hi; ++c) {
                const Point& p = after[static_cast<std::size_t>(c - lo)];
                if (p.value == t.value(row, c)) continue;
                if (Frame* f = fitted[static_cast<std::size_t>(c)].get()) {
                  for (std::size_t j = 0; j < kPoints; ++j) f->sum[j] += p.change * f->branch.part[k][j];
                  f->error = p.error;
                }
                t.setValue(row, c, p.value);
                ++changes[static_cast<std::size_t>(c)];
              }
              better = moved = true;
              break;
            }
            if (!better) tried = changed;
          }
        }
        if (!moved) break;
      }
  };
  // Block by block, each in halves on two threads, then the anchors across
  // its middle and across its start (the block before is still built; lines
  // longer than a block stay as they are).
  for (int from = 0, before = 0; from < frames; before = from, from += kRefitBlock) {
    const int to = std::min(frames, from + kRefitBlock), middle = from + (to - from) / 2;
    inHalves(to - from, parallel, [&](int a, int b) {
      build(from + a, from + b);
      refit(from + a, from + b, -1);
    });
    refit(from, to, middle);
    if (from > 0) refit(before, to, from);
    for (int c = before; c < from; ++c) fitted[static_cast<std::size_t>(c)].reset();
  }
}

}  // namespace vandrel
