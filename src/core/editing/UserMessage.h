#pragma once
// A message the user is to be shown: the exact text of the message box and
// whether a beep comes first. Core operations return these; the UI shows
// them in order.

#include <string>
#include <vector>

namespace vandrel {

struct UserMessage {
  std::string text;  // may be empty: an empty message box is still shown
  bool beep = true;

  bool operator==(const UserMessage&) const = default;
};

using UserMessages = std::vector<UserMessage>;

}  // namespace vandrel
