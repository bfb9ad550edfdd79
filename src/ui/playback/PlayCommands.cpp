#include "playback/PlayCommands.h"

#include <QAction>
#include <QActionGroup>
#include <QHBoxLayout>
#include <QLabel>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
#include <QStatusBar>
#include <QToolBar>
#include <QToolButton>

#include <optional>

#include "app/CChildFrame.h"
#include "app/CMainFrame.h"
#include "app/CProgressDialog.h"
#include "app/CommandIds.h"
#include "app/CommandRouter.h"
#include "app/OpenDocument.h"
#include "common/Synthesize.h"
#include "common/Workspace.h"
#include "engine/Synthesizer.h"
#include "playback/ListenTo.h"
#include "playback/Listening.h"

namespace vandrel::ui {

namespace {

constexpr const char* kListenGroup = "vandrel-listen-to";
constexpr const char* kListenButton = "vandrel-listen-to-button";
constexpr const char* kNowPlaying = "vandrel-now-playing";

std::optional<TimeSpan> tableSpan(const CommandContext& ctx) {
  if (!ctx.document || ctx.mainFrame->windowsOf(*ctx.document).isEmpty()) return std::nullopt;
  const auto& frames = Workspace::of(*ctx.document).tableFrames();
  if (!frames) return std::nullopt;
  return columnsSpan(frames->first, frames->last, ctx.document->doc().params().intervalMs);
}

std::optional<TimeSpan> viewSpan(const CommandContext& ctx) {
  // A selection is only heard while a window of the document shows it.
  bool shown = false;
  for (QMdiSubWindow* w : ctx.mainFrame->mdiArea()->subWindowList())
    if (auto* view = dynamic_cast<DocumentWindow*>(w); view && &view->document() == ctx.document)
      shown = true;
  if (!shown) return std::nullopt;
  const auto& s = Workspace::of(*ctx.document).selection();
  if (!s) return std::nullopt;
  return TimeSpan{s->startMs, s->endMs};
}

std::optional<TimeSpan> chosenSpan(const CommandContext& ctx) {
  const bool tableInFront =
      qobject_cast<CChildFrame*>(ctx.mainFrame->mdiArea()->activeSubWindow()) != nullptr;
  const auto first = tableInFront ? tableSpan(ctx) : viewSpan(ctx);
  return first ? first : (tableInFront ? viewSpan(ctx) : tableSpan(ctx));
}

bool loopOn(const CommandContext& ctx) { return Workspace::of(*ctx.document).loop(); }

std::uint8_t soloOf(const CommandContext& ctx) {
  const auto choice = static_cast<std::size_t>(Workspace::of(*ctx.document).listenTo());
  return choice < kListenChoices.size() ? kListenChoices[choice].select : std::uint8_t{CKlattEngine::kNormal};
}

// The menu's checks and the drop-down show the choices of the document in
// front; they follow it when another document comes forward.
void showListening(CMainFrame& frame) {
  OpenDocument* document = frame.activeDocument();
  const bool loop = document && Workspace::of(*document).loop();
  const int choice = document ? Workspace::of(*document).listenTo() : 0;
  if (QAction* a = frame.action(ID_PLAY_LOOP)) a->setChecked(loop);
  if (auto* group = frame.findChild<QActionGroup*>(kListenGroup))
    for (QAction* a : group->actions())
      if (a->data().toInt() == ID_LISTEN_TO_FIRST + choice) {
        a->setChecked(true);
        if (auto* button = frame.toolBar()->findChild<QToolButton*>(kListenButton))
          button->setText(QStringLiteral("Listen to: ") + a->text());
      }
}

// The toolbar's word on what is heard: the side A/B has gone to, or nothing.
void showSide(CMainFrame& frame, const Listening& l) {
  auto* label = frame.toolBar()->findChild<QLabel*>(kNowPlaying);
  if (!label) return;
  static constexpr const char* kSides[] = {"Current", "Previous", "Audio"};
  QString text;
  if (l.playing()) {
    text = QStringLiteral(" Playing: %1 ").arg(QString::fromUtf8(kSides[static_cast<int>(l.side())]));
    // A side taken to the other's rate says so: its own rate is not what is heard.
    if (l.sideRate() != l.streamRate())
      text += QStringLiteral("(%1 Hz, heard at %2 Hz) ").arg(l.sideRate()).arg(l.streamRate());
  }
  label->setText(text);
}

Listening& listeningOf(CommandContext& ctx) {
  Listening& l = Listening::of(*ctx.document);
  QObject::connect(&l, &Listening::stopped, ctx.mainFrame, &CMainFrame::updateCommandStates,
                   Qt::UniqueConnection);
  if (!l.property(kNowPlaying).toBool()) {
    l.setProperty(kNowPlaying, true);
    CMainFrame* frame = ctx.mainFrame;
    const auto show = [frame, &l] { showSide(*frame, l); };
    QObject::connect(&l, &Listening::stopped, frame, show);
    QObject::connect(&l, &Listening::sideChanged, frame, show);
  }
  return l;
}

// A signal heard alone can be far louder than the whole it is part of (a
// fricative's noise before the formants); it is turned down rather than
// clipped, and the status bar says so, so that levels are never misread.
void reportTurnedDown(CommandContext& ctx, const Listening& listening, std::uint8_t solo) {
  const double down = listening.soloTurnedDownDb();
  if (solo == CKlattEngine::kNormal || down <= 0.0) return;
  const char* label = "";
  for (const ListenChoice& c : kListenChoices)
    if (c.select == solo) label = c.label;
  ctx.mainFrame->showStatus(QStringLiteral("%1 turned down by %2 dB to keep it from clipping")
                                .arg(QString::fromUtf8(label))
                                .arg(down, 0, 'f', 1));
}

void play(CommandContext& ctx, PlayWhich which) {
  if (!ctx.document) return;
  QWidget* view = ctx.dialogParent();
  const std::uint8_t solo = which == PlayWhich::Current ? soloOf(ctx) : std::uint8_t{CKlattEngine::kNormal};
  if (which == PlayWhich::Current && solo == CKlattEngine::kNormal)
    synthesizeWithProgress(ctx.document->doc(), view);
  Listening& listening = listeningOf(ctx);
  listening.play(which, chosenSpan(ctx), loopOn(ctx), solo, view);
  reportTurnedDown(ctx, listening, solo);
  // An empty set plays nothing; the status bar says why instead of "Ready".
  if (solo == CKlattEngine::kNormal && chosenSet(ctx.document->doc(), which).empty())
    ctx.mainFrame->showStatus(which == PlayWhich::Audio
                                  ? QStringLiteral("No audio file is open beside this document")
                                  : QStringLiteral("Nothing has been synthesized yet"));
}

void switchSides(CommandContext& ctx) {
  Listening& listening = listeningOf(ctx);
  const std::uint8_t solo = soloOf(ctx);
  if (listening.next() == PlayWhich::Current && solo == CKlattEngine::kNormal)
    synthesizeWithProgress(ctx.document->doc(), ctx.dialogParent());
  if (!listening.switchSides(solo, ctx.dialogParent()))
    ctx.mainFrame->showStatus(QStringLiteral("A/B Switch: play a sound first"));
  else if (listening.side() == PlayWhich::Current)
    reportTurnedDown(ctx, listening, solo);
}

const bool installed = addCommandInstaller(&installPlayCommands);
const bool decorated = addFrameDecorator(&decoratePlayMenu);

}  // namespace

void installPlayCommands(CommandRouter& router) {
  router.setHandler(ID_PLAY_CURRENT, [](CommandContext& ctx) { play(ctx, PlayWhich::Current); });
  router.setHandler(ID_PLAY_PREVIOUS, [](CommandContext& ctx) { play(ctx, PlayWhich::Previous); });
  router.setHandler(ID_PLAY_AUDIO, [](CommandContext& ctx) { play(ctx, PlayWhich::Audio); });
  router.setHandler(ID_PLAY_SWITCH, [](CommandContext& ctx) { switchSides(ctx); });
  // The menu item is checkable: its check, just toggled, is what the user
  // asked for.
  router.setHandler(ID_PLAY_LOOP, [](CommandContext& ctx) {
    if (!ctx.document) return;
    const QAction* item = ctx.mainFrame->action(ID_PLAY_LOOP);
    Workspace::of(*ctx.document).setLoop(item && item->isChecked());
    if (Listening* l = Listening::find(*ctx.document)) l->setLoop(loopOn(ctx), ctx.dialogParent());
  });
  router.setHandler(
      ID_PLAY_STOP,
      [](CommandContext& ctx) {
        if (Listening* l = Listening::find(*ctx.document)) l->stop();
      },
      [](const CommandContext& ctx) {
        const Listening* l = ctx.document ? Listening::find(*ctx.document) : nullptr;
        return l != nullptr && l->playing();
      });
  // Choosing what to listen to plays it.
  for (int i = 0; i < static_cast<int>(kListenChoices.size()); ++i)
    router.setHandler(ID_LISTEN_TO_FIRST + i, [i](CommandContext& ctx) {
      if (!ctx.document) return;
      Workspace::of(*ctx.document).setListenTo(i);
      play(ctx, PlayWhich::Current);
    });
}

void decoratePlayMenu(CMainFrame& frame) {
  QAction* loop = frame.action(ID_PLAY_LOOP);
  QAction* audio = frame.action(ID_PLAY_AUDIO);
  if (!loop || !audio) return;
  loop->setCheckable(true);

  auto* group = new QActionGroup(&frame);
  group->setObjectName(kListenGroup);
  auto* menu = new QMenu(QStringLiteral("Listen to"), &frame);
  menu->setObjectName(QStringLiteral("ListenToMenu"));
  menu->setIcon(QIcon(QStringLiteral(":/icons/listen-to.svg")));
  for (int i = 0; i < static_cast<int>(kListenChoices.size()); ++i) {
    const ListenChoice& c = kListenChoices[static_cast<std::size_t>(i)];
    const int id = ID_LISTEN_TO_FIRST + i;
    auto* a = menu->addAction(QString::fromUtf8(c.label));
    a->setObjectName(QStringLiteral("command_%1").arg(id));
    a->setData(id);
    a->setCheckable(true);
    a->setChecked(i == 0);
    a->setStatusTip(QString::fromUtf8(c.tip));
    a->setToolTip(QString::fromUtf8(c.tip));
    group->addAction(a);
    QObject::connect(a, &QAction::triggered, &frame, [&frame, id] { frame.runCommand(id); });
  }

  // The submenu goes below the Play items, in the menu that holds them.
  for (QObject* o : audio->associatedObjects())
    if (auto* playMenu = qobject_cast<QMenu*>(o)) playMenu->addMenu(menu);

  // The drop-down shows the choice in force, so a changed sound is never a
  // surprise.
  // The drop-down, and beside it which side is heard, so that A/B never
  // leaves the listener guessing: one toolbar item.
  auto* box = new QWidget(frame.toolBar());
  auto* row = new QHBoxLayout(box);
  row->setContentsMargins(0, 0, 0, 0);
  auto* button = new QToolButton(box);
  button->setObjectName(kListenButton);
  button->setMenu(menu);
  button->setPopupMode(QToolButton::InstantPopup);
  button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
  button->setIcon(menu->icon());
  button->setToolTip(QStringLiteral("Listen to the whole output or to one part of the synthesizer"));
  const auto showChoice = [button](QAction* a) {
    button->setText(QStringLiteral("Listen to: ") + a->text());
  };
  showChoice(group->actions().front());
  QObject::connect(group, &QActionGroup::triggered, button, showChoice);
  auto* side = new QLabel(box);
  side->setObjectName(kNowPlaying);
  side->setToolTip(QStringLiteral("What is playing: A/B (Ctrl+4) goes over to the other side"));
  QFont bold = side->font();
  bold.setBold(true);
  side->setFont(bold);
  row->addWidget(button);
  row->addWidget(side);

  QAction* before = nullptr;
  const auto actions = frame.toolBar()->actions();
  const auto at = actions.indexOf(frame.action(ID_PLAY_SWITCH));
  if (at >= 0 && at + 1 < actions.size()) before = actions[at + 1];
  QAction* placed = before ? frame.toolBar()->insertWidget(before, box) : frame.toolBar()->addWidget(box);
  placed->setData(ID_LISTEN_TO_FIRST);
  placed->setIcon(menu->icon());
  QObject::connect(&frame, &CMainFrame::activeDocumentChanged, &frame, [&frame] { showListening(frame); });
}

CSoundOut* documentPlayer(OpenDocument& document) {
  Listening* l = Listening::find(document);
  return l != nullptr ? l->player() : nullptr;
}

}  // namespace vandrel::ui
