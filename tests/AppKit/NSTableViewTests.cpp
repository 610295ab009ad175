#include "Platform/AppKit/NSTableView.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class TableSource : public NSObject, public NSTableViewDataSource {
    NS_OBJECT(TableSource)
public:
    long numberOfRowsInTableView(NSTableView*) override { return static_cast<long>(texts.size()); }
    CFType* tableView_objectValueForTableColumn_row(NSTableView*, NSTableColumn*, long row) override
    {
        const auto& text = texts[static_cast<std::size_t>(row)];
        return text.empty() ? nullptr : autorelease(CFString::create(text));
    }
    std::vector<std::string> texts;
};

NS_IMPLEMENTATION(TableSource, NSObject)
{
    type.message("numberOfRowsInTableView:", &TableSource::numberOfRowsInTableView);
    type.message("tableView:objectValueForTableColumn:row:", &TableSource::tableView_objectValueForTableColumn_row);
}

class WordlessSource : public TableSource {
    NS_OBJECT(WordlessSource)
};

NS_IMPLEMENTATION(WordlessSource, NSObject) { }

class CountingTableHost : public NSTableViewHost {
public:
    void tableRowsChanged() override { ++count; }
    int count = 0;
};

TEST(NSTableView, ShowsTheRowsOfItsSourceAsTheyAreAtEachReload)
{
    const AutoreleasePool pool;
    const auto table = make<NSTableView>();
    const auto source = make<TableSource>();
    CountingTableHost host;
    table->setTableHost(&host);
    source->texts = { "" };
    table->setDataSource(source);
    EXPECT_THAT(table->rows(), ElementsAre(""));
    source->texts = { "Camera", "Connected" };
    EXPECT_THAT(table->rows(), ElementsAre(""));
    table->reloadData();
    EXPECT_THAT(table->rows(), ElementsAre("Camera", "Connected"));
    EXPECT_EQ(host.count, 2);
}

TEST(NSTableView, ShowsNothingOfASourceThatDoesNotSayItAnswers)
{
    const AutoreleasePool pool;
    const auto table = make<NSTableView>();
    const auto source = make<WordlessSource>();
    source->texts = { "hidden" };
    table->setDataSource(source);
    EXPECT_THAT(table->rows(), IsEmpty());
}

TEST(NSTableView, HasNoRowsWhenItsSourceIsGone)
{
    const auto table = make<NSTableView>();
    {
        const AutoreleasePool pool;
        const auto source = make<TableSource>();
        source->texts = { "Camera" };
        table->setDataSource(source);
    }
    table->reloadData();
    EXPECT_EQ(table->numberOfRows(), 0);
}

}
