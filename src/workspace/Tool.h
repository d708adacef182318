#pragma once
// One tool of the dock studio's command bars, told apart by its id text.
// The kinds add what the commands read of them: a button its value, a combo
// box its text, a pop-up tool its caption. A disabled tool does not fire.

#include <QObject>
#include <QString>

class QWidget;

class Tool : public QObject
{
    Q_OBJECT

public:
    enum class Kind { Button, Combo, Popup };

    Tool(const QString &id, Kind kind, QObject *parent = nullptr);

    const QString &ID() const { return m_id; }
    Kind kind() const { return m_kind; }

    bool Enabled() const;
    void setEnabled(bool enabled);
    virtual QString Caption() const;
    virtual void setCaption(const QString &caption);
    void setToolTipText(const QString &text);

    // The widget that stands for the tool in its bar.
    virtual QWidget *widget() const = 0;

Q_SIGNALS:
    // The user used the tool: a click, or a choice in a combo box.
    void fired(Tool *tool);

private:
    QString m_id;
    Kind m_kind;
};
