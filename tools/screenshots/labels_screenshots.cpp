// vandrel-labels-screenshots FOLDER: pictures of labels in the windows for a
// person to judge (never compared): the /da/ example opened with a TextGrid
// beside it (phones, a word, a burst point), the table's label strip, the
// spectrogram/pitch and drawing windows with their tiers (tiled, then each
// on its own), the vowel chosen by a click. scripts/screenshots runs it under a virtual display.

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QTest>

#include "ShotKit.h"
#include "app/CChildFrame.h"
#include "app/CMainFrame.h"
#include "app/CommandIds.h"
#include "app/OpenDocument.h"
#include "common/Messages.h"
#include "labels/TextGrid.h"
#include "views/common/LabelTiersPane.h"
#include "views/spectrogram/CSpectrogramFrame.h"
#include "views/spectrogram/CSpectrogramView.h"
#include "views/spectrogram/SpectrogramCanvas.h"

using namespace vandrel;
using namespace vandrel::ui;
using vandrel::shots::save;

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: vandrel-labels-screenshots FOLDER\n");
    return 2;
  }
  shots::ScratchProfile scratch;
  if (!scratch.valid()) return 1;
  QApplication app(argc, argv);
  const QString folder = QApplication::arguments().at(1);
  if (!QDir().mkpath(folder)) return 1;
  setMessagePresenter([](const MessageRequest&) { return QMessageBox::Ok; });

  // The example and its labels in a scratch folder.
  const QString vdr = scratch.path() + QStringLiteral("/da.vdr");
  QFile::copy(QStringLiteral(VANDREL_SOURCE_DIR "/examples/syllable_da.vdr"), vdr);
  Labels g;
  addTier(g, "phones", false, 0.0, 0.4);
  addBoundary(g, 0, 0.045);
  addBoundary(g, 0, 0.34);
  setLabelText(g, 0, 0, "d");
  setLabelText(g, 0, 1, "a\u02D0");
  addTier(g, "word", false, 0.0, 0.4);
  addBoundary(g, 1, 0.34);
  setLabelText(g, 1, 0, "da");
  addTier(g, "events", true, 0.0, 0.4);
  addBoundary(g, 2, 0.012);
  setLabelText(g, 2, 0, "burst");
  if (!saveTextGridFile((scratch.path() + QStringLiteral("/da.TextGrid")).toStdString(), g).empty()) return 1;

  ShellEnvironment env;
  env.tempFolder = scratch.path();
  env.applicationFolder = QCoreApplication::applicationDirPath();
  CMainFrame frame(env);
  frame.resize(1500, 950);
  frame.show();
  QTest::qWait(200);
  if (!frame.openFile(vdr)) return 1;
  frame.runCommand(ID_ANALYSIS_SPECTRO_SYNTH);
  auto* spectrogram = qobject_cast<CSpectrogramFrame*>(frame.mdiArea()->activeSubWindow());
  frame.runCommand(ID_ENTRY_GRAPHICAL);
  QMdiSubWindow* entry = frame.mdiArea()->activeSubWindow();
  frame.mdiArea()->tileSubWindows();
  QTest::qWait(1500);  // the analyses
  // The vowel chosen in the spectrogram's tiers: every window shows it.
  if (spectrogram) {
    auto* pane = spectrogram->findChild<LabelTiersPane*>();
    const TimeAxis& axis = spectrogram->view()->canvas()->axis();
    if (pane)
      QTest::mouseClick(pane, Qt::LeftButton, {},
                        QPoint(static_cast<int>(axis.xOf(200)), pane->tierRect(0).center().y()));
  }
  QTest::qWait(300);
  save(frame.grab().toImage(), folder + QStringLiteral("/labels.png"));
  if (spectrogram) {
    spectrogram->showMaximized();
    QTest::qWait(800);
    save(spectrogram->grab().toImage(), folder + QStringLiteral("/labels-spectrogram.png"));
  }
  if (entry) {
    entry->showMaximized();
    QTest::qWait(500);
    save(entry->grab().toImage(), folder + QStringLiteral("/labels-entry.png"));
  }
  for (CChildFrame* f : frame.childFrames()) f->document().setModified(false);
  return shots::exitCode();
}
