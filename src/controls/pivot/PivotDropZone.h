#pragma once
// One area of a pivot view's layout (filter, row, column or data) as a strip
// of buttons, one per field set on the axis (on the data area, one per
// total). A button drags to another zone, along its own zone to reorder,
// or off every zone to leave the area; its arrow opens the member filter.
// An empty zone says what it takes ("Drop Row Fields Here").
//
// Keys on a button: Alt+Down opens the filter, Delete takes the field set
// off, Ctrl+Left and Ctrl+Right move it.

#include "controls/pivot/PivotFieldDrag.h"
#include "pivot/PivotAxis.h"

#include <QFrame>

class QHBoxLayout;
class QLabel;
class QToolButton;

namespace qrt::pivot {
class PivotView;
}

class PivotDropZone : public QFrame
{
    Q_OBJECT

public:
    using Kind = qrt::pivot::PivotAxis::Kind;

    explicit PivotDropZone(Kind kind, QWidget *parent = nullptr);

    Kind kind() const { return m_kind; }
    void setView(qrt::pivot::PivotView *view);
    // Shows the axis as it stands now.
    void refresh();
    void setFilteringAllowed(bool allowed);
    // Marks the zone as where a drag in progress would drop.
    void setDropTarget(bool target);
    QString hintText() const;
    // What the empty zone says instead of the axis's own hint, as a chart
    // names its row and column areas by what they give it.
    void setHintText(const QString &text);
    // The width that shows every caption in full.
    int preferredWidth() const;
    QSize sizeHint() const override;

    // Where a drop at a point of the zone goes: the index of the button it
    // lands before.
    qsizetype insertIndexAt(const QPoint &pos) const;
    void drop(const PivotFieldDrag::Payload &payload, qsizetype before);
    // Takes a field set or total off this zone's area.
    void takeOff(const PivotFieldDrag::Payload &payload);

    // Puts a field set, or one field of it alone, on an area. On the data
    // area that adds a total: Sum for a column of numbers, else Count.
    static void place(qrt::pivot::PivotView &view, Kind kind, qrt::pivot::PivotFieldSet &fieldSet,
                      qrt::pivot::PivotField *field, qsizetype before = -1);
    // A new total on the data area, named "<function> of <field set>".
    static qrt::pivot::PivotTotal &addTotal(qrt::pivot::PivotView &view,
                                            qrt::pivot::PivotFieldSet &fieldSet, int function,
                                            qsizetype before = -1);

Q_SIGNALS:
    void layoutChanged();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    qrt::pivot::PivotAxis *axis() const;
    QWidget *makeButton(const PivotFieldDrag::Payload &payload, int index);
    void openFilter(qrt::pivot::PivotFieldSet *fieldSet, QWidget *anchor);
    PivotFieldDrag::Payload payloadAt(int index) const;
    void moveItem(int index, int by);
    void changed();
    // Shortens the captions to what the zone's width gives them, with "...".
    void elideCaptions();

    Kind m_kind;
    QString m_hintText; // before m_hint, which is made with the hint
    qrt::pivot::PivotView *m_view = nullptr;
    bool m_filtering = true;
    QHBoxLayout *m_layout;
    QLabel *m_hint;
    std::vector<QWidget *> m_buttons;
};
