#pragma once
// OpenDocument: the UI's handle on one open document. It owns the core
// CVandrelDoc, knows the file it came from and its title, and tells every
// window of the document when it changed. All windows of one document (the
// first and those of "New Window") share one OpenDocument.

#include <QObject>
#include <QString>

#include <memory>

#include "document/VandrelDoc.h"

namespace vandrel::ui {

class OpenDocument : public QObject {
  Q_OBJECT
 public:
  // `untitledNumber` names a document without a file: "Vandr1", "Vandr2" ...
  explicit OpenDocument(int untitledNumber, QObject* parent = nullptr);
  ~OpenDocument() override;

  vandrel::CVandrelDoc& doc() { return *doc_; }
  const vandrel::CVandrelDoc& doc() const { return *doc_; }

  QString path() const { return path_; }  // empty until opened from or saved to a file
  void setPath(const QString& path);      // emits titleChanged
  QString title() const;                  // the file's name, or "Vandr<n>"

  bool isModified() const { return doc_->modified; }
  void setModified(bool on);

  // Call after changing the document from outside its views; every view
  // redraws from the core document.
  void notifyChanged() { emit changed(); }

 signals:
  void changed();
  void titleChanged();

 private:
  std::unique_ptr<vandrel::CVandrelDoc> doc_;
  QString path_;
  int untitledNumber_;
};

}  // namespace vandrel::ui
