#include "SizeOption.h"

#include <QStringList>

using namespace Qt::StringLiterals;

std::optional<QSize> parseSizeOption(const QString &text)
{
    const QStringList parts = text.toLower().split(u'x');
    if (parts.size() != 2)
        return std::nullopt;
    bool okWidth = false;
    bool okHeight = false;
    const QSize size(parts[0].toInt(&okWidth), parts[1].toInt(&okHeight));
    constexpr int kLeast = 50;
    constexpr int kMost = 20000;
    if (!okWidth || !okHeight || size.width() < kLeast || size.height() < kLeast ||
        size.width() > kMost || size.height() > kMost)
        return std::nullopt;
    return size;
}
