#include "base/Dates.h"

#include <QTest>

using namespace Qt::StringLiterals;
namespace dates = qrt::dates;

class tst_Dates : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void textForms_data();
    void textForms();
    void reading_data();
    void reading();
    void everyDayReadsBack();
    void qtConversions_data();
    void qtConversions();
    void timeOfDayRounding();
};

void tst_Dates::textForms_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<QString>("text");
    QTest::newRow("day 0") << 0.0 << u"00:00:00"_s;
    QTest::newRow("noon of day 0") << 0.5 << u"12:00:00"_s;
    QTest::newRow("day -1") << -1.0 << u"1899-12-29"_s;
    QTest::newRow("day -1 06:00") << -1.25 << u"1899-12-29 06:00:00"_s;
    QTest::newRow("2005-03-15 10:00") << 38426.0 + 10.0 / 24 << u"2005-03-15 10:00:00"_s;
    QTest::newRow("one second to midnight")
        << 38426.0 + 86399.0 / 86400 << u"2005-03-15 23:59:59"_s;
    // Other days are everyDayReadsBack's.
}

void tst_Dates::textForms()
{
    QFETCH(double, value);
    QFETCH(QString, text);
    QCOMPARE(dates::toText(value), text);
    const auto back = dates::fromText(text);
    QVERIFY(back.has_value());
    QCOMPARE(*back, value);
    const QByteArray utf8 = text.toUtf8();
    QCOMPARE(dates::fromText(std::string_view(utf8.constData(), utf8.size())), back);
}

void tst_Dates::reading_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("wallClock"); // empty: no value
    QTest::newRow("month 13") << u"2005-13-01"_s << QString();
    QTest::newRow("29 February of a common year") << u"2005-02-29"_s << QString();
    QTest::newRow("hour 24") << u"2005-03-15 24:00:00"_s << QString();
    QTest::newRow("trailing junk") << u"2005-03-15x"_s << QString();
    // A zone only names the writer's clock: the value is the time as written.
    QTest::newRow("Z") << u"2025-01-01T10:00:00Z"_s << u"2025-01-01 10:00:00"_s;
    QTest::newRow("+02:00 just after midnight")
        << u"2025-01-02T00:30:00+02:00"_s << u"2025-01-02 00:30:00"_s;
    QTest::newRow("-0500 late in the day")
        << u"2025-01-01 23:30:00-0500"_s << u"2025-01-01 23:30:00"_s;
    QTest::newRow("fraction and Z")
        << u"2025-01-01T10:00:00.250Z"_s << u"2025-01-01 10:00:00.250"_s;
    QTest::newRow("hours of an offset, no seconds")
        << u"2025-01-01T10:00+02"_s << u"2025-01-01 10:00"_s;
}

// Both readers, of UTF-16 and of bytes, give the same answer.
void tst_Dates::reading()
{
    QFETCH(QString, text);
    QFETCH(QString, wallClock);
    const auto expected = wallClock.isEmpty() ? std::nullopt : dates::fromText(wallClock);
    QCOMPARE(expected.has_value(), !wallClock.isEmpty());
    QCOMPARE(dates::fromText(text), expected);
    const QByteArray utf8 = text.toUtf8();
    QCOMPARE(dates::fromText(std::string_view(utf8.constData(), utf8.size())), expected);
}

// Every caption of a period must read back to its own day, whatever the day.
void tst_Dates::everyDayReadsBack()
{
    const double first = dates::fromYmd(1753, 1, 1);
    const double last = dates::fromYmd(9999, 12, 31);
    QDate expected(1753, 1, 1);
    for (double day = first; day <= last; day += 1.0, expected = expected.addDays(1)) {
        const QString text = dates::toText(day);
        const auto back = dates::fromText(text);
        if (!back || *back != day || dates::toQDate(day) != expected)
            QFAIL(qPrintable(u"day %1 (%2) does not read back"_s.arg(day).arg(text)));
    }
    QCOMPARE(expected, QDate(10000, 1, 1));
}

void tst_Dates::qtConversions_data()
{
    QTest::addColumn<QDateTime>("dateTime");
    QTest::addColumn<double>("value");
    QTest::newRow("epoch") << QDateTime(QDate(1899, 12, 30), QTime(0, 0)) << 0.0;
    QTest::newRow("before epoch") << QDateTime(QDate(1899, 12, 29), QTime(6, 0)) << -1.25;
    QTest::newRow("milliseconds") << QDateTime(QDate(2005, 3, 15), QTime(0, 0, 0, 500))
                                  << 38426.0 + 0.5 / 86400;
}

void tst_Dates::qtConversions()
{
    QFETCH(QDateTime, dateTime);
    QFETCH(double, value);
    QCOMPARE(dates::fromQDateTime(dateTime), value);
    QCOMPARE(dates::toQDateTime(value), dateTime);
    QCOMPARE(dates::toQDate(value), dateTime.date());
    QCOMPARE(dates::fromQDate(dateTime.date()), dates::dayOf(value));
}

// A value a hair below midnight is the next day, not 23:59:59.999...
void tst_Dates::timeOfDayRounding()
{
    const double almost = 38427.0 - 1e-10;
    QCOMPARE(dates::toText(almost), u"2005-03-16"_s);
    QCOMPARE(dates::toTimestampText(38426.0), u"2005-03-15 00:00:00"_s);
    QCOMPARE(dates::toTimestampText(0.0), u"1899-12-30 00:00:00"_s);
}

QTEST_APPLESS_MAIN(tst_Dates)
#include "tst_dates.moc"
