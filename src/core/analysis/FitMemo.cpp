#include "analysis/FitMemo.h"

namespace vandrel {

bool CFitMemo::find(std::string_view key, Fit& out) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto it = fits_.find(std::string(key));
  if (it == fits_.end()) return false;
  out = it->second;
  return true;
}

void CFitMemo::keep(std::string_view key, const Fit& fit) {
  // The key's bytes, the fit and the map's node and bucket.
  const std::size_t bytes = key.size() + sizeof(Fit) + 8 * sizeof(void*);
  const std::lock_guard<std::mutex> lock(mutex_);
  if (bytes_ + bytes > kMaxBytes) return;
  if (fits_.emplace(std::string(key), fit).second) bytes_ += bytes;
}

}  // namespace vandrel
