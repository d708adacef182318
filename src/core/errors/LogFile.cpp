#include "errors/LogFile.h"

#include "errors/ErrorTexts.h"

#include <QFile>
#include <QStringEncoder>

namespace qrt::errors::LogFile {

bool AppendLine(const QString &fileName, const QString &text)
{
    if (fileName.isEmpty())
        return false;
    QFile file(fileName);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append))
        return false;
    QStringEncoder latin1(QStringEncoder::Latin1);
    const QByteArray bytes = latin1.encode(text + CrLf);
    const bool written = file.write(bytes) == bytes.size();
    // close() flushes; a full disk only shows there.
    return file.flush() && written && (file.close(), file.error() == QFileDevice::NoError);
}

} // namespace qrt::errors::LogFile
