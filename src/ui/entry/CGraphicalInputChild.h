#pragma once
// CGraphicalInputChild: the window of graphical data entry,
// "<document title>::Graphical Data Entry" - the panel (CGraphicalInput) on
// the left, the drawing window (CFreqInputWnd) filling the rest. One per
// document; "Graphical" (Ctrl+F) brings it forward or opens it. The table's
// keys work in it, Play Current, Play Previous and Play Audio among them.

#include "views/common/CAnalysisFrame.h"

namespace vandrel::ui {

class CFreqInputWnd;
class CGraphicalInput;

class CGraphicalInputChild : public CAnalysisFrame {
  Q_OBJECT
 public:
  CGraphicalInputChild(CMainFrame& mainFrame, std::shared_ptr<OpenDocument> document);

  CGraphicalInput* panel() const { return panel_; }
  CFreqInputWnd* drawing() const { return drawing_; }

  // "Enter All Data": the recording's tracks into the table, behind the
  // progress window; refusals as messages.
  void enterAllData();

 private:
  CGraphicalInput* panel_;
  CFreqInputWnd* drawing_;
};

// Opens (or brings forward) the window of the active document. Installed
// for "Graphical" by every main frame.
class CommandRouter;
void installEntryCommands(CommandRouter& router);

}  // namespace vandrel::ui
