#include "analysis/HarmonicFit.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdint>
#include <cstring>
#include <utility>

#include "analysis/HarmonicLevels.h"

namespace vandrel {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr std::size_t kFormants = FormantFrame::kFormants;

}  // namespace

double CHarmonicFit::resonanceDb(double f, double F, double B) {
  const double w = 2.0 * kPi * f / kModelRate;
  const double c = -std::exp(-2.0 * kPi * B / kModelRate);
  const double b = 2.0 * std::exp(-kPi * B / kModelRate) * std::cos(2.0 * kPi * F / kModelRate);
  const double a = 1.0 - b - c;
  const double re = 1.0 - b * std::cos(w) - c * std::cos(2.0 * w);
  const double im = b * std::sin(w) + c * std::sin(2.0 * w);
  return 10.0 * std::log10(a * a / (re * re + im * im));
}

double CHarmonicFit::sourceDb(double f, double open) {
  // d(t) = 2 t / T - 3 t^2 / T^2 on [0, T]: the derivative of the flow
  // a t^2 - b t^3 that closes at T. Its transform, from the integrals of
  // t e^(st) and t^2 e^(st) with s = -i w (1 / s = i / w).
  using C = std::complex<double>;
  const double w = 2.0 * kPi * f;
  const C s(0.0, -w), inv(0.0, 1.0 / w);
  const C inv2 = inv * inv, inv3 = inv2 * inv;
  const C e = std::polar(1.0, -w * open);
  const C i1 = e * (open * inv - inv2) + inv2;
  const C i2 = e * (open * open * inv - 2.0 * open * inv2 + 2.0 * inv3) - 2.0 * inv3;
  const C d = (2.0 / open) * i1 - (3.0 / (open * open)) * i2;
  return 10.0 * std::log10(std::norm(d) + 1e-300);
}

namespace {
// The open quotients tried lie on a grid of kOpenQuotientGrid / 16 (the
// nudges halve a step of half the grid at most three times), but reached by
// sums the same one may differ in its last bit, and its pulse's levels be
// made again (a tenth of those made on high voices).
double onGrid(double q) {
  constexpr double kSteps = 16.0 / CHarmonicFit::kOpenQuotientGrid;
  return std::round(q * kSteps) / kSteps;
}
}  // namespace

// The synthesizer's tilt filter, the one-pole low-pass y = (1 - d) x + d
// y[-1] with d = 0.033 per dB of tilt.
double CHarmonicFit::tiltDb(double f, double tilt) {
  const double d = 0.033 * tilt, cosine = std::cos(2.0 * kPi * f / kModelRate);
  return 10.0 * std::log10((1.0 - d) * (1.0 - d) / (1.0 - 2.0 * d * cosine + d * d));
}

void CHarmonicFit::resonance(std::size_t k, double F, double B, std::vector<double>& out) {
  // A trial moves either the frequency or the bandwidth: the other's factor
  // is kept from formant k's last one.
  Coefficients& q = coefficients_[k];
  if (q.b != B) {
    q.b = B;
    q.decay = std::exp(-kPi * B / kModelRate);
    q.decay2 = std::exp(-2.0 * kPi * B / kModelRate);
  }
  if (q.f != F) {
    q.f = F;
    q.cosine = std::cos(2.0 * kPi * F / kModelRate);
  }
  const double c = -q.decay2;
  const double b = 2.0 * q.decay * q.cosine;
  const double a2 = (1.0 - b - c) * (1.0 - b - c);
  const std::size_t n = hz_.size();
  out.resize(n);
  harmonics::resonanceLevels(cos1_.data(), sin1_.data(), cos2_.data(), sin2_.data(), n, b, c, a2, out.data());
}

void CHarmonicFit::pullOpenQuotient(double centre, double weight) {
  pullCentre_ = centre;
  pullWeight_ = weight;
}

CHarmonicFit::Harmonics CHarmonicFit::release() {
  Harmonics h{std::move(hz_), std::move(db_), f0_, top_, std::move(pulses_), std::move(tilts_)};
  hz_.clear();
  db_.clear();
  pulses_ = {};
  tilts_ = {};
  return h;
}

void CHarmonicFit::use(Harmonics&& h) {
  pullWeight_ = 0.0;
  hz_ = std::move(h.hz);
  db_ = std::move(h.db);
  top_ = h.top;
  pulses_ = std::move(h.pulses);
  tilts_ = std::move(h.tilts);
  prepare(h.f0);
}

bool CHarmonicFit::measure(std::span<const double> piece, std::size_t offset, std::size_t total, double fs,
                           double centre, double f0) {
  pullWeight_ = 0.0;
  hz_.clear();
  db_.clear();
  pulses_ = {};
  tilts_ = {};
  top_ = std::min(kTopHz, 0.4 * fs);
  if (!(f0 > 0.0) || !(fs > 0.0) || kMinHarmonics * f0 > top_ || total == 0) return false;
  const double length =
      std::clamp(kPeriods * fs / f0, kMinWindowMs * fs / 1000.0, kMaxWindowMs * fs / 1000.0);
  const auto n = std::min(static_cast<std::size_t>(length), total);
  if (n < 16) return false;
  // kPhases windows a kPhases-th of a period apart, the middle one centred on
  // `centre`.
  const int phases = f0 > kHighVoiceHz ? kPhases : 1;
  for (int k = 0; k < phases; ++k) {
    const double shift = static_cast<double>(k - phases / 2) * fs / f0 / kPhases;
    if (!levelsAt(piece, offset, total, fs, centre + shift, n, f0, k == 0 ? hz_ : hzMore_,
                  k == 0 ? db_ : dbMore_))
      return false;
    for (std::size_t h = 0; k > 0 && h < hz_.size(); ++h) {
      hz_[h] += hzMore_[h];
      db_[h] += dbMore_[h];
    }
  }
  double loudest = -1e300;
  for (std::size_t h = 0; h < hz_.size(); ++h) {
    if (phases > 1) {
      hz_[h] /= phases;
      db_[h] /= phases;
    }
    loudest = std::max(loudest, db_[h]);
  }
  if (hz_.size() < static_cast<std::size_t>(kMinHarmonics)) return false;
  // The harmonics at the top that lie in the noise are left out; those below
  // them are held at the floor.
  std::size_t keep = hz_.size();
  while (keep > static_cast<std::size_t>(kMinHarmonics) && db_[keep - 1] < loudest - kFloorBelowPeakDb)
    --keep;
  hz_.resize(keep);
  db_.resize(keep);
  for (double& v : db_) v = std::max(v, loudest - kFloorBelowPeakDb);
  prepare(f0);
  return true;
}

bool CHarmonicFit::levelsAt(std::span<const double> piece, std::size_t offset, std::size_t total, double fs,
                            double centre, std::size_t n, double f0, std::vector<double>& hz,
                            std::vector<double>& db) {
  hz.clear();
  db.clear();
  int order = 4;
  while ((std::size_t{1} << order) < 4 * n) ++order;
  const std::size_t size = std::size_t{1} << order;
  re_.assign(size, 0.0);
  im_.assign(size, 0.0);
  const auto first = static_cast<std::size_t>(
      std::clamp(centre - static_cast<double>(n) / 2.0, 0.0, static_cast<double>(total - n)));
  if (first < offset || first + n > offset + piece.size()) return false;
  const double* window = piece.data() + (first - offset);
  double mean = 0.0;
  for (std::size_t i = 0; i < n; ++i) mean += window[i];
  mean /= static_cast<double>(n);
  if (hann_.size() != n) {
    hann_.resize(n);
    for (std::size_t i = 0; i < n; ++i)
      hann_[i] = 0.5 - 0.5 * std::cos(2.0 * kPi * (static_cast<double>(i) + 0.5) / static_cast<double>(n));
  }
  for (std::size_t i = 0; i < n; ++i) re_[i] = (window[i] - mean) * hann_[i];
  fft_.transform(re_.data(), im_.data(), order);
  const std::size_t half = size / 2;
  // Power; only the three bins around each harmonic's peak are taken to dB.
  for (std::size_t i = 0; i <= half; ++i) re_[i] = re_[i] * re_[i] + im_[i] * im_[i] + 1e-20;
  const auto dbAt = [this](std::size_t i) { return 10.0 * std::log10(re_[i]); };
  const double binHz = fs / static_cast<double>(size);
  for (int h = 1; h * f0 <= top_; ++h) {
    const double at = h * f0 / binHz, reach = f0 / 3.0 / binHz;
    auto lo = static_cast<std::size_t>(std::max(1.0, std::floor(at - reach)));
    auto hi = std::min(half - 1, static_cast<std::size_t>(std::ceil(at + reach)));
    if (lo > hi) break;
    std::size_t best = lo;
    for (std::size_t i = lo + 1; i <= hi; ++i)
      if (re_[i] > re_[best]) best = i;
    const double a = dbAt(best - 1), b = dbAt(best), c = dbAt(best + 1);
    const double den = a - 2.0 * b + c;
    const double p = den < 0.0 ? std::clamp(0.5 * (a - c) / den, -0.5, 0.5) : 0.0;
    hz.push_back((static_cast<double>(best) + p) * binHz);
    db.push_back(b - 0.25 * (a - c) * p);
  }
  return true;
}

void CHarmonicFit::prepare(double f0) {
  for (auto& cache : tries_)
    for (auto& e : cache) e.levels.clear();
  f0_ = f0;
  scoreSources_.clear();  // made by the first score()
  // An orthonormal basis of the source's shape (level, slope and curvature
  // in log frequency) over these harmonics, by Gram-Schmidt.
  const std::size_t count = hz_.size();
  // Padded to a multiple of four with the last harmonic's.
  const std::size_t padded = (count + 3) / 4 * 4;
  for (auto* v : {&cos1_, &sin1_, &cos2_, &sin2_}) v->resize(padded);
  for (std::size_t j = 0; j < kSourceTerms; ++j) basis_[j].resize(count);
  pulseTerms_.prepare(hz_);
  for (std::size_t h = 0; h < count; ++h) {
    const double w = 2.0 * kPi * hz_[h] / kModelRate;
    for (std::size_t j = h; j < (h + 1 == count ? padded : h + 1); ++j) {
      cos1_[j] = std::cos(w);
      sin1_[j] = std::sin(w);
      cos2_[j] = std::cos(2.0 * w);
      sin2_[j] = std::sin(2.0 * w);
    }
    const double u = std::log2(hz_[h] / 1000.0);
    for (std::size_t j = 0; j < kSourceTerms; ++j) basis_[j][h] = std::pow(u, static_cast<double>(j));
  }
  for (std::size_t j = 0; j < kSourceTerms; ++j) {
    auto& v = basis_[j];
    for (std::size_t i = 0; i < j; ++i) {
      double dot = 0.0;
      for (std::size_t h = 0; h < count; ++h) dot += v[h] * basis_[i][h];
      for (std::size_t h = 0; h < count; ++h) v[h] -= dot * basis_[i][h];
    }
    double norm = 0.0;
    for (double e : v) norm += e * e;
    norm = std::sqrt(norm);
    for (double& e : v) e = norm > 0.0 ? e / norm : 0.0;
  }
}

// A descent asks for the same trial again and again: while formant k stays
// where it is, the next sweep tries the same steps around it, and the starts
// of one frame meet in the same places.
const std::vector<double>& CHarmonicFit::tried(std::size_t k, double F, double B) {
  std::uint64_t f = 0, b = 0;
  std::memcpy(&f, &F, sizeof f);
  std::memcpy(&b, &B, sizeof b);
  const std::uint64_t hash = (f ^ (b * 0x9e3779b97f4a7c15ULL)) * 0xff51afd7ed558ccdULL;
  Trial& slot = tries_[k][hash >> (64 - kTrialSlotBits)];
  if (slot.f == F && slot.b == B && !slot.levels.empty()) return slot.levels;
  slot.f = F;
  slot.b = B;
  resonance(k, F, B, slot.levels);
  return slot.levels;
}

CHarmonicFit::CHarmonicFit() {
  for (std::size_t k = 0; k < kFormants; ++k) logTypical_[k] = std::log(kTypicalBandwidth[k]);
}

void CHarmonicFit::setBandwidth(std::size_t k, double b) {
  bw_[k] = b;
  logBw_[k] = std::log(b);
}

// The mean squared residual left after the source's shape is taken out: the
// basis is orthonormal, so that is the sum of squares less the squared
// projections. One pass: the descent asks this for every trial.
double CHarmonicFit::misfit(const double* rest, const double* trial) const {
  const std::size_t n = hz_.size();
  const double* b0 = basis_[0].data();
  const double* b1 = basis_[1].data();
  double sse = 0.0, d0 = 0.0, d1 = 0.0;
  for (std::size_t h = 0; h < n; ++h) {
    const double r = rest[h] - trial[h];
    sse += r * r;
    d0 += r * b0[h];
    d1 += r * b1[h];
  }
  static_assert(kSourceTerms == 2);
  return std::max(sse - d0 * d0 - d1 * d1, 0.0) / static_cast<double>(n);
}

double CHarmonicFit::bandwidthPull() const {
  double pull = 0.0;
  for (std::size_t k = 0; k < kFormants; ++k)
    if (!r_[k].empty()) {
      const double l = logBw_[k] - logTypical_[k];
      pull += kBandwidthPull[k] * l * l;
    }
  const double q = (open_ - pullCentre_) / kOpenQuotientGrid;
  return pull + pullWeight_ * q * q;
}

double CHarmonicFit::startPull(double f1) const {
  if (!(startF1_ > 0.0)) return 0.0;
  const double l = std::log(f1 / startF1_) / 0.1;
  return kStartPull * l * l;
}

// The levels of one factor of the source (the pulse at open quotient `key`,
// or the tilt filter at `key` dB) from its cache, made when not found.
template <class Make>
const std::vector<double>& CHarmonicFit::cached(LevelCache& cache, double key, const Make& make) {
  for (const auto& e : cache.entries)
    if (e.key == key) return e.levels;
  if (cache.entries.size() < kKeptLevels) cache.entries.emplace_back();
  auto& slot = cache.entries[cache.next];
  cache.next = (cache.next + 1) % kKeptLevels;
  slot.key = key;
  slot.levels.resize(hz_.size());
  make(slot.levels.data());
  return slot.levels;
}

const std::vector<double>& CHarmonicFit::pulseLevels(double q) {
  return cached(pulses_, q, [&](double* out) { harmonics::pulseLevels(pulseTerms_, q / f0_, out); });
}

const std::vector<double>& CHarmonicFit::tiltLevels(double tilt) {
  return cached(tilts_, tilt,
                [&](double* out) { harmonics::tiltLevels(cos1_.data(), hz_.size(), tilt, out); });
}

void CHarmonicFit::setSource(double q, double tilt) {
  open_ = q;
  tilt_ = tilt;
  // Each descent of a frame tries the same grids and mostly the same steps;
  // the two factors are cached apart, so a grid of both costs the sum of
  // their sizes in levels, not the product.
  const auto& pulse = pulseLevels(q);
  const auto& filter = tiltLevels(tilt);
  source_.resize(hz_.size());
  for (std::size_t h = 0; h < hz_.size(); ++h) source_[h] = pulse[h] + filter[h];
}

// The open quotient of the grid that fits best, then refined by halving
// steps as the formants are.
double CHarmonicFit::chooseOpenQuotient() {
  // A row of the grid (one open quotient, every tilt) in one pass over the
  // harmonics, with the tilts' levels side by side.
  using harmonics::kGridTilts;
  std::array<double, kGridTilts> tilts{};
  std::size_t count = 0;
  for (double tl = 0.0; tl <= kMaxTilt + 1e-9; tl += kTiltGrid) tilts[count++] = tl;
  const std::size_t n = hz_.size();
  gridTilts_.assign(n * kGridTilts, 0.0);
  for (std::size_t t = 0; t < count; ++t) {
    const auto& filter = tiltLevels(tilts[t]);
    for (std::size_t h = 0; h < n; ++h) gridTilts_[h * kGridTilts + t] = filter[h];
  }
  std::array<const double*, kFormants> formants{};
  std::size_t formantCount = 0;
  for (std::size_t k = 0; k < kFormants; ++k)
    if (!r_[k].empty()) formants[formantCount++] = r_[k].data();
  double best = 1e300, pick = kMinOpenQuotient, pickTilt = 0.0;
  std::array<double, kGridTilts> misfits{};
  for (double q = kMinOpenQuotient; q <= kMaxOpenQuotient + 1e-9; q = onGrid(q + kOpenQuotientGrid)) {
    const auto& pulse = pulseLevels(q);
    open_ = q;
    const double pull = bandwidthPull();
    harmonics::gridMisfits(db_.data(), pulse.data(), gridTilts_.data(), formants.data(), formantCount,
                           basis_[0].data(), basis_[1].data(), n, misfits.data());
    for (std::size_t t = 0; t < count; ++t)
      if (misfits[t] + pull < best) {
        best = misfits[t] + pull;
        pick = q;
        pickTilt = tilts[t];
      }
  }
  setSource(pick, pickTilt);
  for (double step = kOpenQuotientGrid / 2.0; step > 0.004; step /= 2.0) best = nudgeSource(step);
  return best;
}

double CHarmonicFit::score(const FormantFrame& fr) {
  if (hz_.empty()) return 0.0;
  for (std::size_t k = 0; k < kFormants; ++k) {
    r_[k].clear();
    if (!(fr.f[k] > 0.0)) continue;
    setBandwidth(k, std::clamp(fr.b[k] > 0.0 ? fr.b[k] : kTypicalBandwidth[k], kMinBandwidth, kMaxBandwidth));
    resonance(k, fr.f[k], bw_[k], r_[k]);
  }
  // The few sources every path is scored with, made once per frame, side
  // by side in rows of lanes.
  using harmonics::kGridTilts;
  constexpr std::size_t kSources = kScoreQuotients.size() * kScoreTilts.size();
  constexpr std::size_t kRows = (kSources + kGridTilts - 1) / kGridTilts;
  const std::size_t n = hz_.size();
  if (scoreSources_.empty()) {
    scoreSources_.assign(kRows * n * kGridTilts, 0.0);
    for (std::size_t i = 0; i < kSources; ++i) {
      const auto& pulse = pulseLevels(kScoreQuotients[i / kScoreTilts.size()]);
      const auto& filter = tiltLevels(kScoreTilts[i % kScoreTilts.size()]);
      double* lane = scoreSources_.data() + i / kGridTilts * n * kGridTilts + i % kGridTilts;
      for (std::size_t h = 0; h < n; ++h) lane[h * kGridTilts] = pulse[h] + filter[h];
    }
  }
  const double pull = bandwidthPull();
  double best = 1e300;
  std::array<double, kGridTilts> misfits{};
  for (std::size_t row = 0; row < kRows; ++row) {
    laneMisfits(scoreSources_.data() + row * n * kGridTilts, misfits);
    for (std::size_t l = 0; l < std::min(kGridTilts, kSources - row * kGridTilts); ++l)
      best = std::min(best, misfits[l] + pull);
  }
  return best;
}

// The objective less its pulls (the mean squared difference after the best
// source shape, as misfit() takes it) for up to kGridTilts sources side by
// side (lanes[h * kGridTilts + l]: source l at harmonic h).
void CHarmonicFit::laneMisfits(const double* lanes, std::array<double, harmonics::kGridTilts>& out) {
  const std::size_t n = hz_.size();
  zeros_.assign(n, 0.0);  // the sources are whole: no pulse to add to them
  std::array<const double*, kFormants> formants{};
  std::size_t count = 0;
  for (std::size_t k = 0; k < kFormants; ++k)
    if (!r_[k].empty()) formants[count++] = r_[k].data();
  harmonics::gridMisfits(db_.data(), zeros_.data(), lanes, formants.data(), count, basis_[0].data(),
                         basis_[1].data(), n, out.data());
}

// One step of the open quotient either way, then one of the tilt (as many
// of its grid steps), each kept when it fits better.
// The source as it stands and its two neighbours are weighed side by side.
double CHarmonicFit::nudgeSource(double step) {
  using harmonics::kGridTilts;
  const std::size_t n = hz_.size();
  const double tiltStep = step * kTiltGrid / kOpenQuotientGrid;
  nudgeSources_.assign(n * kGridTilts, 0.0);
  std::array<double, kGridTilts> misfits{};
  double best = 0.0;
  for (int which = 0; which < 2; ++which) {
    const double q0 = open_, t0 = tilt_;
    std::array<double, 3> qs{q0}, ts{t0};
    std::size_t count = 1;
    for (std::size_t h = 0; h < n; ++h) nudgeSources_[h * kGridTilts] = source_[h];
    for (const double sign : {-1.0, 1.0}) {
      const double q = which == 0 ? onGrid(q0 + sign * step) : q0,
                   tl = which == 1 ? t0 + sign * tiltStep : t0;
      if (q < kMinOpenQuotient || q > kMaxOpenQuotient || tl < 0.0 || tl > kMaxTilt) continue;
      const auto& pulse = pulseLevels(q);
      const auto& filter = tiltLevels(tl);
      for (std::size_t h = 0; h < n; ++h) nudgeSources_[h * kGridTilts + count] = pulse[h] + filter[h];
      qs[count] = q;
      ts[count++] = tl;
    }
    laneMisfits(nudgeSources_.data(), misfits);
    std::size_t pick = 0;
    for (std::size_t c = 0; c < count; ++c) {
      open_ = qs[c];
      const double e = misfits[c] + bandwidthPull();
      if (which == 0 && c == 0)
        best = e;  // the objective as the source stands
      else if (c > 0 && e < best) {
        best = e;
        pick = c;
      }
    }
    setSource(qs[pick], ts[pick]);
  }
  return best;
}

// A high voice's F1 may sit a harmonic away from where the LPC put it, with a
// valley of the objective between: the descent starts from the given F1 and
// from half a harmonic spacing either side, and the best end wins.
double CHarmonicFit::refine(FormantFrame& fr, Starts starts) {
  if (hz_.empty()) return 0.0;
  std::array<double, kFormants> lo{}, hi{};
  for (std::size_t k = 0; k < kFormants; ++k) {
    lo[k] = fr.f[k] * (1.0 - kMaxShift);
    hi[k] = std::min(fr.f[k] * (1.0 + kMaxShift), top_);
  }
  FormantFrame best = fr;
  double bestCost = 1e300, bestWeighed = 1e300, bestOpen = open_, bestTilt = tilt_;
  for (const double shift : {0.0, -0.5, 0.5}) {
    FormantFrame trial = fr;
    if (shift != 0.0) {
      if (starts == Starts::kGiven || !(fr.f[0] > 0.0) || fr.f[0] > kFewHarmonics * f0_) break;
      trial.f[0] = std::clamp(fr.f[0] + shift * f0_, lo[0], hi[0]);
    }
    const double cost = descend(trial, lo, hi);
    // A high voice's ends are weighed by their fit alone (kHighVoiceHz).
    const double weighed = f0_ > kHighVoiceHz ? cost - startPull(trial.f[0]) : cost;
    if (weighed < bestWeighed) {
      bestWeighed = weighed;
      bestCost = cost;
      best = trial;
      bestOpen = open_;
      bestTilt = tilt_;
    }
  }
  fr = best;
  setSource(bestOpen, bestTilt);
  return bestCost;
}

double CHarmonicFit::descend(FormantFrame& fr, const std::array<double, kFormants>& lo,
                             const std::array<double, kFormants>& hi) {
  std::array<bool, kFormants> active{};
  for (std::size_t k = 0; k < kFormants; ++k) {
    r_[k].clear();
    if (!(fr.f[k] > 0.0)) continue;
    setBandwidth(k, std::clamp(fr.b[k] > 0.0 ? fr.b[k] : kTypicalBandwidth[k], kMinBandwidth, kMaxBandwidth));
    resonance(k, fr.f[k], bw_[k], r_[k]);
    active[k] = fr.f[k] < top_;
  }
  startF1_ = fr.f[0];
  double best = chooseOpenQuotient() + startPull(fr.f[0]);
  double openStep = kOpenQuotientGrid / 2.0;
  double step = kFirstStep, logStep = 10.0 * kFirstStep;
  for (int sweep = 0; sweep < kMaxSweeps && step >= kLastStep; ++sweep) {
    bool gained = false;
    const double grow = std::exp(logStep), shrink = std::exp(-logStep);
    for (std::size_t k = 0; k < kFormants; ++k) {
      if (!active[k]) continue;
      double below = lo[k], above = hi[k];
      for (std::size_t j = k; j-- > 0;)
        if (fr.f[j] > 0.0) {
          below = std::max(below, fr.f[j] + kMinGapHz);
          break;
        }
      for (std::size_t j = k + 1; j < kFormants; ++j)
        if (fr.f[j] > 0.0) {
          above = std::min(above, fr.f[j] - kMinGapHz);
          break;
        }
      // What the other formants and the source leave for formant k: each
      // trial of k is then one pass over the harmonics.
      const std::size_t n = hz_.size();
      resid_.resize(n);
      for (std::size_t h = 0; h < n; ++h) resid_[h] = db_[h] - source_[h];
      for (std::size_t j = 0; j < kFormants; ++j)
        if (j != k && !r_[j].empty())
          for (std::size_t h = 0; h < n; ++h) resid_[h] -= r_[j][h];
      const double tries[4][2] = {{step, 1.0}, {-step, 1.0}, {0.0, grow}, {0.0, shrink}};
      const double heldPull = startPull(fr.f[0]);  // while another formant moves
      for (const auto& t : tries) {
        const double F = fr.f[k] * (1.0 + t[0]);
        const double B = std::clamp(bw_[k] * t[1], kMinBandwidth, kMaxBandwidth);
        if (F < below || F > above || (t[0] == 0.0 && B == bw_[k])) continue;
        const std::vector<double>& levels = tried(k, F, B);
        const double keptB = bw_[k], keptLog = logBw_[k];
        if (B != keptB) setBandwidth(k, B);
        const double e =
            misfit(resid_.data(), levels.data()) + bandwidthPull() + (k == 0 ? startPull(F) : heldPull);
        if (e < best - 1e-9) {
          best = e;
          fr.f[k] = F;
          r_[k] = levels;
          gained = true;
        } else {
          bw_[k] = keptB;
          logBw_[k] = keptLog;
        }
      }
    }
    if (!gained) {
      step *= 0.5;
      logStep *= 0.5;
      best = std::min(best, nudgeSource(openStep) + startPull(fr.f[0]));
      openStep *= 0.5;
    }
  }
  for (std::size_t k = 0; k < kFormants; ++k)
    if (active[k]) fr.b[k] = bw_[k];
  return best;
}

}  // namespace vandrel
