#pragma once
// Work shared out over threads, each taking the next piece as it finishes
// one: a formant estimate's paths under several ceilings, and its frames'
// harmonic fits, take very different times each.

#include <algorithm>
#include <atomic>
#include <exception>
#include <system_error>
#include <thread>
#include <vector>

namespace vandrel {

// Runs task(i) for i = 0 .. count - 1 on `threads` threads, the calling one
// among them, each taking the next i as it finishes one. An exception of any
// task is thrown again on the calling thread after all have ended.
template <class Task>
void runTasks(int count, int threads, const Task& task) {
  std::atomic<int> next{0};
  std::exception_ptr failure;
  std::atomic<bool> failed{false};
  const auto work = [&] {
    try {
      for (int i = next++; i < count && !failed.load(); i = next++) task(i);
    } catch (...) {
      if (!failed.exchange(true)) failure = std::current_exception();
    }
  };
  std::vector<std::thread> helpers;
  for (int t = 1; t < std::min(threads, count); ++t) {
    try {
      helpers.emplace_back(work);
    } catch (const std::system_error&) {
      break;  // no more threads: the others share the work
    }
  }
  work();
  for (auto& h : helpers) h.join();
  if (failure) std::rethrow_exception(failure);
}

}  // namespace vandrel
