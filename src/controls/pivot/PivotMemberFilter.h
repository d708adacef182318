#pragma once
// The pop-up that chooses which members of a field set count: a tree of the
// members (years, then quarters, months... filled in as the user opens a
// branch) under an "(All)" row, with tick boxes, OK and Cancel.
//
// OK turns the ticks into member choices: the smallest set of whole
// branches that are ticked (IncludedMembers, AllIncludeExclude 2) or, when
// fewer branches are unticked, those (ExcludedMembers, AllIncludeExclude 1).
// Everything ticked clears the choice. A branch is listed at its own level's
// field, so a choice may span several fields of the set.

#include <QFrame>

class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;

namespace qrt::pivot {
class PivotFieldSet;
}

class PivotMemberFilter : public QFrame
{
    Q_OBJECT

public:
    // Deletes itself when closed.
    PivotMemberFilter(qrt::pivot::PivotFieldSet &fieldSet, QWidget *parent);

    void popup(const QPoint &globalPos);
    QTreeWidget *tree() const { return m_tree; }
    // The item of a member path below "(All)", opening branches on the way;
    // null when there is none.
    QTreeWidgetItem *itemAt(const QStringList &captions);
    // Applies the ticks to the field set; what OK does.
    void apply();

Q_SIGNALS:
    void applied();

protected:
    // Return and Enter are OK; Escape closes, as for any pop-up.
    void keyPressEvent(QKeyEvent *event) override;

private:
    void addChildren(QTreeWidgetItem *parent);
    void ensureChildren(QTreeWidgetItem *item);
    Qt::CheckState initialState(int level, qint64 key) const;
    void collect(QTreeWidgetItem *item, std::vector<QTreeWidgetItem *> &ticked,
                 std::vector<QTreeWidgetItem *> &unticked);
    void updateOk();

    qrt::pivot::PivotFieldSet &m_fieldSet;
    int m_lastLevel;
    QTreeWidget *m_tree;
    QTreeWidgetItem *m_all;
    QPushButton *m_ok;
};
