#pragma once
// A forward-only pass over the rows of one statement, by column number. Open
// positions on the first row; IsEOF is true at once when there is none, and
// also when the statement was refused, with the reason in lastError().

#include <QString>
#include <QVariant>

#include <memory>
#include <optional>

namespace qrt::db {

class Connection;
class RecordSource;

class Recordset
{
public:
    Recordset();
    ~Recordset();
    Recordset(const Recordset &) = delete;
    Recordset &operator=(const Recordset &) = delete;

    // The statement in the application's dialect; it is made to run on the
    // connection's engine first.
    bool Open(const QString &statement, Connection &connection);
    void Close();

    bool IsEOF() const { return !m_onRow; }
    void MoveNext();

    int FieldCount() const;
    QString FieldName(int column) const;
    bool IsNull(int column) const;
    QVariant Value(int column) const;
    qint64 Int(int column) const;
    double Double(int column) const;
    QString Text(int column) const;
    std::optional<double> DateValue(int column) const;

    const QString &lastError() const { return m_lastError; }

private:
    friend class Connection;
    void fail(const QString &why);

    std::unique_ptr<RecordSource> m_source;
    Connection *m_connection = nullptr;
    bool m_onRow = false;
    bool m_foldsNames = false; // the engine lower-cases unquoted names
    QString m_statement;
    QString m_lastError;
};

} // namespace qrt::db
