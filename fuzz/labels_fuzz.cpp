// libFuzzer entry: see FuzzChecks.h for what is checked.

#include <cstdio>
#include <cstdlib>

#include "FuzzChecks.h"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  const std::string broken =
      vandrel::fuzz::checkLabels(std::string_view(reinterpret_cast<const char*>(data), size));
  if (!broken.empty()) {
    std::fprintf(stderr, "checkLabels: %s\n", broken.c_str());
    std::abort();
  }
  return 0;
}
