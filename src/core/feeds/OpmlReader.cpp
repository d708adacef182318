#include "feeds/OpmlReader.h"

#include "feeds/FeedXml.h"

using namespace Qt::StringLiterals;

namespace qrt::feeds {

namespace {

QString outlineName(const FeedXml &xml)
{
    const QString title = xml.attribute("title").simplified();
    return title.isEmpty() ? xml.attribute("text").simplified() : title;
}

// Walks the outlines without recursion, so no depth of nesting can exhaust
// the stack: `folders` holds one entry per open outline.
void readOutlines(FeedXml &xml, const QUrl &address, QList<Subscription> &out)
{
    QStringList folders;
    int depth = 0;
    while (depth >= 0) {
        if (!xml.readNextChild()) {
            if (depth-- > 0)
                folders.removeLast();
            if (xml.error().size())
                return;
            continue;
        }
        if (xml.name() != u"outline") {
            xml.skip();
            continue;
        }
        const QString feed = xml.attribute("xmlUrl").trimmed();
        if (!feed.isEmpty()) {
            QString folder;
            for (auto it = folders.crbegin(); folder.isEmpty() && it != folders.crend(); ++it)
                folder = *it;
            out << Subscription{address.resolved(QUrl(feed)), outlineName(xml), folder};
        }
        folders << (feed.isEmpty() ? outlineName(xml) : QString());
        ++depth;
    }
}

} // namespace

QList<Subscription> readOpml(FeedXml &xml, const QUrl &address)
{
    QList<Subscription> subscriptions;
    while (xml.readNextChild()) {
        if (xml.name() == u"body")
            readOutlines(xml, address, subscriptions);
        else
            xml.skip();
    }
    return subscriptions;
}

} // namespace qrt::feeds
