#include "filterpanel/frmProvChannels.h"

#include "base/ResumeNext.h"
#include "component/ThemeColors.h"
#include "component/modUtils.h"
#include "controls/tools/TickList.h"
#include "db/Connection.h"
#include "db/Recordset.h"
#include "errors/ReportingFrame.h"
#include "filterpanel/FilterClause.h"
#include "filterpanel/TickListModel.h"
#include "settings/CAppSettings.h"

#include <QFontDatabase>
#include <QSet>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

// The two statements differ only in how they find the channels with news.
const QString kGridsSelect =
    u"SELECT distinct Channels.ID as Chan_ID, Providers.ID as Prov_ID, Categories.ID as Categ_ID, "
    "Channels.Channel, Providers.Provider, Categories.Name as Categories FROM Providers INNER JOIN "
    "(Categories INNER JOIN "_s;
const QString kGridsOrder = u" ORDER BY Channels.ID,Providers.ID , Categories.ID"_s;

} // namespace

const QString frmProvChannels::GridsStatement =
    kGridsSelect +
    u"(Channels INNER JOIN News ON Channels.ID = News.Channel) ON "
    "Categories.ID = Channels.Category) ON Providers.ID = Channels.Provider"_s +
    kGridsOrder;

QString frmProvChannels::GridsStatementFor(qrt::db::Engine engine)
{
    if (engine != qrt::db::Engine::SQLite && engine != qrt::db::Engine::PostgreSQL)
        return GridsStatement;
    // Our SQLite schema indexes "Channel + 0" (see NewsSchema).
    const QString channel =
        engine == qrt::db::Engine::SQLite ? u"News.Channel + 0"_s : u"News.Channel"_s;
    return kGridsSelect +
           u"Channels ON Categories.ID = Channels.Category) ON Providers.ID = Channels.Provider "
           "WHERE Channels.ID IN (SELECT DISTINCT "_s +
           channel + u" FROM News)"_s + kGridsOrder;
}

namespace {

// Design sizes, from twips at 96 dpi: the form is 201 by 267 pixels and the
// lists 201 by 72, with 17 pixels above each.
constexpr QSize kDesignSize(201, 267);
constexpr int kGap = 17;

} // namespace

frmProvChannels::frmProvChannels(QWidget *parent)
    : QWidget(parent)
{
    setObjectName(u"frmProvChannels"_s);
    elstFilter1 = new QWidget(this);
    elstFilter1->setObjectName(u"elstFilter1"_s);
    elstFilter1->setAutoFillBackground(true);
    fgCategories = makeGrid(u"fgCategories"_s, u"  Categories"_s);
    fgProviders = makeGrid(u"fgProviders"_s, u"  Providers"_s);
    fgChannels = makeGrid(u"fgChannels"_s, u"  Channels"_s);
    auto *panel = new QVBoxLayout(elstFilter1);
    panel->setContentsMargins(0, kGap, 0, 0);
    panel->setSpacing(kGap);
    for (TickList *grid : {fgCategories, fgProviders, fgChannels})
        panel->addWidget(grid, 1);
    auto *form = new QVBoxLayout(this);
    form->setContentsMargins(0, 0, 0, 0);
    form->addWidget(elstFilter1);
    setMinimumSize(kDesignSize.width() / 2, kDesignSize.height() / 2);
    resize(kDesignSize);

    connect(fgCategories, &TickList::AfterEdit, this, &frmProvChannels::fgCategories_AfterEdit);
    connect(fgProviders, &TickList::AfterEdit, this,
            [this](int row, int) { AfterEdit(fgProviders, row); });
    connect(fgChannels, &TickList::AfterEdit, this,
            [this](int row, int) { AfterEdit(fgChannels, row); });
}

QSize frmProvChannels::sizeHint() const
{
    return kDesignSize;
}

TickList *frmProvChannels::makeGrid(const QString &name, const QString &toolTip)
{
    auto *grid = new TickList(elstFilter1);
    grid->setObjectName(name);
    grid->model()->setToolTipText(toolTip);
    grid->setMinimumHeight(kGap * 2);
    connect(grid, &TickList::BeforeEdit, this,
            [this, grid](int row, int col, bool *) { BeforeEdit(grid, row, col); });
    connect(grid, &TickList::MouseMove, this, [this, grid] { ShowCellToolTip(grid); });
    return grid;
}

void frmProvChannels::Form_Load()
{
    QPalette palette = elstFilter1->palette();
    palette.setColor(QPalette::Window, ThemeColors::toQColor(gThemeFillColor));
    elstFilter1->setPalette(palette);
    for (TickList *grid : {fgCategories, fgProviders, fgChannels}) {
        grid->model()->setEditable(2);
        AddGridRow(grid, u"ALL"_s, u"All"_s, true, true);
    }
    FillGrids();
    for (TickList *grid : {fgCategories, fgProviders, fgChannels})
        grid->model()->setRowData(0, grid->model()->Rows() - 1);
    RestoreFilters();
}

void frmProvChannels::AddGridRow(TickList *grid, const QString &key, const QString &text, bool bold,
                                 bool selectRow)
{
    TickListModel *m = grid->model();
    const int r = m->Rows();
    m->setRows(r + 1);
    m->setCell(TickListModel::CellChecked, r, TickListModel::Ticked);
    m->setCell(TickListModel::CellText, r, QString(u"  "_s + text));
    m->setRowKey(r, key);
    if (bold)
        m->setCell(TickListModel::CellFontBold, r, true);
    if (selectRow)
        m->Select(r, 0);
}

void frmProvChannels::FillGrids()
{
    const TickList *grids[] = {fgCategories, fgProviders, fgChannels};
    for (const TickList *grid : grids)
        grid->model()->setRedraw(false);
    if (gConnection && gConnection->Open(gConnectionString)) {
        qrt::db::Recordset rs;
        rs.Open(GridsStatementFor(gConnection->engine()), *gConnection);
        // One row per ID, at its first appearance.
        QSet<qint64> seen[3];
        TickList *targets[] = {fgCategories, fgProviders, fgChannels};
        const int idColumn[] = {2, 1, 0};
        const int nameColumn[] = {5, 4, 3};
        for (; !rs.IsEOF(); rs.MoveNext()) {
            for (int g = 0; g < 3; ++g) {
                const qint64 id = rs.Int(idColumn[g]);
                if (!seen[g].contains(id)) {
                    seen[g].insert(id);
                    AddGridRow(targets[g], u"KEY"_s + QString::number(id), rs.Text(nameColumn[g]),
                               false, false);
                }
            }
        }
        rs.Close();
        gConnection->Close();
    }
    // Repainting comes back on however the fill ended.
    for (const TickList *grid : grids)
        grid->model()->setRedraw(true);
}

void frmProvChannels::BeforeEdit(TickList *grid, int row, int col)
{
    grid->model()->Select(row, col);
}

void frmProvChannels::AfterEdit(TickList *grid, int row)
{
    OnCheckChanged(grid, row == 0);
}

// The one list handler that asks the user when it fails; should the asking
// itself fail, the event ends there, as every other handler does.
void frmProvChannels::fgCategories_AfterEdit(int row, int)
{
    resumeNext([&] {
        ReportingFrame frame(u"QRT_StatCharts.frmProvChannels.fgCategories_AfterEdit"_s,
                             gErrorHandler.get());
        if (!frame.Run([&] { AfterEdit(fgCategories, row); }))
            return;
        frame.Leave();
    });
}

void frmProvChannels::OnCheckChanged(TickList *grid, bool isAllRow)
{
    TickListModel *m = grid->model();
    const bool ticked = m->cellChecked(m->Row()) == TickListModel::Ticked;
    if (isAllRow) {
        SetAllChecks(grid, ticked);
        m->setRowData(0, ticked ? m->Rows() - 1 : 0);
    } else {
        m->setRowData(0, m->RowData(0) + (ticked ? 1 : -1));
    }
    UpdateRedrawButton();
}

void frmProvChannels::SetAllChecks(TickList *grid, bool ticked)
{
    FilterClause::SetAllChecks(*grid->model(), ticked);
}

void frmProvChannels::ShowCellToolTip(TickList *grid)
{
    TickListModel *m = grid->model();
    if (m->MouseRow() >= 0 && m->MouseCol() >= 0)
        m->setToolTipText(m->cellText(m->MouseRow()));
}

void frmProvChannels::BuildFilter()
{
    const QString text =
        FilterClause::compose(*fgCategories->model(), *fgProviders->model(), *fgChannels->model());
    if (ChartWorkspace *workspace = gChartForms.Item(ChartFormKey(fIndex)))
        workspace->setChartFilter(text);
}

void frmProvChannels::RestoreFilters()
{
    QString stored;
    if (gSettings)
        resumeNext([&] {
            stored = gSettings->GetSetting(u"STATCHART"_s, u"FILTERS"_s, QString()).toString();
        });
    FilterClause::restore(stored, *fgCategories->model(), *fgProviders->model(),
                          *fgChannels->model());
    BuildFilter();
}

void frmProvChannels::UpdateRedrawButton()
{
    ChartWorkspace *workspace = gChartForms.Item(ChartFormKey(fIndex));
    if (!workspace)
        return;
    bool anyEmpty = false;
    for (const TickList *grid : {fgCategories, fgProviders, fgChannels})
        anyEmpty = anyEmpty || grid->model()->RowData(0) == 0;
    workspace->setRedrawEnabled(!anyEmpty);
}
