#include "app/CommandTable.h"

#include <algorithm>

#include "app/CommandIds.h"

namespace vandrel::ui {

namespace {

// The texts are the program's own and are kept exactly, odd blanks and
// spellings included: users and their manuals quote them.
const std::vector<CommandDef> kCommands = {
    // File
    {ID_FILE_NEW, "&New Blank\tCtrl+N", "Create a new document\nNew", "new", "Ctrl+N", false},
    {ID_FILE_OPEN, "&Open...\tCtrl+O", "Open an existing document\nOpen", "open", "Ctrl+O", false},
    {ID_FILE_OPEN_AUDIO, "Open an audio file...", "Open an audio file\nOpen an audio file", "open-audio", "",
     false},
    {ID_FILE_OPEN_LABELS, "Open Labels...", "Open a Praat TextGrid as the labels of the table\nOpen Labels",
     "", "", true},
    {ID_FILE_CLOSE, "&Close", "Close the active document\nClose", "", "", true},
    {ID_FILE_SAVE, "&Save\tCtrl+S", "Save the active document\nSave", "save", "Ctrl+S", true},
    {ID_FILE_SAVE_AS, "Save &As...", "Save the active document with a new name\nSave As", "", "", true},
    {ID_FILE_SAVE_SELECTED, "Save Selected Parameters Only As...", "", "", "", true},
    {ID_FILE_SAVE_ALL, "Save All Parameters As...", "", "", "", true},
    {ID_FILE_SAVE_AUDIO, "Save As Audio...", "", "", "", true},
    {ID_FILE_SAVE_BMP, "Save As bmp...", "", "", "", true},
    {ID_FILE_SAVE_SCREEN_BMP, "Save Screen As bmp...", "", "", "", true},
    {ID_FILE_LOAD_CONFIG, "Load Configuration...", "", "", "", false},
    {ID_FILE_SAVE_CONFIG, "Save Configuration...", "", "", "", false},
    {ID_FILE_REVERT_CONFIG, "Revert to Default Configuration", "", "", "", false},
    {ID_FILE_PRINT, "&Print...\tCtrl+P", "Print the active document\nPrint", "print", "Ctrl+P", true},
    {ID_FILE_PRINT_PREVIEW, "Print Pre&view", "Display full pages\nPrint Preview", "", "", true},
    {ID_FILE_PRINT_SETUP, "P&rint Setup...", "Change the printer and printing options\nPrint Setup", "", "",
     false},
    {ID_FILE_MRU_FILE1, "Recent File", "Open this document", "", "", false},
    {ID_APP_EXIT, "E&xit", "Quit the application; prompts to save documents\nExit", "", "", false},

    // Edit
    {ID_EDIT_UNDO, "&Undo\tCtrl+Z", "Undo the last action\nUndo", "undo", "Ctrl+Z;Alt+Backspace", true},
    {ID_EDIT_REDO, "&Redo\tCtrl+Y", "Redo the previously undone action\nRedo", "", "", true},
    {ID_EDIT_CUT, "", "Cut the selection and put it on the Clipboard\nCut", "cut", "Ctrl+X;Shift+Del", true},
    {ID_EDIT_COPY, "", "Copy the selection and put it on the Clipboard\nCopy", "copy", "Ctrl+C;Ctrl+Ins",
     true},
    {ID_EDIT_PASTE, "", "Insert Clipboard contents\nPaste", "paste", "Ctrl+V;Shift+Ins", true},
    {ID_EDIT_ADD_ROW, "Add Row...\tCtrl+U", "Add a row\nAdd a row", "add-row", "", true},
    {ID_EDIT_REMOVE_ROW, "Remove Row\tCtrl+J", "Remove a row\nRomove a row", "remove-row", "", true},
    {ID_EDIT_ADD_COLUMN, "Add Column...\tCtrl+I", "Add a column\nAdd a column", "add-column", "", true},
    {ID_EDIT_REMOVE_COLUMN, "Remove Column\tCtrl+K", "Remove a column\nRemove a column", "remove-column", "",
     true},
    {ID_EDIT_ADD_SUBTRACT, "Add/Subtract ...", "Add or subtract an equal amount from the selection.", "", "",
     true},
    {ID_EDIT_SET_DEFAULTS, "Set to Default Values\tCtrl+L", "Set values to default settings", "", "", true},
    {ID_EDIT_SELECT_ALL, "Select All\tCtrl+A", "Select all", "", "", true},

    // Data Entry Method
    {ID_ENTRY_GRAPHICAL, "Graphical\tCtrl+F", "Data entry through graphical method\nGraphical data entry",
     "graphical", "", true},
    {ID_ENTRY_TRACE, "Trace From Spectrogram/Pitch\tCtrl+D",
     "Data entry from tracing Spectrogram and Picth\nTrace Spectrogram and Pitch", "trace", "", true},

    // Anchors
    {ID_ANCHORS_ADD, "Add to Selection", "Add anchor points to all the cells in the selection", "", "", true},
    {ID_ANCHORS_REMOVE, "Remove from Selection", "Remove all the anchors from the cells in the selection.",
     "", "", true},
    {ID_ANCHORS_REMOVE_ALL, "Remove All", "Remove all the anchor cells from the table.", "", "", true},

    // Interpolation
    {ID_INTERPOLATE_SELECTION, "Interpolate Selection",
     "Interpolate the data between anchor cells in the selection.", "", "", true},
    {ID_INTERPOLATE_ALL, "Interpolate All\tCtrl+B ",
     "Interpolate all the data between the anchor cells in the table.", "", "", true},

    // Analysis
    {ID_ANALYSIS_FFT_LPC, "FFT/LPC", "Perform FFT & LPC analysis\nFFT/LPC", "fft-lpc", "", true},
    {ID_ANALYSIS_SPECTRO_SYNTH, "Spectrogram/Pitch of Synthesized File\tCtrl+T",
     "Perform spectrogram-pitch of the synthesized file\nSpectrogram-Pitch of synthesized file",
     "spectrogram-synth", "", true},
    {ID_ANALYSIS_SPECTRO_AUDIO, "Spectrogram/Pitch of Audio File\tCtrl+G",
     "Perform spectrogram-pict of the audio file\nSpectrogram-Pitch of audio", "spectrogram-audio", "", true},
    {ID_ANALYSIS_COPY_SYNTHESIS, "Copy Synthesis from Audio File",
     "Copy the audio file's pitch, formants and amplitudes into the table, with few anchors\nCopy synthesis",
     "", "", true},

    // Play
    {ID_PLAY_CURRENT, "Play Current\tCtrl+1", "Play current synthesized file\nPlay current synthesized file",
     "play-current", "", true},
    {ID_PLAY_PREVIOUS, "Play Previous\tCtrl+2",
     "Play previously synthesized file\nPlay previously synthesized file", "play-previous", "", true},
    {ID_PLAY_AUDIO, "Play Audio\tCtrl+3", "Play audio file\nPlay audio file", "play-audio", "", true},
    {ID_PLAY_LOOP, "Loop", "Repeat the selection until stopped\nLoop", "play-loop", "", true},
    {ID_PLAY_STOP, "Stop\tEsc", "Stop the sound\nStop", "play-stop", "Esc", true},
    {ID_PLAY_SWITCH, "A/B Switch\tCtrl+4",
     "Switch between the copy and the original at the same moment\nA/B switch", "play-switch", "Ctrl+4",
     true},

    // Options
    {ID_OPTIONS_FILE, "File...", "", "", "", true},
    {ID_OPTIONS_PARAMETERS, "Parameters...", "", "", "", true},
    {ID_OPTIONS_FFT_LPC, "FFT/LPC...", "", "", "", true},
    {ID_OPTIONS_SPECTROGRAM, "Spectrogram...", "", "", "", true},
    {ID_OPTIONS_PITCH, "Pitch...", "", "", "", true},

    // View
    {ID_VIEW_TOOLBAR, "&Toolbar", "Show or hide the toolbar\nToggle ToolBar", "", "", false},
    {ID_VIEW_STATUS_BAR, "&Status Bar", "Show or hide the status bar\nToggle StatusBar", "", "", false},
    {ID_VIEW_VOWEL_SPACE, "Vowel Space",
     "Show the table's F1 and F2 as a path through the vowel space; drag anchors to move them\nVowel Space",
     "", "", true},

    // Window
    {ID_WINDOW_NEW, "&New Window", "Open another window for the active document\nNew Window", "", "", true},
    {ID_WINDOW_CASCADE, "&Cascade", "Arrange windows so they overlap\nCascade Windows", "", "", true},
    {ID_WINDOW_TILE_HORZ, "&Tile", "Arrange windows as non-overlapping tiles\nTile Windows", "", "", true},
    {ID_WINDOW_ARRANGE, "&Arrange Icons", "Arrange icons at the bottom of the window\nArrange Icons", "", "",
     true},
    {ID_NEXT_PANE, "", "Switch to the next window pane\nNext Pane", "", "F6", true},
    {ID_PREV_PANE, "", "Switch back to the previous window pane\nPrevious Pane", "", "Shift+F6", true},

    // Help
    {ID_HELP_INDEX, "Help...", "", "help", "", false},
    {ID_APP_ABOUT, "&About Vandrel...", "Display program information, version number and copyright\nAbout",
     "about", "", false},
};

const std::vector<MenuDef> kDocumentMenus = {
    {"&File",
     {{ID_FILE_NEW},
      {ID_FILE_OPEN},
      {ID_FILE_OPEN_AUDIO},
      {ID_FILE_OPEN_LABELS},
      {ID_FILE_CLOSE},
      {0},
      {ID_FILE_SAVE},
      {ID_FILE_SAVE_AS},
      {ID_FILE_SAVE_SELECTED},
      {ID_FILE_SAVE_ALL},
      {ID_FILE_SAVE_AUDIO},
      {ID_FILE_SAVE_BMP},
      {ID_FILE_SAVE_SCREEN_BMP},
      {0},
      {ID_FILE_LOAD_CONFIG},
      {ID_FILE_SAVE_CONFIG},
      {ID_FILE_REVERT_CONFIG},
      {0},
      {ID_FILE_PRINT},
      {ID_FILE_PRINT_PREVIEW},
      {ID_FILE_PRINT_SETUP},
      {0},
      {ID_FILE_MRU_FILE1},
      {0},
      {ID_APP_EXIT}}},
    {"&Edit",
     {{ID_EDIT_UNDO},
      {ID_EDIT_REDO},
      {0},
      {ID_EDIT_ADD_ROW},
      {ID_EDIT_REMOVE_ROW},
      {ID_EDIT_ADD_COLUMN},
      {ID_EDIT_REMOVE_COLUMN},
      {0},
      {ID_EDIT_ADD_SUBTRACT},
      {ID_EDIT_SET_DEFAULTS},
      {ID_EDIT_SELECT_ALL}}},
    {"Data Entry Method", {{ID_ENTRY_GRAPHICAL}, {ID_ENTRY_TRACE}}},
    {"Anchors", {{ID_ANCHORS_ADD}, {ID_ANCHORS_REMOVE}, {ID_ANCHORS_REMOVE_ALL}}},
    {"Interpolation", {{ID_INTERPOLATE_SELECTION}, {ID_INTERPOLATE_ALL}}},
    {"Analysis",
     {{ID_ANALYSIS_FFT_LPC},
      {ID_ANALYSIS_SPECTRO_SYNTH},
      {ID_ANALYSIS_SPECTRO_AUDIO},
      {0},
      {ID_ANALYSIS_COPY_SYNTHESIS}}},
    {"Play",
     {{ID_PLAY_CURRENT},
      {ID_PLAY_PREVIOUS},
      {ID_PLAY_AUDIO},
      {0},
      {ID_PLAY_LOOP},
      {ID_PLAY_STOP},
      {ID_PLAY_SWITCH}}},
    {"Options",
     {{ID_OPTIONS_FILE},
      {ID_OPTIONS_PARAMETERS},
      {0},
      {ID_OPTIONS_FFT_LPC},
      {ID_OPTIONS_SPECTROGRAM},
      {ID_OPTIONS_PITCH}}},
    {"&View", {{ID_VIEW_TOOLBAR}, {ID_VIEW_STATUS_BAR}, {0}, {ID_VIEW_VOWEL_SPACE}}},
    {"&Window", {{ID_WINDOW_NEW}, {ID_WINDOW_CASCADE}, {ID_WINDOW_TILE_HORZ}, {ID_WINDOW_ARRANGE}}},
    {"&Help", {{ID_HELP_INDEX}, {0}, {ID_APP_ABOUT}}},
};

const std::vector<MenuDef> kNoDocumentMenus = {
    {"&File",
     {{ID_FILE_NEW, "&New\tCtrl+N"},
      {ID_FILE_OPEN},
      {ID_FILE_OPEN_AUDIO},
      {0},
      {ID_FILE_PRINT_SETUP},
      {0},
      {ID_FILE_MRU_FILE1},
      {0},
      {ID_APP_EXIT}}},
    {"&View", {{ID_VIEW_TOOLBAR}, {ID_VIEW_STATUS_BAR}}},
    {"&Help", {{ID_HELP_INDEX}, {0}, {ID_APP_ABOUT}}},
};

const std::vector<int> kToolbar = {
    ID_FILE_NEW,
    ID_FILE_OPEN,
    ID_FILE_OPEN_AUDIO,
    ID_FILE_SAVE,
    ID_FILE_PRINT,
    0,
    ID_EDIT_UNDO,
    ID_EDIT_CUT,
    ID_EDIT_COPY,
    ID_EDIT_PASTE,
    ID_EDIT_ADD_ROW,
    ID_EDIT_REMOVE_ROW,
    ID_EDIT_ADD_COLUMN,
    ID_EDIT_REMOVE_COLUMN,
    0,
    ID_ENTRY_GRAPHICAL,
    ID_ENTRY_TRACE,
    0,
    ID_ANALYSIS_FFT_LPC,
    ID_ANALYSIS_SPECTRO_SYNTH,
    ID_ANALYSIS_SPECTRO_AUDIO,
    0,
    ID_PLAY_CURRENT,
    ID_PLAY_PREVIOUS,
    ID_PLAY_AUDIO,
    ID_PLAY_LOOP,
    ID_PLAY_STOP,
    ID_PLAY_SWITCH,
    0,
    ID_APP_ABOUT,
    ID_HELP_INDEX,
};

QString fromView(std::string_view s) { return QString::fromUtf8(s.data(), static_cast<qsizetype>(s.size())); }

}  // namespace

const std::vector<CommandDef>& commandTable() { return kCommands; }

const CommandDef* findCommand(int id) {
  if (id > ID_FILE_MRU_FILE1 && id < ID_FILE_MRU_FILE1 + kRecentFileCount) id = ID_FILE_MRU_FILE1;
  const auto it =
      std::find_if(kCommands.begin(), kCommands.end(), [id](const CommandDef& c) { return c.id == id; });
  return it == kCommands.end() ? nullptr : &*it;
}

const std::vector<MenuDef>& documentMenus() { return kDocumentMenus; }
const std::vector<MenuDef>& noDocumentMenus() { return kNoDocumentMenus; }
const std::vector<int>& toolbarLayout() { return kToolbar; }

QString statusTipOf(const CommandDef& c) {
  const auto nl = c.prompt.find('\n');
  return fromView(nl == std::string_view::npos ? c.prompt : c.prompt.substr(0, nl));
}

QString toolTipOf(const CommandDef& c) {
  const auto nl = c.prompt.find('\n');
  return nl == std::string_view::npos ? QString() : fromView(c.prompt.substr(nl + 1));
}

QString shortcutTextOf(std::string_view menuText) {
  const auto tab = menuText.find('\t');
  return tab == std::string_view::npos ? QString() : fromView(menuText.substr(tab + 1)).trimmed();
}

std::vector<int> viewKeyCommands() {
  std::vector<int> ids;
  for (const auto& c : kCommands)
    if (c.accelerators.empty() && !shortcutTextOf(c.text).isEmpty()) ids.push_back(c.id);
  return ids;
}

}  // namespace vandrel::ui
