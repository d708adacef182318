#pragma once
// An object a page embeds by its class id and scripts by its id, such as
// the pivot table `PT` of the generated pivot page. The page host creates
// it from the embeddable classes, binds its script object to the id and
// runs the page's Window_OnLoad; the window reaches it again at close to
// save the table's layout. The pivot table implements it.
//
// The data of such an object loads after the script has set where it comes
// from, so its view is not there at once: until then the script object's
// ActiveView raises ScriptPending and activeView() is null, and loaded()
// tells when the wait is over: the data is in, or loadError() says why not
// (the object then shows that itself).

#include <QWidget>

#include <memory>

namespace qrt::script {
class ScriptObject;
}
namespace qrt::pivot {
class PivotView;
}

class PageObject : public QWidget
{
    Q_OBJECT

public:
    using QWidget::QWidget;

    // What the page's script reaches under the object's id.
    virtual std::shared_ptr<qrt::script::ScriptObject> scriptObject() = 0;
    // The live view the user lays out; null until loaded().
    virtual qrt::pivot::PivotView *activeView() const = 0;
    // Why the last load gave no data; empty while loading or once loaded.
    virtual QString loadError() const = 0;

Q_SIGNALS:
    void loaded();
};
