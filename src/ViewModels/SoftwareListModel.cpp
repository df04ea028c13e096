#include "SoftwareListModel.h"

#include <algorithm>

static constexpr int softwareRole = Qt::UserRole;

void SoftwareListModel::setSoftware(const QList<AISoftware *> &software)
{
    const auto [oldMiddle, newMiddle] = std::ranges::mismatch(m_software, software);
    const auto first = int(oldMiddle - m_software.begin());
    const auto sameTail =
        std::ranges::mismatch(std::ranges::subrange(oldMiddle, m_software.end()) | std::views::reverse,
                              std::ranges::subrange(newMiddle, software.end()) | std::views::reverse);
    const auto tail = int(sameTail.in1.base() == m_software.end() ? 0 : m_software.end() - sameTail.in1.base());
    const int removed = int(m_software.size()) - first - tail;
    const int inserted = int(software.size()) - first - tail;

    if (removed > 0) {
        beginRemoveRows({}, first, first + removed - 1);
        m_software.remove(first, removed);
        endRemoveRows();
    }
    if (inserted > 0) {
        beginInsertRows({}, first, first + inserted - 1);
        m_software = software;
        endInsertRows();
    }
}

int SoftwareListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_software.size());
}

QVariant SoftwareListModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_software.size())
        return {};
    AISoftware *const software = m_software[index.row()];
    if (role == softwareRole)
        return QVariant::fromValue(software);
    return role == Qt::DisplayRole ? software->name : QVariant();
}

QHash<int, QByteArray> SoftwareListModel::roleNames() const
{
    return {{softwareRole, "software"}};
}
