// A hundred damaged files dropped on the editor and opened through File >
// Open, one after another: the editor keeps running, each file gets its
// message or opens, and the document that was open keeps its table.

#include <QApplication>
#include <QDropEvent>
#include <QFile>
#include <QMimeData>

#include <random>

#include "ShellFixture.h"
#include "app/CChildFrame.h"
#include "app/CMainFrame.h"
#include "app/CommandIds.h"
#include "app/OpenDocument.h"
#include "document/VandrelDoc.h"
#include "document/VdrFile.h"
#include "editing/EditTransaction.h"
#include "util/AtomicFile.h"

namespace vandrel::ui::test {
namespace {

class DamagedFilesTest : public ShellFixture {};

TEST_F(DamagedFilesTest, HundredInARowLeaveTheOpenDocumentAlone) {
  // Real files of each kind, damaged: bytes changed, runs cut out or
  // repeated, the end cut off.
  std::vector<std::string> sources;
  for (const char* f :
       {"/vdr/good_all.vdr", "/vdr/good_sel.vdr", "/wav/list_before_data.wav", "/audio/pattern_16k.flac"}) {
    std::string bytes;
    ASSERT_TRUE(vandrel::readWholeFile(std::string(VANDREL_TEST_DATA) + f, bytes)) << f;
    sources.push_back(bytes);
  }
  std::mt19937 rng(17);
  auto below = [&](std::size_t n) { return static_cast<std::size_t>(rng() % n); };
  QStringList files;
  for (int i = 0; i < 100; ++i) {
    std::string bytes = sources[static_cast<std::size_t>(i) % sources.size()];
    for (std::size_t e = below(4); e < 4; ++e) {
      const std::size_t at = below(bytes.size());
      bytes.replace(at, below(16),
                    below(2) != 0 ? bytes.substr(below(bytes.size()), below(32))
                                  : std::string(1, static_cast<char>(rng())));
    }
    if (below(4) == 0) bytes.resize(below(bytes.size()));
    files << path(QStringLiteral("files/damaged%1").arg(i));
    ASSERT_EQ(vandrel::writeFileAtomically(files.last().toStdString(), bytes), "");
  }

  CMainFrame frame(environment());
  frame.show();
  OpenDocument& work = frame.newDocument()->document();
  vandrel::EditTransaction(work.doc()).setValue(vandrel::kF1, 3, 710.0);
  work.doc().markEdited();
  const std::string table = vandrel::writeVdr(work.doc(), vandrel::VdrKind::kAllParameters);

  int opened = 0;
  for (int i = 0; i < files.size(); ++i) {
    SCOPED_TRACE(files[i].toStdString());
    const std::size_t before = messages.size();
    const int windows = static_cast<int>(frame.childFrames().size());
    if (i % 2 == 0) {
      QMimeData mime;
      mime.setUrls({QUrl::fromLocalFile(files[i])});
      QDropEvent drop(QPointF(20, 20), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
      QApplication::sendEvent(&frame, &drop);
    } else {
      nextFile = files[i];
      frame.runCommand(ID_FILE_OPEN);
    }
    const bool newWindow = static_cast<int>(frame.childFrames().size()) == windows + 1;
    const bool refused = messages.size() == before + 1;
    EXPECT_TRUE(refused || newWindow || messages.size() == before) << "one message at most per file";
    opened += refused ? 0 : 1;
    EXPECT_EQ(vandrel::writeVdr(work.doc(), vandrel::VdrKind::kAllParameters), table);
    QCoreApplication::processEvents();
  }
  EXPECT_TRUE(frame.isVisible());
  EXPECT_TRUE(work.isModified());
  EXPECT_FALSE(frame.windowsOf(work).isEmpty());
  EXPECT_GT(opened, 0);  // some damage is harmless
  EXPECT_LT(opened, 100);
  for (CChildFrame* f : frame.childFrames()) f->document().setModified(false);
}

}  // namespace
}  // namespace vandrel::ui::test
