#pragma once

#include "Utilities/JSONReader.h"

#include <QObject>

/// Tokens offered at a price. JSON keys are the field names; all but "discount" are required.
struct TokenPackage {
    Q_GADGET
    Q_PROPERTY(QString id MEMBER id CONSTANT)
    Q_PROPERTY(QString name MEMBER name CONSTANT)
    Q_PROPERTY(bool isPopular MEMBER isPopular CONSTANT)
    Q_PROPERTY(QString packageDescription MEMBER packageDescription CONSTANT)
    Q_PROPERTY(QString formattedTokenCount READ formattedTokenCount CONSTANT)
    Q_PROPERTY(QString formattedPrice READ formattedPrice CONSTANT)
    Q_PROPERTY(QString formattedUnitPrice READ formattedUnitPrice CONSTANT)
    Q_PROPERTY(QString formattedDiscount READ formattedDiscount CONSTANT)

public:
    QString id;
    QString name;
    qint64 tokenCount = 0;
    double price = 0;
    QString currency; ///< a code such as "CNY"
    std::optional<double> discount; ///< fraction off: 0.2 is 20 %
    bool isPopular = false; ///< the one to recommend
    QString packageDescription;

    /// What is offered while the server cannot be asked.
    static const QList<TokenPackage> &mockPackages();

    QString formattedTokenCount() const; ///< "500,000"
    QString formattedPrice() const; ///< "¥39.90"
    /// "¥0.08/千Token"; empty when there are no tokens in it.
    QString formattedUnitPrice() const;
    /// "节省 20%", cut to whole per cent; empty without a discount.
    QString formattedDiscount() const;

    bool operator==(const TokenPackage &) const = default;
};

Decoded<QList<TokenPackage>> decodePackages(JSONValue array);
