#include "workspace/ComboTool.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>

ComboTool::ComboTool(const QString &id, const QString &caption, const QStringList &items,
                     QObject *parent)
    : Tool(id, Kind::Combo, parent)
    , m_box(new QWidget)
    , m_label(new QLabel(m_box))
    , m_combo(new QComboBox(m_box))
{
    m_box->setObjectName(id + QStringLiteral("Box"));
    m_combo->setObjectName(id);
    m_combo->addItems(items);
    // No text until one is set or chosen, as the tool bar shows it at first.
    m_combo->setCurrentIndex(-1);
    m_combo->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    m_label->setBuddy(m_combo);
    auto *layout = new QHBoxLayout(m_box);
    layout->setContentsMargins(4, 0, 2, 0);
    layout->setSpacing(3);
    layout->addWidget(m_label);
    layout->addWidget(m_combo);
    setCaption(caption);
    connect(m_combo, &QComboBox::activated, this, [this] { Q_EMIT fired(this); });
}

ComboTool::~ComboTool()
{
    if (m_box && !m_box->parent())
        delete m_box.data();
}

QString ComboTool::Text() const
{
    if (!m_box)
        return {};
    return m_combo->currentIndex() >= 0 ? m_combo->currentText() : m_combo->placeholderText();
}

void ComboTool::setText(const QString &text)
{
    if (!m_box)
        return;
    const int index = m_combo->findText(text, Qt::MatchExactly | Qt::MatchCaseSensitive);
    m_combo->setPlaceholderText(index < 0 ? text : QString());
    m_combo->setCurrentIndex(index);
}

QStringList ComboTool::items() const
{
    QStringList list;
    for (int i = 0; m_box && i < m_combo->count(); ++i)
        list << m_combo->itemText(i);
    return list;
}

QString ComboTool::Caption() const
{
    return m_box ? m_label->text() : QString();
}

void ComboTool::setCaption(const QString &caption)
{
    if (m_box)
        m_label->setText(caption);
}

QWidget *ComboTool::widget() const
{
    return m_box;
}
