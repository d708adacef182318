#pragma once
// The WIDTHxHEIGHT form of the --size options ("1184x676").

#include <QSize>
#include <QString>

#include <optional>

// The size, or nothing for text of another form or a side outside 50 to
// 20000 pixels.
std::optional<QSize> parseSizeOption(const QString &text);
