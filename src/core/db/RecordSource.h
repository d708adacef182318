#pragma once
// One engine's way of stepping through the rows of a statement. A Recordset
// holds one; the connection closes any still open before it closes itself.

#include <QString>
#include <QVariant>

#include <optional>

namespace qrt::db {

class RecordSource
{
public:
    virtual ~RecordSource() = default;

    // Moves to the next row; false at the end or on failure (see error).
    virtual bool next() = 0;
    virtual void close() = 0;

    virtual int columnCount() const = 0;
    virtual QString columnName(int column) const = 0;
    virtual bool isNull(int column) const = 0;
    virtual QVariant value(int column) const = 0;
    virtual qint64 toInt(int column) const = 0;
    virtual double toDouble(int column) const = 0;
    virtual QString toText(int column) const = 0;
    // A date column: ISO text, an engine timestamp or a number of days.
    virtual std::optional<double> toDate(int column) const = 0;

    const QString &error() const { return m_error; }

protected:
    QString m_error;
};

} // namespace qrt::db
