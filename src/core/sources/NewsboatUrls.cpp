#include "sources/NewsboatUrls.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QStringList>

using namespace Qt::StringLiterals;

namespace qrt::sources {

namespace {

// Splits a line at blanks outside double quotes; "\"" inside quotes is a quote.
QStringList tokens(QStringView line)
{
    QStringList out;
    QString current;
    bool quoted = false;
    bool any = false;
    for (qsizetype i = 0; i < line.size(); ++i) {
        const QChar c = line[i];
        if (quoted && c == u'\\' && i + 1 < line.size()) {
            current += line[++i];
        } else if (c == u'"') {
            quoted = !quoted;
            any = true;
        } else if (!quoted && c.isSpace()) {
            if (any || !current.isEmpty())
                out << current;
            current.clear();
            any = false;
        } else {
            current += c;
        }
    }
    if (any || !current.isEmpty())
        out << current;
    return out;
}

} // namespace

QString NewsboatUrls::locate(const QString &given, const QString &cacheFile)
{
    if (!given.isEmpty())
        return QFileInfo(QDir::fromNativeSeparators(given)).absoluteFilePath();
    const QString home = QDir::homePath();
    const QString config = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    const QStringList candidates = {QFileInfo(cacheFile).absolutePath() + u"/urls"_s,
                                    home + u"/.newsboat/urls"_s, config + u"/newsboat/urls"_s};
    for (const QString &candidate : candidates)
        if (QFileInfo(candidate).isFile())
            return candidate;
    return {};
}

NewsboatUrls NewsboatUrls::read(const QString &path)
{
    NewsboatUrls urls;
    QFile file(path);
    if (path.isEmpty() || !file.open(QIODevice::ReadOnly | QIODevice::Text))
        return urls;
    urls.m_read = true;
    while (!file.atEnd()) {
        const QString line = QString::fromUtf8(file.readLine()).trimmed();
        if (line.isEmpty() || line.startsWith(u'#'))
            continue;
        const QStringList parts = tokens(line);
        if (parts.isEmpty())
            continue;
        Entry entry;
        for (const QString &tag : parts.mid(1)) {
            if (tag.startsWith(u'~'))
                entry.title = tag.mid(1);
            else if (!tag.startsWith(u'!') && entry.category.isEmpty() && !tag.isEmpty())
                entry.category = tag;
        }
        urls.m_entries.insert(parts.first(), entry);
    }
    return urls;
}

} // namespace qrt::sources
