#pragma once
// A window that drops down under a tool and closes by itself at a click
// elsewhere. However it closes, it says so with Hide.

#include <QFrame>

class PopupWindow : public QFrame
{
    Q_OBJECT

public:
    // Why the window closed.
    enum HideReason { ClosedByProgram = 0, ClosedByUser = 1 };

    PopupWindow(const QString &key, const QSize &size, QWidget *parent = nullptr);

    void setContent(QWidget *form);

    bool Visible() const { return isVisible(); }
    // Showing drops the window under `anchor`; hiding closes it with Hide.
    void setVisible(bool visible) override;
    void popUpUnder(QWidget *anchor);

Q_SIGNALS:
    void Hide(int reason);

protected:
    void hideEvent(QHideEvent *event) override;

private:
    QWidget *m_content = nullptr;
    bool m_closingByProgram = false;
};
