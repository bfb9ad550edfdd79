#include "app/OpenDocument.h"

#include <QFileInfo>

namespace vandrel::ui {

OpenDocument::OpenDocument(int untitledNumber, QObject* parent)
    : QObject(parent), doc_(std::make_unique<vandrel::CVandrelDoc>()), untitledNumber_(untitledNumber) {}

OpenDocument::~OpenDocument() = default;

void OpenDocument::setPath(const QString& path) {
  path_ = path;
  emit titleChanged();
}

QString OpenDocument::title() const {
  if (path_.isEmpty()) return QStringLiteral("Vandr%1").arg(untitledNumber_);
  return QFileInfo(path_).fileName();
}

void OpenDocument::setModified(bool on) {
  if (doc_->modified == on) return;
  doc_->modified = on;
  emit titleChanged();
}

}  // namespace vandrel::ui
