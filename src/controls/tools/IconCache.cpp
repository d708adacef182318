#include "controls/tools/IconCache.h"

#include <QAbstractButton>
#include <QCoreApplication>
#include <QHash>
#include <QToolBar>

#include <optional>

using namespace Qt::StringLiterals;

namespace {

QHash<QString, QIcon> &icons()
{
    static QHash<QString, QIcon> kept;
    return kept;
}

// Pixmaps belong to the GUI: they go with the application, not after it.
void dropIcons()
{
    icons().clear();
}

// The kind of standard icon Qt's button of this name shows.
std::optional<QStyle::StandardPixmap> styleIconOf(const QAbstractButton *button)
{
    const QString &name = button->objectName();
    if (name == u"qt_dockwidget_floatbutton"_s)
        return QStyle::SP_TitleBarNormalButton;
    if (name == u"qt_dockwidget_closebutton"_s)
        return QStyle::SP_TitleBarCloseButton;
    if (name == u"qt_toolbar_ext_button"_s) {
        const auto *bar = qobject_cast<const QToolBar *>(button->parent());
        return bar && bar->orientation() == Qt::Vertical
                   ? QStyle::SP_ToolBarVerticalExtensionButton
                   : QStyle::SP_ToolBarHorizontalExtensionButton;
    }
    return std::nullopt;
}

} // namespace

namespace IconCache {

QIcon icon(const QString &name, const std::function<QIcon()> &make)
{
    QHash<QString, QIcon> &kept = icons();
    if (const auto found = kept.constFind(name); found != kept.cend())
        return *found;
    if (kept.isEmpty())
        qAddPostRoutine(&dropIcons);
    return *kept.insert(name, make());
}

QIcon standardIcon(const QStyle *style, QStyle::StandardPixmap kind)
{
    return icon(u"%1/standard/%2"_s.arg(style->name()).arg(int(kind)),
                [style, kind] { return style->standardIcon(kind); });
}

void shareStyleIcons(QWidget *root)
{
    for (QAbstractButton *button : root->findChildren<QAbstractButton *>())
        if (const auto kind = styleIconOf(button))
            button->setIcon(standardIcon(button->style(), *kind));
}

} // namespace IconCache
