#include "playback/PlayCommands.h"

#include <QObject>

#include <memory>

#include "app/CProgressDialog.h"
#include "app/CommandIds.h"
#include "app/CommandRouter.h"
#include "app/OpenDocument.h"
#include "engine/Synthesizer.h"
#include "playback/PlayCommand.h"

namespace vandrel::ui {

namespace {

// Holds a document's player as a child of its OpenDocument, so the player is
// closed with the document, on the interface thread, while Qt is still up.
class PlayerSlot : public QObject {
 public:
  explicit PlayerSlot(QObject* parent) : QObject(parent) { setObjectName(kName); }
  static constexpr const char* kName = "vandrel-player";
  std::unique_ptr<CSoundOut> player;
};

PlayerSlot* slotOf(OpenDocument& document, bool create) {
  auto* slot =
      dynamic_cast<PlayerSlot*>(document.findChild<QObject*>(PlayerSlot::kName, Qt::FindDirectChildrenOnly));
  if (slot == nullptr && create) slot = new PlayerSlot(&document);
  return slot;
}

void play(CommandContext& ctx, PlayWhich which) {
  OpenDocument& document = *ctx.document;
  CVandrelDoc& doc = document.doc();
  QWidget* view = ctx.dialogParent();
  if (which == PlayWhich::Current && doc.changedSinceSynthesis) {
    // Synthesize here, behind the progress dialog; the Play command then finds
    // the table up to date. The dialog is down before any message appears.
    CProgressDialog::run(
        view, CProgressDialog::kSynthesizing,
        [&doc](const CProgressDialog::Progress& progress) { ensureSynthesized(doc, progress); });
  }
  playCommand(doc, which, slotOf(document, true)->player, view);
}

const bool installed = addCommandInstaller(&installPlayCommands);

}  // namespace

void installPlayCommands(CommandRouter& router) {
  router.setHandler(ID_PLAY_CURRENT, [](CommandContext& ctx) { play(ctx, PlayWhich::Current); });
  router.setHandler(ID_PLAY_PREVIOUS, [](CommandContext& ctx) { play(ctx, PlayWhich::Previous); });
  router.setHandler(ID_PLAY_AUDIO, [](CommandContext& ctx) { play(ctx, PlayWhich::Audio); });
}

CSoundOut* documentPlayer(OpenDocument& document) {
  PlayerSlot* slot = slotOf(document, false);
  return slot != nullptr ? slot->player.get() : nullptr;
}

}  // namespace vandrel::ui
