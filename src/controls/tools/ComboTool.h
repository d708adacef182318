#pragma once
// A combo box tool with its caption before it. Its text is the chosen item,
// or a text set from outside that is none of the items, which it shows in
// place of a choice. Every choice fires, also of the item already chosen.

#include "controls/tools/Tool.h"

#include <QStringList>

class QComboBox;
class QLabel;

class ComboTool : public Tool
{
    Q_OBJECT

public:
    ComboTool(const QString &id, const QString &caption, const QStringList &items,
              QObject *parent = nullptr);

    QString Text() const;
    void setText(const QString &text);

    QString Caption() const override;
    void setCaption(const QString &caption) override;
    QComboBox *comboBox() const { return m_combo; }

private:
    // Both live in widget(), and are valid while it is.
    QLabel *m_label;
    QComboBox *m_combo;
};
