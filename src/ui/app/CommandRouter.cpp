#include "app/CommandRouter.h"

#include <new>
#include <stdexcept>
#include <vector>

#include "app/CChildFrame.h"
#include "app/CMainFrame.h"
#include "app/OpenDocument.h"
#include "common/Messages.h"

namespace vandrel::ui {

namespace {
std::vector<CommandInstaller>& installers() {
  static std::vector<CommandInstaller> list;
  return list;
}
std::vector<FrameDecorator>& decorators() {
  static std::vector<FrameDecorator> list;
  return list;
}
}  // namespace

vandrel::CVandrelDoc* CommandContext::doc() const { return document ? &document->doc() : nullptr; }

QWidget* CommandContext::dialogParent() const {
  if (childFrame) return childFrame;
  return mainFrame;
}

void CommandRouter::setHandler(int id, CommandHandler handler, CommandEnabler enabled) {
  entries_[id] = Entry{std::move(handler), std::move(enabled)};
}

void CommandRouter::removeHandler(int id) { entries_.erase(id); }

bool CommandRouter::hasHandler(int id) const {
  const auto it = entries_.find(id);
  return it != entries_.end() && it->second.handler;
}

bool CommandRouter::dispatch(CommandContext& ctx) const {
  const auto it = entries_.find(ctx.id);
  if (it == entries_.end() || !it->second.handler) return false;
  // Copy: a handler may replace itself (or close the frame that owns us).
  const CommandHandler handler = it->second.handler;
  // A command that cannot have the memory it needs (a recording or a table
  // too long for it) ends here, with a word, rather than ending the editor
  // and the work in its other windows.
  const auto tooLittleMemory = [&] {
    warn(ctx.dialogParent(), QStringLiteral("There is not enough memory for this command."));
  };
  try {
    handler(ctx);
  } catch (const std::bad_alloc&) {
    tooLittleMemory();
  } catch (const std::length_error&) {  // a size no memory holds
    tooLittleMemory();
  }
  return true;
}

bool CommandRouter::isEnabled(const CommandContext& ctx) const {
  const auto it = entries_.find(ctx.id);
  if (it == entries_.end() || !it->second.enabled) return true;
  return it->second.enabled(ctx);
}

bool addCommandInstaller(CommandInstaller installer) {
  installers().push_back(installer);
  return true;
}

void runCommandInstallers(CommandRouter& router) {
  for (const auto installer : installers()) installer(router);
}

bool addFrameDecorator(FrameDecorator decorator) {
  decorators().push_back(decorator);
  return true;
}

void runFrameDecorators(CMainFrame& frame) {
  for (const auto decorator : decorators()) decorator(frame);
}

}  // namespace vandrel::ui
