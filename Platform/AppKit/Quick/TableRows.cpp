#include "Platform/AppKit/Quick/TableRows.h"

#include "Platform/AppKit/Quick/InterfaceLoad.h"

TableRows::~TableRows()
{
    if (auto* const table = kindOf<NSTableView>(mObject))
        table->setTableHost(nullptr);
}

void TableRows::setClassName(const QString& className)
{
    InterfaceObject::setClassName(className);
    auto* const table = kindOf<NSTableView>(mObject);
    if (table)
        table->setTableHost(this);
    else if (mObject)
        InterfaceLoad::report(this, QStringLiteral("\"%1\" is no class of tables").arg(className));
}

QStringList TableRows::rows() const
{
    QStringList texts;
    if (const auto* const table = kindOf<NSTableView>(mObject))
        for (const auto& row : table->rows())
            texts.append(QString::fromStdString(row));
    return texts;
}
