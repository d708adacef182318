#include "pivotviews/WebBrowser.h"

#include "component/EmbeddableClasses.h"
#include "component/PageObject.h"
#include "script/ScriptInterpreter.h"
#include "script/ScriptPage.h"

#include <QFile>
#include <QLabel>
#include <QLoggingCategory>
#include <QTimer>
#include <QVBoxLayout>

#include <algorithm>

using namespace Qt::StringLiterals;
using qrt::script::ScriptInterpreter;
using qrt::script::ScriptOutcome;
using qrt::script::ScriptPage;
using qrt::script::ScriptValue;

namespace {

Q_LOGGING_CATEGORY(lcPage, "qrt.page", QtWarningMsg)

const QColor kBeige(245, 245, 220);

} // namespace

WebBrowser::WebBrowser(QWidget *parent)
    : QWidget(parent)
{
    QPalette page = palette();
    page.setColor(QPalette::Window, kBeige);
    setPalette(page);
    setAutoFillBackground(true);
    m_layout = new QVBoxLayout(this);
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_layout->setSpacing(0);
    m_status = new QLabel(this);
    m_status->setObjectName(u"status"_s);
    m_status->setTextFormat(Qt::PlainText);
    m_status->setBackgroundRole(QPalette::Button);
    m_status->setAutoFillBackground(true);
    m_status->setMargin(2);
    // A long message must not widen the window.
    m_status->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    m_status->hide();
    m_layout->addWidget(m_status, 0, Qt::AlignBottom);
}

WebBrowser::~WebBrowser()
{
    // The script objects reach into the page's objects: they go first.
    m_interpreter.reset();
}

void WebBrowser::Navigate2(const QString &path)
{
    clearPage();
    m_path = path;
    const quint64 page = ++m_page;
    m_busy = true;
    QString notice;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        notice = u"Cannot find '%1'."_s.arg(path);
    else
        notice = embedObjects(QString::fromLatin1(file.readAll()));
    // The document loads after this call, as in a browser: the script never
    // runs inside it.
    QTimer::singleShot(0, this, [this, page, notice] {
        if (page != m_page)
            return;
        if (notice.isEmpty())
            runOnLoad(page);
        else
            finish(notice);
    });
}

WebBrowser::HtmlDocument WebBrowser::Document() const
{
    return HtmlDocument(m_objects);
}

QString WebBrowser::statusText() const
{
    return m_status->text();
}

void WebBrowser::clearPage()
{
    m_interpreter.reset();
    for (const auto &object : std::as_const(m_objects))
        delete object.data();
    m_objects.clear();
    m_status->clear();
    m_status->hide();
    m_rerun = false;
    m_waiting = false;
}

// The page's objects, each filling its share of the page and bound to its
// id; a notice when the page has none or one cannot be made.
QString WebBrowser::embedObjects(const QString &html)
{
    const ScriptPage page = ScriptPage::fromHtml(html);
    if (page.objects().isEmpty())
        return u"The page '%1' has no object to show."_s.arg(m_path);
    m_interpreter = std::make_unique<ScriptInterpreter>();
    // A page whose script does not parse still shows its objects; the run
    // reports the error.
    m_interpreter->load(page);
    for (const ScriptPage::Object &tag : page.objects()) {
        QWidget *created = EmbeddableClasses::create(u"CLSID:"_s + tag.classId, this);
        auto *object = qobject_cast<PageObject *>(created);
        if (!object) {
            delete created;
            return u"Line %1: Cannot create the object '%2' (CLSID:%3)."_s.arg(tag.line).arg(
                tag.id, tag.classId);
        }
        object->setObjectName(tag.id);
        m_layout->insertWidget(m_layout->count() - 1, object, 1);
        m_objects.insert(tag.id, object);
        m_interpreter->setGlobal(tag.id, ScriptValue(object->scriptObject()));
    }
    return {};
}

void WebBrowser::runOnLoad(quint64 page)
{
    const QString onLoad = u"Window_OnLoad"_s;
    const ScriptOutcome outcome =
        m_interpreter->run(m_interpreter->hasProcedure(onLoad) ? onLoad : QString());
    if (outcome.isPending() && !m_rerun) {
        // An object is still loading its data: once it has, the script runs
        // again from the start, which only sets the same properties again
        // before it reaches the data.
        m_rerun = true;
        m_waiting = true;
        for (const auto &object : std::as_const(m_objects)) {
            connect(
                object, &PageObject::loaded, this,
                [this, page] {
                    if (page == m_page && std::exchange(m_waiting, false))
                        runOnLoad(page);
                },
                Qt::QueuedConnection);
        }
        return;
    }
    if (outcome.isPending() && objectsFailedToLoad()) {
        // Each object says itself why it has no data. Once a Refresh brings
        // it, the script runs again and lays it out, as the first load would.
        m_waiting = true;
        finish(QString());
    } else if (outcome.isPending()) {
        finish(u"Line %1: The object is not ready."_s.arg(outcome.line()));
    } else {
        finish(outcome.isFailed() ? outcome.text() : QString());
    }
}

bool WebBrowser::objectsFailedToLoad() const
{
    return std::any_of(m_objects.begin(), m_objects.end(), [](const QPointer<PageObject> &object) {
        return object && !object->loadError().isEmpty();
    });
}

void WebBrowser::finish(const QString &notice)
{
    m_status->setText(notice);
    m_status->setToolTip(notice);
    m_status->setVisible(!notice.isEmpty());
    if (!notice.isEmpty())
        qCWarning(lcPage).noquote() << m_path << notice;
    m_busy = false;
    Q_EMIT scriptFinished();
}
