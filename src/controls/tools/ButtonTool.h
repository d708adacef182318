#pragma once
// A button tool with a value: 1 shows it pressed, 0 released. A click does
// not change the value by itself; the command that handles the click does.

#include "controls/tools/Tool.h"

#include <QIcon>

class QToolButton;

class ButtonTool : public Tool
{
    Q_OBJECT

public:
    ButtonTool(const QString &id, const QString &caption, const QIcon &icon,
               QObject *parent = nullptr);

    int Value() const;
    void setValue(int value);
    void setCaption(const QString &caption) override;
    QString Caption() const override;

private:
    QToolButton *m_button; // valid while widget() is
};
