#pragma once
// Clicks on the tick box of a tree item, where a user's click toggles it:
// the member filter and the field list are trees with tick boxes.

#include <QStyle>
#include <QTest>
#include <QTreeWidget>

namespace qrt::test {

inline QPoint tickBoxCenter(QTreeWidget *tree, QTreeWidgetItem *item)
{
    QStyleOptionViewItem option;
    option.initFrom(tree);
    option.rect = tree->visualItemRect(item);
    option.features |= QStyleOptionViewItem::HasCheckIndicator | QStyleOptionViewItem::HasDisplay;
    option.text = item->text(0);
    return tree->style()
        ->subElementRect(QStyle::SE_ItemViewItemCheckIndicator, &option, tree)
        .center();
}

inline void clickTick(QTreeWidget *tree, QTreeWidgetItem *item)
{
    tree->scrollToItem(item);
    QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, tickBoxCenter(tree, item));
}

} // namespace qrt::test
