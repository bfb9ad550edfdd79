// vandrel-copy-screenshots FOLDER: pictures of Analysis > "Copy Synthesis
// from Audio File" for a person to judge (never compared): its progress
// window while the copy runs, and the table with its anchors and the status
// bar's report afterwards. The recording is a pocketsphinx-testdata sentence
// when installed, otherwise the example [a]-[i]-[u] table synthesized.
// scripts/screenshots runs it under a virtual display.

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QScreen>
#include <QTest>
#include <QTimer>

#include "ShotKit.h"
#include "app/CChildFrame.h"
#include "app/CMainFrame.h"
#include "app/CommandIds.h"
#include "app/OpenDocument.h"
#include "audio/Wave.h"
#include "engine/Synthesizer.h"

using namespace vandrel;
using namespace vandrel::ui;
using vandrel::shots::save;

int main(int argc, char** argv) {
  vandrel::shots::ScratchProfile profile;
  QApplication app(argc, argv);
  const QString folder = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral(".");
  QDir().mkpath(folder);

  ShellEnvironment env;
  env.tempFolder.clear();
  CMainFrame frame(env);
  frame.resize(1280, 860);
  frame.show();
  CChildFrame* child = frame.newDocument();
  child->showMaximized();
  CVandrelDoc& doc = child->document().doc();
  SampleSet recording;
  if (loadWaveFile("/usr/share/pocketsphinx/test/data/librivox/sense_and_sensibility_01_austen_64kb-0930.wav",
                   recording) != WaveLoad::kOk) {
    frame.openFile(QStringLiteral(VANDREL_SOURCE_DIR "/examples/vowels_aiu.vdr"));
    KlattState state;
    state.reset(1);
    synthesize(frame.activeDocument()->doc(), {}, state);
    recording = frame.activeDocument()->doc().synthesized();
  }
  doc.attachAudio(recording);
  frame.updateCommandStates();
  QTest::qWait(100);

  // The progress window as soon as it shows, over the table.
  QTimer::singleShot(0, [&] {
    QTest::qWait(30);
    save(QGuiApplication::primaryScreen()->grabWindow(0).toImage(),
         folder + QStringLiteral("/copy-progress.png"));
  });
  frame.action(ID_ANALYSIS_COPY_SYNTHESIS)->trigger();
  QTest::qWait(100);
  save(frame.grab().toImage(), folder + QStringLiteral("/copy-table.png"));
  return vandrel::shots::exitCode();
}
