#pragma once
// The command table: every command's numeric id, menu text (with the
// shortcut text after "\t", as the menu shows it), prompt ("status tip\ntool
// tip") and toolbar icon, kept in one place. The menus, the toolbar, the
// accelerators and the table view's own keys are all built from it.

#include <QString>

#include <string_view>
#include <vector>

namespace vandrel::ui {

struct CommandDef {
  int id = 0;
  std::string_view text;    // menu text; empty for commands reached only by key or button
  std::string_view prompt;  // status-bar text, then "\n" and the tool tip; empty: none
  std::string_view icon;    // toolbar icon resource (":/icons/<icon>.svg"); empty: none
  // Real key bindings of the main frame, ";"-separated in QKeySequence
  // portable form. Other shortcuts in menu texts are keys of the table view.
  std::string_view accelerators;
  bool needsDocument = false;  // meaningless without an active document
};

// One entry of a menu: a command, or a separator when id is 0. `text`, when
// set, replaces the command's own menu text in this menu only.
struct MenuItem {
  constexpr MenuItem(int commandId, std::string_view menuText = {}) : id(commandId), text(menuText) {}
  int id = 0;
  std::string_view text;
};

struct MenuDef {
  std::string_view title;
  std::vector<MenuItem> items;
};

const std::vector<CommandDef>& commandTable();

// Null when the id is unknown. Recent-file ids 2..5 map to the first one's entry.
const CommandDef* findCommand(int id);

// The menu bar with a document open (resource 129) and without one (128).
const std::vector<MenuDef>& documentMenus();
const std::vector<MenuDef>& noDocumentMenus();

// Toolbar buttons in order; 0 marks a gap.
const std::vector<int>& toolbarLayout();

// The parts of a command's texts as the UI shows them.
QString statusTipOf(const CommandDef& c);           // prompt before "\n" (all of it when there is none)
QString toolTipOf(const CommandDef& c);             // prompt after "\n"; empty when there is none
QString shortcutTextOf(std::string_view menuText);  // what follows "\t", trimmed

// Commands whose menu text names a shortcut that is not a main-frame
// accelerator: keys that the document's table view recognises while it has
// the focus (Ctrl+Y, U, J, I, K, L, A, F, D, B, T, G, 1, 2, 3).
std::vector<int> viewKeyCommands();

}  // namespace vandrel::ui
