#include "TokenAccount.h"

#include "BodyReader.h"
#include "Form.h"
#include "History.h"
#include "Session.h"

#include <ranges>

namespace devserver {

namespace {

constexpr int longestHistory = 1'000'000;
constexpr int entriesPerDay = 30;

constexpr std::array entryTypes{
    Named<EntryType>{"purchase", EntryType::Purchase},
    Named<EntryType>{"consume", EntryType::Consume},
    Named<EntryType>{"refund", EntryType::Refund},
    Named<EntryType>{"bonus", EntryType::Bonus},
};

JSON describe(const Entry &entry)
{
    const Booking &booking = entry.booking;
    JSON json{{"id", entry.id.toStdString()},
              {"type", nameOf(entryTypes, booking.type).toStdString()},
              {"amount", booking.amount},
              {"balance", entry.balance}};
    if (!booking.softwareId.isEmpty()) {
        json["softwareId"] = booking.softwareId.toStdString();
        json["softwareName"] = booking.softwareName.toStdString();
    }
    json["description"] = booking.description.toStdString();
    json["createdAt"] = booking.time.toUTC().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")).toStdString();
    return json;
}

/// A number of at least one from the query, or `otherwise`.
qsizetype numberOf(const Fields &query, const QString &name, qsizetype otherwise)
{
    bool isNumber = false;
    const int number = query.value(name).toInt(&isNumber);
    return isNumber && number >= 1 ? number : otherwise;
}

JSON onePage(const QList<Entry> &entries, qsizetype number, qsizetype size)
{
    JSON list = JSON::array();
    for (const Entry &entry :
         entries | std::views::reverse | std::views::drop((number - 1) * size) | std::views::take(size))
        list.push_back(describe(entry));
    return list;
}

/// The ids that an order to the server is for; none when there is no such account.
QStringList usersOf(const ServerState &state, const std::optional<QString> &userId)
{
    QStringList users;
    for (const Account &account : state.accounts.all()) {
        if (!userId || *userId == account.userId)
            users.append(account.userId);
    }
    return users;
}

void bringBalanceTo(ServerState &state, const QString &userId, qint64 tokens)
{
    const qint64 missing = tokens - state.ledger.balance(userId);
    if (missing == 0)
        return;
    state.ledger.book(userId,
                      {.type = missing < 0 ? EntryType::Consume : EntryType::Bonus,
                       .amount = qAbs(missing),
                       .description = QStringLiteral("余额调整"),
                       .time = state.now()});
}

/// Answers for the token's account, or that there is none.
template<typename Answer> Response forAccount(const ServerState &state, const Request &request, Answer answer)
{
    const auto account = accountOfRequest(state, request);
    return account ? success(answer(account->userId)) : unauthorized(account.error());
}

} // namespace

Response answerBalance(ServerState &state, const Request &request)
{
    return forAccount(state, request, [&](const QString &userId) -> JSON {
        const QDate today = state.now().toLocalTime().date();
        const QDateTime tomorrow = today.addDays(1).startOfDay();
        const QDateTime month = QDate(today.year(), today.month(), 1).startOfDay();
        return {{"totalBalance", state.ledger.balance(userId)},
                {"usedToday", state.ledger.consumed(userId, today.startOfDay(), tomorrow)},
                {"usedThisMonth", state.ledger.consumed(userId, month, tomorrow)}};
    });
}

Response answerPackages(ServerState &state, const Request &request)
{
    return forAccount(state, request, [](const QString &) {
        JSON list = JSON::array();
        for (const Package &package : packages())
            list.push_back(describe(package));
        return list;
    });
}

Response answerTransactions(ServerState &state, const Request &request)
{
    return forAccount(state, request, [&](const QString &userId) -> JSON {
        const Fields query = readFields(request.query.toUtf8());
        const qsizetype number = numberOf(query, QStringLiteral("page"), 1);
        const qsizetype size = numberOf(query, QStringLiteral("pageSize"), state.transactionsPerPage);
        const QList<Entry> &entries = state.ledger.entries(userId);
        return {{"transactions", onePage(entries, number, size)},
                {"total", entries.size()},
                {"page", number},
                {"pageSize", size}};
    });
}

Response answerWeeklyUsage(ServerState &state, const Request &request)
{
    return forAccount(state, request, [&](const QString &userId) {
        JSON list = JSON::array();
        const QDate today = state.now().toLocalTime().date();
        for (QDate day = today.addDays(-6); day <= today; day = day.addDays(1))
            list.push_back({{"date", day.toString(Qt::ISODate).toStdString()},
                            {"tokens", state.ledger.consumed(userId, day.startOfDay(), day.addDays(1).startOfDay())}});
        return list;
    });
}

Response controlHistory(ServerState &state, const Request &request)
{
    BodyReader order(request.body);
    const auto count = order.integer("count", 1, longestHistory);
    const auto pageSize = order.integer("pageSize", 1, longestHistory);
    const auto userId = order.text("userId");
    const QStringList users = usersOf(state, userId);
    if (!count)
        order.fail("count");
    if (users.isEmpty())
        order.fail("userId");
    if (const QString error = order.error(); !error.isEmpty())
        return failure(400, error);
    const int days = std::max(14, int(*count / entriesPerDay));
    const Package *const package = packageWithId(QStringLiteral("standard"));
    for (const QString &user : users)
        makeUpHistory(state.ledger, user, {.entries = int(*count), .days = days, .package = package}, state.now());
    state.transactionsPerPage = pageSize.value_or(*count);
    return success(nullptr);
}

Response controlBalance(ServerState &state, const Request &request)
{
    BodyReader order(request.body);
    const auto tokens = order.integer("tokens", 0, std::numeric_limits<qint32>::max());
    const auto userId = order.text("userId");
    const QStringList users = usersOf(state, userId);
    if (!tokens)
        order.fail("tokens");
    if (users.isEmpty())
        order.fail("userId");
    if (const QString error = order.error(); !error.isEmpty())
        return failure(400, error);
    for (const QString &user : users)
        bringBalanceTo(state, user, *tokens);
    return success(nullptr);
}

} // namespace devserver
