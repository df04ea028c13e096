#include "TokenPackageListModel.h"

#include <algorithm>

static constexpr int packageRole = Qt::UserRole;

void TokenPackageListModel::setPackages(const QList<TokenPackage> &packages)
{
    if (m_packages == packages)
        return;
    beginResetModel();
    m_packages = packages;
    endResetModel();
}

TokenPackage TokenPackageListModel::withId(const QString &id) const
{
    const auto found = std::ranges::find(m_packages, id, &TokenPackage::id);
    return found == m_packages.end() ? TokenPackage() : *found;
}

int TokenPackageListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_packages.size());
}

QVariant TokenPackageListModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_packages.size())
        return {};
    const TokenPackage &package = m_packages[index.row()];
    if (role == packageRole)
        return QVariant::fromValue(package);
    return role == Qt::DisplayRole ? package.name : QVariant();
}

QHash<int, QByteArray> TokenPackageListModel::roleNames() const
{
    return {{packageRole, "tokenPackage"}};
}
