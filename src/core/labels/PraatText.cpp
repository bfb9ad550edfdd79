#include "labels/PraatText.h"

#include <charconv>
#include <cmath>

namespace vandrel {

void appendUtf8(std::string& out, char32_t c) {
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    out += static_cast<char>(0xE0 | (c >> 12));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (c >> 18));
    out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
}

namespace {

bool validUtf8(std::string_view s) {
  for (std::size_t i = 0; i < s.size();) {
    const auto b = static_cast<unsigned char>(s[i]);
    const std::size_t more = b < 0x80 ? 0 : (b >> 5) == 6 ? 1 : (b >> 4) == 14 ? 2 : (b >> 3) == 30 ? 3 : 4;
    if (more == 4 || s.size() - i <= more) return false;
    for (std::size_t k = 1; k <= more; ++k)
      if ((static_cast<unsigned char>(s[i + k]) >> 6) != 2) return false;
    i += more + 1;
  }
  return true;
}

// The file's text as UTF-8, or false with `why`.
bool decode(std::string_view bytes, std::string& text, std::string& why) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
  if (bytes.size() >= 2 && ((byte(0) == 0xFE && byte(1) == 0xFF) || (byte(0) == 0xFF && byte(1) == 0xFE))) {
    const bool big = byte(0) == 0xFE;
    if (bytes.size() % 2 != 0) {
      why = "the UTF-16 text ends in the middle of a character";
      return false;
    }
    text.reserve(bytes.size() / 2);
    for (std::size_t i = 2; i < bytes.size(); i += 2) {
      char32_t u = big ? (byte(i) << 8 | byte(i + 1)) : (byte(i + 1) << 8 | byte(i));
      if (u >= 0xD800 && u < 0xDC00 && i + 3 < bytes.size()) {
        const char32_t lo = big ? (byte(i + 2) << 8 | byte(i + 3)) : (byte(i + 3) << 8 | byte(i + 2));
        if (lo >= 0xDC00 && lo < 0xE000) {
          u = 0x10000 + ((u - 0xD800) << 10) + (lo - 0xDC00);
          i += 2;
        }
      }
      if (u >= 0xD800 && u < 0xE000) u = 0xFFFD;  // half a pair: shown as a replacement mark
      appendUtf8(text, u);
    }
    return true;
  }
  if (bytes.size() >= 3 && byte(0) == 0xEF && byte(1) == 0xBB && byte(2) == 0xBF) bytes.remove_prefix(3);
  if (validUtf8(bytes)) {
    text.assign(bytes);
    return true;
  }
  // Older Praat and Windows tools wrote 8-bit text; Latin-1 is what they meant.
  text.reserve(bytes.size() + bytes.size() / 8);
  for (const char c : bytes) appendUtf8(text, static_cast<unsigned char>(c));
  return true;
}

bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v'; }

bool parseNumber(std::string_view word, double& v) {
  if (!word.empty() && word[0] == '+') word.remove_prefix(1);
  const auto [end, ec] = std::from_chars(word.data(), word.data() + word.size(), v);
  return ec == std::errc() && end == word.data() + word.size() && std::isfinite(v);
}

// Splits the text into its data; false with `why` for a text without its
// closing quote.
bool tokenize(const std::string& s, std::vector<PraatToken>& out, std::string& why) {
  int line = 1;
  std::size_t i = 0;
  const auto newline = [&](std::size_t k) {
    if (s[k] == '\n' || (s[k] == '\r' && (k + 1 >= s.size() || s[k + 1] != '\n'))) ++line;
  };
  while (i < s.size()) {
    const char c = s[i];
    if (isSpace(c)) {
      newline(i++);
    } else if (c == '!') {
      while (i < s.size() && s[i] != '\n' && s[i] != '\r') ++i;
    } else if (c == '"') {
      PraatToken t{PraatToken::kText, 0.0, {}, line};
      for (++i;; ++i) {
        if (i >= s.size()) {
          why = "line " + std::to_string(t.line) + ": a text starts here and has no closing quote";
          return false;
        }
        if (s[i] == '"') {
          if (i + 1 < s.size() && s[i + 1] == '"') {
            t.text += '"';
            ++i;
            continue;
          }
          ++i;
          break;
        }
        newline(i);
        t.text += s[i];
      }
      out.push_back(std::move(t));
    } else {
      const std::size_t from = i;
      while (i < s.size() && !isSpace(s[i]) && s[i] != '"' && s[i] != '!') ++i;
      const std::string_view word(s.data() + from, i - from);
      double v = 0.0;
      if (word.size() > 2 && word.front() == '<' && word.back() == '>')
        out.push_back({PraatToken::kFlag, 0.0, std::string(word.substr(1, word.size() - 2)), line});
      else if (parseNumber(word, v))
        out.push_back({PraatToken::kNumber, v, {}, line});
    }
  }
  return true;
}

}  // namespace

bool readPraatText(std::string_view bytes, std::vector<PraatToken>& tokens, std::string& why) {
  std::string text;
  return decode(bytes, text, why) && tokenize(text, tokens, why);
}

PraatReader::PraatReader(const std::vector<PraatToken>& tokens)
    : t_(tokens), lastLine_(tokens.empty() ? 1 : tokens.back().line) {}  // an early end is told there

const PraatToken* PraatReader::take(PraatToken::Kind kind, const std::string& what) {
  if (i_ >= t_.size()) {
    fail(lastLine_, "the file ends before " + what);
    return nullptr;
  }
  const PraatToken& k = t_[i_++];
  line = k.line;
  if (k.kind == kind) return &k;
  fail(k.line, what + " should be " +
                   (kind == PraatToken::kNumber ? "a number"
                    : kind == PraatToken::kText ? "a text in double quotes"
                                                : "a flag such as <exists>"));
  return nullptr;
}

bool PraatReader::number(const std::string& what, double& v) {
  const PraatToken* k = take(PraatToken::kNumber, what);
  if (k) v = k->number;
  return k != nullptr;
}

bool PraatReader::count(const std::string& what, std::size_t& n) {
  double v = 0.0;
  if (!number(what, v)) return false;
  if (v < 0.0 || v != std::floor(v) || v > 1e8)
    return fail(line, what + " should be a whole number, not " + std::to_string(v));
  n = static_cast<std::size_t>(v);
  return true;
}

bool PraatReader::text(const std::string& what, const std::string& expected) {
  const PraatToken* k = take(PraatToken::kText, what);
  if (k && k->text != expected)
    return fail(k->line, what + " should be \"" + expected + "\", not \"" + k->text + "\"");
  return k != nullptr;
}

bool PraatReader::fail(int at, const std::string& reason) {
  if (why.empty()) why = "line " + std::to_string(at) + ": " + reason;
  return false;
}

bool readPraatHeader(PraatReader& r, const std::string& objectClass, std::string& why) {
  const PraatToken* type = r.take(PraatToken::kText, "the file type");
  if (!type || type->text.rfind("ooTextFile", 0) != 0) {
    why = "not a Praat text file (it does not start with File type = \"ooTextFile\")";
    return false;
  }
  const PraatToken* cls = r.take(PraatToken::kText, "the object class");
  if (cls && cls->text != objectClass)
    r.fail(r.line, "the file holds a " + cls->text + ", not a " + objectClass);
  return r.why.empty();
}

}  // namespace vandrel
