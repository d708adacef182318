#pragma once
// One tool of the dock studio's command bars, told apart by its id text.
// The kinds add what the commands read of them: a button its value, a combo
// box its text, a pop-up tool its caption. A disabled tool does not fire.

#include <QObject>
#include <QPointer>
#include <QString>
#include <QWidget>

class Tool : public QObject
{
    Q_OBJECT

public:
    // The tool takes `widget`, and deletes it unless a bar has taken it.
    Tool(const QString &id, QWidget *widget, QObject *parent = nullptr);
    ~Tool() override;

    const QString &ID() const { return m_id; }

    bool Enabled() const;
    void setEnabled(bool enabled);
    virtual QString Caption() const = 0;
    virtual void setCaption(const QString &caption) = 0;
    void setToolTipText(const QString &text);

    // The widget that stands for the tool in its bar; null once the bar,
    // which owns it, is gone.
    QWidget *widget() const { return m_widget; }

Q_SIGNALS:
    // The user used the tool: a click, or a choice in a combo box.
    void fired(Tool *tool);

private:
    QString m_id;
    QPointer<QWidget> m_widget;
};
