#include "app/CMainFrame.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileInfo>
#include <QIcon>
#include <QKeyEvent>
#include <QLabel>
#include <QMdiArea>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QPrinter>
#include <QStatusBar>
#include <QTimer>
#include <QToolBar>

#include "app/AppProfile.h"
#include "app/CChildFrame.h"
#include "app/CommandIds.h"
#include "app/CommandTable.h"
#include "app/DocumentRecovery.h"
#include "app/OpenDocument.h"
#include "common/Messages.h"
#include "config/ConfigFile.h"

// Resources of a static library are registered by hand.
static void initShellResources() { Q_INIT_RESOURCE(vandrel); }

namespace vandrel::ui {

namespace {

QString fromView(std::string_view s) { return QString::fromUtf8(s.data(), static_cast<qsizetype>(s.size())); }

QString menuLabel(std::string_view text) {
  QString t = fromView(text);
  const auto tab = t.indexOf(QLatin1Char('\t'));
  if (tab >= 0) t.truncate(tab);
  return t.remove(QLatin1Char('&')).trimmed();
}

const QString kReady = QStringLiteral("Ready");

}  // namespace

CMainFrame::CMainFrame(ShellEnvironment environment, QWidget* parent)
    : QMainWindow(parent), env_(std::move(environment)), mdi_(new QMdiArea(this)) {
  initShellResources();
  setObjectName(QStringLiteral("CMainFrame"));
  setWindowTitle(QStringLiteral("Vandrel"));
  setWindowIcon(QIcon(QStringLiteral(":/icons/vandrel.svg")));
  setAcceptDrops(true);

  mdi_->setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
  mdi_->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
  mdi_->setBackground(QColor(0x80, 0x80, 0x80));
  setCentralWidget(mdi_);
  connect(mdi_, &QMdiArea::subWindowActivated, this, &CMainFrame::onSubWindowActivated);

  if (env_.profile) recent_ = env_.profile->recentFiles();

  createActions();
  buildMenus();
  buildToolBar();
  buildStatusBar();
  showMenusFor(false);
  updateRecentActions();

  installFileCommands(router_);
  installWindowCommands(router_);
  runCommandInstallers(router_);
  runFrameDecorators(*this);

  const auto& d = env_.config.display;
  if (d.width > 0 && d.height > 0) setGeometry(d.x, d.y, d.width, d.height);
  toolBar_->setVisible(d.toolbarVisible != 0);
  statusBar()->setVisible(d.statusBarVisible != 0);
  actions_.value(ID_VIEW_TOOLBAR)->setChecked(d.toolbarVisible != 0);
  actions_.value(ID_VIEW_STATUS_BAR)->setChecked(d.statusBarVisible != 0);

  if (!env_.tempFolder.isEmpty()) recovery_ = new DocumentRecovery(*this, DocumentRecovery::defaultRoot());

  qApp->installEventFilter(this);
  updateCommandStates();
}

CMainFrame::~CMainFrame() {
  qApp->removeEventFilter(this);
  // The document windows go with the area; no menu or title work while they do.
  disconnect(mdi_, nullptr, this, nullptr);
  for (CChildFrame* f : childFrames()) disconnect(f, nullptr, this, nullptr);
}

void CMainFrame::createActions() {
  for (const CommandDef& c : commandTable()) {
    const int id = c.id;
    QString text = fromView(c.text);
    if (text.isEmpty()) text = toolTipOf(c);
    auto* a = new QAction(text, this);
    a->setObjectName(QStringLiteral("command_%1").arg(id));
    a->setData(id);
    a->setStatusTip(statusTipOf(c));
    a->setToolTip(toolTipOf(c).isEmpty() ? menuLabel(c.text) : toolTipOf(c));
    if (!c.icon.empty()) a->setIcon(QIcon(QStringLiteral(":/icons/%1.svg").arg(fromView(c.icon))));
    if (!c.accelerators.empty()) {
      QList<QKeySequence> keys;
      for (const QString& k : fromView(c.accelerators).split(QLatin1Char(';')))
        keys << QKeySequence(k, QKeySequence::PortableText);
      a->setShortcuts(keys);
      a->setShortcutContext(Qt::WindowShortcut);
    }
    if (id == ID_VIEW_TOOLBAR || id == ID_VIEW_STATUS_BAR) a->setCheckable(true);
    if (id == ID_FILE_MRU_FILE1) {
      recentPlaceholder_ = a;
      a->setEnabled(false);
      continue;
    }
    connect(a, &QAction::triggered, this, [this, id] { runCommand(id); });
    addAction(a);  // accelerators work whichever menu bar is shown
    actions_.insert(id, a);
  }
  actions_.insert(ID_FILE_MRU_FILE1, recentPlaceholder_);

  for (int i = 0; i < kRecentFileCount; ++i) {
    const int id = ID_FILE_MRU_FILE1 + i;
    auto* a = new QAction(this);
    a->setObjectName(QStringLiteral("recent_%1").arg(i + 1));
    a->setData(id);
    a->setStatusTip(QStringLiteral("Open this document"));
    connect(a, &QAction::triggered, this, [this, id] { runCommand(id); });
    recentActions_ << a;
  }

  // The short menu names New differently; same command, no second accelerator.
  shortNewAction_ = new QAction(QStringLiteral("&New\tCtrl+N"), this);
  shortNewAction_->setData(ID_FILE_NEW);
  shortNewAction_->setStatusTip(actions_.value(ID_FILE_NEW)->statusTip());
  connect(shortNewAction_, &QAction::triggered, this, [this] { runCommand(ID_FILE_NEW); });
}

QMenu* CMainFrame::buildMenu(const MenuDef& def, bool documentMenu) {
  auto* menu = new QMenu(fromView(def.title), this);
  for (const MenuItem& item : def.items) {
    if (item.id == 0) {
      menu->addSeparator();
    } else if (item.id == ID_FILE_MRU_FILE1) {
      menu->addAction(recentPlaceholder_);
      menu->addActions(recentActions_);
    } else if (!item.text.empty() && item.id == ID_FILE_NEW) {
      menu->addAction(shortNewAction_);
    } else {
      menu->addAction(actions_.value(item.id));
    }
  }
  if (documentMenu) connect(menu, &QMenu::aboutToShow, this, &CMainFrame::updateCommandStates);
  if (documentMenu && def.title == "&Window")
    connect(menu, &QMenu::aboutToShow, this, [this, menu] { listWindows(*menu); });
  return menu;
}

void CMainFrame::buildMenus() {
  for (const MenuDef& def : documentMenus()) documentMenus_ << buildMenu(def, true);
  for (const MenuDef& def : noDocumentMenus()) noDocumentMenus_ << buildMenu(def, false);
}

void CMainFrame::buildToolBar() {
  toolBar_ = new QToolBar(QStringLiteral("Standard"), this);
  toolBar_->setObjectName(QStringLiteral("StandardToolBar"));
  toolBar_->setIconSize(QSize(20, 20));
  toolBar_->setMovable(true);
  for (const int id : toolbarLayout()) {
    if (id == 0)
      toolBar_->addSeparator();
    else
      toolBar_->addAction(actions_.value(id));
  }
  addToolBar(Qt::TopToolBarArea, toolBar_);
  connect(toolBar_, &QToolBar::visibilityChanged, this,
          [this](bool on) { actions_.value(ID_VIEW_TOOLBAR)->setChecked(on); });
}

void CMainFrame::buildStatusBar() {
  QStatusBar* bar = statusBar();
  auto indicator = [bar](const QString& text) {
    auto* l = new QLabel(text, bar);
    l->setAlignment(Qt::AlignCenter);
    l->setMinimumWidth(l->fontMetrics().horizontalAdvance(QStringLiteral("SCRL")) + 12);
    l->setFrameShape(QFrame::Panel);
    l->setFrameShadow(QFrame::Sunken);
    l->setEnabled(false);
    bar->addPermanentWidget(l);
    return l;
  };
  capIndicator_ = indicator(QStringLiteral("CAP"));
  numIndicator_ = indicator(QStringLiteral("NUM"));
  scrlIndicator_ = indicator(QStringLiteral("SCRL"));
  // The idle text comes back whenever a prompt or message goes away.
  connect(bar, &QStatusBar::messageChanged, this, [bar](const QString& text) {
    if (text.isEmpty()) bar->showMessage(kReady);
  });
  bar->showMessage(kReady);
}

void CMainFrame::listWindows(QMenu& menu) {
  for (QAction* a : windowListActions_) {
    menu.removeAction(a);
    a->deleteLater();
  }
  windowListActions_.clear();
  const auto windows = mdi_->subWindowList(QMdiArea::CreationOrder);
  if (windows.isEmpty()) return;
  windowListActions_ << menu.addSeparator();
  for (int i = 0; i < windows.size(); ++i) {
    QMdiSubWindow* w = windows[i];
    auto* a = menu.addAction(QStringLiteral("&%1 %2").arg(i + 1).arg(w->windowTitle()));
    a->setCheckable(true);
    a->setChecked(w == mdi_->activeSubWindow());
    a->setStatusTip(QStringLiteral("Activate this window"));
    connect(a, &QAction::triggered, this, [this, w] { mdi_->setActiveSubWindow(w); });
    windowListActions_ << a;
  }
}

void CMainFrame::showStatus(const QString& text, int ms) { statusBar()->showMessage(text, ms); }

void CMainFrame::showMenusFor(bool document) {
  QMenuBar* bar = menuBar();
  bar->clear();
  for (QMenu* m : document ? documentMenus_ : noDocumentMenus_) bar->addMenu(m);
  documentMenusShown_ = document;
}

QString CMainFrame::commandName(int id) const {
  const CommandDef* c = findCommand(id);
  if (!c) return QStringLiteral("Command %1").arg(id);
  return c->text.empty() ? toolTipOf(*c) : menuLabel(c->text);
}

CommandContext CMainFrame::context(int id) const {
  CommandContext ctx;
  ctx.id = id;
  ctx.mainFrame = const_cast<CMainFrame*>(this);
  ctx.childFrame = activeChildFrame();
  ctx.document = ctx.childFrame ? &ctx.childFrame->document() : nullptr;
  return ctx;
}

void CMainFrame::runCommand(int id) {
  CommandContext ctx = context(id);
  const CommandDef* def = findCommand(id);
  if (def && def->needsDocument && !ctx.document) return;
  if (!router_.isEnabled(ctx)) return;
  if (!router_.dispatch(ctx)) {
    showStatus(QStringLiteral("%1: not available yet").arg(commandName(id)));
    return;
  }
  updateCommandStates();
}

void CMainFrame::updateCommandStates() {
  const bool haveDocument = activeChildFrame() != nullptr;
  for (auto it = actions_.cbegin(); it != actions_.cend(); ++it) {
    if (it.value() == recentPlaceholder_) continue;
    const CommandDef* def = findCommand(it.key());
    const bool needsDoc = def && def->needsDocument;
    it.value()->setEnabled((!needsDoc || haveDocument) && router_.isEnabled(context(it.key())));
  }
}

CChildFrame* CMainFrame::activeChildFrame() const {
  QMdiSubWindow* active = mdi_->activeSubWindow();
  if (auto* frame = qobject_cast<CChildFrame*>(active)) return frame;
  if (auto* other = dynamic_cast<DocumentWindow*>(active))
    return windowsOf(other->document()).value(0, nullptr);
  return nullptr;
}

OpenDocument* CMainFrame::activeDocument() const {
  CChildFrame* f = activeChildFrame();
  return f ? &f->document() : nullptr;
}

QList<CChildFrame*> CMainFrame::childFrames() const {
  QList<CChildFrame*> frames;
  for (QMdiSubWindow* w : mdi_->subWindowList())
    if (auto* f = qobject_cast<CChildFrame*>(w)) frames << f;
  return frames;
}

QList<CChildFrame*> CMainFrame::windowsOf(const OpenDocument& document) const {
  QList<CChildFrame*> frames;
  for (CChildFrame* f : childFrames())
    if (&f->document() == &document) frames << f;
  return frames;
}

void CMainFrame::windowClosing(CChildFrame& closing) {
  QList<CChildFrame*> rest = windowsOf(closing.document());
  rest.removeAll(&closing);
  if (rest.isEmpty() && recovery_) recovery_->forget(closing.document().serial());
  for (int i = 0; i < rest.size(); ++i) rest[i]->setWindowNumber(rest.size() > 1 ? i + 1 : 0);
}

void CMainFrame::renumberWindows(const OpenDocument& document) {
  const auto frames = windowsOf(document);
  for (int i = 0; i < frames.size(); ++i) frames[i]->setWindowNumber(frames.size() > 1 ? i + 1 : 0);
}

CChildFrame* CMainFrame::newDocument() {
  auto doc = std::make_shared<OpenDocument>(++untitledCount_);
  vandrel::applyConfig(env_.config, doc->doc());
  return addWindow(std::move(doc));
}

CChildFrame* CMainFrame::addWindow(std::shared_ptr<OpenDocument> document) {
  const bool maximise = env_.config.display.childMaximized != 0;
  auto* frame = new CChildFrame(*this, std::move(document));
  mdi_->addSubWindow(frame);
  // Its size whenever it is not maximised (behind a window opened after it,
  // which un-maximises it, as at a start that recovers several documents):
  // most of the area rather than the table's smallest.
  frame->resize(mdi_->viewport()->size() * 4 / 5);
  // The frame leaves the area's list only after its destruction has begun.
  connect(frame, &QObject::destroyed, this,
          [this] { QTimer::singleShot(0, this, &CMainFrame::onSubWindowActivated); });
  if (maximise)
    frame->showMaximized();
  else
    frame->show();
  mdi_->setActiveSubWindow(frame);
  renumberWindows(frame->document());
  if (recovery_) recovery_->watch(frame->document());
  frame->widget()->setFocus();
  onSubWindowActivated();
  return frame;
}

void CMainFrame::onSubWindowActivated() {
  showMenusFor(activeChildFrame() != nullptr);
  updateCommandStates();
  emit activeDocumentChanged();
}

bool CMainFrame::queryCloseWindow(CChildFrame& frame) {
  OpenDocument& doc = frame.document();
  if (windowsOf(doc).size() > 1 || !doc.isModified()) return true;
  const auto answer = showMessage(MessageRequest{this,
                                                 QStringLiteral("Save changes to %1?").arg(doc.title()),
                                                 {},
                                                 QMessageBox::Warning,
                                                 QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel,
                                                 false});
  if (answer == QMessageBox::Cancel) return false;
  if (answer == QMessageBox::Yes) return saveDocument(doc, false);
  return true;
}

void CMainFrame::addRecentFile(const QString& path) {
  recent_ = AppProfile::withRecent(recent_, QFileInfo(path).absoluteFilePath());
  if (env_.profile) env_.profile->setRecentFiles(recent_);
  updateRecentActions();
}

void CMainFrame::removeRecentFile(const QString& path) {
  recent_.removeAll(path);
  if (env_.profile) env_.profile->setRecentFiles(recent_);
  updateRecentActions();
}

void CMainFrame::updateRecentActions() {
  recentPlaceholder_->setVisible(recent_.isEmpty());
  for (int i = 0; i < recentActions_.size(); ++i) {
    QAction* a = recentActions_[i];
    const bool used = i < recent_.size();
    a->setVisible(used);
    if (used) {
      QString shown = recent_[i];
      shown.replace(QLatin1Char('&'), QStringLiteral("&&"));
      a->setText(QStringLiteral("&%1 %2").arg(i + 1).arg(shown));
    }
  }
}

QPrinter& CMainFrame::printer() {
  if (!printer_) printer_ = std::make_unique<QPrinter>();
  return *printer_;
}

void CMainFrame::storePlacement() {
  auto& d = env_.config.display;
  const QRect g = normalGeometry();
  d.x = g.x();
  d.y = g.y();
  d.width = g.width();
  d.height = g.height();
  d.maximized = isMaximized() ? 1 : 0;
  d.toolbarVisible = toolBar_->isVisible() ? 1 : 0;
  d.statusBarVisible = statusBar()->isVisible() ? 1 : 0;
  CChildFrame* active = activeChildFrame();
  if (active) d.childMaximized = active->isMaximized() ? 1 : 0;
}

void CMainFrame::closeEvent(QCloseEvent* event) {
  // Each modified document is offered for saving once, however many windows it has.
  QList<OpenDocument*> asked;
  for (CChildFrame* f : childFrames()) {
    OpenDocument* doc = &f->document();
    if (asked.contains(doc)) continue;
    asked << doc;
    if (!doc->isModified()) continue;
    const auto answer = showMessage(MessageRequest{this,
                                                   QStringLiteral("Save changes to %1?").arg(doc->title()),
                                                   {},
                                                   QMessageBox::Warning,
                                                   QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel,
                                                   false});
    if (answer == QMessageBox::Cancel || (answer == QMessageBox::Yes && !saveDocument(*doc, false))) {
      event->ignore();
      return;
    }
  }
  storePlacement();
  // Nothing more to ask: the windows go without a second prompt.
  for (CChildFrame* f : childFrames()) f->document().setModified(false);
  mdi_->closeAllSubWindows();
  event->accept();
}

void CMainFrame::dragEnterEvent(QDragEnterEvent* event) {
  if (event->mimeData()->hasUrls()) event->acceptProposedAction();
}

void CMainFrame::dropEvent(QDropEvent* event) {
  const auto urls = event->mimeData()->urls();
  bool any = false;
  for (const QUrl& url : urls)
    if (url.isLocalFile()) {
      openFile(url.toLocalFile());
      any = true;
    }
  if (any) event->acceptProposedAction();
}

bool CMainFrame::eventFilter(QObject* watched, QEvent* event) {
  // Lock keys have no portable state query; the indicators follow their presses.
  // A key press passes through here once for each widget it propagates to;
  // count it at its first receiver only.
  QWidget* first = QApplication::focusWidget() ? QApplication::focusWidget() : QApplication::activeWindow();
  if (event->type() == QEvent::KeyPress && watched == first &&
      !static_cast<QKeyEvent*>(event)->isAutoRepeat()) {
    switch (static_cast<QKeyEvent*>(event)->key()) {
      case Qt::Key_CapsLock:
        capsLock_ = !capsLock_;
        capIndicator_->setEnabled(capsLock_);
        break;
      case Qt::Key_NumLock:
        numLock_ = !numLock_;
        numIndicator_->setEnabled(numLock_);
        break;
      case Qt::Key_ScrollLock:
        scrollLock_ = !scrollLock_;
        scrlIndicator_->setEnabled(scrollLock_);
        break;
      default:
        break;
    }
  }
  return QMainWindow::eventFilter(watched, event);
}

}  // namespace vandrel::ui
