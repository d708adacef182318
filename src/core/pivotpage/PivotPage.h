#pragma once
// The web page that shows the pivot table. Its script connects the table `PT`
// to the statistics database and puts back the layout stored in the settings
// section "STATMSTABLE" (written by PivotLayoutCapture at close), so the
// stored layout reaches the table as literal script lines. Composing the page
// only reads settings: the whole text can be built and checked without a
// browser.
//
// Lines are separated by CR LF. Stored values go into the script as
// literals that give them back exactly, untrimmed (see scriptLiteral), so no
// stored text can break the script or change its line numbers. Every step
// passes over failures: a setting that can't be
// read keeps its default and the page is built all the same.

#include <QtGlobal>

class CAppSettings;
class QString;

namespace qrt::pivot::PivotPage {

// The whole page, ending directly after "</script></html>". The window
// writes it with WriteTextFile to pivotPagePath() and loads that file.
QString BuildPivotPage(const CAppSettings &settings, const QString &connectionString);
// The same page with `additionalScriptFunctions` in place of
// GetAdditionalScriptFunctions(): the window obtains those under its
// reporting frame.
QString BuildPivotPage(const CAppSettings &settings, const QString &connectionString,
                       const QString &additionalScriptFunctions);

// The script lines of one axis ("COLUMN", "DATA", "FILTER" or "ROW"), each
// ended by CR LF; nothing for an axis whose count is 0 or less. The defaults
// are lists split at "%%|%%": the i-th field set without a stored name takes
// the i-th default, or the one before it when the list is shorter.
QString GetFieldSetsScript(const CAppSettings &settings, const QString &axis,
                           const QString &defaultFieldSets, const QString &defaultFields,
                           qint16 defaultCount);

// "Dim pTotal " and the lines that put back each stored total, each ended
// by CR LF.
QString GetTotalsScript(const CAppSettings &settings);

// The script functions ParseMembers and BuildParentMember that turn a stored
// filter record into live members: 42 lines, each ended by CR LF. The
// window calls this inside its ReportingFrame labelled
// "QRT_StatCharts.frmCharts.GetAdditionalScriptFunctions"; here it is only
// the text.
QString GetAdditionalScriptFunctions();

// `text` as an expression of the page's script that gives it back exactly,
// on one line of single-byte text: "text" with each double quote doubled,
// byte for byte the text itself for Latin-1 without quotes or line breaks;
// closed and joined with vbCrLf, Chr(n) or ChrW(n) for a line break, a
// character beyond Latin-1 (a pair of ChrW beyond UTF-16's single units),
// and the "<" of "</", which would end the script element.
QString scriptLiteral(const QString &text);

// Writes the text as single-byte Latin-1 (a character outside it becomes
// '?'; the page holds none), creating the folder when missing. The old file is replaced only
// once the new one is complete, so a failed write leaves it as it was.
bool WriteTextFile(const QString &path, const QString &text);

// $XDG_CACHE_HOME/QRT_StatCharts/msowc.htm: the one page every window of
// the user writes and loads; the last writer wins.
QString pivotPagePath();

} // namespace qrt::pivot::PivotPage
