#pragma once

#include "Models/TokenTransaction.h"

#include <QAbstractListModel>

/// The account's history as rows in the server's order. Roles: "timeText" ("yyyy-MM-dd HH:mm", local
/// time), "type" (a TransactionType), "typeText", "amountText", "balanceText", "descriptionText".
class TokenTransactionListModel : public QAbstractListModel
{
    Q_OBJECT
    Q_PROPERTY(bool isEmpty READ isEmpty NOTIFY isEmptyChanged)

public:
    enum Role { Time = Qt::UserRole, Type, TypeText, Amount, Balance, Description };

    using QAbstractListModel::QAbstractListModel;

    void setTransactions(const QList<TokenTransaction> &transactions);
    const QList<TokenTransaction> &transactions() const { return m_transactions; }
    bool isEmpty() const { return m_transactions.isEmpty(); }

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

Q_SIGNALS:
    void isEmptyChanged();

private:
    QList<TokenTransaction> m_transactions;
};
