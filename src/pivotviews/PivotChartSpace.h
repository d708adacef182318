#pragma once
// The chart space a window embeds: a pivot chart over the rows of a
// connection string and command text, with the members a host sets by name
// (the Allow... and Display... flags, Interior.SetSolid, border.Color,
// PlotAllAggregates, HasChartSpaceLegend, HasSeriesByRows, Charts(0).Type)
// and its internal pivot table, whose ActiveView the layout is put on.
//
// The user lays the chart out with the drop zones around it (filter and
// data areas above, category and series areas below) and the field list
// beside it, picks the type from a gallery of pictures, and exports the
// chart to PNG, SVG or PDF.
//
// The load runs on a worker thread, shared with any other view of the same
// connection string and command text; loaded() says the data is in (or
// loadError() why not) and fires before the first drawing, so a layout put
// on the view then is what the user first sees.
//
// Registered as "OWC11.Chartspace" and "OWC10.Chartspace" when the library
// loads (see registerClasses()).

#include <QColor>
#include <QFrame>

#include <memory>

class QAction;
class QLabel;
class QSplitter;
class QTimer;
class QToolBar;
class QToolButton;
class PivotChartView;
class PivotDropZone;
class PivotFieldList;
class PivotLoadPanel;
class QCheckBox;
class QComboBox;

namespace qrt::pivot {
class PivotResult;
class PivotView;
} // namespace qrt::pivot

class PivotChartSpace : public QFrame
{
    Q_OBJECT
    Q_PROPERTY(bool AllowFiltering READ AllowFiltering WRITE setAllowFiltering)
    Q_PROPERTY(bool AllowGrouping READ AllowGrouping WRITE setAllowGrouping)
    Q_PROPERTY(bool AllowLayoutEvents READ AllowLayoutEvents WRITE setAllowLayoutEvents)
    Q_PROPERTY(bool AllowPropertyToolbox READ AllowPropertyToolbox WRITE setAllowPropertyToolbox)
    Q_PROPERTY(bool AllowRenderEvents READ AllowRenderEvents WRITE setAllowRenderEvents)
    Q_PROPERTY(bool AllowScreenTipEvents READ AllowScreenTipEvents WRITE setAllowScreenTipEvents)
    Q_PROPERTY(bool AllowUISelection READ AllowUISelection WRITE setAllowUISelection)
    Q_PROPERTY(bool DisplayToolbar READ DisplayToolbar WRITE setDisplayToolbar)
    Q_PROPERTY(bool DisplayFieldList READ DisplayFieldList WRITE setDisplayFieldList)
    Q_PROPERTY(QString ConnectionString READ ConnectionString WRITE setConnectionString)
    Q_PROPERTY(QString CommandText READ CommandText WRITE setCommandText)
    Q_PROPERTY(int PlotAllAggregates READ PlotAllAggregates WRITE setPlotAllAggregates)
    Q_PROPERTY(bool HasChartSpaceLegend READ HasChartSpaceLegend WRITE setHasChartSpaceLegend)
    Q_PROPERTY(bool HasSeriesByRows READ HasSeriesByRows WRITE setHasSeriesByRows)
    // Until loaded(): hosts that picture the window wait for it by name.
    Q_PROPERTY(bool loading READ isLoading NOTIFY loaded)

public:
    // The fill behind the chart, by colour name.
    class InteriorObject
    {
    public:
        explicit InteriorObject(PivotChartSpace *owner)
            : m_owner(owner)
        {}
        // A name such as "Beige" or "#F5F5DC"; raises a PivotError for a
        // name no colour has, the fill staying as it was.
        void SetSolid(const QString &colorName);
        const QColor &color() const { return m_color; }

    private:
        PivotChartSpace *m_owner;
        QColor m_color = QColor(0xF5, 0xF5, 0xDC); // beige
    };

    // The line round the chart space; its Color has red in the low byte.
    class BorderObject
    {
    public:
        explicit BorderObject(PivotChartSpace *owner)
            : m_owner(owner)
        {}
        int Color() const { return m_color; }
        void setColor(int color);
        QColor qColor() const;

    private:
        PivotChartSpace *m_owner;
        int m_color = 0x808080;
    };

    // One chart of the space; the space has one.
    class ChartObject
    {
    public:
        explicit ChartObject(PivotChartSpace *owner)
            : m_owner(owner)
        {}
        // As set, also a number without a drawing of its own (drawn as the
        // nearest type that has one).
        int Type() const { return m_type; }
        void setType(int type);

    private:
        PivotChartSpace *m_owner;
        int m_type = 0;
    };

    // The pivot table behind the chart: the view the layout stands on.
    class InternalPivotTableObject
    {
    public:
        explicit InternalPivotTableObject(const PivotChartSpace *owner)
            : m_owner(owner)
        {}
        // Null until the data is in.
        qrt::pivot::PivotView *ActiveView() const;

    private:
        const PivotChartSpace *m_owner;
    };

    static const QStringList &classNames();
    static void registerClasses();
    static void unregisterClasses();

    explicit PivotChartSpace(QWidget *parent = nullptr);
    ~PivotChartSpace() override;

    bool AllowFiltering() const { return m_allowFiltering; }
    void setAllowFiltering(bool allow);
    bool AllowGrouping() const { return m_allowGrouping; }
    void setAllowGrouping(bool allow) { m_allowGrouping = allow; }
    bool AllowLayoutEvents() const { return m_allowLayoutEvents; }
    void setAllowLayoutEvents(bool allow) { m_allowLayoutEvents = allow; }
    bool AllowPropertyToolbox() const { return m_allowPropertyToolbox; }
    void setAllowPropertyToolbox(bool allow);
    bool AllowRenderEvents() const { return m_allowRenderEvents; }
    void setAllowRenderEvents(bool allow) { m_allowRenderEvents = allow; }
    bool AllowScreenTipEvents() const { return m_allowScreenTipEvents; }
    void setAllowScreenTipEvents(bool allow);
    bool AllowUISelection() const { return m_allowUISelection; }
    void setAllowUISelection(bool allow);
    bool DisplayToolbar() const { return m_displayToolbar; }
    void setDisplayToolbar(bool display);
    bool DisplayFieldList() const { return m_displayFieldList; }
    void setDisplayFieldList(bool display);
    const QString &ConnectionString() const { return m_connectionString; }
    void setConnectionString(const QString &connectionString);
    const QString &CommandText() const { return m_commandText; }
    void setCommandText(const QString &commandText);
    // 0 plots the first total; any other number every total of the data area.
    int PlotAllAggregates() const { return m_plotAllAggregates; }
    void setPlotAllAggregates(int value);
    bool HasChartSpaceLegend() const { return m_hasLegend; }
    void setHasChartSpaceLegend(bool has);
    bool HasSeriesByRows() const { return m_seriesByRows; }
    void setHasSeriesByRows(bool byRows);

    InteriorObject &Interior() { return m_interior; }
    BorderObject &border() { return m_border; }
    // Raises a PivotError for any index but 0.
    ChartObject &Charts(int index);
    InternalPivotTableObject &InternalPivotTable() { return m_internalPivotTable; }

    bool isLoading() const;
    // Why the last load gave no data; empty while loading or once loaded.
    QString loadError() const;
    // Loads again from the database; the layout on screen stays, over the
    // new rows, and so does the old view when the load gives none.
    void Refresh();

    PivotChartView *chartView() const { return m_chart; }
    // The chart as shown, at a size of its own; the format follows the
    // suffix (.png, .svg, .pdf). False, with the reason, when it can't.
    bool exportChart(const QString &path, QSize size, QString *error = nullptr);

Q_SIGNALS:
    void loaded();
    // The user or the host changed the layout (while AllowLayoutEvents).
    void layoutChanged();
    // The chart was drawn again (while AllowRenderEvents).
    void rendered();

protected:
    void paintEvent(QPaintEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    void buildToolbar();
    QToolButton *buildGallery();
    QWidget *buildChartArea();
    QWidget *buildPropertyToolbox();
    void startLoad();
    void loadFinished();
    void showLayout();
    void pollLayout();
    void viewChanged();
    void redraw();
    void placeAxisZones();
    void updateSidePanel();
    void syncControls();
    void exportToFile();
    void applyInterior();

    bool m_allowFiltering = true;
    bool m_allowGrouping = true;
    bool m_allowLayoutEvents = true;
    bool m_allowPropertyToolbox = true;
    bool m_allowRenderEvents = true;
    bool m_allowScreenTipEvents = true;
    bool m_allowUISelection = true;
    bool m_displayToolbar = true;
    bool m_displayFieldList = true;
    QString m_connectionString;
    QString m_commandText;
    int m_plotAllAggregates = 0;
    bool m_hasLegend = true;
    bool m_seriesByRows = false;
    InteriorObject m_interior{this};
    BorderObject m_border{this};
    ChartObject m_chartObject{this};
    InternalPivotTableObject m_internalPivotTable{this};

    std::unique_ptr<qrt::pivot::PivotView> m_view;
    std::unique_ptr<qrt::pivot::PivotResult> m_result; // of the layout shown
    quint64 m_shownVersion = 0;
    bool m_sized = false;

    QToolBar *m_toolbar = nullptr;
    PivotLoadPanel *m_loadPanel = nullptr;
    QLabel *m_message = nullptr;
    QSplitter *m_splitter = nullptr;
    PivotDropZone *m_filterZone = nullptr;
    PivotDropZone *m_dataZone = nullptr;
    PivotDropZone *m_rowZone = nullptr;
    PivotDropZone *m_columnZone = nullptr;
    QWidget *m_axisZones = nullptr;
    PivotChartView *m_chart = nullptr;
    QWidget *m_side = nullptr;
    PivotFieldList *m_fieldList = nullptr;
    QWidget *m_toolbox = nullptr;
    QComboBox *m_typeCombo = nullptr;
    QCheckBox *m_legendCheck = nullptr;
    QCheckBox *m_byRowsCheck = nullptr;
    QCheckBox *m_allTotalsCheck = nullptr;
    QTimer *m_poll = nullptr;

    QToolButton *m_gallery = nullptr;
    QAction *m_legendAction = nullptr;
    QAction *m_byRowsAction = nullptr;
    QAction *m_fieldListAction = nullptr;
    QAction *m_toolboxAction = nullptr;
};
