#pragma once
// A place in a window that holds one embedded object, created by its class
// name from the embeddable classes. Creating replaces what was there.

#include <QPointer>
#include <QWidget>

class OleContainer : public QWidget
{
    Q_OBJECT

public:
    explicit OleContainer(QWidget *parent = nullptr);

    // False, and the container unchanged, when no class has the name.
    bool CreateEmbed(const QString &sourceDoc, const QString &className);
    void Delete();
    // The embedded object; null when there is none.
    QWidget *object() const { return m_object; }

private:
    QPointer<QWidget> m_object;
};
