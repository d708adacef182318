#include "component/ThemeColors.h"

#include <QApplication>
#include <QPalette>
#include <QStyle>

namespace {

// System colour indexes of the classic colour form and the palette roles
// that play their part.
QPalette::ColorRole roleOfSystemColor(quint32 index)
{
    switch (index) {
    case 0x05: // window background
        return QPalette::Base;
    case 0x08: // window text
        return QPalette::Text;
    case 0x0D: // highlight
        return QPalette::Highlight;
    case 0x0E: // highlighted text
        return QPalette::HighlightedText;
    case 0x12: // button text
        return QPalette::ButtonText;
    case 0x14: // 3D highlight
        return QPalette::Light;
    case 0x10: // 3D shadow
        return QPalette::Dark;
    case 0x18: // tool tip background
        return QPalette::ToolTipBase;
    default: // 0x0F button face and anything else
        return QPalette::Button;
    }
}

} // namespace

std::optional<quint32> ThemeColors::themeColor(Part part)
{
    // The counterpart of "themes active and this application themed".
    if (!qobject_cast<QApplication *>(QCoreApplication::instance()) ||
        !QApplication::desktopSettingsAware() || !QApplication::style())
        return std::nullopt;
    const QPalette palette = QApplication::palette();
    const QColor color = part == Part::Fill ? palette.color(QPalette::Active, QPalette::Window)
                                            : palette.color(QPalette::Active, QPalette::Midlight);
    if (!color.isValid())
        return std::nullopt;
    return fromQColor(color);
}

quint32 ThemeColors::fromQColor(const QColor &color)
{
    return static_cast<quint32>(color.red()) | static_cast<quint32>(color.green()) << 8 |
           static_cast<quint32>(color.blue()) << 16;
}

QColor ThemeColors::toQColor(quint32 color)
{
    if (color & 0x80000000u)
        return QApplication::palette().color(roleOfSystemColor(color & 0xFFu));
    return QColor(static_cast<int>(color & 0xFF), static_cast<int>(color >> 8 & 0xFF),
                  static_cast<int>(color >> 16 & 0xFF));
}
