// vandrel-labels-screenshots FOLDER: pictures of labels in the windows for a
// person to judge (never compared): the /da/ example opened with a TextGrid
// beside it (phones, a word, a burst point), the table's label strip, the
// spectrogram/pitch and drawing windows with their tiers (tiled, also at the
// user's guide's size for Manual/images/labels.png, then each on its own),
// the vowel chosen by a click. scripts/screenshots runs it under a virtual
// display.

#include <QApplication>
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
  shots::PictureTool tool(argc, argv, "vandrel-labels-screenshots FOLDER");
  if (!tool.ok()) return tool.failure();
  const QString folder = tool.folder();
  shots::answerMessagesUnseen();

  // The example and its labels in a scratch folder.
  const QString vdr = tool.scratchPath() + QStringLiteral("/da.vdr");
  QFile::copy(QStringLiteral(VANDREL_SOURCE_DIR "/examples/syllable_da.vdr"), vdr);
  Labels g;
  addTier(g, "phones", false, 0.0, 0.4);
  addBoundary(g, 0, 0.045);
  addBoundary(g, 0, 0.37);
  setLabelText(g, 0, 0, "d");
  setLabelText(g, 0, 1, "a\u02D0");
  addTier(g, "word", false, 0.0, 0.4);
  addBoundary(g, 1, 0.37);
  setLabelText(g, 1, 0, "da");
  addTier(g, "events", true, 0.0, 0.4);
  addBoundary(g, 2, 0.040);
  setLabelText(g, 2, 0, "burst");
  if (!saveTextGridFile((tool.scratchPath() + QStringLiteral("/da.TextGrid")).toStdString(), g).empty())
    return 1;

  ShellEnvironment env = tool.environment();
  CMainFrame frame(env);
  shots::showAtPictureSize(frame);
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
  const QImage tiled = frame.grab().toImage();
  save(tiled, folder + QStringLiteral("/labels.png"));
  // The user's guide's picture.
  save(tiled.scaledToWidth(1000, Qt::SmoothTransformation), folder + QStringLiteral("/labels-guide.png"));
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
