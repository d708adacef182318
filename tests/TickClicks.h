#pragma once
// A real click on a tick box of a filter list, where the style draws it.

#include "controls/tools/TickList.h"
#include "filterpanel/TickListModel.h"

#include <QStyle>
#include <QStyleOptionViewItem>
#include <QTest>

namespace qrt::test {

inline void clickTick(TickList *list, int row)
{
    QStyleOptionViewItem option;
    option.initFrom(list->viewport());
    option.rect = list->visualRect(list->model()->index(row));
    option.features = QStyleOptionViewItem::HasCheckIndicator | QStyleOptionViewItem::HasDisplay;
    const QRect box =
        list->style()->subElementRect(QStyle::SE_ItemViewItemCheckIndicator, &option, list);
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, box.center());
}

} // namespace qrt::test
