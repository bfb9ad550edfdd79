// A copy that runs out of memory: every allocation of this program can be
// made to fail once, at a count set by the test, and a copy whose allocation
// fails anywhere (on its own thread or its helpers') either says there is not
// enough memory and leaves the document as it was, or makes the very copy it
// makes with memory to spare. It never ends the program, nor makes a lesser
// copy and calls it done.

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <string>

#include "batch/CopySynthesis.h"
#include "document/VdrFile.h"
#include "editing/EditTransaction.h"
#include "engine/Synthesizer.h"

namespace {

// Every allocation is counted; the one `failAt` counts down to throws.
std::atomic<long> allocations{0};
std::atomic<long> failAt{-1};

}  // namespace

// AddressSanitizer brings its own operator new, and tells this one's frees
// from its own allocations: there the test is skipped.
#if !defined(__SANITIZE_ADDRESS__)
#define VANDREL_FAILING_NEW 1
// GCC takes the replaced operator new for the one it knows and calls the free
// below mismatched; here they are a pair.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
void* operator new(std::size_t size) {
  allocations.fetch_add(1, std::memory_order_relaxed);
  if (failAt.load(std::memory_order_relaxed) >= 0 && failAt.fetch_sub(1) == 0) throw std::bad_alloc();
  if (void* p = std::malloc(size == 0 ? 1 : size)) return p;
  throw std::bad_alloc();
}
void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { operator delete(p); }
#pragma GCC diagnostic pop
#endif

namespace vandrel {
namespace {

// Half a second of a high voice (f0 220-260 Hz, so that the copy closes F1
// and F2 over its own analysis), then frication.
SampleSet highVoiceToken() {
  CVandrelDoc src;
  src.newTable(50, 10);
  {
    EditTransaction edit(src);
    for (int c = 0; c < 50; ++c) {
      const bool vowel = c < 38;
      edit.setValue(kF0, c, vowel ? 2200 + 10 * c : 0);
      edit.setValue(kAv, c, vowel ? 60 : 0);
      edit.setValue(kF1, c, 750 - 6 * c);
      edit.setValue(kF2, c, 1200 + 15 * c);
      edit.setValue(kAf, c, vowel ? 0 : 55);
      edit.setValue(kA5f, c, vowel ? 0 : 60);
    }
  }
  KlattState state;
  state.reset(1);
  synthesize(src, {}, state);
  return src.synthesized();
}

TEST(CopyOutOfMemoryTest, SaysSoAndChangesNothingOrMakesTheWholeCopy) {
#if !defined(VANDREL_FAILING_NEW)
  GTEST_SKIP() << "AddressSanitizer's allocator";
#endif
  const SampleSet token = highVoiceToken();
  ASSERT_FALSE(token.samples.empty());
  for (const int threads : {1, 2}) {
    SCOPED_TRACE("threads " + std::to_string(threads));
    CopySettings settings;
    settings.threads = threads;
    CVandrelDoc whole;
    const long before = allocations.load();
    ASSERT_EQ(copySynthesis(token, settings, whole).status, CopyResult::Status::kOk);
    const long count = allocations.load() - before;
    const std::string wholeText = writeVdr(whole, VdrKind::kAllParameters);

    CVandrelDoc mine;
    mine.newTable(3, 10);
    EditTransaction(mine).setValue(kF1, 1, 444);
    const std::string mineText = writeVdr(mine, VdrKind::kAllParameters);
    constexpr long kTries = 24;
    int refused = 0;
    for (long i = 0; i < kTries; ++i) {
      // The first allocations, then ever further in, the last near the end.
      const long at = i < 4 ? i : (count - 1) * (i - 3) / (kTries - 4);
      SCOPED_TRACE("allocation " + std::to_string(at) + " of " + std::to_string(count));
      CVandrelDoc doc = mine;
      failAt.store(at);
      const CopyResult r = copySynthesis(token, settings, doc);
      failAt.store(-1);
      if (r.status == CopyResult::Status::kOk) {
        EXPECT_TRUE(writeVdr(doc, VdrKind::kAllParameters) == wholeText) << "a lesser copy";
      } else {
        ++refused;
        EXPECT_EQ(r.status, CopyResult::Status::kAnalysisFailed);
        EXPECT_EQ(r.message, "there is not enough memory to copy this recording");
        EXPECT_TRUE(writeVdr(doc, VdrKind::kAllParameters) == mineText) << "the document changed";
      }
    }
    EXPECT_GT(refused, kTries / 2);
  }
}

}  // namespace
}  // namespace vandrel
