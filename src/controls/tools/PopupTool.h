#pragma once
// A tool that opens a pop-up window under itself. Its caption is its text
// on the bar.

#include "controls/tools/Tool.h"

class QToolButton;
class PopupWindow;

class PopupTool : public Tool
{
    Q_OBJECT

public:
    PopupTool(const QString &id, const QString &caption, PopupWindow *popup,
              QObject *parent = nullptr);

    PopupWindow *popup() const { return m_popup; }
    QString Caption() const override;
    void setCaption(const QString &caption) override;

private:
    QToolButton *m_button; // valid while widget() is
    PopupWindow *m_popup;
};
