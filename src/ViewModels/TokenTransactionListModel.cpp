#include "TokenTransactionListModel.h"

void TokenTransactionListModel::setTransactions(const QList<TokenTransaction> &transactions)
{
    if (m_transactions == transactions)
        return;
    const bool wasEmpty = isEmpty();
    beginResetModel();
    m_transactions = transactions;
    endResetModel();
    if (isEmpty() != wasEmpty)
        Q_EMIT isEmptyChanged();
}

int TokenTransactionListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_transactions.size());
}

QVariant TokenTransactionListModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_transactions.size())
        return {};
    const TokenTransaction &transaction = m_transactions[index.row()];
    switch (role) {
    case Time:
        return transaction.createdAt.toLocalTime().toString(u"yyyy-MM-dd HH:mm");
    case Type:
        return int(transaction.type);
    case TypeText:
        return TransactionType::rawValue(transaction.type);
    case Amount:
        return transaction.formattedAmount();
    case Balance:
        return QString::number(transaction.balance);
    case Description:
    case Qt::DisplayRole:
        return transaction.transactionDescription;
    default:
        return {};
    }
}

QHash<int, QByteArray> TokenTransactionListModel::roleNames() const
{
    return {{Time, "timeText"},     {Type, "type"},           {TypeText, "typeText"},
            {Amount, "amountText"}, {Balance, "balanceText"}, {Description, "descriptionText"}};
}
