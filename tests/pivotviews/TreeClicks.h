#pragma once
// Clicks on the tick box of a tree item, where a user's click toggles it:
// the member filter and the field list are trees with tick boxes.

#include <QStyle>
#include <QTest>
#include <QTreeWidget>

namespace qrt::test {

inline void clickTick(QTreeWidget *tree, QTreeWidgetItem *item)
{
    tree->scrollToItem(item);
    QStyleOptionViewItem option;
    option.initFrom(tree);
    option.rect = tree->visualItemRect(item);
    option.features |= QStyleOptionViewItem::HasCheckIndicator | QStyleOptionViewItem::HasDisplay;
    option.text = item->text(0);
    const QRect box =
        tree->style()->subElementRect(QStyle::SE_ItemViewItemCheckIndicator, &option, tree);
    QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, box.center());
}

} // namespace qrt::test
