#include "sources/StableIds.h"

#include <QCryptographicHash>

#include <algorithm>

namespace qrt::sources {

namespace {

constexpr qint64 kLargest = 0x7fffffff;

} // namespace

qint64 StableIds::hashOf(const QString &text)
{
    const QByteArray digest = QCryptographicHash::hash(text.toUtf8(), QCryptographicHash::Sha1);
    const auto *bytes = reinterpret_cast<const unsigned char *>(digest.constData());
    const qint64 value = (qint64(bytes[0]) << 24 | qint64(bytes[1]) << 16 | qint64(bytes[2]) << 8 |
                          qint64(bytes[3])) &
                         kLargest;
    return value == 0 ? 1 : value;
}

void StableIds::assign(QStringList texts)
{
    std::sort(texts.begin(), texts.end());
    texts.erase(std::unique(texts.begin(), texts.end()), texts.end());
    for (const QString &text : texts) {
        qint64 id = hashOf(text);
        while (m_used.contains(id))
            id = id % kLargest + 1;
        m_used.insert(id);
        m_ids.insert(text, id);
    }
}

} // namespace qrt::sources
