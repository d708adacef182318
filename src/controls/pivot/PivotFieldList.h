#pragma once
// The field list of a pivot view: every field set with its fields (the
// levels of a date set such as "NewsDate By Month"), to drag onto an area
// or to put there with "Add to" and the area chosen beside it; and the
// totals: add one over a field set with Sum, Count, Min, Max or Average,
// rename it in place (F2), remove it. Field sets already on an area are bold.

#include <QWidget>

class QComboBox;
class QListWidget;
class QListWidgetItem;
class QPushButton;
class QTreeWidget;

namespace qrt::pivot {
class PivotFieldSet;
class PivotField;
class PivotView;
} // namespace qrt::pivot

class PivotFieldList : public QWidget
{
    Q_OBJECT

public:
    explicit PivotFieldList(QWidget *parent = nullptr);

    void setView(qrt::pivot::PivotView *view);
    void refresh();

Q_SIGNALS:
    void layoutChanged();

private:
    qrt::pivot::PivotFieldSet *currentFieldSet(qrt::pivot::PivotField **field = nullptr) const;
    void addToArea();
    void addTotal();
    void removeTotal();
    void renameTotal(QListWidgetItem *item);
    void updateButtons();

    qrt::pivot::PivotView *m_view = nullptr;
    QTreeWidget *m_tree;
    QComboBox *m_area;
    QPushButton *m_addTo;
    QListWidget *m_totals;
    QComboBox *m_function;
    QPushButton *m_addTotal;
    QPushButton *m_removeTotal;
};
