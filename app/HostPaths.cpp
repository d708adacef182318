#include "HostPaths.h"

#include <QDir>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

namespace {

QString dataFile(const QString &name)
{
    const QString dir = QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation);
    QDir().mkpath(dir);
    return dir + u'/' + name;
}

} // namespace

namespace HostPaths {

QString demoDatabase()
{
    return dataFile(u"demo.db"_s);
}

QString defaultScreenshot()
{
    return dataFile(u"window.png"_s);
}

} // namespace HostPaths
