#pragma once
// Dragging a field set, one of its fields or a total between the field list
// and the drop zones. The drag is the source widget's own mouse press, move
// and release (the press grabs the mouse), with a label following the
// pointer; the release asks the widgets under the pointer for a drop zone.
// So a drag needs no platform drag-and-drop session and plays back from
// recorded mouse events. Dropping a zone's item outside every zone takes it
// off its area.

#include <QObject>
#include <QPoint>
#include <QPointer>

#include <functional>

class QLabel;
class PivotDropZone;

namespace qrt::pivot {
class PivotField;
class PivotFieldSet;
class PivotTotal;
} // namespace qrt::pivot

class PivotFieldDrag : public QObject
{
    Q_OBJECT

public:
    struct Payload
    {
        qrt::pivot::PivotFieldSet *fieldSet = nullptr;
        qrt::pivot::PivotField *field = nullptr; // one level of the field set, or null
        qrt::pivot::PivotTotal *total = nullptr;
        PivotDropZone *from = nullptr; // the zone it is dragged off, or null
        QString caption;

        bool isValid() const { return fieldSet || total; }
    };
    // What the source holds at a point of the widget watched.
    using Resolver = std::function<Payload(const QPoint &pos)>;

    // Makes `source` (for item views, their viewport) a drag source.
    static void enable(QWidget *source, Resolver resolver);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    PivotFieldDrag(QWidget *source, Resolver resolver);
    void finish(const QPoint &globalPos);
    PivotDropZone *zoneAt(const QPoint &globalPos) const;
    void setTarget(PivotDropZone *zone);

    QWidget *m_source;
    Resolver m_resolver;
    Payload m_payload;
    QPoint m_pressPos;
    bool m_dragging = false;
    QPointer<QLabel> m_label;
    QPointer<PivotDropZone> m_target;
};
