#pragma once

#include "Models/TokenPackage.h"

#include <QAbstractListModel>

/// The packages on offer as rows, each with the role "tokenPackage" holding a TokenPackage.
class TokenPackageListModel : public QAbstractListModel
{
    Q_OBJECT

public:
    using QAbstractListModel::QAbstractListModel;

    void setPackages(const QList<TokenPackage> &packages);
    const QList<TokenPackage> &packages() const { return m_packages; }
    /// The package as it is offered now; one without an id when it is not any more.
    Q_INVOKABLE TokenPackage withId(const QString &id) const;

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

private:
    QList<TokenPackage> m_packages;
};
