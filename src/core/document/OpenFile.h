#pragma once
// Opening a file: the WAV reader first, then the second check (another audio
// decoder, injected so the core stays free of libraries), then the
// parameter-file reader. The first that accepts the file wins.
//
// Reading and applying are separate steps: reading never touches a document,
// so a refused file leaves the open document exactly as it was, and the
// caller decides where the result goes (a parameter file makes a document of
// its own; a recording goes beside the table of the active one).

#include <functional>
#include <optional>
#include <string>

#include "audio/SampleSet.h"
#include "document/VdrFile.h"

namespace vandrel {

class CVandrelDoc;

// Decodes an audio file into 16-bit mono samples at the file's own rate, or
// declines with std::nullopt. A file it reads but will not open (longer than
// kMaxAudioSeconds) is declined with the reason in `refusal`. Must not throw.
using AudioDecoder = std::function<std::optional<SampleSet>(const std::string& path, std::string& refusal)>;

enum class OpenedKind {
  kNothing,     // refused; `message` says why
  kAudio,       // a recording, in `audio`
  kParameters,  // a parameter file, in `parameters`
};

// Which reader accepted the file.
enum class OpenedBy { kNone, kWaveReader, kSecondCheck, kParameterReader };

struct OpenedFile {
  OpenedKind kind = OpenedKind::kNothing;
  OpenedBy by = OpenedBy::kNone;
  SampleSet audio;
  VdrContent parameters;
  std::string message;  // the text the user is shown when refused
  std::string detail;   // why, for logs and the command line
  std::string note;     // opened, but the user should know something (status bar)

  bool ok() const { return kind != OpenedKind::kNothing; }
};

// The document's open command: all three readers in turn. `defaults` gives
// the values of rows a selected-parameters file leaves out.
OpenedFile readAnyFile(const std::string& path, const AudioDecoder& secondCheck,
                       const ParameterSet& defaults);

// "Open an audio file...": the two audio readers only.
OpenedFile readAudioFile(const std::string& path, const AudioDecoder& secondCheck);

// Puts what was read into `doc`: a parameter file replaces its table and
// settings (loadVdr), a recording goes beside the table (attachAudio).
// A refused file changes nothing.
void applyOpened(CVandrelDoc& doc, OpenedFile opened);

}  // namespace vandrel
