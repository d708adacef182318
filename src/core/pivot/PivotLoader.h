#pragma once
// Runs a command text over a connection string and reads its rows into a
// PivotData: every row, or the rows grouped in the database at a grain (see
// PivotGrain, PivotGroupedStatement; on SQLite the rows come with their
// dates cut and are grouped here as they are stepped); a statement that
// cannot be grouped is read row by row. Works on whatever thread calls it, on a connection of
// its own.
// On SQLite it steps the engine's statement itself and hands the text bytes
// straight to the dictionaries, with no QString or QVariant per value.

#include "pivot/PivotGrain.h"

#include <QString>

#include <functional>
#include <memory>

namespace qrt::db {
class StatementInterrupt;
}

namespace qrt::pivot {

class PivotData;

class PivotLoader
{
public:
    // Called every few thousand rows with the rows read so far; answering
    // false cancels the load.
    using Progress = std::function<bool(qint64 rows)>;

    static constexpr qint64 ProgressStep = 16384;

    // The data, or null with the reason in *error ("cancelled" when the
    // progress callback stopped it). The load arms `interrupt`, when given,
    // while its connection is open, so another thread can stop a statement
    // that has not yet given a row.
    static std::shared_ptr<PivotData> load(const QString &connectionString,
                                           const QString &commandText, const Progress &progress,
                                           QString *error,
                                           db::StatementInterrupt *interrupt = nullptr,
                                           const PivotGrain &grain = PivotGrain::allRows());

    static QString cancelledText();
};

} // namespace qrt::pivot
