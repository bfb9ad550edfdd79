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
  const std::lock_guard<std::mutex> lock(mutex_);
  fits_.emplace(std::string(key), fit);
}

}  // namespace vandrel
