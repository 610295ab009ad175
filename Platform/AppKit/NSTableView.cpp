#include "Platform/AppKit/NSTableView.h"

NS_IMPLEMENTATION(NSTableColumn, NSObject)
{
    type.key("identifier", &NSTableColumn::identifier, &NSTableColumn::setIdentifier);
}

NS_IMPLEMENTATION(NSTableView, NSControl)
{
    type.message("reloadData", &NSTableView::reloadData);
    type.outlet("dataSource", &NSTableView::dataSource, &NSTableView::setDataSource);
    type.outlet("delegate", &NSTableView::delegate, &NSTableView::setDelegate);
}

NSTableView::NSTableView()
    : mColumn(make<NSTableColumn>())
{
}

NSObject* NSTableView::dataSource() const
{
    return autorelease(mDataSource.strongReference());
}

void NSTableView::setDataSource(NSObject* dataSource)
{
    mDataSource = dataSource;
    reloadData();
}

NSObject* NSTableView::delegate() const
{
    return autorelease(mDelegate.strongReference());
}

void NSTableView::reloadData()
{
    mRows.clear();
    const auto object = mDataSource.strongReference();
    auto* const source = kindOf<NSTableViewDataSource>(object);
    if (source && object->respondsToSelector("numberOfRowsInTableView:")
        && object->respondsToSelector("tableView:objectValueForTableColumn:row:")) {
        const long count = source->numberOfRowsInTableView(this);
        for (long row = 0; row < count; ++row) {
            auto* const value = source->tableView_objectValueForTableColumn_row(this, mColumn, row);
            mRows.push_back(value ? value->description() : std::string());
        }
    }
    if (mTableHost)
        mTableHost->tableRowsChanged();
}
