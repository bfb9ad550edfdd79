#pragma once
// Praat's text files (TextGrid, KlattGrid and the rest of its objects) read
// the way Praat reads them: the only data are free-standing numbers, texts in
// double quotes (a quote inside is doubled) and flags such as <exists>;
// everything else ("xmin =", "item [2]:", a "!" comment to the end of the
// line) is there for the human reader. So the long form Praat saves and the
// short form (the bare data, one item a line) read alike. The bytes may be
// UTF-8 with or without a byte-order mark, UTF-16 with one (either byte
// order), or, failing UTF-8, Latin-1.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace vandrel {

struct PraatToken {
  enum Kind { kNumber, kText, kFlag } kind = kNumber;
  double number = 0.0;
  std::string text;  // a text's or a flag's (without the angle brackets)
  int line = 0;
};

// The file's data in order; false with "line N: why" (or a reason about the
// encoding) when it cannot be split.
bool readPraatText(std::string_view bytes, std::vector<PraatToken>& tokens, std::string& why);

// Takes the data one by one, each named for the message when it is missing
// or of the wrong kind. The first failure is kept in `why`.
class PraatReader {
 public:
  explicit PraatReader(const std::vector<PraatToken>& tokens);

  std::string why;  // "line N: reason"
  int line = 0;     // of the last item taken

  const PraatToken* take(PraatToken::Kind kind, const std::string& what);
  bool number(const std::string& what, double& v);
  bool count(const std::string& what, std::size_t& n);  // a whole number, 0 or more
  // A text equal to `expected`.
  bool text(const std::string& what, const std::string& expected);
  bool atEnd() const { return i_ >= t_.size(); }
  // Records a failure at `at` (unless one is kept already); returns false.
  bool fail(int at, const std::string& reason);

 private:
  const std::vector<PraatToken>& t_;
  std::size_t i_ = 0;
  int lastLine_;
};

// Checks the header: File type = "ooTextFile", Object class = `objectClass`.
// On failure `why` says what the file is instead.
bool readPraatHeader(PraatReader& r, const std::string& objectClass, std::string& why);

void appendUtf8(std::string& out, char32_t c);

}  // namespace vandrel
