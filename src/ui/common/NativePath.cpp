#include "common/NativePath.h"

#include <QFile>

#include <filesystem>
#include <system_error>

namespace vandrel::ui {

namespace {

constexpr char32_t kEscapeBase = 0xF700;  // byte b travels as U+F700 + b, b >= 0x80

bool isEscape(char32_t c) { return c >= kEscapeBase + 0x80 && c <= kEscapeBase + 0xFF; }

// The character of the valid, shortest UTF-8 sequence at bytes[i], and its
// length; 0 when there is none there.
int decodeUtf8(const QByteArray& bytes, qsizetype i, char32_t& c) {
  const auto byte = [&](qsizetype k) { return static_cast<unsigned char>(bytes[k]); };
  const unsigned char lead = byte(i);
  int length = 0;
  char32_t least = 0;
  if (lead < 0x80) {
    c = lead;
    return 1;
  }
  if ((lead & 0xE0) == 0xC0) {
    length = 2, least = 0x80, c = lead & 0x1Fu;
  } else if ((lead & 0xF0) == 0xE0) {
    length = 3, least = 0x800, c = lead & 0x0Fu;
  } else if ((lead & 0xF8) == 0xF0) {
    length = 4, least = 0x10000, c = lead & 0x07u;
  } else {
    return 0;
  }
  if (i + length > bytes.size()) return 0;
  for (int k = 1; k < length; ++k) {
    if ((byte(i + k) & 0xC0) != 0x80) return 0;
    c = (c << 6) | (byte(i + k) & 0x3Fu);
  }
  if (c < least || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) return 0;
  // A name that really holds one of the escape characters keeps its bytes
  // escaped one by one, so that it too comes back as it was.
  return isEscape(c) ? 0 : length;
}

}  // namespace

QString fromNativePath(const QByteArray& bytes) {
  QString out;
  out.reserve(bytes.size());
  for (qsizetype i = 0; i < bytes.size();) {
    char32_t c = 0;
    const int length = decodeUtf8(bytes, i, c);
    if (length == 0) {
      c = kEscapeBase + static_cast<unsigned char>(bytes[i]);
      i += 1;
    } else {
      i += length;
    }
    out += QString::fromUcs4(&c, 1);
  }
  return out;
}

std::string nativePath(const QString& path) {
  std::string out;
  out.reserve(static_cast<std::size_t>(path.size()));
  bool escaped = false;
  for (const char32_t c : path.toUcs4()) {
    if (isEscape(c)) {
      out += static_cast<char>(c - kEscapeBase);
      escaped = true;
    } else {
      out += QString::fromUcs4(&c, 1).toUtf8().toStdString();
    }
  }
  // A name picked in a file dialog that holds an escape character as such
  // (the dialog lists only UTF-8 names) is that file, when it exists.
  if (escaped) {
    const std::string asGiven = QFile::encodeName(path).toStdString();
    std::error_code ec;
    if (!std::filesystem::exists(out, ec) && std::filesystem::exists(asGiven, ec)) return asGiven;
  }
  return out;
}

QStringList nativeArguments(int argc, char** argv) {
  QStringList arguments;
  for (int i = 0; i < argc; ++i) arguments << fromNativePath(QByteArray(argv[i]));
  return arguments;
}

}  // namespace vandrel::ui
