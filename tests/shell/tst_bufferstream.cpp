// The memory block behind streams: filled from text or sized empty, read
// through streams and back as single-byte text.

#include "Raised.h"
#include "shell/CBufferStream.h"

#include <QIODevice>
#include <QTest>

#include <limits>

using namespace Qt::StringLiterals;

class tst_CBufferStream : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void dataCopiesCodeUnits();
    void sizedBlocks_data();
    void sizedBlocks();
    void roundTripThroughAStream();
    void overflow();
};

// Code units as they are, surrogate pairs included, and a two-byte
// terminator; a stream taken before a refill goes on with the old block.
void tst_CBufferStream::dataCopiesCodeUnits()
{
    CBufferStream buffer;
    buffer.Data(QString());
    QCOMPARE(buffer.IStream()->readAll(), QByteArray(2, '\0'));
    buffer.Data(u"old"_s);
    const auto onOld = buffer.IStream();
    buffer.Data(u"é€😀"_s);
    const auto onNew = buffer.IStream();
    QCOMPARE(onNew->size(), 10);
    QCOMPARE(onNew->readAll(), QByteArray("\xe9\x00\xac\x20\x3d\xd8\x00\xde\0\0", 10));
    QCOMPARE(onOld->readAll(), QByteArray("o\0l\0d\0\0\0", 8));
    QVERIFY(buffer.GetData().isEmpty()); // Data leaves BufferLength at 0
}

void tst_CBufferStream::sizedBlocks_data()
{
    QTest::addColumn<qint32>("size");
    QTest::addColumn<qint64>("blockSize");

    QTest::newRow("1 gives 3 bytes") << 1 << qint64(3);
    QTest::newRow("-2 gives no block") << -2 << qint64(-1);
}

// A refill lets go of the block before, also when the new one cannot be had.
void tst_CBufferStream::sizedBlocks()
{
    QFETCH(qint32, size);
    QFETCH(qint64, blockSize);

    CBufferStream buffer;
    buffer.Data(u"text"_s);
    buffer.bufferSize(size);
    const auto stream = buffer.IStream();
    QCOMPARE(stream ? stream->size() : -1, blockSize);
    if (stream)
        QCOMPARE(stream->readAll(), QByteArray(blockSize, '\0'));
    QVERIFY(buffer.GetData().isEmpty()); // a length below 2 reads nothing
}

void tst_CBufferStream::roundTripThroughAStream()
{
    CBufferStream buffer;
    buffer.bufferSize(14);
    QCOMPARE(buffer.IStream()->write("  caf\xe9 ol\xe9  "), 12);
    // The first 12 bytes, Latin-1, blanks trimmed.
    QCOMPARE(buffer.GetData(), u"café olé"_s);

    // A shorter fill leaves the block's zero bytes in the text: only blanks
    // go. Streams share the block, each with its own position.
    buffer.bufferSize(8);
    const auto first = buffer.IStream();
    const auto second = buffer.IStream();
    first->write(" ab ");
    QCOMPARE(second->read(4), QByteArray(" ab "));
    QCOMPARE(buffer.GetData(), u"ab \0\0"_s);
}

void tst_CBufferStream::overflow()
{
    CBufferStream buffer;
    buffer.bufferSize(4);
    const auto error =
        qrt::test::raisedBy([&] { buffer.bufferSize(std::numeric_limits<qint32>::max() - 1); });
    QVERIFY(error);
    QCOMPARE(error->number, 6);
    QCOMPARE(error->description, u"Overflow"_s);
    QCOMPARE(error->source, u"QRT_StatCharts"_s);
    QVERIFY(buffer.IStream()); // the block before the refused size is still there
}

QTEST_APPLESS_MAIN(tst_CBufferStream)
#include "tst_bufferstream.moc"
