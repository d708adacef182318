#pragma once
// The error dialog: the report with the component's version, the buttons
// Abort, Retry and Ignore, and "Send to Support", which opens a mail to the
// support address with the report. The button pressed leaves its word in
// Tag ("ABORT", "RETRY", "IGNORE") and hides the dialog; closing it by the
// window's close box or Esc counts as Abort.

#include <QDialog>
#include <QString>

class QLabel;
class QPlainTextEdit;
class QPushButton;

class frmErrorMessage : public QDialog
{
    Q_OBJECT

public:
    explicit frmErrorMessage(QWidget *parent = nullptr);

    // Set only; an empty address means the mail cannot be sent.
    void SupportMail(const QString &value);
    // The text of txtErrorMessage: the report and the line "Version: 1.0.16".
    QString ErrorMessage() const;
    void ErrorMessage(const QString &StrValue);

    QString Tag;

protected:
    bool event(QEvent *event) override;
    void reject() override;

private:
    void Form_Activate();
    void btnAbort_Click();
    void btnRetry_Click();
    void btnIgnore_Click();
    void btnSend_Click();
    void Leave(const QString &word);

    QString m_supportMail;
    // The box's text as set: the box keeps paragraphs, not CR LF pairs, and
    // the mail must tell a CR LF from a lone LF.
    QString m_message;
    bool m_activatedByShow = false;
    QLabel *elaTitleCaption = nullptr;
    QPlainTextEdit *txtErrorMessage = nullptr;
    QPushButton *btnAbort = nullptr;
    QPushButton *btnRetry = nullptr;
    QPushButton *btnIgnore = nullptr;
    QPushButton *btnSend = nullptr;
};
