#include "util/Temporaries.h"

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <mutex>
#include <vector>

namespace vandrel {

namespace {

static_assert(sizeof(sigset_t) <= 128, "SignalsHeld keeps the mask in 128 bytes");

// Threads other than the one holding the signals (the editor's copy writer)
// change the lists too; the mutex orders them. The handler reads without it:
// it only runs in the command-line tool, whose one thread holds the signals
// whenever it changes a list.
std::mutex& listMutex() {
  static std::mutex m;
  return m;
}
std::vector<std::string>& files() {
  static std::vector<std::string> v;
  return v;
}
std::vector<std::string>& folders() {
  static std::vector<std::string> v;
  return v;
}

void erase(std::vector<std::string>& v, const std::string& s) {
  const auto it = std::find(v.rbegin(), v.rend(), s);
  if (it != v.rend()) v.erase(std::next(it).base());
}

extern "C" void removeAndEnd(int sig) {
  for (const std::string& f : files()) ::unlink(f.c_str());
  // The deepest folder was made last.
  for (auto it = folders().rbegin(); it != folders().rend(); ++it) ::rmdir(it->c_str());
  ::signal(sig, SIG_DFL);
  ::raise(sig);
}

sigset_t endingSignals() {
  sigset_t s;
  sigemptyset(&s);
  sigaddset(&s, SIGINT);
  sigaddset(&s, SIGTERM);
  sigaddset(&s, SIGHUP);
  return s;
}

}  // namespace

SignalsHeld::SignalsHeld() {
  const sigset_t held = endingSignals();
  sigset_t old;
  pthread_sigmask(SIG_BLOCK, &held, &old);
  std::memcpy(saved_, &old, sizeof old);
}

SignalsHeld::~SignalsHeld() {
  sigset_t old;
  std::memcpy(&old, saved_, sizeof old);
  pthread_sigmask(SIG_SETMASK, &old, nullptr);
}

void trackTemporary(const std::string& path) {
  const std::lock_guard<std::mutex> lock(listMutex());
  files().push_back(path);
}

void untrackTemporary(const std::string& path) {
  const std::lock_guard<std::mutex> lock(listMutex());
  erase(files(), path);
}

void trackMadeFolder(const std::string& path) {
  const std::lock_guard<std::mutex> lock(listMutex());
  folders().push_back(path);
}

void untrackMadeFolder(const std::string& path) {
  const std::lock_guard<std::mutex> lock(listMutex());
  erase(folders(), path);
}

void removeTemporariesOnSignals() {
  files().reserve(4096);
  folders().reserve(16);
  struct sigaction sa {};
  sa.sa_handler = removeAndEnd;
  sigemptyset(&sa.sa_mask);
  const sigset_t all = endingSignals();
  sa.sa_mask = all;  // one ending signal at a time
  for (const int sig : {SIGINT, SIGTERM, SIGHUP}) ::sigaction(sig, &sa, nullptr);
}

}  // namespace vandrel
