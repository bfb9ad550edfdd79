#pragma once
// Tables from other synthesizers' files:
//
//   klsyn .klp   constant lines "name value" (header "#" comments allowed),
//                then after _varied_params_ (older files: __varied_params__)
//                a line of column names and one line per update: f0 in Hz,
//                du the duration and ui the update interval in ms, the
//                other names klsyn's (F1..F5/f6, b1..b6, a1..a6 and p1..p6
//                for the parallel amplitudes and bandwidths, fz/bz, fp/bp,
//                an, ab, ap, at, sk, g0). Columns such as _msec_ or _msec
//                are ignored; a line's "#" comment, or its notes column,
//                becomes a point in a "notes" tier at that update's time.
//   KlattGrid    Praat's text file, the inverse of writeKlattGrid: each
//                frame takes the tiers' values at its middle (Praat's
//                straight lines between points), so a grid written from a
//                table reads back to the same table.
//
// klsyn parameters or Praat tiers with nothing to go to here are named in
// the result's warning; a varied column that is no klsyn parameter at all
// is refused, and so is anything that breaks the file's layout.

#include <string>
#include <string_view>

#include "document/VandrelDoc.h"
#include "labels/Labels.h"

namespace vandrel {

struct ImportResult {
  std::string message;  // why the file was refused; empty when imported
  std::string warning;  // "... have no counterpart here", or empty
  Labels labels;        // .klp notes, when there are any
  bool ok() const { return message.empty(); }
};

// On success `doc` holds the table (and is otherwise a fresh document);
// on failure it is left as it was. `name` is how messages call the file.
ImportResult importKlp(std::string_view text, const std::string& name, CVandrelDoc& doc);
ImportResult importKlattGrid(std::string_view bytes, const std::string& name, int intervalMs,
                             CVandrelDoc& doc);

// klsyn's name of each of our rows, or an empty view for rows it lacks.
std::string_view klsynName(int row);

// The table as a .klp file klsyn reads: rows that hold one value are
// constant lines, the others columns of the varied table. `leftOut` names
// the rows klsyn has no parameter for and that differ from their defaults.
std::string writeKlp(const CVandrelDoc& doc, const std::string& source, std::string& leftOut);

}  // namespace vandrel
