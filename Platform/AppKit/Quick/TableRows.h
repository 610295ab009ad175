#pragma once

#include "Platform/AppKit/NSTableView.h"
#include "Platform/AppKit/Quick/InterfaceObject.h"

#include <QStringList>

/// `TableRows { className: "NSTableView" }`: a table object and the texts of its rows, for an item that lists them.
class TableRows : public InterfaceObject, public NSTableViewHost {
    Q_OBJECT
    Q_PROPERTY(QStringList rows READ rows NOTIFY rowsChanged)
public:
    ~TableRows() override;
    void setClassName(const QString& className) override;
    QStringList rows() const;
    void tableRowsChanged() override { emit rowsChanged(); }

signals:
    void rowsChanged();
};
