#pragma once
// OpenDocument: the UI's handle on one open document. It owns the core
// CVandrelDoc, knows the file it came from and its title, and turns the
// document's observer calls into Qt signals for every window of the
// document. All windows of one document (the first and those of "New
// Window") share one OpenDocument.

#include <QObject>
#include <QString>

#include <cstdint>
#include <memory>

#include "document/VandrelDoc.h"

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

  bool isModified() const { return doc_->modified; }
  void setModified(bool on);

  // Counts the document's change notifications: equal counts, same content.
  std::uint64_t revision() const { return revision_; }

  // Call after changing the document from outside its views when the change
  // was not announced through the core document's notify...() calls.
  void notifyChanged();

 signals:
  void changed();       // values, structure or sounds
  void flagsChanged();  // modified / due for synthesis
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
