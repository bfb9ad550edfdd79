// The shell's own commands: revert, save and open, help, windows, saving the
// synthesized sound, configuration files, and the progress dialog's drawing.

#include <QAction>
#include <QApplication>
#include <QDropEvent>
#include <QFile>
#include <QImage>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QStatusBar>
#include <QTest>

#include <functional>
#include <new>
#include <vector>

#include "ShellFixture.h"
#include "app/CChildFrame.h"
#include "app/CMainFrame.h"
#include "app/CProgressDialog.h"
#include "app/CommandIds.h"
#include "app/OpenDocument.h"
#include "common/RunOnWorker.h"
#include "config/ConfigFile.h"
#include "document/VandrelDoc.h"
#include "document/VdrFile.h"
#include "editing/EditTransaction.h"

namespace vandrel::ui::test {
namespace {

class ShellCommandsTest : public ShellFixture {
 protected:
  QByteArray readAll(const QString& file) {
    QFile f(file);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
  }
};

// A command short of memory says so, and the editor goes on; so does work
// on a worker thread.
TEST_F(ShellCommandsTest, ACommandShortOfMemorySaysSoAndTheEditorGoesOn) {
  CMainFrame frame(environment());
  frame.router().setHandler(ID_FILE_REVERT_CONFIG, [](CommandContext&) { throw std::bad_alloc(); });
  frame.runCommand(ID_FILE_REVERT_CONFIG);
  EXPECT_EQ(messages, std::vector<QString>{QStringLiteral("There is not enough memory for this command.")});
  frame.runCommand(ID_FILE_NEW);
  EXPECT_NE(frame.activeDocument(), nullptr);
  // Work on a worker thread short of memory gives the empty result.
  QFuture<std::vector<int>> run =
      runOnWorker<std::vector<int>>([]() -> std::vector<int> { throw std::bad_alloc(); });
  run.waitForFinished();
  ASSERT_EQ(run.resultCount(), 1);
  EXPECT_TRUE(run.result().empty());
}

TEST_F(ShellCommandsTest, RevertDeletesTheConfigurationOnlyAfterYes) {
  const QString question = QStringLiteral("Vandrel will close. Save your file first. Continue?");
  struct Case {
    const char* what;
    QMessageBox::StandardButton answer;
    bool deleted;
  };
  for (const Case& c : {Case{"No keeps everything", QMessageBox::No, false},
                        Case{"Yes deletes and closes", QMessageBox::Yes, true}}) {
    SCOPED_TRACE(c.what);
    messages.clear();
    CMainFrame frame(environment());
    frame.show();
    frame.newDocument();
    const QString cfg = frame.environment().configPath();
    ASSERT_EQ(vandrel::saveConfigFile(cfg.toStdString(), vandrel::ConfigRecord::defaults()), "");

    answers = {c.answer};
    frame.runCommand(ID_FILE_REVERT_CONFIG);
    QApplication::processEvents();  // the close is queued
    EXPECT_EQ(messages, std::vector<QString>{question});
    EXPECT_EQ(QFile::exists(cfg), !c.deleted);
    EXPECT_EQ(frame.isVisible(), !c.deleted);
  }
}

TEST_F(ShellCommandsTest, SaveNamesTheDocumentAndOpenBringsItBack) {
  CMainFrame frame(environment());
  CChildFrame* child = frame.newDocument();
  OpenDocument& doc = child->document();
  vandrel::EditTransaction(doc.doc()).setValue(vandrel::kF1, 4, 700.0);
  doc.setModified(true);

  nextFile = path(QStringLiteral("files/vowel"));  // the extension is added
  frame.runCommand(ID_FILE_SAVE);
  const QString saved = path(QStringLiteral("files/vowel.vdr"));
  EXPECT_TRUE(QFile::exists(saved));
  EXPECT_EQ(lastSuggested, QStringLiteral("Vandr1.vdr"));
  EXPECT_EQ(doc.title(), QStringLiteral("vowel.vdr"));
  EXPECT_EQ(child->windowTitle(), QStringLiteral("vowel.vdr"));
  EXPECT_FALSE(doc.isModified());
  EXPECT_EQ(frame.recentFiles(), QStringList{saved});

  // The recent-file item replaces the greyed placeholder.
  EXPECT_FALSE(frame.action(ID_FILE_MRU_FILE1)->isVisible());
  QAction* first = nullptr;
  for (QAction* a : frame.menuBar()->actions().first()->menu()->actions())
    if (a->data().toInt() == ID_FILE_MRU_FILE1 && a->isVisible()) first = a;
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(first->text(), QStringLiteral("&1 ") + saved);

  // Open, or its recent-file item, while it is open brings it forward
  // instead of opening a second copy.
  nextFile = saved;
  for (const auto& choose : std::vector<std::function<void()>>{[&] { frame.runCommand(ID_FILE_OPEN); },
                                                               [&] { first->trigger(); }}) {
    frame.newDocument();
    choose();
    EXPECT_EQ(frame.activeDocument(), &doc);
    EXPECT_EQ(frame.statusBar()->currentMessage(), QStringLiteral("vowel.vdr is already open"));
  }
  EXPECT_EQ(frame.childFrames().size(), 3);
  EXPECT_EQ(asked.back(), QStringLiteral("Open|Vandrel Files (*.vdr);;All files (*)"));

  // Closed, it comes back with its values.
  child->close();
  QApplication::processEvents();
  frame.runCommand(ID_FILE_OPEN);
  ASSERT_EQ(frame.childFrames().size(), 3);
  EXPECT_EQ(frame.activeDocument()->doc().table().value(vandrel::kF1, 4), 700.0);
}

TEST_F(ShellCommandsTest, SavedParameterExportsUseTheirSuggestedNames) {
  CMainFrame frame(environment());
  frame.newDocument();
  struct Case {
    int id;
    const char* suggested;
    int namesOnHeader;
  };
  for (const Case& c : {Case{ID_FILE_SAVE_SELECTED, "Sel_Parameters.vdr", 31},
                        Case{ID_FILE_SAVE_ALL, "All_Parameters.vdr", 48}}) {
    SCOPED_TRACE(c.suggested);
    nextFile = path(QStringLiteral("files/")) + QString::fromLatin1(c.suggested);
    frame.runCommand(c.id);
    EXPECT_TRUE(lastSuggested.endsWith(QString::fromLatin1(c.suggested)));
    const QList<QByteArray> lines = readAll(nextFile).split('\n');
    ASSERT_GT(lines.size(), 9);
    // Line 9 is the header of names (no anchors): count its tabs.
    EXPECT_EQ(lines[8].count('\t'), c.namesOnHeader);
  }
  EXPECT_EQ(frame.activeDocument()->title(), QStringLiteral("Vandr1"));  // exports do not rename
}

TEST_F(ShellCommandsTest, SaveAsAudioSynthesizesFirstAndOpenAnAudioFileAsksForOne) {
  CMainFrame frame(environment());
  frame.newDocument();
  vandrel::CVandrelDoc& doc = frame.activeDocument()->doc();
  ASSERT_TRUE(doc.changedSinceSynthesis());
  nextFile = path(QStringLiteral("files/vowel.wav"));
  frame.runCommand(ID_FILE_SAVE_AUDIO);
  EXPECT_FALSE(doc.changedSinceSynthesis());
  ASSERT_FALSE(doc.synthesized().empty());
  EXPECT_EQ(readAll(nextFile).left(4),
            QByteArray("RIFF"));  // its bytes are the wave writer's tests' business
  EXPECT_EQ(asked.back(), QStringLiteral("Save As Audio|Wave files (*.wav);;All files (*)"));
  EXPECT_TRUE(messages.empty());

  // Opening one asks with its own title and filter; text is no audio.
  nextFile = path(QStringLiteral("files/noise.txt"));
  QFile f(nextFile);
  ASSERT_TRUE(f.open(QIODevice::WriteOnly));
  f.write("not audio at all");
  f.close();
  frame.runCommand(ID_FILE_OPEN_AUDIO);
  EXPECT_EQ(asked.back(), QStringLiteral("Open an Audio file|Wave files (*.wav);;All files (*)"));
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_FALSE(frame.activeDocument()->doc().hasAudio());
}

TEST_F(ShellCommandsTest, HelpOpensTheManualOrSaysItIsMissing) {
  const QString missing = QStringLiteral("No help file was found. Please contact the vendor.");
  const QString beside = QStringLiteral("app/Manual/HelpIndex.html");
  const QString packaged = QStringLiteral("share/doc/vandrel/Manual/HelpIndex.html");
  struct Case {
    const char* what;
    std::vector<QString> manuals;  // under the fixture's folder; the executable's is "app"
    bool opens;
    QString opened;
  };
  const Case cases[] = {
      {"no manual", {}, true, {}},
      {"browser fails", {beside}, false, beside},
      {"beside the executable", {beside}, true, beside},
      {"installed by the package", {packaged}, true, packaged},
      {"both: the one beside wins", {packaged, beside}, true, beside},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    messages.clear();
    openedUrls.clear();
    for (const QString& m : c.manuals) {
      QDir().mkpath(QFileInfo(path(m)).path());
      QFile f(path(m));
      ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    }
    urlOpens = c.opens;
    CMainFrame frame(environment());
    frame.runCommand(ID_HELP_INDEX);
    EXPECT_EQ(messages,
              c.opens && !c.manuals.empty() ? std::vector<QString>{} : std::vector<QString>{missing});
    if (!c.manuals.empty()) {
      ASSERT_EQ(openedUrls.size(), 1u);
      EXPECT_EQ(openedUrls[0], QUrl::fromLocalFile(path(c.opened)));
    }
    for (const QString& m : c.manuals) QFile::remove(path(m));
  }
}

TEST_F(ShellCommandsTest, NewWindowShowsTheSameDocumentUnderNumberedTitles) {
  CMainFrame frame(environment());
  CChildFrame* first = frame.newDocument();
  frame.runCommand(ID_WINDOW_NEW);
  ASSERT_EQ(frame.childFrames().size(), 2);
  CChildFrame* second = frame.activeChildFrame();
  EXPECT_NE(second, first);
  EXPECT_EQ(&second->document(), &first->document());
  EXPECT_EQ(first->windowTitle(), QStringLiteral("Vandr1:1"));
  EXPECT_EQ(second->windowTitle(), QStringLiteral("Vandr1:2"));

  // Closing one window of a modified document asks nothing; the last one asks.
  first->document().setModified(true);
  second->close();
  QApplication::processEvents();
  EXPECT_TRUE(messages.empty());
  EXPECT_EQ(frame.childFrames().size(), 1);
  EXPECT_EQ(first->windowTitle(), QStringLiteral("Vandr1"));
  answers = {QMessageBox::Cancel};
  first->close();
  EXPECT_EQ(messages, std::vector<QString>{QStringLiteral("Save changes to Vandr1?")});
  EXPECT_EQ(frame.childFrames().size(), 1);

  // Close asks once for a document in two windows, then shows the short menu.
  frame.runCommand(ID_WINDOW_NEW);
  messages.clear();
  answers = {QMessageBox::No};
  frame.runCommand(ID_FILE_CLOSE);
  QApplication::processEvents();  // the close is queued
  EXPECT_EQ(messages, std::vector<QString>{QStringLiteral("Save changes to Vandr1?")});
  EXPECT_TRUE(frame.childFrames().isEmpty());
  EXPECT_FALSE(frame.showsDocumentMenus());
  EXPECT_FALSE(frame.action(ID_FILE_SAVE)->isEnabled());
}

TEST_F(ShellCommandsTest, SavedConfigurationLoadsBackAndForeignFilesAreRefused) {
  CMainFrame frame(environment());
  frame.newDocument();
  frame.activeDocument()->doc().changeParams(
      [](vandrel::ParameterSet& ps) { ps.setSelected(vandrel::kGain, true); });
  nextFile = path(QStringLiteral("files/mine.cfg"));
  frame.runCommand(ID_FILE_SAVE_CONFIG);
  EXPECT_EQ(QFileInfo(nextFile).size(), 27760);

  frame.runCommand(ID_FILE_LOAD_CONFIG);
  EXPECT_TRUE(messages.empty());
  EXPECT_EQ(frame.environment().config.params[vandrel::kGain].selected, 1);
  EXPECT_TRUE(QFile::exists(frame.environment().configPath()));  // kept for the next start

  nextFile = path(QStringLiteral("files/foreign.cfg"));
  QFile f(nextFile);
  ASSERT_TRUE(f.open(QIODevice::WriteOnly));
  f.write(QByteArray(27760, 'x'));
  f.close();
  frame.runCommand(ID_FILE_LOAD_CONFIG);
  EXPECT_EQ(messages, std::vector<QString>{QStringLiteral(
                          "The file foreign.cfg is not a Vandrel configuration file. Nothing was loaded.")});
  EXPECT_EQ(frame.environment().config.params[vandrel::kGain].selected, 1);
}

TEST_F(ShellCommandsTest, DroppedParameterFileOpensInAWindowOfItsOwn) {
  vandrel::CVandrelDoc source;
  vandrel::EditTransaction(source).setValue(vandrel::kF2, 0, 1800.0);
  const QString file = path(QStringLiteral("files/dropped.vdr"));
  ASSERT_EQ(vandrel::saveVdrFile(file.toStdString(), source, vandrel::VdrKind::kAllParameters), "");

  CMainFrame frame(environment());
  frame.show();
  QMimeData mime;
  mime.setUrls({QUrl::fromLocalFile(file)});
  QDragEnterEvent enter(QPoint(20, 20), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(&frame, &enter);
  EXPECT_TRUE(enter.isAccepted());
  QDropEvent drop(QPointF(20, 20), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(&frame, &drop);
  EXPECT_TRUE(messages.empty()) << (messages.empty() ? "" : messages[0].toStdString());
  ASSERT_EQ(frame.childFrames().size(), 1);
  EXPECT_EQ(frame.activeDocument()->title(), QStringLiteral("dropped.vdr"));
  EXPECT_EQ(frame.activeDocument()->doc().table().value(vandrel::kF2, 0), 1800.0);
  EXPECT_TRUE(frame.showsDocumentMenus());
}

TEST(CProgressDialogTest, DrawsYellowWithAWhiteBarFilledToTheStepDone) {
  CProgressDialog dialog(CProgressDialog::kSynthesizing);
  const QSize size = dialog.size();
  dialog.setProgress(1, 4);
  const QImage image = dialog.grab().toImage();
  const int barY = size.height() - 17;
  const int quarter = 10 + (size.width() - 20) / 4;
  EXPECT_EQ(image.pixelColor(3, 3), QColor(255, 255, 0));                                 // client area
  EXPECT_EQ(image.pixelColor(5, barY), QColor(255, 255, 0));                              // left margin
  EXPECT_EQ(image.pixelColor(size.width() - 5, barY), QColor(255, 255, 0));               // right margin
  EXPECT_EQ(image.pixelColor(size.width() / 2, size.height() - 5), QColor(255, 255, 0));  // below the bar
  EXPECT_EQ(image.pixelColor(quarter + 5, barY), QColor(Qt::white));                      // not yet done
  const QColor done = image.pixelColor(quarter - 5, barY);
  EXPECT_NE(done, QColor(Qt::white));
  EXPECT_NE(done, QColor(255, 255, 0));
}

}  // namespace
}  // namespace vandrel::ui::test
