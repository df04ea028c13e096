#include "Models/TokenBalance.h"
#include "Models/TokenFormat.h"
#include "Models/TokenPackage.h"
#include "Models/TokenTransaction.h"
#include "Support/Table.h"

#include <nlohmann/json.hpp>

using namespace Qt::StringLiterals;
using JSON = nlohmann::ordered_json;

namespace {

/// What the decoder says against the text; empty when it takes it.
template<auto Decode> QString complaint(const JSON &json)
{
    const auto record = decodeJSON(QByteArrayView(json.dump()), Decode);
    return record ? QString() : record.error().description;
}

/// A record's decoder with an object that it takes, whose optional keys are named.
struct Record {
    const char *name;
    QString (*complaint)(const JSON &);
    const char *goodObject;
    QList<QByteArray> optionalKeys;
    bool isInList = false;
};

// Every value of an integer is 7, of a number 0.5.
const QList<Record> records{
    {"balance", complaint<decodeBalance>, R"({"totalBalance":7,"usedToday":7,"usedThisMonth":7})", {}},
    {"transactions", complaint<decodeTransactions>, R"({"transactions":[],"total":7,"page":7,"pageSize":7})", {}},
    {"transaction",
     [](const JSON &row) {
         return complaint<decodeTransactions>({{"transactions", {row}}, {"total", 1}, {"page", 1}, {"pageSize", 1}});
     },
     R"({"id":"t","type":"bonus","amount":7,"balance":7,"softwareId":"s","softwareName":"S","description":"d","createdAt":"c"})",
     {"softwareId", "softwareName"}},
    {"recharge", complaint<decodeRecharge>, R"({"orderNo":"o","qrUrl":"q","amountYuan":0.5})", {}},
    {"status", complaint<decodeRechargeStatus>, R"({"status":"paid","newBalance":7})", {"newBalance"}},
    {"usage", complaint<decodeWeeklyUsage>, R"({"date":"d","tokens":7})", {}, true},
    {"package",
     complaint<decodePackages>,
     R"({"id":"p","name":"P","tokenCount":7,"price":0.5,"currency":"CNY","discount":0.5,"isPopular":true,"packageDescription":"d"})",
     {"discount"},
     true},
};

/// Values that do not do in place of `good`.
QList<JSON> wrongValues(const JSON &good)
{
    QList<JSON> wrong{JSON::object()};
    for (const JSON &value : {JSON("7"), JSON(1.5), JSON(true), JSON(std::uint64_t(INT64_MAX) + 1), JSON::array()})
        if (good.is_number_float() ? !value.is_number() : value.type() != good.type() || value.is_number())
            wrong.append(value);
    return wrong;
}

TransactionResponse consumption(const QString &type, const QString &createdAt)
{
    return {.id = u"t"_s, .type = type, .amount = 1, .balance = 2, .description = u"d"_s, .createdAt = createdAt};
}

} // namespace

class tst_TokenModels : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void wrongFields_data();
    void wrongFields();
    void integersAtTheirLimits();
    void requestsAsSent();
    void shortCounts_data();
    void shortCounts();
    void decimals_data();
    void decimals();
    void packageTexts_data();
    void packageTexts();
    void builtInPackages();
    void transactionTypes();
    void transactionAmounts_data();
    void transactionAmounts();
    void transactionTimes_data();
    void transactionTimes();
};

void tst_TokenModels::wrongFields_data()
{
    const auto row = columns<int>("index");
    for (qsizetype index = 0; index < records.size(); ++index)
        row(records[index].name, int(index));
}

void tst_TokenModels::wrongFields()
{
    QFETCH(int, index);
    const Record &record = records[index];
    const JSON good = JSON::parse(record.goodObject);
    const auto complain = [&record](const JSON &object) {
        return record.complaint(record.isInList ? JSON::array({object}) : object);
    };
    QCOMPARE(complain(good), QString());
    for (const JSON &notAnObject : {JSON(), JSON("text"), JSON(7), JSON::array({1})})
        QVERIFY2(!complain(notAnObject).isEmpty(), notAnObject.dump().c_str());

    for (const auto &[key, value] : good.items()) {
        const QString named = u"字段 “%1” "_s.arg(QString::fromStdString(key));
        JSON missing = good;
        missing.erase(key);
        JSON null = good;
        null[key] = nullptr;
        const bool isOptional = record.optionalKeys.contains(QByteArray::fromStdString(key));
        for (const JSON &object : {missing, null})
            QVERIFY2(complain(object).endsWith(isOptional ? QString() : named + u"缺失"_s), object.dump().c_str());
        for (const JSON &wrong : wrongValues(value)) {
            JSON object = good;
            object[key] = wrong;
            QVERIFY2(complain(object).contains(named + u"应为"_s), object.dump().c_str());
        }
        JSON further = good;
        further["further"] = JSON::array({nullptr});
        QCOMPARE(complain(further), QString());
    }
}

void tst_TokenModels::integersAtTheirLimits()
{
    const QByteArray json =
        R"({"totalBalance":9223372036854775807,"usedToday":-9223372036854775808,"usedThisMonth":0})";
    QCOMPARE(decodeJSON(json, decodeBalance).value(), (BalanceResponse{INT64_MAX, INT64_MIN, 0}));
    for (const char *tooFar : {"9223372036854775808", "-9223372036854775809", "1e3", "7.0"})
        QVERIFY2(!decodeJSON(QByteArray(json).replace("9223372036854775807", tooFar), decodeBalance), tooFar);
    QCOMPARE(decodeJSON(R"({"orderNo":"","qrUrl":"","amountYuan":40})", decodeRecharge)->amountYuan, 40.);
    QVERIFY(!decodeJSON(R"({"orderNo":"","qrUrl":"","amountYuan":1e400})", decodeRecharge));
}

void tst_TokenModels::requestsAsSent()
{
    QCOMPARE(encode(PurchaseRequest{u"标\"准"_s}), R"({"packageId":"标\"准"})");
    QCOMPARE(encode(ChangePasswordRequest{u"旧\\"_s, u"🔑"_s}), R"({"oldPassword":"旧\\","newPassword":"🔑"})");
}

void tst_TokenModels::shortCounts_data()
{
    columns<qint64, QString>("count", "text");
    const QList<std::pair<qint64, QString>> cases{
        {0, u"0"_s},
        {999, u"999"_s},
        {1000, u"1.0K"_s},
        {1049, u"1.0K"_s},
        {1250, u"1.2K"_s}, // a tie
        {1500, u"1.5K"_s},
        {256'800, u"256.8K"_s},
        {999'949, u"999.9K"_s},
        {999'999, u"1000.0K"_s},
        {1'000'000, u"1.0M"_s},
        {1'500'000, u"1.5M"_s},
        {-1, u"-1"_s},
        {-1'500'000, u"-1500000"_s},
        {INT64_MAX, u"9223372036854.8M"_s},
        {INT64_MIN, u"-9223372036854775808"_s},
    };
    for (const auto &[count, text] : cases)
        QTest::addRow("%lld", count) << count << text;
}

void tst_TokenModels::shortCounts()
{
    QFETCH(qint64, count);
    QTEST(formatTokenCount(count), "text");
    TokenBalance balance(u"default"_s);
    balance.update({.totalBalance = count, .usedToday = 1, .usedThisMonth = 2000});
    QTEST(balance.totalBalanceText(), "text");
    QCOMPARE(balance.usedTodayText() + u' ' + balance.usedThisMonthText(), u"1 2.0K"_s);
}

void tst_TokenModels::decimals_data()
{
    const auto row = columns<double, QString>("yuan", "text");
    row("sum of fractions", 0.1 + 0.2, u"¥0.30"_s);
    row("tie to even, down", 0.125, u"¥0.12"_s);
    row("tie to even, up", 0.375, u"¥0.38"_s);
    row("nearly a tie", 1.005, u"¥1.00"_s);
    row("thousands stay together", 1'000'000., u"¥1000000.00"_s);
    row("negative", -9.9, u"¥-9.90"_s);
    row("zero", 0., u"¥0.00"_s);
}

void tst_TokenModels::decimals()
{
    QFETCH(double, yuan);
    QTEST(formatYuan(yuan), "text");
    QCOMPARE(formatDecimal(std::numeric_limits<double>::max(), 2).size(), 309 + 3);
}

void tst_TokenModels::packageTexts_data()
{
    // texts: tokens, price, price of a thousand, discount
    const auto row = columns<TokenPackage, QStringList>("package", "texts");
    const auto package = [](qint64 tokens, double price, std::optional<double> discount) {
        return TokenPackage{.tokenCount = tokens, .price = price, .discount = discount};
    };
    row("usual", package(500'000, 39.9, 0.2), {u"500,000"_s, u"¥39.90"_s, u"¥0.08/千Token"_s, u"节省 20%"_s});
    row("large", package(10'000'000, 499.9, 0.35), {u"10,000,000"_s, u"¥499.90"_s, u"¥0.05/千Token"_s, u"节省 35%"_s});
    row("ungrouped", package(999, 0.999, {}), {u"999"_s, u"¥1.00"_s, u"¥1.00/千Token"_s, QString()});
    row("no discount is none, zero is one", package(1000, 1, 0),
        {u"1,000"_s, u"¥1.00"_s, u"¥1.00/千Token"_s, u"节省 0%"_s});
    row("cut, not rounded", package(1000, 1, 0.999), {u"1,000"_s, u"¥1.00"_s, u"¥1.00/千Token"_s, u"节省 99%"_s});
    row("cut to zero", package(1000, 1, -0.001), {u"1,000"_s, u"¥1.00"_s, u"¥1.00/千Token"_s, u"节省 0%"_s});
    row("nothing in it", package(0, 9.9, {}), {u"0"_s, u"¥9.90"_s, QString(), QString()});
    row("negative", package(-1000, -1, -0.5), {u"-1,000"_s, u"¥-1.00"_s, u"¥1.00/千Token"_s, u"节省 -50%"_s});
}

void tst_TokenModels::packageTexts()
{
    QFETCH(TokenPackage, package);
    const QStringList texts{package.formattedTokenCount(), package.formattedPrice(), package.formattedUnitPrice(),
                            package.formattedDiscount()};
    QTEST(texts, "texts");
}

void tst_TokenModels::builtInPackages()
{
    QStringList lines;
    for (const TokenPackage &package : TokenPackage::mockPackages())
        lines.append(QStringList{package.id, package.name, package.formattedTokenCount(), package.formattedPrice(),
                                 package.currency, package.formattedDiscount(),
                                 package.isPopular ? u"popular"_s : QString(), package.packageDescription}
                         .join(u'|'));
    QCOMPARE(lines,
             (QStringList{u"basic|基础版|100,000|¥9.90|CNY|||适合轻度使用"_s,
                          u"standard|标准版|500,000|¥39.90|CNY|节省 20%|popular|最受欢迎，性价比最高"_s,
                          u"pro|专业版|2,000,000|¥129.90|CNY|节省 35%||适合重度使用和团队"_s,
                          u"enterprise|企业版|10,000,000|¥499.90|CNY|节省 50%||企业级用量，专属客服"_s}));
}

void tst_TokenModels::transactionTypes()
{
    const QDateTime now = QDateTime::currentDateTimeUtc();
    for (const auto type : TransactionType::allCases)
        QCOMPARE(TokenTransaction::from(consumption(TransactionType::rawValue(type), {}), now).type, type);
    for (const QString &unknown : {u"gift"_s, u"Purchase"_s, u" bonus"_s, QString()})
        QCOMPARE(TokenTransaction::from(consumption(unknown, {}), now).type, TransactionType::Consume);
}

void tst_TokenModels::transactionAmounts_data()
{
    const auto row = columns<TransactionType::Value, qint64, QString>("type", "amount", "text");
    row("bought", TransactionType::Purchase, 500'000, u"+500000"_s);
    row("consumed", TransactionType::Consume, 1500, u"-1500"_s);
    row("consumed, sign sent", TransactionType::Consume, -1500, u"-1500"_s);
    row("refunded, sign sent", TransactionType::Refund, -7, u"+7"_s);
    row("nothing", TransactionType::Bonus, 0, u"+0"_s);
    row("least", TransactionType::Consume, INT64_MIN, u"-9223372036854775808"_s);
}

void tst_TokenModels::transactionAmounts()
{
    QFETCH(TransactionType::Value, type);
    QFETCH(qint64, amount);
    QTEST((TokenTransaction{.type = type, .amount = amount}.formattedAmount()), "text");
}

void tst_TokenModels::transactionTimes_data()
{
    // time: empty where it cannot be read
    const auto row = columns<QString, QString>("text", "time");
    row("usual", u"2025-03-09 02:30:59"_s, u"2025-03-09T02:30:59Z"_s);
    row("leap day", u"2024-02-29 00:00:00"_s, u"2024-02-29T00:00:00Z"_s);
    for (const char *unreadable :
         {"", "2025-02-29 00:00:00", "2025-13-40 00:00:00", "2025-01-02 24:00:00", "2025-01-02 00:60:00",
          "2025-01-02T03:04:05Z", "2025-01-02T03:04:05", "2025-01-02 03:04:05Z", "2025-1-2 3:4:5",
          "2025-01-02 03:04.05", "2025-01-02 +3:04:05", "2025-01-02  3:04:05", "0000-01-01 00:00:00",
          "２０２５-01-02 03:04:05", "2025/01/02 03:04:05"})
        row(unreadable, QString::fromUtf8(unreadable), {});
}

void tst_TokenModels::transactionTimes()
{
    QFETCH(QString, text);
    QFETCH(QString, time);
    const QDateTime now(QDate(2030, 1, 1), QTime(1, 2, 3), Qt::UTC);
    const QDateTime expected = time.isEmpty() ? now : QDateTime::fromString(time, Qt::ISODate);
    QCOMPARE(TokenTransaction::from(consumption(u"bonus"_s, text), now).createdAt, expected);
}

QTEST_GUILESS_MAIN(tst_TokenModels)
#include "tst_TokenModels.moc"
