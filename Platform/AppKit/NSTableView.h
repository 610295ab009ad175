#pragma once

#include "Platform/AppKit/NSControl.h"

class NSTableView;

/// A column of a table; tables here have one, whose title is empty.
class NSTableColumn : public NSObject {
    NS_OBJECT(NSTableColumn)
public:
    CFString* identifier() const { return mIdentifier; }
    void setIdentifier(CFString* identifier) { mIdentifier = identifier; }

private:
    Ref<CFString> mIdentifier = CFSTR("");
};

/// Where a table gets its values; each operation is asked for before it is called.
class NSTableViewDataSource {
public:
    virtual ~NSTableViewDataSource() = default;
    virtual long numberOfRowsInTableView(NSTableView* /*tableView*/) { return 0; }
    virtual CFType* tableView_objectValueForTableColumn_row(
        NSTableView* /*tableView*/, NSTableColumn* /*column*/, long /*row*/)
    {
        return nullptr;
    }
};

class NSTableViewDelegate {
public:
    virtual ~NSTableViewDelegate() = default;
};

/// Who shows the rows of a table.
class NSTableViewHost {
public:
    virtual ~NSTableViewHost() = default;
    virtual void tableRowsChanged() = 0;
};

/// Rows of text from a data source. Main thread.
class NSTableView : public NSControl {
    NS_OBJECT(NSTableView)
public:
    NSTableView();
    NSObject* dataSource() const;
    void setDataSource(NSObject* dataSource);
    NSObject* delegate() const;
    void setDelegate(NSObject* delegate) { mDelegate = delegate; }
    /// Asks the data source for every row again.
    void reloadData();
    long numberOfRows() const { return static_cast<long>(mRows.size()); }
    /// The descriptions of the values that the data source gave at the last `reloadData`.
    const std::vector<std::string>& rows() const { return mRows; }

    void setTableHost(NSTableViewHost* host) { mTableHost = host; }

private:
    WeakRef<NSObject> mDataSource;
    WeakRef<NSObject> mDelegate;
    Ref<NSTableColumn> mColumn;
    std::vector<std::string> mRows;
    NSTableViewHost* mTableHost = nullptr;
};
