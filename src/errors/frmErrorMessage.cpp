#include "errors/frmErrorMessage.h"

#include "base/AppInfo.h"
#include "component/FormFont.h"
#include "errors/ErrorTexts.h"
#include "shell/CShell.h"

#include <QApplication>
#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

// The form is laid out in twips; 15 twips are one pixel at 96 dpi, and Qt
// scales pixels on denser screens.
constexpr int Twips(int twips)
{
    return twips / 15;
}

// The dialog's own picture: a red disc with a white cross, shaded from the
// top so it reads at 16 and at 36 pixels.
QPixmap ErrorPicture(int size, qreal ratio)
{
    QPixmap picture(QSize(size, size) * ratio);
    picture.setDevicePixelRatio(ratio);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF disc(size * 0.06, size * 0.06, size * 0.88, size * 0.88);
    QLinearGradient shade(disc.topLeft(), disc.bottomLeft());
    shade.setColorAt(0, QColor(0xE8, 0x4B, 0x3C));
    shade.setColorAt(1, QColor(0xA9, 0x1B, 0x12));
    painter.setPen(QPen(QColor(0x7A, 0x12, 0x0C), qMax(1.0, size / 24.0)));
    painter.setBrush(shade);
    painter.drawEllipse(disc);
    QPen cross(Qt::white, size * 0.13, Qt::SolidLine, Qt::RoundCap);
    painter.setPen(cross);
    const qreal a = size * 0.33, b = size * 0.67;
    painter.drawLine(QPointF(a, a), QPointF(b, b));
    painter.drawLine(QPointF(b, a), QPointF(a, b));
    return picture;
}

QPushButton *MakeButton(const QString &name, const QString &caption, QWidget *parent)
{
    auto *button = new QPushButton(caption, parent);
    button->setObjectName(name);
    // The band's width is shared by proportion, not by the captions' widths.
    button->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    button->setFixedHeight(Twips(420));
    button->setAutoDefault(false);
    return button;
}

} // namespace

frmErrorMessage::frmErrorMessage(QWidget *parent)
    : QDialog(parent)
{
    setObjectName(u"frmErrorMessage"_s);
    setWindowTitle(u"Error"_s);
    setWindowIcon(QIcon(ErrorPicture(32, devicePixelRatio())));
    setFont(qrt::component::formFont());
    resize(Twips(5385), Twips(3900));
    setMinimumSize(Twips(4800), Twips(2700));

    auto *elaControls = new QWidget(this);
    elaControls->setObjectName(u"elaControls"_s);
    auto *formLayout = new QVBoxLayout(this);
    formLayout->setContentsMargins(0, 0, 0, 0);
    formLayout->addWidget(elaControls);

    auto *elaInfo = new QWidget(elaControls);
    elaInfo->setObjectName(u"elaInfo"_s);
    auto *elaButtons = new QWidget(elaControls);
    elaButtons->setObjectName(u"elaButtons"_s);
    elaButtons->setFixedHeight(Twips(720));
    auto *controlsLayout = new QVBoxLayout(elaControls);
    controlsLayout->setContentsMargins(0, 0, 0, 0);
    controlsLayout->setSpacing(0);
    controlsLayout->addWidget(elaInfo, 1);
    controlsLayout->addWidget(elaButtons);

    // Upper band: the title strip keeps its height, the report takes the rest.
    auto *elaTitle = new QFrame(elaInfo);
    elaTitle->setObjectName(u"elaTitle"_s);
    elaTitle->setFixedHeight(Twips(540));
    elaTitle->setFrameShape(QFrame::StyledPanel);
    elaTitle->setAutoFillBackground(true);
    elaTitle->setBackgroundRole(QPalette::Base);
    auto *picture = new QLabel(elaTitle);
    picture->setFixedSize(Twips(540), Twips(540));
    picture->setAlignment(Qt::AlignCenter);
    picture->setPixmap(ErrorPicture(Twips(540) - 8, devicePixelRatio()));
    elaTitleCaption = new QLabel(u"An Error occured in ..."_s, elaTitle);
    elaTitleCaption->setObjectName(u"elaTitleCaption"_s);
    QFont bold = font();
    bold.setBold(true);
    elaTitleCaption->setFont(bold);
    auto *titleLayout = new QHBoxLayout(elaTitle);
    titleLayout->setContentsMargins(0, 0, 0, 0);
    titleLayout->setSpacing(0);
    titleLayout->addWidget(picture);
    titleLayout->addWidget(elaTitleCaption, 1);

    txtErrorMessage = new QPlainTextEdit(elaInfo);
    txtErrorMessage->setObjectName(u"txtErrorMessage"_s);
    txtErrorMessage->setReadOnly(true);
    txtErrorMessage->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    // Without a horizontal scroll bar long lines wrap; a tab is four blanks
    // wide, so the report's indented lines stay near their heading.
    txtErrorMessage->setTabStopDistance(QFontMetricsF(font()).horizontalAdvance(u' ') * 4);
    txtErrorMessage->setTabChangesFocus(true);
    txtErrorMessage->setTextInteractionFlags(Qt::TextSelectableByMouse |
                                             Qt::TextSelectableByKeyboard);

    auto *infoLayout = new QVBoxLayout(elaInfo);
    infoLayout->setContentsMargins(Twips(150), Twips(150), Twips(150), Twips(150));
    infoLayout->setSpacing(Twips(810 - 150 - 540));
    infoLayout->addWidget(elaTitle);
    infoLayout->addWidget(txtErrorMessage, 1);

    // Lower band: the four buttons share its width as 7400:7400:7400:12099.
    btnAbort = MakeButton(u"btnAbort"_s, u"Abort"_s, elaButtons);
    btnRetry = MakeButton(u"btnRetry"_s, u"Retry"_s, elaButtons);
    btnIgnore = MakeButton(u"btnIgnore"_s, u"Ignore"_s, elaButtons);
    btnSend = MakeButton(u"btnSend"_s, u"Send to Support"_s, elaButtons);
    auto *buttonsLayout = new QHBoxLayout(elaButtons);
    buttonsLayout->setContentsMargins(Twips(150), Twips(150), Twips(150), Twips(150));
    buttonsLayout->setSpacing(Twips(1260 - 150 - 1050));
    buttonsLayout->addWidget(btnAbort, 7400);
    buttonsLayout->addWidget(btnRetry, 7400);
    buttonsLayout->addWidget(btnIgnore, 7400);
    buttonsLayout->addWidget(btnSend, 12099);

    setTabOrder(btnAbort, txtErrorMessage);
    setTabOrder(txtErrorMessage, btnRetry);
    setTabOrder(btnRetry, btnIgnore);
    setTabOrder(btnIgnore, btnSend);
    btnAbort->setFocus();

    connect(btnAbort, &QPushButton::clicked, this, &frmErrorMessage::btnAbort_Click);
    connect(btnRetry, &QPushButton::clicked, this, &frmErrorMessage::btnRetry_Click);
    connect(btnIgnore, &QPushButton::clicked, this, &frmErrorMessage::btnIgnore_Click);
    connect(btnSend, &QPushButton::clicked, this, &frmErrorMessage::btnSend_Click);
}

void frmErrorMessage::SupportMail(const QString &value)
{
    m_supportMail = value;
}

QString frmErrorMessage::ErrorMessage() const
{
    return m_message;
}

void frmErrorMessage::ErrorMessage(const QString &StrValue)
{
    m_message = StrValue % qrt::errors::CrLf % u"Version: "_s % QString::number(AppInfo::Major) %
                u'.' % QString::number(AppInfo::Minor) % u'.' % QString::number(AppInfo::Revision);
    txtErrorMessage->setPlainText(m_message);
}

// Form_Activate runs when the dialog shows, so that a window manager that
// does not activate it still shows the caption, the send button and the
// preset word; each later activation runs it again. The activation that
// follows the show is the show's own.
bool frmErrorMessage::event(QEvent *event)
{
    const bool handled = QDialog::event(event);
    if (event->type() == QEvent::Show) {
        Form_Activate();
        m_activatedByShow = true;
    } else if (event->type() == QEvent::WindowActivate) {
        if (!m_activatedByShow)
            Form_Activate();
        m_activatedByShow = false;
    } else if (event->type() == QEvent::Hide) {
        m_activatedByShow = false;
    }
    return handled;
}

void frmErrorMessage::Form_Activate()
{
    elaTitleCaption->setText(u"An error occurred in "_s + AppInfo::Title());
    btnSend->setEnabled(!m_supportMail.isEmpty());
    QApplication::beep();
    raise();
    activateWindow();
    // Every activation presets the word; a button replaces it.
    Tag = u"ABORT"_s;
}

void frmErrorMessage::Leave(const QString &word)
{
    Tag = word;
    accept();
}

void frmErrorMessage::btnAbort_Click()
{
    Leave(u"ABORT"_s);
}

void frmErrorMessage::btnRetry_Click()
{
    Leave(u"RETRY"_s);
}

void frmErrorMessage::btnIgnore_Click()
{
    Leave(u"IGNORE"_s);
}

void frmErrorMessage::reject()
{
    // The close box and Esc: nobody chose to go on.
    Tag = u"ABORT"_s;
    QDialog::reject();
}

void frmErrorMessage::btnSend_Click()
{
    const QString address =
        qrt::errors::SupportMailAddress(m_supportMail, elaTitleCaption->text(), ErrorMessage());
    // The dialog stays; a mail that does not open is all the user sees.
    try {
        CShell().OpenUrl(address);
    } catch (...) {
    }
}
