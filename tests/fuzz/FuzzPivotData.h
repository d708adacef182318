#pragma once
// The small news database the pivot targets lay out, loaded once per
// process: its members are few, so the fuzzer reaches real field sets and
// captions instead of only the "no such field" paths.

#include "PivotTestData.h"
#include "pivot/PivotData.h"
#include "pivot/PivotLoader.h"

#include <QTemporaryDir>

#include <memory>

namespace qrt::fuzz {

inline std::shared_ptr<const pivot::PivotData> smallPivotData()
{
    static const std::shared_ptr<const pivot::PivotData> data = [] {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("small.db"));
        if (!test::makeSmallNewsDb(path))
            std::abort();
        QString error;
        auto loaded = pivot::PivotLoader::load(path, test::pivotStatement(), {}, &error);
        if (!loaded)
            std::abort();
        return std::shared_ptr<const pivot::PivotData>(std::move(loaded));
    }();
    return data;
}

} // namespace qrt::fuzz
