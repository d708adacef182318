#pragma once
// The pivot table object a page embeds, and its view at once: the members a
// page script sets (AllowFiltering, DisplayToolbar, ConnectionString,
// CommandText, ...) and reads (ActiveView, ActiveData), over a grid with
// drop zones, a field list, a tool bar and a small property tool box.
//
// Setting the connection string and the command text starts the load on a
// worker thread; a progress bar with Cancel shows meanwhile, and the window
// never waits. `loaded()` says the data is in and ActiveView is there, so
// the page's script can lay the view out; a load that fails or is
// cancelled shows why instead, and ActiveView stays what it was (null at
// the first load). A later load keeps the layout on screen. Setting a value
// it already has loads nothing again. Changes of the layout from the
// script or from another view of the same object show within a moment.
//
// Registered as "OWC11.PivotTable" and "OWC10.PivotTable", with the page's
// class id standing for the first, when the library loads (see
// registerClasses()). Its script object is what the page's `PT` reaches.

#include "component/PageObject.h"

#include <QPointer>

#include <memory>

class QAction;
class QComboBox;
class QLabel;
class QLineEdit;
class QSplitter;
class QTimer;
class QToolBar;
class PivotDropZone;
class PivotFieldList;
class PivotGrid;
class PivotLoadPanel;

namespace qrt::pivot {
class PivotTableScriptObject;
class PivotTotal;
class PivotView;
} // namespace qrt::pivot
namespace qrt::script {
class ScriptValue;
}

class PivotTable : public PageObject
{
    Q_OBJECT
    Q_PROPERTY(bool AllowFiltering READ AllowFiltering WRITE setAllowFiltering)
    Q_PROPERTY(bool AllowGrouping READ AllowGrouping WRITE setAllowGrouping)
    Q_PROPERTY(bool AllowPropertyToolbox READ AllowPropertyToolbox WRITE setAllowPropertyToolbox)
    Q_PROPERTY(bool DisplayToolbar READ DisplayToolbar WRITE setDisplayToolbar)
    Q_PROPERTY(bool DisplayFieldList READ DisplayFieldList WRITE setDisplayFieldList)
    Q_PROPERTY(QString ConnectionString READ ConnectionString WRITE setConnectionString)
    Q_PROPERTY(QString CommandText READ CommandText WRITE setCommandText)

public:
    // What ActiveData gives: the data area's display of detail rows. The
    // grid shows totals only, so details are hidden unless asked for.
    class ActiveDataObject
    {
    public:
        void HideDetails() { m_hidden = true; }
        void ShowDetails() { m_hidden = false; }
        bool detailsHidden() const { return m_hidden; }

    private:
        bool m_hidden = true;
    };

    static const QStringList &classNames();
    static QString classId();
    static void registerClasses();
    static void unregisterClasses();

    explicit PivotTable(QWidget *parent = nullptr);
    ~PivotTable() override;

    bool AllowFiltering() const { return m_allowFiltering; }
    void setAllowFiltering(bool allow);
    bool AllowGrouping() const { return m_allowGrouping; }
    void setAllowGrouping(bool allow);
    bool AllowPropertyToolbox() const { return m_allowPropertyToolbox; }
    void setAllowPropertyToolbox(bool allow);
    bool DisplayToolbar() const { return m_displayToolbar; }
    void setDisplayToolbar(bool display);
    bool DisplayFieldList() const { return m_displayFieldList; }
    void setDisplayFieldList(bool display);
    const QString &ConnectionString() const { return m_connectionString; }
    void setConnectionString(const QString &connectionString);
    const QString &CommandText() const { return m_commandText; }
    void setCommandText(const QString &commandText);

    // Null until the data is in.
    qrt::pivot::PivotView *ActiveView() const { return m_view.get(); }
    qrt::pivot::PivotView *activeView() const override { return m_view.get(); }
    std::shared_ptr<qrt::script::ScriptObject> scriptObject() override;
    ActiveDataObject &ActiveData() { return m_activeData; }

    bool isLoading() const;
    // The reason the last load gave no data; empty when it gave data.
    QString loadError() const override;
    // Loads again from the database; the layout on screen stays, over the
    // new rows, and so does the old view when the load gives none.
    void Refresh();

    PivotGrid *grid() const { return m_grid; }
    // The grid as the user sees it, as CSV; false when the file can't be written.
    bool exportCsv(const QString &path) const;

Q_SIGNALS:
    // loaded() (of PageObject) says the data is in; this, that the user or
    // the script changed the layout since.
    void layoutChanged();

protected:
    void showEvent(QShowEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void buildToolbar();
    QWidget *buildSplitter();
    void fitRowZone();
    QWidget *buildPropertyToolbox();
    void startLoad();
    void loadFinished();
    void showLoadError(const QString &error);
    void showLayout();
    void pollLayout();
    void viewChanged();
    void sort(Qt::SortOrder order);
    void exportToFile();
    void copyToClipboard();
    void updateSidePanel();
    void updatePropertyToolbox();
    qrt::pivot::PivotTotal *currentTotal() const;
    void applyTotalProperties();
    void setFromScript(const QString &name, const qrt::script::ScriptValue &value);

    bool m_allowFiltering = true;
    bool m_allowGrouping = true;
    bool m_allowPropertyToolbox = true;
    bool m_displayToolbar = true;
    bool m_displayFieldList = true;
    QString m_connectionString;
    QString m_commandText;

    std::unique_ptr<qrt::pivot::PivotView> m_view;
    ActiveDataObject m_activeData;
    std::shared_ptr<qrt::pivot::PivotTableScriptObject> m_script;
    quint64 m_shownVersion = 0;
    bool m_sized = false;

    QToolBar *m_toolbar = nullptr;
    PivotLoadPanel *m_loadPanel = nullptr;
    QLabel *m_message = nullptr;
    QSplitter *m_splitter = nullptr;
    PivotDropZone *m_filterZone = nullptr;
    PivotDropZone *m_rowZone = nullptr;
    PivotDropZone *m_columnZone = nullptr;
    PivotDropZone *m_dataZone = nullptr;
    PivotGrid *m_grid = nullptr;
    QWidget *m_side = nullptr;
    PivotFieldList *m_fieldList = nullptr;
    QWidget *m_toolbox = nullptr;
    QComboBox *m_totalCombo = nullptr;
    QLineEdit *m_captionEdit = nullptr;
    QComboBox *m_formatCombo = nullptr;
    QTimer *m_poll = nullptr;

    QAction *m_filterAction = nullptr;
    QAction *m_fieldListAction = nullptr;
    QAction *m_toolboxAction = nullptr;
    QAction *m_subtotalsAction = nullptr;
};
