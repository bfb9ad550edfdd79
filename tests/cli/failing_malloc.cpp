// Preloaded (LD_PRELOAD) into vandrel-cli by the tests, so that a program run
// as a script runs it meets a failed allocation wherever it may come:
//   VANDREL_FAIL_ALLOCATION=N    the allocation numbered N (from 0) fails once
//   VANDREL_COUNT_ALLOCATIONS=F  the number of allocations is written to F at exit
// malloc, calloc and realloc are counted; operator new calls malloc.

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>

extern "C" void* __libc_malloc(std::size_t size);
extern "C" void* __libc_calloc(std::size_t count, std::size_t size);
extern "C" void* __libc_realloc(void* p, std::size_t size);

namespace {

std::atomic<long> calls{0};
std::atomic<long> failAt{-1};
const char* countFile = nullptr;

__attribute__((constructor)) void arm() {
  if (const char* at = std::getenv("VANDREL_FAIL_ALLOCATION")) failAt.store(std::atol(at) - calls.load());
  countFile = std::getenv("VANDREL_COUNT_ALLOCATIONS");
}

__attribute__((destructor)) void tell() {
  const long count = calls.load();
  if (countFile == nullptr) return;
  if (std::FILE* f = std::fopen(countFile, "w")) {
    std::fprintf(f, "%ld\n", count);
    std::fclose(f);
  }
}

bool failNow() {
  calls.fetch_add(1, std::memory_order_relaxed);
  if (failAt.load(std::memory_order_relaxed) < 0 || failAt.fetch_sub(1) != 0) return false;
  errno = ENOMEM;
  return true;
}

}  // namespace

extern "C" {

void* malloc(std::size_t size) { return failNow() ? nullptr : __libc_malloc(size); }
void* calloc(std::size_t count, std::size_t size) { return failNow() ? nullptr : __libc_calloc(count, size); }
void* realloc(void* p, std::size_t size) { return failNow() ? nullptr : __libc_realloc(p, size); }

}  // extern "C"
