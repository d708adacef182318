#include "shell/CBufferStream.h"

#include "base/AppInfo.h"
#include "base/ComponentError.h"

#include <QBuffer>
#include <QStringDecoder>

#include <cstring>
#include <limits>
#include <new>

using namespace Qt::StringLiterals;

namespace {

// The classic runtime's "Overflow".
constexpr qint32 ErrOverflow = 6;

// A buffer device that holds on to the block it works on.
class BlockStream : public QBuffer
{
public:
    explicit BlockStream(std::shared_ptr<QByteArray> block)
        : m_block(std::move(block))
    {
        setBuffer(m_block.get());
    }

private:
    std::shared_ptr<QByteArray> m_block;
};

} // namespace

std::shared_ptr<QByteArray> CBufferStream::Allocate(qint64 size)
{
    if (size > std::numeric_limits<qint32>::max() - 2)
        throw ComponentError(ErrOverflow, AppInfo::EXEName(), u"Overflow"_s);
    if (size + 2 <= 0)
        return nullptr;
    try {
        return std::make_shared<QByteArray>(size + 2, '\0');
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

void CBufferStream::Data(const QString &content)
{
    m_content = content;
    const qint64 bytes = qint64(m_content.size()) * qint64(sizeof(char16_t));
    m_block = Allocate(bytes);
    // The zeroed tail of the block is the text's terminator.
    if (m_block)
        std::memcpy(m_block->data(), m_content.utf16(), size_t(bytes));
}

void CBufferStream::bufferSize(qint32 Size)
{
    m_bufferLength = Size;
    m_block = Allocate(Size);
}

QString CBufferStream::GetData() const
{
    // A length of 1 would read -1 bytes: nothing, as for 0.
    if (m_bufferLength < 2 || !m_block)
        return QString();
    const qsizetype length = qMin<qsizetype>(m_bufferLength - 2, m_block->size());
    QStringDecoder latin1(QStringDecoder::Latin1);
    QString text = latin1.decode(QByteArrayView(m_block->constData(), length));
    // Blanks only: the zero bytes of a block not filled to its end stay.
    qsizetype first = 0, last = text.size();
    while (first < last && text.at(first) == u' ')
        ++first;
    while (last > first && text.at(last - 1) == u' ')
        --last;
    return text.mid(first, last - first);
}

std::unique_ptr<QIODevice> CBufferStream::IStream() const
{
    if (!m_block)
        return nullptr;
    auto stream = std::make_unique<BlockStream>(m_block);
    stream->open(QIODevice::ReadWrite);
    return stream;
}
