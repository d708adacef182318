#include "pivotviews/PivotTable.h"

#include "component/EmbeddableClasses.h"
#include "controls/pivot/PivotDropZone.h"
#include "controls/pivot/PivotFieldList.h"
#include "controls/pivot/PivotGrid.h"
#include "controls/pivot/PivotHeaderView.h"
#include "controls/pivot/PivotIcons.h"
#include "controls/pivot/PivotLoadPanel.h"
#include "controls/pivot/PivotMemberFilter.h"
#include "controls/pivot/PivotToolAction.h"
#include "controls/tools/IconCache.h"
#include "pivot/PivotGridModel.h"
#include "pivot/PivotView.h"
#include "pivotpage/PivotTableScriptObject.h"
#include "script/ScriptValue.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSaveFile>
#include <QSplitter>
#include <QTimer>
#include <QToolBar>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;
using namespace qrt::pivot;

namespace {

// How often a change of the layout made outside the widgets (by the page's
// script) is looked for: a number compare, nothing more.
constexpr int kPollMs = 150;

const QColor kPage(u"beige"_s);

const bool registeredAtLoad = (PivotTable::registerClasses(), true);

} // namespace

const QStringList &PivotTable::classNames()
{
    static const QStringList names = {u"OWC11.PivotTable"_s, u"OWC10.PivotTable"_s};
    return names;
}

QString PivotTable::classId()
{
    return u"0002E55A-0000-0000-C000-000000000046"_s;
}

void PivotTable::registerClasses()
{
    for (const QString &name : classNames())
        EmbeddableClasses::registerClass(name,
                                         [](QWidget *parent) { return new PivotTable(parent); });
    EmbeddableClasses::registerClassId(classId(), classNames().first());
}

void PivotTable::unregisterClasses()
{
    for (const QString &name : classNames())
        EmbeddableClasses::unregisterClass(name);
    EmbeddableClasses::unregisterClassId(classId());
}

PivotTable::PivotTable(QWidget *parent)
    : PageObject(parent)
    , m_filterZone(new PivotDropZone(PivotDropZone::Kind::Filter, this))
    , m_rowZone(new PivotDropZone(PivotDropZone::Kind::Row, this))
    , m_columnZone(new PivotDropZone(PivotDropZone::Kind::Column, this))
    , m_dataZone(new PivotDropZone(PivotDropZone::Kind::Data, this))
    , m_grid(new PivotGrid(this))
    , m_fieldList(new PivotFieldList(this))
    , m_poll(new QTimer(this))
{
    Q_UNUSED(registeredAtLoad);
    setObjectName(u"PivotTable"_s);
    setAutoFillBackground(true);
    QPalette page = palette();
    page.setColor(QPalette::Window, kPage);
    setPalette(page);

    auto *root = new QVBoxLayout(this);
    root->setContentsMargins(0, 0, 0, 0);
    root->setSpacing(2);
    buildToolbar();
    root->addWidget(m_toolbar);
    m_loadPanel = new PivotLoadPanel(this);
    connect(m_loadPanel, &PivotLoadPanel::ended, this, &PivotTable::loadFinished);
    root->addWidget(m_loadPanel);
    m_message = new QLabel(this);
    m_message->setObjectName(u"messageLabel"_s);
    m_message->setWordWrap(true);
    m_message->setContentsMargins(6, 2, 6, 2);
    m_message->hide();
    root->addWidget(m_message);
    root->addWidget(buildSplitter(), 1);

    for (PivotDropZone *zone : {m_filterZone, m_rowZone, m_columnZone, m_dataZone})
        connect(zone, &PivotDropZone::layoutChanged, this, &PivotTable::viewChanged);
    connect(m_fieldList, &PivotFieldList::layoutChanged, this, &PivotTable::viewChanged);
    connect(m_grid, &PivotGrid::layoutChanged, this, &PivotTable::viewChanged);
    connect(m_grid->gridModel(), &QAbstractItemModel::modelReset, this, [this] {
        fitRowZone();
        updatePropertyToolbox();
    });
    connect(m_grid->selectionModel(), &QItemSelectionModel::currentChanged, this,
            &PivotTable::updatePropertyToolbox);
    connect(m_poll, &QTimer::timeout, this, &PivotTable::pollLayout);
    m_poll->setInterval(kPollMs);
    updateSidePanel();
    resize(800, 500);
}

PivotTable::~PivotTable()
{
    // The widgets let go of the view before it goes.
    m_grid->setView(nullptr);
}

// The drop zones around the grid on the left, the field list and the
// property tool box on the right.
QWidget *PivotTable::buildSplitter()
{
    m_splitter = new QSplitter(Qt::Horizontal, this);
    m_splitter->setObjectName(u"splitter"_s);
    m_splitter->setChildrenCollapsible(false);
    auto *content = new QWidget(m_splitter);
    auto *contentLayout = new QGridLayout(content);
    contentLayout->setContentsMargins(2, 0, 2, 2);
    contentLayout->setSpacing(2);
    contentLayout->addWidget(m_filterZone, 0, 0, 1, 2);
    contentLayout->addWidget(m_dataZone, 0, 2);
    contentLayout->addWidget(m_rowZone, 1, 0);
    contentLayout->addWidget(m_columnZone, 1, 1, 1, 2);
    contentLayout->addWidget(m_grid, 2, 0, 1, 3);
    contentLayout->setColumnStretch(1, 1);
    contentLayout->setRowStretch(2, 1);
    m_splitter->addWidget(content);

    m_side = new QWidget(m_splitter);
    m_side->setObjectName(u"sidePanel"_s);
    auto *sideLayout = new QVBoxLayout(m_side);
    sideLayout->setContentsMargins(0, 0, 0, 0);
    sideLayout->setSpacing(2);
    sideLayout->addWidget(m_fieldList, 1);
    m_toolbox = buildPropertyToolbox();
    sideLayout->addWidget(m_toolbox);
    m_splitter->addWidget(m_side);
    m_splitter->setStretchFactor(0, 1);
    m_splitter->setStretchFactor(1, 0);
    return m_splitter;
}

void PivotTable::fitRowZone()
{
    // The row area sits over the row headers, wide enough for its buttons
    // while the table has the room.
    const int buttons = m_rowZone->preferredWidth();
    const int headers = m_grid->rowHeader()->sizeHint().width() + 2;
    const int room = std::max(m_grid->width() * 3 / 5, 100);
    m_rowZone->setFixedWidth(std::min(std::max({headers, buttons, 100}), room));
}

void PivotTable::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    fitRowZone();
}

void PivotTable::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    if (m_sized)
        return;
    // The field list takes a third of a narrow table, at most 240 pixels.
    m_sized = true;
    const int side = std::clamp(width() / 3, 150, 240);
    m_splitter->setSizes({width() - side, side});
}

void PivotTable::buildToolbar()
{
    m_toolbar = new QToolBar(this);
    m_toolbar->setObjectName(u"toolbar"_s);
    m_toolbar->setIconSize(QSize(16, 16));
    auto add = [this](const QString &name, const QIcon &icon, const QString &text,
                      const QKeySequence &keys, auto slot) {
        QAction *action = PivotToolAction::add(this, m_toolbar, name, icon, text, keys);
        connect(action, &QAction::triggered, this, slot);
        return action;
    };
    add(u"sortAscendingAction"_s, PivotIcons::sort(true), tr("Sort &Ascending"),
        QKeySequence(u"Ctrl+Shift+Up"_s), [this] { sort(Qt::AscendingOrder); });
    add(u"sortDescendingAction"_s, PivotIcons::sort(false), tr("Sort &Descending"),
        QKeySequence(u"Ctrl+Shift+Down"_s), [this] { sort(Qt::DescendingOrder); });
    m_toolbar->addSeparator();
    m_filterAction =
        add(u"filterAction"_s, PivotIcons::filter(), tr("&Filter"), QKeySequence(u"Ctrl+Shift+F"_s),
            [this](bool on) { setAllowFiltering(on); });
    m_filterAction->setCheckable(true);
    m_filterAction->setChecked(m_allowFiltering);
    m_toolbar->addSeparator();
    add(u"expandAllAction"_s, PivotIcons::expand(true), tr("&Expand All"),
        QKeySequence(u"Ctrl+Shift+E"_s), [this] { m_grid->gridModel()->expandAll(true); });
    add(u"collapseAllAction"_s, PivotIcons::expand(false), tr("C&ollapse All"),
        QKeySequence(u"Ctrl+Shift+H"_s), [this] { m_grid->gridModel()->expandAll(false); });
    m_subtotalsAction = add(u"subtotalsAction"_s, PivotIcons::subtotals(), tr("&Subtotals"),
                            QKeySequence(u"Ctrl+Shift+S"_s),
                            [this](bool on) { m_grid->gridModel()->setSubtotalsShown(on); });
    m_subtotalsAction->setCheckable(true);
    m_subtotalsAction->setChecked(true);
    m_toolbar->addSeparator();
    m_fieldListAction =
        add(u"fieldListAction"_s, PivotIcons::fieldList(), tr("Field &List"),
            QKeySequence(u"Ctrl+Shift+L"_s), [this](bool on) { setDisplayFieldList(on); });
    m_fieldListAction->setCheckable(true);
    m_fieldListAction->setChecked(m_displayFieldList);
    m_toolboxAction = add(u"propertiesAction"_s, PivotIcons::properties(), tr("&Properties"),
                          QKeySequence(u"Ctrl+Shift+P"_s), [this] { updateSidePanel(); });
    m_toolboxAction->setCheckable(true);
    m_toolbar->addSeparator();
    add(u"refreshAction"_s, IconCache::standardIcon(style(), QStyle::SP_BrowserReload),
        tr("&Refresh"), QKeySequence(Qt::Key_F5), [this] { Refresh(); });
    add(u"exportAction"_s, IconCache::standardIcon(style(), QStyle::SP_DialogSaveButton),
        tr("E&xport to CSV..."), QKeySequence(u"Ctrl+Shift+X"_s), [this] { exportToFile(); });
    add(u"copyAction"_s, PivotIcons::copy(), tr("&Copy"), QKeySequence(u"Ctrl+Shift+C"_s),
        [this] { copyToClipboard(); });
}

QWidget *PivotTable::buildPropertyToolbox()
{
    auto *box = new QGroupBox(tr("Total Properties"), this);
    box->setObjectName(u"propertyToolbox"_s);
    auto *form = new QFormLayout(box);
    form->setContentsMargins(4, 4, 4, 4);
    m_totalCombo = new QComboBox(box);
    m_totalCombo->setObjectName(u"totalCombo"_s);
    m_totalCombo->setToolTip(tr("The total whose properties are below"));
    m_captionEdit = new QLineEdit(box);
    m_captionEdit->setObjectName(u"captionEdit"_s);
    m_captionEdit->setToolTip(tr("The caption of the total"));
    m_formatCombo = new QComboBox(box);
    m_formatCombo->setObjectName(u"numberFormatCombo"_s);
    m_formatCombo->setEditable(true);
    m_formatCombo->addItems(
        {u"General"_s, u"#,##0"_s, u"#,##0.00"_s, u"0.00"_s, u"0%"_s, u"0.0%"_s});
    m_formatCombo->setToolTip(tr("How the values of the total are written"));
    form->addRow(tr("T&otal:"), m_totalCombo);
    form->addRow(tr("Ca&ption:"), m_captionEdit);
    form->addRow(tr("&Number format:"), m_formatCombo);
    connect(m_totalCombo, &QComboBox::activated, this, [this] {
        const QSignalBlocker a(m_captionEdit), b(m_formatCombo);
        if (PivotTotal *total = currentTotal()) {
            m_captionEdit->setText(total->Caption());
            m_formatCombo->setCurrentText(total->NumberFormat());
        }
    });
    connect(m_captionEdit, &QLineEdit::editingFinished, this, &PivotTable::applyTotalProperties);
    connect(m_formatCombo, &QComboBox::currentTextChanged, this, &PivotTable::applyTotalProperties);
    return box;
}

std::shared_ptr<qrt::script::ScriptObject> PivotTable::scriptObject()
{
    if (!m_script) {
        // The interpreter may hold the object past the widget.
        const QPointer<PivotTable> self(this);
        PivotTableScriptObject::Owner owner;
        owner.activeView = [self] { return self ? self->m_view.get() : nullptr; };
        owner.changed = [self](const QString &name, const qrt::script::ScriptValue &value) {
            if (self)
                self->setFromScript(name, value);
        };
        owner.hideDetails = [self] {
            if (self)
                self->m_activeData.HideDetails();
        };
        m_script = std::make_shared<PivotTableScriptObject>(std::move(owner));
    }
    return m_script;
}

void PivotTable::setFromScript(const QString &name, const qrt::script::ScriptValue &value)
{
    // The page sets each member once per run, and runs again once the data
    // is in: a value set again changes nothing.
    if (name == u"ConnectionString")
        setConnectionString(value.toText());
    else if (name == u"CommandText")
        setCommandText(value.toText());
    else if (name == u"AllowFiltering")
        setAllowFiltering(value.toBool());
    else if (name == u"AllowGrouping")
        setAllowGrouping(value.toBool());
    else if (name == u"AllowPropertyToolbox")
        setAllowPropertyToolbox(value.toBool());
    else if (name == u"DisplayToolbar")
        setDisplayToolbar(value.toBool());
    else if (name == u"DisplayFieldList")
        setDisplayFieldList(value.toBool());
}

void PivotTable::setAllowFiltering(bool allow)
{
    m_allowFiltering = allow;
    m_filterAction->setChecked(allow);
    for (PivotDropZone *zone : {m_filterZone, m_rowZone, m_columnZone, m_dataZone})
        zone->setFilteringAllowed(allow);
}

void PivotTable::setAllowGrouping(bool allow)
{
    // Kept for the page's script: there is no grouping of members to allow.
    m_allowGrouping = allow;
}

void PivotTable::setAllowPropertyToolbox(bool allow)
{
    m_allowPropertyToolbox = allow;
    m_toolboxAction->setVisible(allow);
    updateSidePanel();
}

void PivotTable::setDisplayToolbar(bool display)
{
    m_displayToolbar = display;
    m_toolbar->setVisible(display);
}

void PivotTable::setDisplayFieldList(bool display)
{
    m_displayFieldList = display;
    m_fieldListAction->setChecked(display);
    updateSidePanel();
}

void PivotTable::updateSidePanel()
{
    m_fieldList->setVisible(m_displayFieldList);
    const bool toolbox = m_allowPropertyToolbox && m_toolboxAction->isChecked();
    m_toolbox->setVisible(toolbox);
    m_side->setVisible(m_displayFieldList || toolbox);
}

void PivotTable::setConnectionString(const QString &connectionString)
{
    // The same value again loads nothing again, whatever the last load
    // gave; Refresh does.
    if (connectionString == m_connectionString)
        return;
    m_connectionString = connectionString;
    startLoad();
}

void PivotTable::setCommandText(const QString &commandText)
{
    if (commandText == m_commandText)
        return;
    m_commandText = commandText;
    startLoad();
}

QString PivotTable::loadError() const
{
    return m_loadPanel->error();
}

bool PivotTable::isLoading() const
{
    return m_loadPanel->isLoading();
}

void PivotTable::Refresh()
{
    startLoad();
}

void PivotTable::startLoad()
{
    if (m_connectionString.isEmpty() || m_commandText.isEmpty())
        return;
    // The view on screen stays, and the user's to change, until the new
    // rows are in; the new view then takes its layout.
    m_message->hide();
    m_loadPanel->start(m_connectionString, m_commandText);
}

void PivotTable::showLoadError(const QString &error)
{
    m_message->setText(m_view ? tr("Not refreshed: %1 Refresh (F5) loads again.").arg(error)
                              : tr("No data: %1 Refresh (F5) loads again.").arg(error));
    m_message->show();
}

// A load that failed or was cancelled ends the wait too, without data.
void PivotTable::loadFinished()
{
    if (m_view && m_loadPanel->isRefining()) { // the finer grain the layout on screen asked for
        if (std::shared_ptr<const PivotData> data = m_loadPanel->data();
            data && m_view->setData(data))
            showLayout();
        else
            showLoadError(m_loadPanel->error());
        return;
    }
    if (std::shared_ptr<const PivotData> data = m_loadPanel->data()) {
        auto view = std::make_unique<PivotView>(std::move(data));
        QStringList descending; // the grid's sorting is the user's too
        if (m_view) {
            view->takeLayout(*m_view);
            for (const PivotFieldSet *fieldSet : m_view->FieldSets())
                if (m_grid->gridModel()->sortOrder(fieldSet) == Qt::DescendingOrder)
                    descending << fieldSet->Name();
        }
        // A member filter open on the old view would outlive it.
        for (PivotMemberFilter *filter : findChildren<PivotMemberFilter *>())
            filter->close();
        for (PivotDropZone *zone : {m_filterZone, m_rowZone, m_columnZone, m_dataZone})
            zone->setView(nullptr);
        m_fieldList->setView(nullptr);
        m_grid->setView(view.get());
        m_view = std::move(view);
        for (const PivotFieldSet *fieldSet : m_view->FieldSets())
            if (descending.contains(fieldSet->Name()))
                m_grid->gridModel()->setSortOrder(fieldSet, Qt::DescendingOrder);
        showLayout();
        m_poll->start();
    } else {
        showLoadError(m_loadPanel->error());
    }
    Q_EMIT loaded();
}

void PivotTable::showLayout()
{
    PivotView *view = m_view.get();
    m_shownVersion = view ? view->layoutVersion() : 0;
    for (PivotDropZone *zone : {m_filterZone, m_rowZone, m_columnZone, m_dataZone})
        zone->setView(view);
    m_fieldList->setView(view);
    // A layout finer than the data loads that grain; the grid stays as it is meanwhile.
    if (view)
        m_loadPanel->refine(*view);
    m_grid->refresh();
}

void PivotTable::pollLayout()
{
    if (m_view && m_view->layoutVersion() != m_shownVersion)
        viewChanged();
}

void PivotTable::viewChanged()
{
    showLayout();
    Q_EMIT layoutChanged();
}

void PivotTable::sort(Qt::SortOrder order)
{
    if (const PivotFieldSet *fieldSet = m_grid->currentFieldSet())
        m_grid->gridModel()->setSortOrder(fieldSet, order);
}

bool PivotTable::exportCsv(const QString &path) const
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.write(m_grid->gridModel()->toCsv().toUtf8());
    return file.commit();
}

void PivotTable::exportToFile()
{
    const QString path =
        QFileDialog::getSaveFileName(this, tr("Export Pivot Table"), u"PivotTable.csv"_s,
                                     tr("CSV files (*.csv);;All files (*)"));
    if (!path.isEmpty() && !exportCsv(path)) {
        m_message->setText(tr("The file %1 could not be written.").arg(path));
        m_message->show();
    }
}

void PivotTable::copyToClipboard()
{
    QApplication::clipboard()->setText(m_grid->gridModel()->toTabText());
}

PivotTotal *PivotTable::currentTotal() const
{
    if (!m_view)
        return nullptr;
    const auto &totals = m_view->DataAxis().Totals();
    const int index = m_totalCombo->currentIndex();
    return index >= 0 && index < totals.Count() ? &totals.Item(index) : nullptr;
}

void PivotTable::updatePropertyToolbox()
{
    const QSignalBlocker a(m_totalCombo), b(m_captionEdit), c(m_formatCombo);
    m_totalCombo->clear();
    if (m_view)
        for (const PivotTotal *total : m_view->DataAxis().Totals())
            m_totalCombo->addItem(total->Caption());
    const QModelIndex current = m_grid->currentIndex();
    m_totalCombo->setCurrentIndex(current.isValid() ? m_grid->gridModel()->totalOf(current.column())
                                                    : 0);
    const PivotTotal *total = currentTotal();
    m_toolbox->setEnabled(total != nullptr);
    m_captionEdit->setText(total ? total->Caption() : QString());
    m_formatCombo->setCurrentText(total ? total->NumberFormat() : QString());
}

void PivotTable::applyTotalProperties()
{
    PivotTotal *total = currentTotal();
    const QString caption = m_captionEdit->text().trimmed();
    if (!total || caption.isEmpty())
        return;
    const QString format = m_formatCombo->currentText().trimmed();
    if (caption == total->Caption() && format == total->NumberFormat())
        return;
    total->setCaption(caption);
    total->setNumberFormat(format.isEmpty() ? u"General"_s : format);
    m_view->touch();
    viewChanged();
}
