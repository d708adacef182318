#include "sources/Readers.h"

#include "sources/FreshRssReader.h"
#include "sources/LifereaReader.h"
#include "sources/MinifluxReader.h"
#include "sources/NewsboatReader.h"
#include "sources/TtrssReader.h"

using namespace Qt::StringLiterals;

namespace qrt::sources::Readers {

const std::vector<std::unique_ptr<Reader>> &all()
{
    static const std::vector<std::unique_ptr<Reader>> readers = [] {
        std::vector<std::unique_ptr<Reader>> list;
        list.push_back(std::make_unique<NewsboatReader>());
        list.push_back(std::make_unique<LifereaReader>());
        list.push_back(std::make_unique<FreshRssReader>());
        list.push_back(std::make_unique<MinifluxReader>());
        list.push_back(std::make_unique<TtrssReader>());
        return list;
    }();
    return readers;
}

const Reader *byName(const QString &name)
{
    for (const auto &reader : all())
        if (reader->name() == name.toLower())
            return reader.get();
    return nullptr;
}

QString names()
{
    QStringList list;
    for (const auto &reader : all())
        list << reader->name();
    return list.join(u", "_s);
}

} // namespace qrt::sources::Readers
