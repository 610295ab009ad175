#include "Platform/AppKit/Quick/ObjectRows.h"

namespace {

constexpr int objectRole = Qt::UserRole;

}

void ObjectRows::setObjects(const QVariantList& objects)
{
    for (qsizetype row = 0; row < objects.size(); ++row)
        place(row, objects[row], objects);
    const auto size = static_cast<int>(mObjects.size());
    const auto newSize = static_cast<int>(objects.size());
    if (size <= newSize)
        return;
    beginRemoveRows({}, newSize, size - 1);
    mObjects.resize(newSize);
    endRemoveRows();
}

/// Brings \p object to \p row; the rows above are in place already.
void ObjectRows::place(qsizetype row, const QVariant& object, const QVariantList& all)
{
    const auto at = static_cast<int>(row);
    // What is here and will not be any more goes, or becomes the other one where that is new.
    while (row < mObjects.size() && mObjects[row] != object && !all.contains(mObjects[row])) {
        if (!mObjects.contains(object)) {
            mObjects[row] = object;
            emit dataChanged(index(at), index(at));
            return;
        }
        beginRemoveRows({}, at, at);
        mObjects.removeAt(row);
        endRemoveRows();
    }
    if (row < mObjects.size() && mObjects[row] == object)
        return;
    if (const auto from = mObjects.indexOf(object, row); from >= 0) {
        beginMoveRows({}, static_cast<int>(from), static_cast<int>(from), {}, at);
        mObjects.move(from, row);
        endMoveRows();
        return;
    }
    beginInsertRows({}, at, at);
    mObjects.insert(row, object);
    endInsertRows();
}

int ObjectRows::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(mObjects.size());
}

QVariant ObjectRows::data(const QModelIndex& index, int role) const
{
    return role == objectRole && index.isValid() && index.row() < mObjects.size() ? mObjects[index.row()] : QVariant();
}

QHash<int, QByteArray> ObjectRows::roleNames() const
{
    return { { objectRole, "object" } };
}
