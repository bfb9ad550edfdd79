#pragma once
// PlayHead: where the sound of a document is, while it plays - a time in ms
// from the start of the signal, or none. One per open document, a child of
// its OpenDocument; the document's player moves it and its views follow it
// (a line in the spectrogram views, the current column in the table).

#include <QObject>

namespace vandrel::ui {

class OpenDocument;

class PlayHead : public QObject {
  Q_OBJECT
 public:
  // The document's play head, made on first use.
  static PlayHead& of(OpenDocument& document);

  // The time being heard, or a negative value when nothing plays.
  double ms() const { return ms_; }
  bool playing() const { return ms_ >= 0; }
  void setMs(double ms);
  void clear() { setMs(-1); }

 signals:
  void moved(double ms);  // negative: the sound has stopped

 private:
  explicit PlayHead(QObject* parent);
  double ms_ = -1;
};

}  // namespace vandrel::ui
