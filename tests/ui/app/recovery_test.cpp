// Copies of unsaved work: kept while a document is modified, dropped when it
// is saved or closed, and offered back after a run that did not end normally.

#include <QFile>
#include <QLockFile>
#include <QSettings>
#include <QTest>

#include "ShellFixture.h"
#include "app/CChildFrame.h"
#include "app/CMainFrame.h"
#include "app/CVandrelApp.h"
#include "app/CommandIds.h"
#include "app/DocumentRecovery.h"
#include "app/OpenDocument.h"
#include "document/VandrelDoc.h"
#include "document/VdrFile.h"
#include "editing/EditTransaction.h"
#include "labels/DocumentLabels.h"
#include "labels/TextGrid.h"

namespace vandrel::ui::test {
namespace {

class RecoveryTest : public ShellFixture {
 protected:
  // A run folder as an editor leaves it, with one copy of a document and
  // its labels.
  QString leaveRun(const QString& name, double f0, const QString& belongsTo) {
    const QString folder = recoveryRoot() + QLatin1Char('/') + name;
    EXPECT_TRUE(QDir().mkpath(folder));
    vandrel::CVandrelDoc doc;
    vandrel::EditTransaction(doc).setValue(vandrel::kF0, 2, f0);
    EXPECT_EQ(vandrel::saveVdrFile((folder + QStringLiteral("/3.vdr")).toStdString(), doc,
                                   vandrel::VdrKind::kAllParameters),
              "");
    QFile path(folder + QStringLiteral("/3.path"));
    EXPECT_TRUE(path.open(QIODevice::WriteOnly));
    path.write(belongsTo.toUtf8());
    vandrel::Labels g;
    vandrel::addTier(g, "phones", false, 0.0, 0.2);
    vandrel::setLabelText(g, 0, 0, "a\u02D0");
    EXPECT_EQ(vandrel::saveTextGridFile((folder + QStringLiteral("/3.TextGrid")).toStdString(), g), "");
    return folder;
  }
};

TEST_F(RecoveryTest, CopyFollowsTheDocumentUntilItIsSavedOrClosed) {
  QString run;
  {
    CMainFrame frame(environment());
    ASSERT_NE(frame.recovery(), nullptr);
    run = frame.recovery()->runFolder();
    CChildFrame* child = frame.newDocument();
    OpenDocument& doc = child->document();
    const QString copy = run + QStringLiteral("/%1.vdr").arg(doc.serial());

    frame.recovery()->saveNow();
    EXPECT_FALSE(QFile::exists(copy)) << "an unmodified document needs no copy";

    // Each copy has the table as it is then (the snapshot is kept from one
    // copy to the next, and its room made on the writer after an edit).
    for (const double f1 : {640.0, 700.0}) {
      vandrel::EditTransaction(doc.doc()).setValue(vandrel::kF1, 0, f1);
      doc.doc().markEdited();
      doc.doc().notifyCellsChanged(CellRange{vandrel::kF1, vandrel::kF1, 0, 0});
      frame.recovery()->saveNow();
      ASSERT_TRUE(QFile::exists(copy));
      vandrel::VdrReadResult read = vandrel::readVdrFile(copy.toStdString(), vandrel::ParameterSet{});
      ASSERT_TRUE(read.ok());
      EXPECT_EQ(read.content.table.value(vandrel::kF1, 0), f1);
    }

    nextFile = path(QStringLiteral("files/kept.vdr"));
    frame.runCommand(ID_FILE_SAVE);
    EXPECT_FALSE(QFile::exists(copy)) << "saved: the copy goes";

    doc.doc().markEdited();
    frame.recovery()->saveNow();
    ASSERT_TRUE(QFile::exists(copy));
    answers = {QMessageBox::No};
    child->close();
    EXPECT_FALSE(QFile::exists(copy)) << "closed without saving: the copy goes";
    EXPECT_TRUE(QDir(run).exists());
  }
  EXPECT_FALSE(QDir(run).exists()) << "a normal end removes the run's folder";
}

TEST_F(RecoveryTest, WorkOfAnAbandonedRunIsOfferedAtStartUp) {
  struct Case {
    const char* what;
    QMessageBox::StandardButton answer;
    bool reopened;
  };
  for (const Case& c : {Case{"No keeps them for next time", QMessageBox::No, false},
                        Case{"Yes reopens", QMessageBox::Yes, true}}) {
    SCOPED_TRACE(c.what);
    messages.clear();
    const QString original = path(QStringLiteral("files/vowel.vdr"));
    const QString dead = c.reopened ? recoveryRoot() + QStringLiteral("/dead-run")
                                    : leaveRun(QStringLiteral("dead-run"), 1234.0, original);
    // A run whose editor still lives keeps its lock and is left alone.
    const QString live = leaveRun(QStringLiteral("live-run"), 999.0, QString());
    QLockFile liveLock(live + QStringLiteral("/lock"));
    ASSERT_TRUE(liveLock.tryLock(0));

    answers = {c.answer};
    CVandrelApp app(hooks());
    ASSERT_TRUE(app.initInstance({QStringLiteral("vandrel")}));
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_TRUE(messages[0].startsWith(QStringLiteral("Vandrel did not close normally last time.")));
    EXPECT_TRUE(
        messages[0].contains(QStringLiteral("1 document(s) were kept:\n    %1, copied ").arg(original)))
        << messages[0].toStdString();
    // The old copy goes only once the new run holds its own.
    EXPECT_EQ(QDir(dead).exists(), !c.reopened);
    EXPECT_TRUE(QDir(live).exists());

    CMainFrame& frame = *app.mainFrame();
    ASSERT_EQ(frame.childFrames().size(), 1);
    OpenDocument* doc = frame.activeDocument();
    if (c.reopened) {
      EXPECT_EQ(doc->path(), original);
      EXPECT_TRUE(doc->isModified());
      EXPECT_EQ(doc->doc().table().value(vandrel::kF0, 2), 1234.0);
      EXPECT_EQ(vandrel::documentLabels(doc->doc()).tiers.at(0).intervals.at(0).text, "a\u02D0");
      const QString copy =
          app.mainFrame()->recovery()->runFolder() + QStringLiteral("/%1.vdr").arg(doc->serial());
      const vandrel::TextGridRead labels = vandrel::readTextGridFile(
          QString(copy).replace(QStringLiteral(".vdr"), QStringLiteral(".TextGrid")).toStdString());
      EXPECT_EQ(labels.labels, vandrel::documentLabels(doc->doc())) << labels.message;
      vandrel::VdrReadResult read = vandrel::readVdrFile(copy.toStdString(), vandrel::ParameterSet{});
      ASSERT_TRUE(read.ok());
      EXPECT_EQ(read.content.table.value(vandrel::kF0, 2), 1234.0);
    } else {
      EXPECT_TRUE(doc->path().isEmpty());
      EXPECT_FALSE(doc->isModified());
    }
    liveLock.unlock();
    QDir(live).removeRecursively();
    doc->setModified(false);
  }
}

}  // namespace
}  // namespace vandrel::ui::test
