#pragma once
// OpenDocument: the UI's handle on one open document. It owns the core
// CVandrelDoc, knows the file it came from and its title, and passes the
// document's observer calls on as Qt signals, unchanged, to every window
// of the document. All windows of one document (the first and those of "New
// Window") share one OpenDocument.

#include <QMetaType>
#include <QObject>
#include <QString>

#include <cstdint>
#include <memory>

#include "document/VandrelDoc.h"

Q_DECLARE_METATYPE(vandrel::CellRange)
Q_DECLARE_METATYPE(vandrel::SampleSlot)

namespace vandrel::ui {

class OpenDocument : public QObject {
  Q_OBJECT
 public:
  // `serial` names a document without a file: "Vandr1", "Vandr2" ... It
  // also tells the documents of one run apart.
  explicit OpenDocument(int serial, QObject* parent = nullptr);
  ~OpenDocument() override;

  vandrel::CVandrelDoc& doc() { return *doc_; }
  const vandrel::CVandrelDoc& doc() const { return *doc_; }

  int serial() const { return serial_; }
  QString path() const { return path_; }  // empty until opened from or saved to a file
  void setPath(const QString& path);      // emits titleChanged
  QString title() const;                  // the file's name, or "Vandr<n>"

  bool isModified() const { return doc_->modified(); }
  void setModified(bool on);

  // Counts the document's change notifications: equal counts, same content.
  std::uint64_t revision() const { return revision_; }

 signals:
  void cellsChanged(vandrel::CellRange cells);  // values or anchors of these cells
  void structureChanged();                      // columns, timing, shown rows, colours, whole table
  void samplesChanged(vandrel::SampleSlot slot);
  void flagsChanged();       // modified / due for synthesis
  void aboutToSynthesize();  // a modified table is about to be synthesized
  void labelsChanged();      // the labels' tiers, boundaries or texts
  void drawingChanged();     // the graphical entry's selected track or track colours
  void titleChanged();

 private:
  class Observer;

  std::unique_ptr<vandrel::CVandrelDoc> doc_;
  std::unique_ptr<Observer> observer_;
  QString path_;
  int serial_;
  std::uint64_t revision_ = 0;
};

}  // namespace vandrel::ui
