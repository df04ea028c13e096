#include "History.h"

#include <array>

namespace devserver {

namespace {

constexpr qint64 welcomeTokens = 20'000;
constexpr int refundEvery = 23;

struct Use {
    const char *softwareId;
    const char *softwareName;
    const char *description;
};

constexpr std::array uses{
    Use{"openclaw", "OpenClaw", "gpt-4o 对话"},     Use{"openclaw", "OpenClaw", "claude-3.7-sonnet 工具调用"},
    Use{"hermes", "Hermes Agent", "gpt-4o 对话"},   Use{"openclaw", "OpenClaw", "deepseek-r1 推理"},
    Use{"crewai", "CrewAI", "qwen3-235b 多轮任务"}, Use{"", "", "gemini-2.5-pro 接口调用"},
    Use{"openclaw", "OpenClaw", "QQ 机器人回复"},
};

/// Scatters numbers, the same ones always.
quint32 scattered(quint32 number)
{
    number = (number ^ (number >> 16)) * 0x45d9f3bU;
    number = (number ^ (number >> 16)) * 0x45d9f3bU;
    return number ^ (number >> 16);
}

quint32 seedOf(const QString &userId)
{
    quint32 seed = 0;
    for (const QChar character : userId)
        seed = seed * 31 + character.unicode();
    return seed;
}

/// Spreads the entries over the days: during working hours, and today from midnight until now.
QDateTime timeOf(int index, const History &history, const QDateTime &now)
{
    const QDateTime local = now.toLocalTime();
    const int day = int(qint64(index) * history.days / history.entries);
    const auto firstOf = [&](int d) { return int((qint64(d) * history.entries + history.days - 1) / history.days); };
    const double fraction = double(index - firstOf(day) + 1) / (firstOf(day + 1) - firstOf(day) + 1);
    const QDate date = local.date().addDays(day - history.days + 1);
    const bool isToday = date == local.date();
    const QDateTime begin = date.startOfDay().addSecs(isToday ? 0 : 9 * 3600);
    const QDateTime end = isToday ? local : date.startOfDay().addSecs(22 * 3600);
    return begin.addMSecs(qint64(double(begin.msecsTo(end)) * fraction)).toUTC();
}

Booking consumption(quint32 number, const QDateTime &time)
{
    const Use &use = uses[number % uses.size()];
    return {.type = EntryType::Consume,
            .amount = 600 + number / 7 % 5'000,
            .description = QString::fromUtf8(use.description),
            .softwareId = QString::fromUtf8(use.softwareId),
            .softwareName = QString::fromUtf8(use.softwareName),
            .time = time};
}

Booking addition(EntryType type, qint64 amount, const QString &description, const QDateTime &time)
{
    return {.type = type, .amount = amount, .description = description, .time = time};
}

/// What comes after `entries`, of which there is at least one.
Booking next(const QList<Entry> &entries, const Booking &consumption, const Package &package)
{
    const Entry &last = entries.last();
    const QString name = QString::fromUtf8(package.name);
    if (last.booking.type == EntryType::Purchase)
        return addition(EntryType::Bonus, package.bonusTokens(), QStringLiteral("购买%1赠送").arg(name),
                        consumption.time);
    if (last.balance < consumption.amount || entries.size() == 1)
        return addition(EntryType::Purchase, package.tokenCount, QStringLiteral("购买%1").arg(name), consumption.time);
    if (entries.size() % refundEvery == 0 && last.booking.type == EntryType::Consume)
        return addition(EntryType::Refund, last.booking.amount / 2, QStringLiteral("调用失败，退回 Token"),
                        consumption.time);
    return consumption;
}

} // namespace

void makeUpHistory(Ledger &ledger, const QString &userId, const History &history, const QDateTime &now)
{
    ledger.clear(userId);
    const quint32 seed = seedOf(userId);
    for (int index = 0; index < history.entries; ++index) {
        const QDateTime time = timeOf(index, history, now);
        const Booking use = consumption(scattered(seed + quint32(index)), time);
        ledger.book(userId,
                    index == 0 ? addition(EntryType::Bonus, welcomeTokens, QStringLiteral("新用户注册赠送"), time)
                               : next(ledger.entries(userId), use, *history.package));
    }
}

Ledger seededLedger(const Accounts &accounts, const QDateTime &now)
{
    Ledger ledger;
    int entries = 90;
    for (const Account &account : accounts.all()) {
        const Package *const package = packageWithId(QStringLiteral("standard"));
        makeUpHistory(ledger, account.userId, {.entries = entries, .package = package}, now);
        entries = std::max(entries / 2, 14);
    }
    return ledger;
}

} // namespace devserver
