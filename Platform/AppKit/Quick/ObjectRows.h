#pragma once

#include <QAbstractListModel>
#include <QVariant>

/// `ObjectRows { objects: … }`: a model with a row for each value of a list, such as a `KeyBinding` gives it; a
/// delegate has it as `required property var object`. Another list changes only the rows that differ, so a view keeps
/// its place and the items of the others.
class ObjectRows : public QAbstractListModel {
    Q_OBJECT
    Q_PROPERTY(QVariantList objects READ objects WRITE setObjects)
public:
    QVariantList objects() const { return mObjects; }
    void setObjects(const QVariantList& objects);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

private:
    void place(qsizetype row, const QVariant& object, const QVariantList& all);

    QVariantList mObjects;
};
