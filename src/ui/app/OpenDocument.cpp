#include "app/OpenDocument.h"

#include <QFileInfo>

#include "document/DocObserver.h"

namespace vandrel::ui {

class OpenDocument::Observer : public vandrel::DocObserver {
 public:
  explicit Observer(OpenDocument& owner) : owner_(owner) {}
  void notifyCellsChanged(const vandrel::CellRange& cells) override {
    ++owner_.revision_;
    emit owner_.cellsChanged(cells);
  }
  void notifyStructureChanged() override {
    ++owner_.revision_;
    emit owner_.structureChanged();
  }
  void notifySamplesChanged(vandrel::SampleSlot slot) override {
    ++owner_.revision_;
    emit owner_.samplesChanged(slot);
  }
  void notifyFlagsChanged() override {
    ++owner_.revision_;
    emit owner_.flagsChanged();
  }
  void notifyAboutToSynthesize() override { emit owner_.aboutToSynthesize(); }
  void notifyLabelsChanged() override {
    ++owner_.revision_;
    emit owner_.labelsChanged();
  }
  // Not a change of the file's content: the revision (what the recovery copy
  // follows) stays.
  void notifyDrawingChanged() override { emit owner_.drawingChanged(); }

 private:
  OpenDocument& owner_;
};

OpenDocument::OpenDocument(int serial, QObject* parent)
    : QObject(parent),
      doc_(std::make_unique<vandrel::CVandrelDoc>()),
      observer_(std::make_unique<Observer>(*this)),
      serial_(serial) {
  doc_->addObserver(observer_.get());
}

OpenDocument::~OpenDocument() { doc_->removeObserver(observer_.get()); }

void OpenDocument::setPath(const QString& path) {
  path_ = path;
  emit titleChanged();
}

QString OpenDocument::title() const {
  if (path_.isEmpty()) return QStringLiteral("Vandr%1").arg(serial_);
  return QFileInfo(path_).fileName();
}

void OpenDocument::setModified(bool on) {
  if (doc_->modified() == on) return;
  doc_->setModified(on);  // tells the observers, us included
}

}  // namespace vandrel::ui
