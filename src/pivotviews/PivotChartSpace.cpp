#include "pivotviews/PivotChartSpace.h"

#include "component/EmbeddableClasses.h"
#include "controls/pivot/PivotChartView.h"
#include "controls/pivot/PivotDropZone.h"
#include "controls/pivot/PivotFieldList.h"
#include "controls/pivot/PivotIcons.h"
#include "controls/pivot/PivotLoadPanel.h"
#include "controls/pivot/PivotMemberFilter.h"
#include "controls/pivot/PivotToolAction.h"
#include "controls/tools/IconCache.h"
#include "controls/tools/ToolIcons.h"
#include "pivot/PivotAggregator.h"
#include "pivot/PivotChartData.h"
#include "pivot/PivotError.h"
#include "pivot/PivotResult.h"
#include "pivot/PivotView.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QPainter>
#include <QSplitter>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>
#include <QWidgetAction>

using namespace Qt::StringLiterals;
using namespace qrt::pivot;

namespace {

// How often a change of the layout made from outside the widgets (by the
// host, through ActiveView) is looked for: a number compare, nothing more.
constexpr int kPollMs = 150;
constexpr int kBorderWidth = 2;

const bool registeredAtLoad = (PivotChartSpace::registerClasses(), true);

} // namespace

void PivotChartSpace::InteriorObject::SetSolid(const QString &colorName)
{
    const QColor color = QColor::fromString(colorName);
    if (!color.isValid())
        throw PivotError::invalidValue(u"Interior.SetSolid"_s, colorName);
    m_color = color;
    m_owner->applyInterior();
}

void PivotChartSpace::BorderObject::setColor(int color)
{
    m_color = color;
    m_owner->update();
}

QColor PivotChartSpace::BorderObject::qColor() const
{
    return QColor(m_color & 0xFF, (m_color >> 8) & 0xFF, (m_color >> 16) & 0xFF);
}

void PivotChartSpace::ChartObject::setType(int type)
{
    m_type = type;
    m_owner->syncControls();
    m_owner->redraw();
}

PivotView *PivotChartSpace::InternalPivotTableObject::ActiveView() const
{
    return m_owner->m_view.get();
}

const QStringList &PivotChartSpace::classNames()
{
    static const QStringList names = {u"OWC11.Chartspace"_s, u"OWC10.Chartspace"_s};
    return names;
}

void PivotChartSpace::registerClasses()
{
    for (const QString &name : classNames())
        EmbeddableClasses::registerClass(
            name, [](QWidget *parent) { return new PivotChartSpace(parent); });
}

void PivotChartSpace::unregisterClasses()
{
    for (const QString &name : classNames())
        EmbeddableClasses::unregisterClass(name);
}

PivotChartSpace::PivotChartSpace(QWidget *parent)
    : QFrame(parent)
    , m_loadPanel(new PivotLoadPanel(this))
    , m_filterZone(new PivotDropZone(PivotDropZone::Kind::Filter, this))
    , m_dataZone(new PivotDropZone(PivotDropZone::Kind::Data, this))
    , m_rowZone(new PivotDropZone(PivotDropZone::Kind::Row, this))
    , m_columnZone(new PivotDropZone(PivotDropZone::Kind::Column, this))
    , m_chart(new PivotChartView(this))
    , m_fieldList(new PivotFieldList(this))
    , m_poll(new QTimer(this))
{
    Q_UNUSED(registeredAtLoad);
    setObjectName(u"PivotChartSpace"_s);
    setAutoFillBackground(true);
    m_chart->setObjectName(u"chartView"_s);
    auto *root = new QVBoxLayout(this);
    root->setContentsMargins(kBorderWidth, kBorderWidth, kBorderWidth, kBorderWidth);
    root->setSpacing(2);
    buildToolbar();
    root->addWidget(m_toolbar);
    root->addWidget(m_loadPanel);
    m_message = new QLabel(this);
    m_message->setObjectName(u"messageLabel"_s);
    m_message->setWordWrap(true);
    m_message->hide();
    root->addWidget(m_message);

    m_splitter = new QSplitter(Qt::Horizontal, this);
    m_splitter->setObjectName(u"splitter"_s);
    m_splitter->setChildrenCollapsible(false);
    m_splitter->addWidget(buildChartArea());
    m_side = new QWidget(m_splitter);
    auto *sideLayout = new QVBoxLayout(m_side);
    sideLayout->setContentsMargins(0, 0, 0, 0);
    sideLayout->addWidget(m_fieldList, 1);
    m_toolbox = buildPropertyToolbox();
    sideLayout->addWidget(m_toolbox);
    m_splitter->addWidget(m_side);
    m_splitter->setStretchFactor(0, 1);
    root->addWidget(m_splitter, 1);

    connect(m_loadPanel, &PivotLoadPanel::ended, this, &PivotChartSpace::loadFinished);
    for (PivotDropZone *zone : {m_filterZone, m_dataZone, m_rowZone, m_columnZone})
        connect(zone, &PivotDropZone::layoutChanged, this, &PivotChartSpace::viewChanged);
    connect(m_fieldList, &PivotFieldList::layoutChanged, this, &PivotChartSpace::viewChanged);
    connect(m_poll, &QTimer::timeout, this, &PivotChartSpace::pollLayout);
    m_poll->setInterval(kPollMs);
    applyInterior();
    placeAxisZones();
    syncControls();
    updateSidePanel();
    redraw();
    resize(800, 500);
}

PivotChartSpace::~PivotChartSpace()
{
    // The widgets let go of the view before it goes.
    for (PivotDropZone *zone : {m_filterZone, m_dataZone, m_rowZone, m_columnZone})
        zone->setView(nullptr);
    m_fieldList->setView(nullptr);
}

QWidget *PivotChartSpace::buildChartArea()
{
    auto *area = new QWidget(m_splitter);
    auto *grid = new QGridLayout(area);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setSpacing(2);
    grid->addWidget(m_filterZone, 0, 0);
    grid->addWidget(m_dataZone, 0, 1);
    grid->addWidget(m_chart, 1, 0, 1, 2);
    m_axisZones = new QWidget(area);
    auto *zones = new QHBoxLayout(m_axisZones);
    zones->setContentsMargins(0, 0, 0, 0);
    zones->setSpacing(2);
    grid->addWidget(m_axisZones, 2, 0, 1, 2);
    grid->setColumnStretch(0, 3);
    grid->setColumnStretch(1, 2);
    grid->setRowStretch(1, 1);
    return area;
}

// The categories come from the row area and the series from the column
// area, or the other way round by rows: the category area stays left.
void PivotChartSpace::placeAxisZones()
{
    PivotDropZone *categories = m_seriesByRows ? m_columnZone : m_rowZone;
    PivotDropZone *series = m_seriesByRows ? m_rowZone : m_columnZone;
    categories->setHintText(tr("Drop Category Fields Here"));
    series->setHintText(tr("Drop Series Fields Here"));
    auto *zones = static_cast<QHBoxLayout *>(m_axisZones->layout());
    zones->removeWidget(categories);
    zones->removeWidget(series);
    zones->addWidget(categories, 3);
    zones->addWidget(series, 2);
}

void PivotChartSpace::buildToolbar()
{
    m_toolbar = new QToolBar(this);
    m_toolbar->setObjectName(u"toolbar"_s);
    m_toolbar->setIconSize(QSize(16, 16));
    auto add = [this](const QString &name, const QIcon &icon, const QString &text,
                      const QKeySequence &keys, bool checkable, auto slot) {
        QAction *action = PivotToolAction::add(this, m_toolbar, name, icon, text, keys);
        action->setCheckable(checkable);
        connect(action, &QAction::triggered, this, slot);
        return action;
    };
    m_toolbar->addWidget(buildGallery());
    m_legendAction =
        add(u"legendAction"_s, ToolIcons::legend(), tr("&Legend"), QKeySequence(u"Ctrl+Shift+G"_s),
            true, [this](bool on) { setHasChartSpaceLegend(on); });
    m_byRowsAction =
        add(u"seriesByRowsAction"_s, PivotIcons::seriesBy(true), tr("Series by &Rows"),
            QKeySequence(u"Ctrl+Shift+R"_s), true, [this](bool on) { setHasSeriesByRows(on); });
    m_toolbar->addSeparator();
    m_fieldListAction =
        add(u"fieldListAction"_s, PivotIcons::fieldList(), tr("Field &List"),
            QKeySequence(u"Ctrl+Shift+L"_s), true, [this](bool on) { setDisplayFieldList(on); });
    m_toolboxAction = add(u"propertiesAction"_s, PivotIcons::properties(), tr("&Properties"),
                          QKeySequence(u"Ctrl+Shift+P"_s), true, [this] { updateSidePanel(); });
    m_toolbar->addSeparator();
    add(u"refreshAction"_s, IconCache::standardIcon(style(), QStyle::SP_BrowserReload),
        tr("&Refresh"), QKeySequence(Qt::Key_F5), false, [this] { Refresh(); });
    add(u"exportAction"_s, IconCache::standardIcon(style(), QStyle::SP_DialogSaveButton),
        tr("E&xport Chart..."), QKeySequence(u"Ctrl+Shift+X"_s), false, [this] { exportToFile(); });
}

// A button with the picture of the current type, opening a grid of the
// pictures of every type.
QToolButton *PivotChartSpace::buildGallery()
{
    m_gallery = new QToolButton(this);
    m_gallery->setObjectName(u"chartTypeButton"_s);
    m_gallery->setPopupMode(QToolButton::InstantPopup);
    m_gallery->setToolTip(tr("Chart Type"));
    auto *menu = new QMenu(m_gallery);
    auto *list = new QListWidget(menu);
    list->setObjectName(u"chartTypeGallery"_s);
    list->setViewMode(QListView::IconMode);
    list->setIconSize(QSize(32, 32));
    list->setGridSize(QSize(92, 62));
    list->setWordWrap(true);
    list->setMovement(QListView::Static);
    list->setResizeMode(QListView::Adjust);
    list->setFixedSize(6 * 92 + 8, 5 * 62 + 8);
    for (int type : PivotChartView::drawnTypes()) {
        auto *item = new QListWidgetItem(PivotChartView::typeIcon(type),
                                         PivotChartView::typeName(type), list);
        item->setData(Qt::UserRole, type);
        item->setToolTip(PivotChartView::typeName(type));
    }
    connect(list, &QListWidget::itemActivated, this, [this, menu](QListWidgetItem *item) {
        menu->close();
        Charts(0).setType(item->data(Qt::UserRole).toInt());
    });
    connect(list, &QListWidget::itemClicked, list, &QListWidget::itemActivated);
    auto *action = new QWidgetAction(menu);
    action->setDefaultWidget(list);
    menu->addAction(action);
    m_gallery->setMenu(menu);
    return m_gallery;
}

QWidget *PivotChartSpace::buildPropertyToolbox()
{
    auto *box = new QGroupBox(tr("Chart Properties"), this);
    box->setObjectName(u"propertyToolbox"_s);
    auto *form = new QFormLayout(box);
    form->setContentsMargins(4, 4, 4, 4);
    m_typeCombo = new QComboBox(box);
    m_typeCombo->setObjectName(u"chartTypeCombo"_s);
    for (int type : PivotChartView::drawnTypes())
        m_typeCombo->addItem(PivotChartView::typeIcon(type), PivotChartView::typeName(type), type);
    m_legendCheck = new QCheckBox(tr("Show le&gend"), box);
    m_byRowsCheck = new QCheckBox(tr("Series by &rows"), box);
    m_allTotalsCheck = new QCheckBox(tr("Plot &all totals"), box);
    form->addRow(tr("&Type:"), m_typeCombo);
    form->addRow(m_legendCheck);
    form->addRow(m_byRowsCheck);
    form->addRow(m_allTotalsCheck);
    connect(m_typeCombo, &QComboBox::activated, this,
            [this] { Charts(0).setType(m_typeCombo->currentData().toInt()); });
    connect(m_legendCheck, &QCheckBox::clicked, this, &PivotChartSpace::setHasChartSpaceLegend);
    connect(m_byRowsCheck, &QCheckBox::clicked, this, &PivotChartSpace::setHasSeriesByRows);
    connect(m_allTotalsCheck, &QCheckBox::clicked, this,
            [this](bool all) { setPlotAllAggregates(all ? 1 : 0); });
    return box;
}

void PivotChartSpace::showEvent(QShowEvent *event)
{
    QFrame::showEvent(event);
    if (m_sized)
        return;
    // The field list takes a quarter of a narrow chart space, at most 220 pixels.
    m_sized = true;
    const int side = std::clamp(width() / 4, 150, 220);
    m_splitter->setSizes({width() - side, side});
}

void PivotChartSpace::paintEvent(QPaintEvent *event)
{
    QFrame::paintEvent(event);
    QPainter painter(this);
    painter.setPen(QPen(m_border.qColor(), kBorderWidth));
    painter.drawRect(QRectF(rect()).adjusted(1, 1, -1, -1));
}

void PivotChartSpace::applyInterior()
{
    QPalette fill = palette();
    fill.setColor(QPalette::Window, m_interior.color());
    setPalette(fill);
    m_chart->setBackground(m_interior.color());
    m_chart->replot();
}

PivotChartSpace::ChartObject &PivotChartSpace::Charts(int index)
{
    if (index != 0)
        throw PivotError::indexOutOfRange(u"Charts"_s, index, 1);
    return m_chartObject;
}

void PivotChartSpace::setAllowFiltering(bool allow)
{
    m_allowFiltering = allow;
    for (PivotDropZone *zone : {m_filterZone, m_dataZone, m_rowZone, m_columnZone})
        zone->setFilteringAllowed(allow);
}

void PivotChartSpace::setAllowPropertyToolbox(bool allow)
{
    m_allowPropertyToolbox = allow;
    m_toolboxAction->setVisible(allow);
    updateSidePanel();
}

void PivotChartSpace::setAllowScreenTipEvents(bool allow)
{
    m_allowScreenTipEvents = allow;
    m_chart->setScreenTipsShown(allow);
}

void PivotChartSpace::setAllowUISelection(bool allow)
{
    m_allowUISelection = allow;
    m_chart->setInteraction(QCP::iSelectPlottables, allow);
    m_chart->setInteraction(QCP::iSelectLegend, allow);
}

void PivotChartSpace::setDisplayToolbar(bool display)
{
    m_displayToolbar = display;
    m_toolbar->setVisible(display);
}

void PivotChartSpace::setDisplayFieldList(bool display)
{
    m_displayFieldList = display;
    syncControls();
    updateSidePanel();
}

void PivotChartSpace::updateSidePanel()
{
    m_fieldList->setVisible(m_displayFieldList);
    const bool toolbox = m_allowPropertyToolbox && m_toolboxAction->isChecked();
    m_toolbox->setVisible(toolbox);
    m_side->setVisible(m_displayFieldList || toolbox);
}

void PivotChartSpace::setPlotAllAggregates(int value)
{
    m_plotAllAggregates = value;
    syncControls();
    redraw();
}

void PivotChartSpace::setHasChartSpaceLegend(bool has)
{
    m_hasLegend = has;
    syncControls();
    redraw();
}

void PivotChartSpace::setHasSeriesByRows(bool byRows)
{
    m_seriesByRows = byRows;
    placeAxisZones();
    syncControls();
    redraw();
}

// The tool bar and the property tool box show the state, whoever set it.
void PivotChartSpace::syncControls()
{
    const int type = m_chartObject.Type();
    m_gallery->setIcon(PivotChartView::typeIcon(PivotChartView::drawnType(type)));
    m_gallery->setToolTip(tr("Chart Type: %1").arg(PivotChartView::typeName(type)));
    m_typeCombo->setCurrentIndex(m_typeCombo->findData(PivotChartView::drawnType(type)));
    for (auto [action, on] :
         {std::pair{m_legendAction, m_hasLegend}, std::pair{m_byRowsAction, m_seriesByRows},
          std::pair{m_fieldListAction, m_displayFieldList}})
        action->setChecked(on);
    m_legendCheck->setChecked(m_hasLegend);
    m_byRowsCheck->setChecked(m_seriesByRows);
    m_allTotalsCheck->setChecked(m_plotAllAggregates != 0);
}

void PivotChartSpace::setConnectionString(const QString &connectionString)
{
    // The same value again loads nothing again; Refresh does.
    if (connectionString == m_connectionString)
        return;
    m_connectionString = connectionString;
    startLoad();
}

void PivotChartSpace::setCommandText(const QString &commandText)
{
    if (commandText == m_commandText)
        return;
    m_commandText = commandText;
    startLoad();
}

QString PivotChartSpace::loadError() const
{
    return m_loadPanel->error();
}

bool PivotChartSpace::isLoading() const
{
    return m_loadPanel->isLoading();
}

void PivotChartSpace::Refresh()
{
    startLoad();
}

void PivotChartSpace::startLoad()
{
    if (m_connectionString.isEmpty() || m_commandText.isEmpty())
        return;
    // The chart on screen stays, and the user's to change, until the new
    // rows are in; the new view then takes its layout.
    m_message->hide();
    m_loadPanel->start(m_connectionString, m_commandText);
}

// The view is there before loaded() goes out, and drawn after it, so a
// layout the host puts on it in answer is the first one drawn.
void PivotChartSpace::loadFinished()
{
    if (m_view && m_loadPanel->isRefining()) { // the finer grain the layout on screen asked for
        std::shared_ptr<const PivotData> data = m_loadPanel->data();
        if (data && m_view->setData(data)) {
            showLayout();
        } else {
            m_message->setText(tr("No data: %1 Refresh (F5) loads again.").arg(loadError()));
            m_message->show();
        }
        return;
    }
    if (std::shared_ptr<const PivotData> data = m_loadPanel->data()) {
        auto view = std::make_unique<PivotView>(std::move(data));
        if (m_view)
            view->takeLayout(*m_view);
        // A member filter open on the old view would outlive it.
        for (PivotMemberFilter *filter : findChildren<PivotMemberFilter *>())
            filter->close();
        for (PivotDropZone *zone : {m_filterZone, m_dataZone, m_rowZone, m_columnZone})
            zone->setView(nullptr);
        m_fieldList->setView(nullptr);
        m_result.reset(); // it points into the old view
        m_view = std::move(view);
    } else {
        m_message->setText(m_view
                               ? tr("Not refreshed: %1 Refresh (F5) loads again.").arg(loadError())
                               : tr("No data: %1 Refresh (F5) loads again.").arg(loadError()));
        m_message->show();
    }
    Q_EMIT loaded();
    if (m_view) {
        showLayout();
        m_poll->start();
    }
}

void PivotChartSpace::showLayout()
{
    PivotView *view = m_view.get();
    m_shownVersion = view ? view->layoutVersion() : 0;
    for (PivotDropZone *zone : {m_filterZone, m_dataZone, m_rowZone, m_columnZone})
        zone->setView(view);
    m_fieldList->setView(view);
    // A layout finer than the data keeps the chart as it is until that grain is in.
    if (view && m_loadPanel->refine(*view))
        return;
    m_result = view ? std::make_unique<PivotResult>(PivotAggregator::run(*view)) : nullptr;
    redraw();
}

void PivotChartSpace::pollLayout()
{
    if (m_view && m_view->layoutVersion() != m_shownVersion)
        viewChanged();
}

void PivotChartSpace::viewChanged()
{
    showLayout();
    if (m_allowLayoutEvents)
        Q_EMIT layoutChanged();
}

void PivotChartSpace::redraw()
{
    m_chart->setChartType(m_chartObject.Type());
    m_chart->setLegendShown(m_hasLegend);
    m_chart->setChartData(m_result
                              ? PivotChartData::from(*m_result, m_seriesByRows, m_plotAllAggregates)
                              : PivotChartData());
    if (m_allowRenderEvents)
        Q_EMIT rendered();
}

bool PivotChartSpace::exportChart(const QString &path, QSize size, QString *error)
{
    return m_chart->exportTo(path, size, error);
}

void PivotChartSpace::exportToFile()
{
    const QString path = QFileDialog::getSaveFileName(
        this, tr("Export Pivot Chart"), u"PivotChart.png"_s,
        tr("PNG images (*.png);;SVG drawings (*.svg);;PDF documents (*.pdf)"));
    QString error;
    if (!path.isEmpty() && !exportChart(path, m_chart->size(), &error)) {
        m_message->setText(tr("The chart could not be exported: %1").arg(error));
        m_message->show();
    }
}
