#pragma once
// Plain-text log files of the error handler. Each write opens the file for
// appending, writes one entry with its CR LF and closes it again, so nothing
// stays open and another process may read or delete the file between two
// writes. A name without a folder follows the current directory of the
// moment. The text is stored in a single-byte code page (Latin-1; anything
// outside it becomes '?').

#include <QString>

namespace qrt::errors::LogFile {

// Appends text and CR LF; false when the file could not be opened or written.
bool AppendLine(const QString &fileName, const QString &text);

} // namespace qrt::errors::LogFile
