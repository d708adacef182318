#include "workspace/frmCharts.h"

#include "component/ThemeColors.h"
#include "component/modUtils.h"

#include <QCloseEvent>
#include <QTabWidget>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

const QString frmCharts::TabCaptions =
    u"&Built-In Chart|MS Office &Pivot Chart|MS Office Pivot &Table"_s;

namespace {

// Client area at the design size: 8880 by 5070 twips at 96 dpi.
constexpr QSize kDesignSize(592, 338);

} // namespace

frmCharts::frmCharts(QWidget *parent) : QWidget(parent, Qt::Window)
{
    setObjectName(u"frmCharts"_s);
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(u"Statistic Charts"_s);
    buildPages();
    resize(kDesignSize);
}

frmCharts::~frmCharts()
{
    // A host may delete a loaded window without closing it; it still leaves.
    if (m_loaded)
        Form_Unload();
}

void frmCharts::buildPages()
{
    tabCharts = new QTabWidget(this);
    tabCharts->setObjectName(u"tabCharts"_s);
    QFont font(u"Tahoma"_s);
    font.setPointSizeF(8.25);
    tabCharts->setFont(font);
    const QStringList pageNames = {u"elsBorder"_s, u"elstMSchart"_s, u"WebBrowser1"_s};
    const QStringList captions = TabCaptions.split(u'|');
    for (qsizetype i = 0; i < pageNames.size(); ++i) {
        auto *page = new QWidget;
        page->setObjectName(pageNames[i]);
        tabCharts->addTab(page, captions.value(i));
    }
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(tabCharts);
}

void frmCharts::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    if (!m_loaded) {
        m_loaded = true;
        Form_Load();
    }
}

void frmCharts::closeEvent(QCloseEvent *event)
{
    // The window cannot refuse to close.
    Form_Unload();
    event->accept();
}

void frmCharts::Form_Load()
{
    LoadThemeColors();
    QPalette palette = tabCharts->palette();
    palette.setColor(QPalette::Window, ThemeColors::toQColor(gThemeFillColor));
    palette.setColor(QPalette::Button, ThemeColors::toQColor(gThemeFillColor));
    tabCharts->setPalette(palette);
}

void frmCharts::Form_Unload()
{
    if (m_unloaded)
        return;
    m_unloaded = true;
    gChartForms.Remove(ChartFormKey(fIndex));
}
