#include "analysis/FormantEstimator.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <new>
#include <numeric>
#include <optional>
#include <string>
#include <thread>
#include <utility>

#include "analysis/AutocorrelationPitch.h"
#include "analysis/Burg.h"
#include "analysis/CeilingChoice.h"
#include "analysis/HarmonicFit.h"
#include "analysis/MathFunc.h"
#include "analysis/RunTasks.h"
#include "util/Median.h"

namespace vandrel {
namespace {

using S = FormantEstimateSettings;
constexpr double kPi = 3.14159265358979323846;
constexpr std::size_t kFormants = FormantFrame::kFormants;
// The ceiling whose resampled signal also serves the harmonic fit: its rate,
// 11 kHz, holds every harmonic below the fit's top.
constexpr double kFitCeiling = 5500.0;
// Frames handed to a thread at a time: enough to keep its harmonic fit's
// buffers warm, few enough that the threads end together.
constexpr int kFramesPerTask = 32;
// The harmonics an estimate holds from its paths' scores to its refinement
// (a high voice's take about 1.2 KB a frame, with the source levels made
// for the scores); beyond it they are measured again, which takes longer but
// gives the same.
constexpr std::size_t kMaxHeldBytes = std::size_t{32} << 20;
// The stretch of a resampled signal made at a time.
constexpr double kPieceSeconds = 1.0;

struct CeilingTrack {
  double ceiling = 0.0;
  std::vector<FormantFrame> path;
  std::vector<double> fit;  // the harmonic fit's objective per voiced frame (dB^2), else 0
};

// A pass that only chooses the ceilings (steps 1 and 2) and gives its
// stretches' costs, or weighs other frames' stretches with its own.
struct ChoicePass {
  bool only = false;
  std::vector<StretchCosts>* costs = nullptr;       // where set, its stretches' costs
  const std::vector<StretchCosts>* with = nullptr;  // where set, weighed with its own
};

class Estimator {
 public:
  Estimator(std::span<const std::int16_t> samples, double fs, const S& s, const AnalysisProgress& progress,
            const std::atomic<bool>* cancel, ChoicePass choice = {})
      : x_(samples),
        fs_(fs),
        s_(s),
        progress_(progress),
        cancel_(cancel),
        choice_(choice),
        caller_(std::this_thread::get_id()),
        threads_(s.threads > 0 ? s.threads
                               : static_cast<int>(std::max(1u, std::thread::hardware_concurrency()))) {}

  FormantEstimate run() {
    FormantEstimate out;
    const auto m = static_cast<std::size_t>(s_.frames);
    loudness();
    std::vector<double> ceilings;
    for (double c : S::kCeilings)
      if (2.0 * c <= fs_ * 1.0001) ceilings.push_back(c);
    if (ceilings.empty()) ceilings.push_back(std::floor(fs_ / 2.0));
    fitRate_ = fs_;
    for (double c : ceilings)
      if (std::fabs(c - kFitCeiling) < 1.0) fitRate_ = 2.0 * c;
    if (s_.ceilings.size() == m) {
      std::vector<double> given = ceilings;
      std::erase_if(given, [&](double c) {
        return std::find(s_.ceilings.begin(), s_.ceilings.end(), c) == s_.ceilings.end();
      });
      if (!given.empty()) ceilings = std::move(given);  // else nothing sounded: all are analysed
    }
    total_ = static_cast<int>((ceilings.size() + (choice_.only ? 0 : 1)) * m);
    std::vector<CeilingTrack> tracks(ceilings.size());
    // The pitch is tracked beside the ceilings' paths (only the fits need
    // it). Longest first, so that the threads end together: the pitch, then
    // the highest ceiling, whose rate gives its frames the most samples.
    const int pitchTasks = s_.f0.size() == m ? 0 : 1;
    if (pitchTasks == 0) f0_ = s_.f0;
    runTasks(static_cast<int>(ceilings.size()) + pitchTasks, threads_, [&](int k) {
      if (k < pitchTasks) return pitch();
      const std::size_t uk = ceilings.size() - 1 - static_cast<std::size_t>(k - pitchTasks);
      tracks[uk] = {ceilings[uk], track(ceilings[uk]), {}};
    });
    tell();
    if (cancelled()) return cancelledResult();
    out.frames.assign(m, {});
    out.ceiling.assign(m, 0.0);
    out.openQuotient.assign(m, 0.0);
    scoreTracks(tracks);
    choose(tracks, out);
    if (choice_.only) {
      out.status = FormantEstimate::Status::kOk;
      return out;
    }
    refine(out);
    tell();
    if (cancelled()) return cancelledResult();
    smooth(out);
    out.f0 = f0_;
    out.status = FormantEstimate::Status::kOk;
    return out;
  }

 private:
  bool cancelled() const { return cancel_ != nullptr && cancel_->load(std::memory_order_relaxed); }
  static FormantEstimate cancelledResult() {
    FormantEstimate r;
    r.status = FormantEstimate::Status::kCancelled;
    return r;
  }
  // Progress is told on the calling thread only, the others just count; the
  // caller tells every count in turn up to what all have done, so a run tells
  // the same sequence whichever thread did which frame.
  void step() {
    ++done_;
    if (std::this_thread::get_id() == caller_) tell();
  }
  void tell() {
    if (!progress_) return;
    for (const int done = done_.load(); told_ < done;) progress_(++told_, total_);
  }
  // Frame blocks of kFramesPerTask for runTasks.
  int frameTasks() const { return (s_.frames + kFramesPerTask - 1) / kFramesPerTask; }
  std::size_t taskBegin(int task) const { return static_cast<std::size_t>(task) * kFramesPerTask; }
  std::size_t taskEnd(int task) const {
    return std::min(static_cast<std::size_t>(s_.frames), taskBegin(task) + kFramesPerTask);
  }
  double centre(std::size_t i) const { return s_.firstCentre + static_cast<double>(i) * s_.spacing; }

  // The autocorrelation track with its windows centred on the frames
  // (frames whose window would start before the recording take the first
  // window's value).
  void pitch() {
    const auto m = static_cast<std::size_t>(s_.frames);
    if (s_.pitch) {
      f0_ = s_.pitch();
      if (f0_.size() == m) return;
    }
    f0_.assign(m, 0.0);
    if (m == 0) return;
    const double window = std::ceil(CAutocorrelationPitch::kPeriodsPerWindow * fs_ / S::kLowestF0);
    const double lead = window / 2.0 - s_.firstCentre;
    const int shift = lead > 0.0 ? static_cast<int>(std::ceil(lead / s_.spacing)) : 0;
    CAutocorrelationPitch::Settings ps;
    ps.fmin = S::kLowestF0;
    ps.fmax = S::kHighestF0;
    ps.stepSamples = s_.spacing;
    ps.offset = s_.firstCentre + shift * s_.spacing - window / 2.0;
    CAutocorrelationPitch tracker;
    const CAutocorrelationPitch::Status status = tracker.compute(x_, fs_, ps);
    // Short of memory the estimate fails as a whole (kNoMemory), rather than
    // reading the recording as unvoiced.
    if (status == CAutocorrelationPitch::Status::kNoMemory) throw std::bad_alloc();
    if (status != CAutocorrelationPitch::Status::kOk || tracker.track().empty()) return;
    const auto& t = tracker.track();
    for (std::size_t i = 0; i < m; ++i)
      f0_[i] = t[static_cast<std::size_t>(
          std::clamp(static_cast<int>(i) - shift, 0, static_cast<int>(t.size()) - 1))];
  }

  void loudness() {
    const auto m = static_cast<std::size_t>(s_.frames);
    sounding_.assign(m, 0);
    std::vector<double> e(m, 0.0);
    const double half = S::kLpcWindowMs * fs_ / 2000.0;
    const auto n = static_cast<std::ptrdiff_t>(x_.size());
    for (std::size_t i = 0; i < m; ++i) {
      const auto from = std::clamp(static_cast<std::ptrdiff_t>(centre(i) - half), std::ptrdiff_t{0}, n);
      const auto to = std::clamp(static_cast<std::ptrdiff_t>(centre(i) + half), std::ptrdiff_t{0}, n);
      double sum = 0.0;
      for (auto j = from; j < to; ++j) {
        const double v = x_[static_cast<std::size_t>(j)];
        sum += v * v;
      }
      e[i] = to > from ? sum / static_cast<double>(to - from) : 0.0;
    }
    const double loudest = m > 0 ? *std::max_element(e.begin(), e.end()) : 0.0;
    const double gate = loudest * std::pow(10.0, -S::kSilenceDb / 10.0);
    for (std::size_t i = 0; i < m; ++i) sounding_[i] = e[i] > 0.0 && e[i] >= gate ? 1 : 0;
  }

  std::vector<FormantFrame> track(double ceiling) {
    const auto m = static_cast<std::size_t>(s_.frames);
    const double rate = 2.0 * ceiling;
    // The resampled signal is made a piece at a time, as the frames reach it.
    const bool same = std::fabs(rate - fs_) < 1e-6;
    const CResampler<std::int16_t> resampler(x_, fs_, rate);
    const std::size_t total = same ? x_.size() : resampler.size();
    std::vector<double> piece;
    std::size_t pieceFrom = 0;
    const double ratio = rate / fs_;
    const int pairs = std::clamp(static_cast<int>(std::lround(ceiling / 1000.0)), 2, 5);
    const auto w = static_cast<std::size_t>(S::kLpcWindowMs * rate / 1000.0);
    const auto pieceSize = std::max<std::size_t>(static_cast<std::size_t>(rate * kPieceSeconds), 2 * w + 2);
    const double alpha = std::exp(-2.0 * kPi * S::kPreEmphasisHz / rate);
    std::vector<std::vector<FormantCandidate>> cand(m);
    std::vector<double> hamming(w);
    for (std::size_t j = 0; j < w; ++j)
      hamming[j] = 0.54 - 0.46 * std::cos(2.0 * kPi * static_cast<double>(j) / static_cast<double>(w - 1));
    std::vector<double> coeffs(static_cast<std::size_t>(CMathFunc::kMaxLpcOrder) + 1);
    CMathFunc math;
    // The predictors of kLanes frames at a time.
    CBurg burg;
    std::array<std::vector<double>, CBurg::kLanes> frames, predictors;
    std::array<const double*, CBurg::kLanes> lanes{};
    std::array<std::size_t, CBurg::kLanes> which{};
    std::size_t count = 0;
    for (std::size_t l = 0; l < CBurg::kLanes; ++l) lanes[l] = (frames[l] = std::vector<double>(w)).data();
    const auto candidates = [&] {
      burg.predictors(lanes, count, w, 2 * pairs, predictors);
      for (std::size_t l = 0; l < count; ++l) {
        std::copy(predictors[l].begin(), predictors[l].end(), coeffs.begin());
        const FormantCandidates* fc =
            math.formantCandidates(2 * pairs, S::kMaxCandidateBandwidth, coeffs.data(), rate);
        if (fc == nullptr) continue;
        for (int k = 0; k < fc->count; ++k) {
          const double F = fc->frequency[static_cast<std::size_t>(k)],
                       B = fc->bandwidth[static_cast<std::size_t>(k)];
          if (F > 50.0 && F < ceiling - 50.0 && B > 0.0) cand[which[l]].push_back({F, B});
        }
      }
      count = 0;
    };
    const auto size = static_cast<std::ptrdiff_t>(total);
    for (std::size_t i = 0; i < m; ++i) {
      step();
      if (cancelled()) return {};
      if (sounding_[i] == 0 || size < static_cast<std::ptrdiff_t>(w) + 1) continue;
      const auto first =
          std::clamp(static_cast<std::ptrdiff_t>(centre(i) * ratio - static_cast<double>(w) / 2.0),
                     std::ptrdiff_t{1}, size - static_cast<std::ptrdiff_t>(w));
      const auto from = static_cast<std::size_t>(first) - 1;
      if (piece.empty() || from < pieceFrom || from + w + 1 > pieceFrom + piece.size()) {
        pieceFrom = from;
        piece.resize(std::min(pieceSize, total - from));
        if (same)
          std::copy_n(x_.begin() + static_cast<std::ptrdiff_t>(from), piece.size(), piece.begin());
        else
          resampler.range(pieceFrom, pieceFrom + piece.size(), piece.data());
      }
      const double* y = piece.data() + (from - pieceFrom);  // sample first - 1
      std::vector<double>& frame = frames[count];
      for (std::size_t j = 0; j < w; ++j) frame[j] = (y[j + 1] - alpha * y[j]) * hamming[j];
      which[count++] = i;
      if (count == CBurg::kLanes) candidates();
    }
    if (count > 0) candidates();
    return formantPath(cand, ceiling, s_.spacing * 1000.0 / fs_);
  }

  // The fit reads the signal resampled for kFitCeiling where that ceiling is
  // analysed (else the recording), a piece per task.
  void scoreTracks(std::vector<CeilingTrack>& tracks) {
    if (std::fabs(fitRate_ - fs_) >= 1e-6) fitResampler_.emplace(x_, fs_, fitRate_);
    fitTotal_ = fitResampler_ ? fitResampler_->size() : x_.size();
    for (auto& t : tracks) t.fit.assign(t.path.size(), 0.0);
    harmonics_.assign(static_cast<std::size_t>(s_.frames), {});
    measured_.assign(static_cast<std::size_t>(s_.frames), 0);
    std::atomic<std::size_t> held{0};
    runTasks(frameTasks(), threads_, [&](int task) {
      CHarmonicFit fit;
      std::vector<double> piece;
      const std::size_t offset = fitPiece(taskBegin(task), taskEnd(task) - 1, piece);
      for (std::size_t i = taskBegin(task); i < taskEnd(task); ++i) {
        if (sounding_[i] == 0 || !(f0_[i] > 0.0) ||
            !fit.measure(piece, offset, fitTotal_, fitRate_, centre(i) * fitRate_ / fs_, f0_[i]))
          continue;
        for (auto& t : tracks) t.fit[i] = fit.score(t.path[i]);
        measured_[i] = 1;
        if (choice_.only) continue;  // nothing is refined
        CHarmonicFit::Harmonics h = fit.release();
        const std::size_t bytes = bytesOf(h);
        if (held.fetch_add(bytes) + bytes <= kMaxHeldBytes)
          harmonics_[i] = std::move(h);
        else
          held.fetch_sub(bytes);  // measured again when refined
      }
    });
  }

  // Samples [offset, offset + piece's size) of the fit's signal, the offset
  // returned, that hold the windows of frames first..last.
  std::size_t fitPiece(std::size_t first, std::size_t last, std::vector<double>& piece) const {
    const double reach = CHarmonicFit::kMaxWindowMs * fitRate_ / 1000.0 + 2.0;  // a whole window either side
    const double lo = std::max(0.0, centre(first) * fitRate_ / fs_ - reach);
    const double hi = centre(last) * fitRate_ / fs_ + reach;
    const std::size_t offset = std::min(fitTotal_, static_cast<std::size_t>(lo));
    const std::size_t end =
        std::max(offset, std::min(fitTotal_, static_cast<std::size_t>(std::max(0.0, hi)) + 1));
    piece.resize(end - offset);
    if (fitResampler_)
      fitResampler_->range(offset, end, piece.data());
    else
      std::copy(x_.begin() + static_cast<std::ptrdiff_t>(offset),
                x_.begin() + static_cast<std::ptrdiff_t>(end), piece.begin());
    return offset;
  }

  static std::size_t bytesOf(const CHarmonicFit::Harmonics& h) {
    std::size_t n = sizeof(h) + (h.hz.capacity() + h.db.capacity()) * sizeof(double);
    for (const auto* cache : {&h.pulses, &h.tilts}) {
      n += cache->entries.capacity() * sizeof(cache->entries[0]);
      for (const auto& e : cache->entries) n += e.levels.capacity() * sizeof(double);
    }
    return n;
  }

  // The track of the ceiling given most often over frames [i, end), if any
  // is given (the first of a tie).
  const CeilingTrack* given(const std::vector<CeilingTrack>& tracks, std::size_t i, std::size_t end) const {
    if (s_.ceilings.size() != static_cast<std::size_t>(s_.frames)) return nullptr;
    const CeilingTrack* most = nullptr;
    std::ptrdiff_t times = 0;
    for (const CeilingTrack& t : tracks) {
      const auto n = std::count(s_.ceilings.begin() + static_cast<std::ptrdiff_t>(i),
                                s_.ceilings.begin() + static_cast<std::ptrdiff_t>(end), t.ceiling);
      if (n > times) {
        times = n;
        most = &t;
      }
    }
    return most;
  }

  // Per sounding stretch, the track that fits the harmonics best and runs
  // smoothest, over the stretches of its voice (CeilingChoice.h), where no
  // ceiling is given.
  void choose(const std::vector<CeilingTrack>& tracks, FormantEstimate& out) const {
    const auto m = static_cast<std::size_t>(s_.frames);
    const auto reach = static_cast<std::ptrdiff_t>(std::max(1.0, S::kSmoothMs * fs_ / 1000.0 / s_.spacing));
    struct Stretch {
      std::size_t first, end;
      const CeilingTrack* track;
    };
    std::vector<Stretch> stretches;
    std::vector<StretchCosts> costs;
    std::vector<double> f0;
    for (std::size_t i = 0; i < m;) {
      if (sounding_[i] == 0) {
        ++i;
        continue;
      }
      std::size_t end = i;
      while (end < m && sounding_[end] != 0) ++end;
      stretches.push_back({i, end, given(tracks, i, end)});
      if (stretches.back().track == nullptr) {
        StretchCosts& c = costs.emplace_back();
        f0.clear();
        for (std::size_t j = i; j < end; ++j)
          if (f0_[j] > 0.0) f0.push_back(f0_[j]);
        if (!f0.empty()) c.f0 = upperMedian(f0);
        for (const CeilingTrack& t : tracks)
          c.costs.push_back(stretchCost(t.path, t.fit, i, end, reach, S::kMissingCost, S::kFitWeight));
      }
      i = end;
    }
    if (choice_.costs != nullptr) *choice_.costs = costs;
    if (choice_.with != nullptr) costs.insert(costs.end(), choice_.with->begin(), choice_.with->end());
    const std::vector<std::size_t> picks = chooseCeilings(costs);
    std::size_t next = 0;
    for (const Stretch& s : stretches) {
      const CeilingTrack& t = s.track != nullptr ? *s.track : tracks[picks[next++]];
      for (std::size_t j = s.first; j < s.end; ++j) {
        out.frames[j] = t.path[j];
        out.ceiling[j] = t.ceiling;
      }
    }
  }

  // On the harmonics scoreTracks measured, in two passes: the first fits
  // each frame alone; the second again from the same start, with the open
  // quotient pulled towards the median of the first pass's over the frames
  // around (a voice's open phase changes slowly, and a frame's harmonics
  // alone cannot tell a lower F1 from a shorter open phase). The second
  // descends from the path's formants only: its pull already decides
  // between the two, and with the other starts too a 60 s copy took a
  // quarter more time (2.5 s of CPU instead of 2.0) for the same figures.
  // The first needs them all: from the path's formants alone its medians
  // lost F1 on the synthetic diphthongs at 210 Hz (60-68% of frames).
  // The median reaches no further than the frames with harmonics on either
  // side, so each such stretch is one task of both passes: a frame's source
  // levels are kept from the first to the second while only the stretch's
  // are held (all of a 60 s copy's would take 40 MB).
  void refine(FormantEstimate& out) {
    const std::vector<FormantFrame> start =
        withGapsFilled(out.frames, measured_, f0_, CHarmonicFit::kMinGapHz, CHarmonicFit::kFewHarmonics);
    const auto m = static_cast<std::size_t>(s_.frames);
    std::vector<std::pair<std::size_t, std::size_t>> stretches;
    for (std::size_t i = 0; i < m; ++i) {
      if (measured_[i] == 0) {
        step();
        continue;
      }
      if (stretches.empty() || stretches.back().second != i) stretches.emplace_back(i, i);
      ++stretches.back().second;
    }
    // Longest first, so that the threads end together.
    std::stable_sort(stretches.begin(), stretches.end(),
                     [](const auto& a, const auto& b) { return a.second - a.first > b.second - b.first; });
    runTasks(static_cast<int>(stretches.size()), threads_, [&](int task) {
      const auto [first, end] = stretches[static_cast<std::size_t>(task)];
      CHarmonicFit fit;
      CFitMemo::Fit kept;
      std::vector<std::string> keys(end - first);
      // The harmonics scoreTracks could not hold, measured again as it measured them.
      if (std::any_of(harmonics_.begin() + static_cast<std::ptrdiff_t>(first),
                      harmonics_.begin() + static_cast<std::ptrdiff_t>(end),
                      [](const auto& h) { return h.hz.empty(); })) {
        std::vector<double> piece;
        const std::size_t offset = fitPiece(first, end - 1, piece);
        CHarmonicFit measurer;
        for (std::size_t i = first; i < end; ++i)
          if (harmonics_[i].hz.empty() &&
              measurer.measure(piece, offset, fitTotal_, fitRate_, centre(i) * fitRate_ / fs_, f0_[i]))
            harmonics_[i] = measurer.release();
      }
      for (std::size_t i = first; i < end; ++i) {
        if (cancelled()) return;
        std::string& key = keys[i - first];
        if (s_.memo != nullptr) {
          key = fitKey(harmonics_[i], start[i]);
          if (s_.memo->find(key, kept)) {
            out.openQuotient[i] = kept.openQuotient;
            continue;
          }
        }
        fit.use(std::move(harmonics_[i]));
        FormantFrame f = start[i];
        fit.refine(f, CHarmonicFit::Starts::kAll);
        out.openQuotient[i] = fit.openQuotient();
        harmonics_[i] = fit.release();
        if (s_.memo != nullptr) s_.memo->keep(key, {f, out.openQuotient[i]});
      }
      const auto reach = static_cast<std::size_t>(S::kSourceReach);
      std::vector<double> centre(end - first), w;
      for (std::size_t i = first; i < end; ++i) {
        w.assign(out.openQuotient.begin() + static_cast<std::ptrdiff_t>(i - std::min(i - first, reach)),
                 out.openQuotient.begin() + static_cast<std::ptrdiff_t>(std::min(end, i + reach + 1)));
        centre[i - first] = upperMedian(w);
      }
      for (std::size_t i = first; i < end; ++i) {
        step();
        if (cancelled()) return;
        std::string& key = keys[i - first];
        if (s_.memo != nullptr) {
          // The first pass's key, and the pull.
          key.insert(0, 1, '2');
          CFitMemo::add(key, &centre[i - first], 1);
          if (s_.memo->find(key, kept)) {
            out.frames[i] = kept.frame;
            out.openQuotient[i] = kept.openQuotient;
            continue;
          }
        }
        fit.use(std::move(harmonics_[i]));
        fit.pullOpenQuotient(centre[i - first], S::kOpenQuotientPull);
        FormantFrame f = start[i];
        fit.refine(f, CHarmonicFit::Starts::kGiven);
        out.frames[i] = f;
        out.openQuotient[i] = fit.openQuotient();
        if (s_.memo != nullptr) s_.memo->keep(key, {f, out.openQuotient[i]});
      }
    });
    harmonics_.clear();
    measured_.clear();
  }

  // What a frame's first fit depends on: its harmonics and its start.
  static std::string fitKey(const CHarmonicFit::Harmonics& h, const FormantFrame& start) {
    std::string key(1, '1');
    for (const std::vector<double>* v : {&h.hz, &h.db}) {
      const std::size_t n = v->size();
      CFitMemo::add(key, &n, 1);
      CFitMemo::add(key, v->data(), n);
    }
    CFitMemo::add(key, &h.f0, 1);
    CFitMemo::add(key, &h.top, 1);
    CFitMemo::add(key, start.f.data(), start.f.size());
    CFitMemo::add(key, start.b.data(), start.b.size());
    return key;
  }

  // A running median of kMedianFrames over each formant within runs of frames
  // that have it.
  static void smooth(FormantEstimate& out) {
    const std::size_t m = out.frames.size();
    const std::size_t h = S::kMedianFrames / 2;
    const std::vector<FormantFrame> in = out.frames;
    std::vector<double> w;
    for (std::size_t k = 0; k < kFormants; ++k)
      for (std::size_t i = 0; i < m; ++i) {
        if (!(in[i].f[k] > 0.0)) continue;
        w.clear();
        for (std::size_t j = i >= h ? i - h : 0; j <= std::min(m - 1, i + h); ++j)
          if (in[j].f[k] > 0.0) w.push_back(in[j].f[k]);
        out.frames[i].f[k] = upperMedian(w);
      }
  }

  std::span<const std::int16_t> x_;  // the caller's, which outlive the estimate
  double fs_;
  const S& s_;
  const AnalysisProgress& progress_;
  const std::atomic<bool>* cancel_;
  std::vector<double> f0_;
  std::vector<char> sounding_;
  std::vector<CHarmonicFit::Harmonics> harmonics_;  // per frame; empty where none were measured or held
  std::vector<char> measured_;                      // where harmonics were measured
  std::optional<CResampler<std::int16_t>> fitResampler_;
  std::size_t fitTotal_ = 0;
  double fitRate_ = 0.0;
  ChoicePass choice_;
  std::thread::id caller_;
  int threads_ = 1;
  std::atomic<int> done_{0};
  int told_ = 0, total_ = 0;
};

// The choice's two passes, then the estimate under its ceilings, tell
// their progress as shares of kWhole.
constexpr int kWhole = 1000, kChoiceShare = 200;

}  // namespace

std::vector<double> estimateCeilings(std::span<const std::int16_t> samples, double fs, double spacing,
                                     int threads, const AnalysisProgress& progress,
                                     const std::atomic<bool>* cancel) {
  if (!(fs > 0.0) || !(spacing > 0.0) || samples.size() < 100 ||
      static_cast<double>(samples.size()) < spacing)
    return {};
  S grid;
  grid.frames = static_cast<int>(std::min(static_cast<double>(samples.size()) / spacing, 1e9));
  grid.spacing = spacing;
  grid.threads = threads;
  S between = grid;
  grid.firstCentre = spacing / 2.0;
  between.firstCentre = spacing;
  std::vector<StretchCosts> costs;
  if (Estimator(samples, fs, between, progressShare(progress, 0, kWhole / 2, kWhole), cancel,
                {true, &costs, nullptr})
          .run()
          .status != FormantEstimate::Status::kOk)
    return {};
  FormantEstimate e = Estimator(samples, fs, grid, progressShare(progress, kWhole / 2, kWhole, kWhole),
                                cancel, {true, nullptr, &costs})
                          .run();
  return e.status == FormantEstimate::Status::kOk ? std::move(e.ceiling) : std::vector<double>{};
}

FormantEstimate estimateFormants(std::span<const std::int16_t> samples, double fs,
                                 const FormantEstimateSettings& settings, const AnalysisProgress& progress,
                                 const std::atomic<bool>* cancel) {
  FormantEstimate r;
  if (!(fs > 0.0) || settings.frames < 0 || !(settings.spacing > 0.0) ||
      !std::isfinite(settings.firstCentre)) {
    r.status = FormantEstimate::Status::kBadOptions;
    return r;
  }
  if (samples.size() < 100) {
    r.status = FormantEstimate::Status::kTooShort;
    return r;
  }
  try {
    if (!settings.ceilings.empty() || settings.frames == 0)
      return Estimator(samples, fs, settings, progress, cancel).run();
    const std::vector<double> grid =
        estimateCeilings(samples, fs, settings.spacing, settings.threads,
                         progressShare(progress, 0, kChoiceShare, kWhole), cancel);
    if (cancel != nullptr && cancel->load()) {
      r.status = FormantEstimate::Status::kCancelled;
      return r;
    }
    S under = settings;
    if (!grid.empty())
      under.ceilings = ceilingsAt(grid, settings.spacing, settings.firstCentre, settings.frames);
    return Estimator(samples, fs, under, progressShare(progress, kChoiceShare, kWhole, kWhole), cancel).run();
  } catch (const std::bad_alloc&) {
    r.status = FormantEstimate::Status::kNoMemory;
    return r;
  }
}

}  // namespace vandrel
