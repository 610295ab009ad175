#include "Platform/AppKit/Quick/ObjectRows.h"

#include <gmock/gmock.h>

#include <random>
#include <set>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// Rebuilds the rows from what the model tells, as a view does, and notes what is told.
class Rows : public testing::Test {
protected:
    Rows()
    {
        using Index = const QModelIndex&;
        QObject::connect(&model, &ObjectRows::rowsInserted, [this](Index, int first, int last) {
            ASSERT_EQ(first, last);
            shown.insert(first, row(first));
            told.push_back("+" + std::to_string(first));
        });
        QObject::connect(&model, &ObjectRows::rowsRemoved, [this](Index, int first, int last) {
            shown.remove(first, last - first + 1);
            told.push_back("-" + std::to_string(first) + "x" + std::to_string(last - first + 1));
        });
        QObject::connect(&model, &ObjectRows::rowsMoved, [this](Index, int from, int, Index, int to) {
            shown.move(from, to);
            told.push_back(std::to_string(from) + ">" + std::to_string(to));
        });
        QObject::connect(&model, &ObjectRows::dataChanged, [this](Index first) {
            shown[first.row()] = row(first.row());
            told.push_back("=" + std::to_string(first.row()));
        });
    }
    QVariant row(int index) const { return model.data(model.index(index), model.roleNames().keys().front()); }
    /// What the model tells of a change to these values.
    std::vector<std::string> changes(const std::vector<int>& values)
    {
        told.clear();
        QVariantList list;
        for (const int value : values)
            list.append(value);
        model.setObjects(list);
        EXPECT_EQ(model.objects(), list);
        EXPECT_EQ(shown, list);
        EXPECT_EQ(model.rowCount(), list.size());
        return told;
    }
    ObjectRows model;
    QVariantList shown;
    std::vector<std::string> told;
};

}

TEST_F(Rows, OnlyWhatDiffersChanges)
{
    EXPECT_THAT(changes({ 1, 2, 3 }), ElementsAre("+0", "+1", "+2"));
    EXPECT_THAT(changes({ 1, 2, 3 }), IsEmpty());
    EXPECT_THAT(changes({ 1, 9, 2, 3 }), ElementsAre("+1"));
    EXPECT_THAT(changes({ 1, 8, 2, 3 }), ElementsAre("=1"));
    EXPECT_THAT(changes({ 1, 2, 3 }), ElementsAre("-1x1"));
    EXPECT_THAT(changes({ 3, 1, 2 }), ElementsAre("2>0"));
    EXPECT_THAT(changes({ 3 }), ElementsAre("-1x2"));
    EXPECT_THAT(changes({}), ElementsAre("-0x1"));
}

TEST_F(Rows, AnyListBecomesAnyOther)
{
    std::mt19937 random(1);
    for (int i = 0; i < 500; ++i) {
        std::vector<int> values(20);
        std::iota(values.begin(), values.end(), 0);
        std::shuffle(values.begin(), values.end(), random);
        values.resize(random() % 20);
        changes(values);
    }
}

TEST_F(Rows, HaveTheirObjectUnderItsName)
{
    changes({ 5 });
    EXPECT_EQ(model.roleNames().values().front(), "object");
    EXPECT_EQ(row(0).toInt(), 5);
    EXPECT_EQ(model.rowCount(model.index(0)), 0);
    EXPECT_FALSE(model.data(model.index(0), Qt::DisplayRole).isValid());
}
