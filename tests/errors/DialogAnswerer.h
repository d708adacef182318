#pragma once
// Answers the error handler's modal questions the way a user would: it
// watches for the message box or the error dialog to come up and clicks the
// next button of its script on the real widget. It records what each one
// showed, so a test can check the report the user read.

#include "errors/frmErrorMessage.h"

#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QStringList>
#include <QTest>
#include <QTimer>

using namespace Qt::StringLiterals;

class DialogAnswerer : public QObject
{
public:
    struct Seen
    {
        QString kind; // "box" or "form"
        QString text;
    };

    // Each answer is a button's objectName on the dialog ("btnAbort") or a
    // message box button's text ("Abort").
    explicit DialogAnswerer(QStringList answers)
        : m_answers(std::move(answers))
    {
        connect(&m_timer, &QTimer::timeout, this, &DialogAnswerer::poll);
        m_timer.start(10);
    }

    QList<Seen> seen;
    int unanswered = 0;

private:
    void poll()
    {
        QWidget *modal = QApplication::activeModalWidget();
        // A widget once answered is marked: the next dialog may well come up
        // at the same address.
        if (!modal || !modal->isVisible() || modal->property("answered").toBool())
            return;
        // A user clicks a dialog once it is up and active; the dialog sets
        // its word anew when it becomes active (give it a second at most).
        if (!modal->isActiveWindow() && ++m_waited < 100)
            return;
        m_waited = 0;
        if (m_answers.isEmpty()) {
            // Nothing scripted: get out of the way with Abort and count it.
            ++unanswered;
            m_answers.append(qobject_cast<QMessageBox *>(modal) ? u"Abort"_s : u"btnAbort"_s);
        }
        const QString answer = m_answers.takeFirst();
        modal->setProperty("answered", true);
        if (auto *box = qobject_cast<QMessageBox *>(modal)) {
            seen.append({u"box"_s, box->text()});
            for (QAbstractButton *button : box->buttons())
                if (button->text().remove(u'&') == answer)
                    QTest::mouseClick(button, Qt::LeftButton);
        } else if (auto *form = qobject_cast<frmErrorMessage *>(modal)) {
            seen.append({u"form"_s, form->ErrorMessage()});
            QTest::mouseClick(form->findChild<QPushButton *>(answer), Qt::LeftButton);
        }
    }

    QStringList m_answers;
    QTimer m_timer;
    int m_waited = 0;
};
