// The memory block behind streams: filled from text or sized empty, read
// through streams and back as single-byte text.

#include "base/ComponentError.h"
#include "shell/CBufferStream.h"

#include <QIODevice>
#include <QTest>

#include <limits>

using namespace Qt::StringLiterals;

class tst_CBufferStream : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void dataCopiesCodeUnitsAndTerminator_data();
    void dataCopiesCodeUnitsAndTerminator();
    void sizedBlocks_data();
    void sizedBlocks();
    void roundTripThroughAStream();
    void streamsShareOneBlock();
    void secondFillLetsGoOfTheFirst();
    void blockThatCannotBeHad();
    void overflow();
};

void tst_CBufferStream::dataCopiesCodeUnitsAndTerminator_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("block");

    QTest::newRow("empty") << QString() << QByteArray("\0\0", 2);
    QTest::newRow("ascii") << u"Hi"_s << QByteArray("H\0i\0\0\0", 6);
    // Code units as they are, surrogate pairs included; no conversion.
    QTest::newRow("beyond latin-1")
        << u"é€😀"_s << QByteArray("\xe9\x00\xac\x20\x3d\xd8\x00\xde\0\0", 10);
}

void tst_CBufferStream::dataCopiesCodeUnitsAndTerminator()
{
    QFETCH(QString, text);
    QFETCH(QByteArray, block);

    CBufferStream buffer;
    buffer.Data(text);
    const auto stream = buffer.IStream();
    QVERIFY(stream);
    QCOMPARE(stream->size(), block.size());
    QCOMPARE(stream->readAll(), block);
    QVERIFY(buffer.GetData().isEmpty()); // Data leaves BufferLength at 0
}

void tst_CBufferStream::sizedBlocks_data()
{
    QTest::addColumn<qint32>("size");
    QTest::addColumn<qint64>("blockSize");

    QTest::newRow("1 gives 3 bytes") << 1 << qint64(3);
    QTest::newRow("0 gives 2 bytes") << 0 << qint64(2);
    QTest::newRow("-2 gives no block") << -2 << qint64(-1);
}

void tst_CBufferStream::sizedBlocks()
{
    QFETCH(qint32, size);
    QFETCH(qint64, blockSize);

    CBufferStream buffer;
    buffer.bufferSize(size);
    const auto stream = buffer.IStream();
    QCOMPARE(stream ? stream->size() : -1, blockSize);
    if (stream)
        QCOMPARE(stream->readAll(), QByteArray(blockSize, '\0'));
    QVERIFY(buffer.GetData().isEmpty()); // 2 - 2 bytes, or a length below 2
}

void tst_CBufferStream::roundTripThroughAStream()
{
    CBufferStream buffer;
    buffer.bufferSize(14);
    {
        const auto writer = buffer.IStream();
        QCOMPARE(writer->write("  caf\xe9 ol\xe9  "), 12);
    }
    // The first 12 bytes, Latin-1, blanks trimmed.
    QCOMPARE(buffer.GetData(), u"café olé"_s);

    // A shorter fill leaves the block's zero bytes in the text: only blanks go.
    buffer.bufferSize(8);
    buffer.IStream()->write(" ab ");
    QCOMPARE(buffer.GetData(), u"ab \0\0"_s);
}

void tst_CBufferStream::streamsShareOneBlock()
{
    CBufferStream buffer;
    buffer.bufferSize(6);
    const auto first = buffer.IStream();
    const auto second = buffer.IStream();
    QVERIFY(first.get() != second.get());
    first->write("shared");
    QCOMPARE(second->pos(), 0);
    QCOMPARE(second->read(6), QByteArray("shared"));
    QCOMPARE(buffer.GetData(), u"shar"_s);
}

void tst_CBufferStream::secondFillLetsGoOfTheFirst()
{
    CBufferStream buffer;
    buffer.Data(u"old"_s);
    const auto onOld = buffer.IStream();
    buffer.Data(u"new!"_s);
    const auto onNew = buffer.IStream();
    QCOMPARE(onNew->readAll(), QByteArray("n\0e\0w\0!\0\0\0", 10));
    // A stream taken before goes on with the block it was taken on.
    QCOMPARE(onOld->readAll(), QByteArray("o\0l\0d\0\0\0", 8));
}

void tst_CBufferStream::blockThatCannotBeHad()
{
    CBufferStream buffer;
    buffer.Data(u"text"_s);
    buffer.bufferSize(-50);
    QVERIFY(!buffer.IStream()); // the old block is gone with the refill
    QVERIFY(buffer.GetData().isEmpty());
}

void tst_CBufferStream::overflow()
{
    CBufferStream buffer;
    buffer.bufferSize(4);
    try {
        buffer.bufferSize(std::numeric_limits<qint32>::max() - 1);
        QFAIL("no overflow raised");
    } catch (const ComponentError &error) {
        QCOMPARE(error.number, 6);
        QCOMPARE(error.description, u"Overflow"_s);
        QCOMPARE(error.source, u"QRT_StatCharts"_s);
    }
    QVERIFY(buffer.IStream()); // the block before the refused size is still there
}

QTEST_APPLESS_MAIN(tst_CBufferStream)
#include "tst_bufferstream.moc"
