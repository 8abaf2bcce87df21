#pragma once

#include <QList>
#include <QString>

// The small rules of the batch page, kept free of widgets so they can be
// checked on their own: how sizes and counts read, how far the bar is, and
// how the list of ticked rows follows the boxes.
namespace BatchRules {

// Bytes as megabytes with one decimal and "MB" right behind: 2.4MB.
QString megabytesText(double bytes);

// "12 File(s), " - the blanks matter, the size label stands right after it.
QString fileCountText(int count);

// What the two summary labels read after the table was cleared. The blank
// before "MB" differs from megabytesText() and is meant to.
QString clearedCountText();
QString clearedSizeText();

// "3/10"
QString progressText(int done, int total);

// done / total * 100, truncated toward zero (29 of 100 gives 28, because the
// ratio is taken first in double precision). A total of 0 or less gives 0.
int progressPercent(int done, int total);

// The result line of the finished progress dialog; empty for 0 or less,
// meaning the dialog keeps its "Converting " text.
QString finishedText(int count);

// The line under a result: how many photos failed (when any) and where the
// JPEGs went.
QString failedText(int failed);
QString folderText(const QString& folder);
// Both, for the cancel notice.
QString cancelDetailText(int failed, const QString& folder);

// Removes row from the tick-order list the way the table always has: walks
// from the front and, after each removal, moves on by one position, so of two
// adjacent equal entries the second survives.
void removeTickedRow(QList<int>& tickedRows, int row);

} // namespace BatchRules
