#pragma once
// The page host: shows a local page such as the generated pivot page. It
// reads the page, creates each object its <object id=... classid=CLSID:...>
// tags ask for from the embeddable classes, lets the objects fill the page,
// and once the document has loaded runs the page's Window_OnLoad with the
// script interpreter, each object bound to its id. The script reaches
// nothing but those objects.
//
// Nothing waits for the page: Navigate2 returns before the script runs, as a
// browser loads a document after the call that asked for it. An object that
// is still loading its data makes the run pending; the script then runs once
// more from the start when the object says it has loaded, also when that
// load failed and a later one brings the data. A script error
// stops the script at its line, leaves what ran before it in force, and
// shows "Line 23: ..." at the foot of the page, as a browser's status bar
// does; so does a page that cannot be read or an object that cannot be made.

#include <QHash>
#include <QPointer>
#include <QWidget>

#include <memory>

class PageObject;
class QLabel;
class QVBoxLayout;

namespace qrt::script {
class ScriptInterpreter;
class ScriptOutcome;
} // namespace qrt::script

class WebBrowser : public QWidget
{
    Q_OBJECT
    // From Navigate2 until scriptFinished: hosts that picture the window
    // wait for it without including this header.
    Q_PROPERTY(bool busy READ isBusy NOTIFY scriptFinished)

public:
    // The element of a page with an id, and the object it embeds (null for
    // an element without one, or none at all).
    class HtmlElement
    {
    public:
        explicit HtmlElement(PageObject *object = nullptr)
            : m_object(object)
        {}
        PageObject *object() const { return m_object; }

    private:
        QPointer<PageObject> m_object;
    };

    // The shown page's elements by id; a copy, valid while the page is.
    class HtmlDocument
    {
    public:
        explicit HtmlDocument(QHash<QString, QPointer<PageObject>> objects = {})
            : m_objects(std::move(objects))
        {}
        HtmlElement getElementById(const QString &id) const
        {
            return HtmlElement(m_objects.value(id));
        }

    private:
        QHash<QString, QPointer<PageObject>> m_objects;
    };

    explicit WebBrowser(QWidget *parent = nullptr);
    ~WebBrowser() override;

    // Replaces the shown page with the file at `path` (single-byte text).
    void Navigate2(const QString &path);
    HtmlDocument Document() const;

    // The line at the foot of the page: empty while all is well.
    QString statusText() const;
    bool isBusy() const { return m_busy; }
    // The script stopped at an object that has no data yet, and runs again
    // once it has: until then the page's objects are not laid out.
    bool isAwaitingData() const { return m_waiting; }

Q_SIGNALS:
    // The page's script has completed or stopped, or the page could not be
    // shown: the page is what it will be.
    void scriptFinished();

private:
    void clearPage();
    QString embedObjects(const QString &html);
    void runOnLoad(quint64 page);
    bool objectsFailedToLoad() const;
    void finish(const QString &notice);

    std::unique_ptr<qrt::script::ScriptInterpreter> m_interpreter;
    QHash<QString, QPointer<PageObject>> m_objects;
    QVBoxLayout *m_layout = nullptr;
    QLabel *m_status = nullptr;
    QString m_path;
    quint64 m_page = 0; // counts navigations, so that a late run of an old page does nothing
    bool m_busy = false;
    bool m_rerun = false;   // the run after a wait for the data
    bool m_waiting = false; // for the first object that has loaded
};
