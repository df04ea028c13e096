#pragma once

#include "Models/AISoftware.h"

#include <QAbstractListModel>

/// A list of software as rows, each with the role "software" holding the AISoftware object, whose
/// own properties tell of its changes.
class SoftwareListModel : public QAbstractListModel
{
    Q_OBJECT

public:
    using QAbstractListModel::QAbstractListModel;

    /// Replaces the rows, touching only the stretch that differs. The objects stay the caller's and
    /// must outlive their rows.
    void setSoftware(const QList<AISoftware *> &software);
    const QList<AISoftware *> &software() const { return m_software; }

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

private:
    QList<AISoftware *> m_software;
};
