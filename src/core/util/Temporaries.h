#pragma once
// Temporary files (and folders made for output) that must not outlive the
// process, even when it is ended by SIGINT, SIGTERM or SIGHUP.
//
// The list is changed only while those signals are held back
// (`SignalsHeld`), so the handler always sees it whole; the handler removes
// what is listed and then ends the process by the same signal.

#include <string>

namespace vandrel {

// Holds SIGINT, SIGTERM and SIGHUP back for the calling thread while it lives;
// one that arrived meanwhile is delivered when it ends.
class SignalsHeld {
 public:
  SignalsHeld();
  ~SignalsHeld();
  SignalsHeld(const SignalsHeld&) = delete;
  SignalsHeld& operator=(const SignalsHeld&) = delete;

 private:
  unsigned char saved_[128];  // the previous signal mask (a sigset_t)
};

// Call with the signals held.
void trackTemporary(const std::string& path);
void untrackTemporary(const std::string& path);
// A folder made for output: removed at a signal when it is empty by then.
void trackMadeFolder(const std::string& path);
void untrackMadeFolder(const std::string& path);

// Installs the handler that removes what is tracked. The command-line tool
// calls it at start; the editor does not (its temporaries live for
// milliseconds and its copies of unsaved work are meant to survive).
void removeTemporariesOnSignals();

}  // namespace vandrel
