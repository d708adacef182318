// The named periods: each ends today and reaches a plain count of days
// back, with day 0 for "All" and for a code outside the list.

#include "base/Dates.h"
#include "newschart/NamedPeriod.h"

#include <QTest>

using namespace Qt::StringLiterals;
namespace NamedPeriod = qrt::chart::NamedPeriod;
using qrt::dates::fromYmd;

class tst_NamedPeriod : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void onMarch15_data();
    void onMarch15();
    void textsReadBackWithoutCase();
};

void tst_NamedPeriod::onMarch15_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("text");
    QTest::addColumn<double>("from");
    QTest::newRow("Today") << 1 << u"Today"_s << fromYmd(2005, 3, 15);
    QTest::newRow("Yesterday, and today") << 2 << u"Yesterday"_s << fromYmd(2005, 3, 14);
    QTest::newRow("Last Month: 31 days") << 4 << u"Last Month"_s << fromYmd(2005, 2, 12);
    QTest::newRow("Last Year: 365 days over a leap day")
        << 5 << u"Last Year"_s << fromYmd(2004, 3, 15);
    QTest::newRow("All from day 0") << 6 << u"All"_s << 0.0;
    QTest::newRow("0 is no period") << 0 << QString() << 0.0;
    QTest::newRow("7 is no period") << 7 << QString() << 0.0;
}

void tst_NamedPeriod::onMarch15()
{
    QFETCH(int, code);
    QFETCH(QString, text);
    QFETCH(double, from);
    const double today = fromYmd(2005, 3, 15);
    const auto range = NamedPeriod::Range(code, today);
    QCOMPARE(range.FromDate, from);
    QCOMPARE(range.TillDate, today); // every period ends today
    QCOMPARE(NamedPeriod::Text(code), text);
}

void tst_NamedPeriod::textsReadBackWithoutCase()
{
    for (int code = 1; code <= 6; ++code) {
        QCOMPARE(NamedPeriod::FromText(NamedPeriod::Text(code)), code);
        QCOMPARE(NamedPeriod::FromText(NamedPeriod::Text(code).toUpper()), code);
    }
    QVERIFY(!NamedPeriod::FromText(u"Last Fortnight"_s));
    QVERIFY(!NamedPeriod::FromText(QString()));
}

QTEST_APPLESS_MAIN(tst_NamedPeriod)
#include "tst_namedperiod.moc"
