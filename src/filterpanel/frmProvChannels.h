#pragma once
// The filter panel of a chart window: three lists of tick boxes, for
// categories, providers and channels, filled once from the database. The
// user unticks what the chart is to leave out; the ticks become the chart's
// filter text when BuildFilter runs. The panel finds its window only by
// its number in gChartForms.

#include <QWidget>

class TickList;
namespace qrt::db {
enum class Engine;
}

class frmProvChannels : public QWidget
{
    Q_OBJECT

public:
    explicit frmProvChannels(QWidget *parent = nullptr);

    qint16 fIndex = 0;

    // The design size: the three lists at their design heights, whatever
    // the lists themselves would ask for.
    QSize sizeHint() const override;

    void Form_Load();
    // Writes the filter text of the ticks to sFilter of this window's chart.
    void BuildFilter();

    QWidget *elstFilter1 = nullptr;
    TickList *fgCategories = nullptr;
    TickList *fgProviders = nullptr;
    TickList *fgChannels = nullptr;

    // The SELECT that fills the three lists.
    static const QString GridsStatement;
    // The statement to run on an engine: the same rows in the same order.
    // The literal one joins every news item before DISTINCT folds them; on
    // the engines we know, asking only whether a channel has news at all
    // reads the news table once and keeps no per-item rows.
    static QString GridsStatementFor(qrt::db::Engine engine);

private:
    void FillGrids();
    void AddGridRow(TickList *grid, const QString &key, const QString &text, bool bold,
                    bool selectRow);
    void OnCheckChanged(TickList *grid, bool isAllRow);
    void SetAllChecks(TickList *grid, bool ticked);
    void ShowCellToolTip(TickList *grid);
    void RestoreFilters();
    void UpdateRedrawButton();

    void BeforeEdit(TickList *grid, int row, int col);
    void fgCategories_AfterEdit(int row, int col);
    void AfterEdit(TickList *grid, int row);
    TickList *makeGrid(const QString &name, const QString &toolTip);
};
