#include "controls/tools/ComboTool.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>

ComboTool::ComboTool(const QString &id, const QString &caption, const QStringList &items,
                     QObject *parent)
    : Tool(id, new QWidget, parent)
    , m_label(new QLabel(widget()))
    , m_combo(new QComboBox(widget()))
{
    widget()->setObjectName(id + QStringLiteral("Box"));
    m_combo->setObjectName(id);
    m_combo->addItems(items);
    // No text until one is set or chosen, as the tool bar shows it at first.
    m_combo->setCurrentIndex(-1);
    m_combo->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    m_label->setBuddy(m_combo);
    auto *layout = new QHBoxLayout(widget());
    layout->setContentsMargins(4, 0, 2, 0);
    layout->setSpacing(3);
    layout->addWidget(m_label);
    layout->addWidget(m_combo);
    setCaption(caption);
    connect(m_combo, &QComboBox::activated, this, [this] { Q_EMIT fired(this); });
}

QString ComboTool::Text() const
{
    if (!widget())
        return {};
    return m_combo->currentIndex() >= 0 ? m_combo->currentText() : m_combo->placeholderText();
}

void ComboTool::setText(const QString &text)
{
    if (!widget())
        return;
    const int index = m_combo->findText(text, Qt::MatchExactly | Qt::MatchCaseSensitive);
    m_combo->setPlaceholderText(index < 0 ? text : QString());
    m_combo->setCurrentIndex(index);
}

QString ComboTool::Caption() const
{
    return widget() ? m_label->text() : QString();
}

void ComboTool::setCaption(const QString &caption)
{
    if (widget())
        m_label->setText(caption);
}
