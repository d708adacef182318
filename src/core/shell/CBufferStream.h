#pragma once
// A block of memory behind a stream: fill it from a text (its UTF-16 code
// units and a two-byte terminator) or ask for an empty block of a size, take
// as many streams on it as needed, and read the block back as single-byte
// text. Every block is two bytes longer than asked for and starts zeroed.
//
// The object holds one block at a time: a second Data or bufferSize lets go
// of the first, also when the new block cannot be had (then there is none). Streams share the block
// they were taken on and keep it alive while they exist, so a stream outliving the object, or a
// refill, stays safe to use (it goes on reading the old block).

#include <QByteArray>
#include <QString>

#include <memory>

class QIODevice;

class CBufferStream
{
public:
    // Copies the text's code units and their terminator into a new block.
    // BufferLength is left as it is.
    void Data(const QString &content);
    // A new zeroed block of Size + 2 bytes; Size is kept as BufferLength.
    void bufferSize(qint32 Size);
    // The first BufferLength - 2 bytes of the block as Latin-1 text, blanks
    // trimmed at both ends; empty while BufferLength is below 2.
    QString GetData() const;
    // A new stream over the block, open for reading and writing at its
    // start, or null while there is no block.
    std::unique_ptr<QIODevice> IStream() const;

private:
    // Room for Size + 2 bytes, or null where that cannot be had (a negative
    // size, memory refused). Overflow of the 32-bit length is raised.
    static std::shared_ptr<QByteArray> Allocate(qint64 size);

    QString m_content;
    std::shared_ptr<QByteArray> m_block;
    qint32 m_bufferLength = 0;
};
