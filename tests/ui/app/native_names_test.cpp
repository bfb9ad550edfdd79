// File names that are not UTF-8 (a Latin-1 "café" in a Latin-1 folder): the
// editor opens, saves, lists and recovers the file by the bytes the system
// knows it by.

#include <QFile>

#include <filesystem>
#include <string>

#include "ShellFixture.h"
#include "app/CVandrelApp.h"
#include "app/DocumentRecovery.h"
#include "common/NativePath.h"
#include "document/VdrFile.h"
#include "editing/EditTransaction.h"
#include "util/AtomicFile.h"

namespace vandrel::ui::test {
namespace {

namespace fs = std::filesystem;

TEST(NativePathTest, EveryByteStringComesBackAsItWas) {
  struct Case {
    const char* what;
    std::string bytes;
    bool utf8;
  };
  const Case cases[] = {
      {"plain", "/data/vowel.vdr", true},
      {"UTF-8 letters", "/data/caf\xC3\xA9 \xE2\x82\xAC.vdr", true},
      {"Latin-1 letter", "/data/caf\xE9.vdr", false},
      {"lead byte at the end", "/data/a\xC3", false},
      {"overlong slash", "/data/a\xC0\xAF", false},
      {"encoded surrogate", "/data/\xED\xA0\x80", false},
      {"beyond U+10FFFF", "/data/\xF4\x90\x80\x80", false},
      {"a real escape character", "/data/\xEF\x9E\x80", true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const QString s = fromNativePath(QByteArray::fromStdString(c.bytes));
    EXPECT_EQ(nativePath(s), c.bytes);
    if (c.utf8 && c.bytes.find("\xEF\x9E") == std::string::npos) {
      EXPECT_EQ(s, QString::fromStdString(c.bytes));
    }
  }
}

TEST_F(ShellFixture, ALatin1NamedFileOpensSavesAndComesBackAsItself) {
  const std::string folder = nativePath(path(QStringLiteral("files"))) + "/d\xFCr";
  ASSERT_TRUE(fs::create_directory(folder));
  const std::string file = folder + "/caf\xE9.vdr";
  vandrel::CVandrelDoc made;
  vandrel::EditTransaction(made).setValue(vandrel::kF0, 3, 1234.0);
  ASSERT_EQ(vandrel::saveVdrFile(file, made, vandrel::VdrKind::kAllParameters), "");

  std::string program = "vandrel", argument = file;
  char* argv[] = {program.data(), argument.data()};
  CVandrelApp app(hooks());
  ASSERT_TRUE(app.initInstance(nativeArguments(2, argv)));
  CMainFrame& frame = *app.mainFrame();
  OpenDocument* doc = frame.activeDocument();
  ASSERT_NE(doc, nullptr);
  EXPECT_EQ(doc->doc().table().value(vandrel::kF0, 3), 1234.0);

  // Saved over itself, not as a new "caf\uFFFD.vdr" beside it.
  vandrel::EditTransaction(doc->doc()).setValue(vandrel::kF0, 3, 1500.0);
  doc->doc().markEdited();
  frame.runCommand(ID_FILE_SAVE);
  EXPECT_TRUE(messages.empty());
  vandrel::VdrReadResult read = vandrel::readVdrFile(file, vandrel::ParameterSet{});
  ASSERT_TRUE(read.ok());
  EXPECT_EQ(read.content.table.value(vandrel::kF0, 3), 1500.0);
  EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 1);

  // A recovery copy names the file it belongs to by its bytes.
  doc->doc().markEdited();
  frame.recovery()->saveNow();
  std::string belongsTo;
  ASSERT_TRUE(vandrel::readWholeFile(
      nativePath(frame.recovery()->runFolder() + QStringLiteral("/%1.path").arg(doc->serial())), belongsTo));
  EXPECT_EQ(belongsTo, file);

  // The recent-file list finds it: already open, it is brought forward.
  ASSERT_EQ(nativePath(frame.recentFiles().value(0)), file);
  frame.runCommand(ID_FILE_MRU_FILE1);
  EXPECT_EQ(frame.childFrames().size(), 1);
  EXPECT_TRUE(messages.empty());
  fs::remove_all(folder);  // the temporary folder's own clean-up cannot see these names
}

}  // namespace
}  // namespace vandrel::ui::test
