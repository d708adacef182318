#pragma once
// A tool that opens a pop-up window under itself. Its caption is its text
// on the bar.

#include "workspace/Tool.h"

#include <QPointer>

class QToolButton;
class PopupWindow;

class PopupTool : public Tool
{
    Q_OBJECT

public:
    PopupTool(const QString &id, const QString &caption, PopupWindow *popup,
              QObject *parent = nullptr);
    ~PopupTool() override;

    PopupWindow *popup() const { return m_popup; }
    QString Caption() const override;
    void setCaption(const QString &caption) override;
    QWidget *widget() const override;

private:
    QPointer<QToolButton> m_button;
    PopupWindow *m_popup;
};
