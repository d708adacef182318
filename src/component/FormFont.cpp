#include "component/FormFont.h"

#include <QApplication>
#include <QFont>
#include <QFontDatabase>

using namespace Qt::StringLiterals;

namespace qrt::component {

QFont formFont()
{
    if (!QFontDatabase::hasFamily(u"Tahoma"_s))
        return QApplication::font();
    QFont font(u"Tahoma"_s);
    font.setPointSizeF(8.25);
    return font;
}

} // namespace qrt::component
