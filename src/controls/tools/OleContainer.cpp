#include "controls/tools/OleContainer.h"

#include "component/EmbeddableClasses.h"

#include <QVBoxLayout>

OleContainer::OleContainer(QWidget *parent)
    : QWidget(parent)
{
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
}

bool OleContainer::CreateEmbed(const QString &, const QString &className)
{
    QWidget *created = EmbeddableClasses::create(className, this);
    if (!created)
        return false;
    Delete();
    m_object = created;
    layout()->addWidget(created);
    return true;
}

void OleContainer::Delete()
{
    delete m_object.data();
}
